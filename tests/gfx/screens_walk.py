"""The walk through the game's screens that test_screens.py and test_screens_800.py make
with real pointer moves and clicks (xdotool) on the real game binary: boot, continue, main
menu, credits, close, play, intro, exit intro, playing with the HUD and the mini map behind
the hero, escape to the pause screen and back, escape, exit level, exit. Each state is
checked on a screenshot of the window against what it must show, at places given in the
1024x768 virtual screen and scaled to the window."""

import os
import re
import shutil
import time

from harness import Game

DATA = os.path.join(os.path.dirname(os.path.abspath(__file__)), '..', '..', 'data')

# Button centres on the virtual screen, as data/gui/*.cfo places them.
BUTTONS = {
    'continue_button': (512, 710),
    'play_button': (512, 344),
    'credits_button': (512, 434),
    'exit_button': (512, 524),
    'credits_close_button': (512, 621),
    'exit_intro_button': (382, 440),
    'exit_level_button': (642, 440),
}
BUTTON_SIZE = {
    'continue_button': (240, 60),
    'play_button': (272, 68),
    'credits_button': (272, 68),
    'exit_button': (272, 68),
    'credits_close_button': (200, 50),
    'exit_intro_button': (224, 56),
    'exit_level_button': (224, 56),
}


def navy(p):
    """The panels' deep blue."""
    return p[2] > 60 and p[0] < 32 and p[1] < 32


def gold(p):
    """The border and label of a button under the pointer."""
    return p[0] > 180 and p[1] > 120 and p[2] < 110


def coat(p):
    """The hero's brown coat: redder than the cobbles, the walls and the fog."""
    return p[0] - p[1] > 30 and p[0] - p[2] > 70


def white(p):
    return p[0] >= 245 and p[1] >= 245 and p[2] >= 245


class Screens:
    def __init__(self, c, width, height):
        self.c = c
        self.width = width
        self.height = height
        self.sx = width / 1024.0
        self.sy = height / 768.0
        self.game = None
        self.shot = None

    # -- set-up ---------------------------------------------------------------------------
    def start(self):
        game = Game()
        shutil.rmtree(game.data)
        shutil.copytree(DATA, game.data)
        with open(os.path.join(DATA, 'conf_pc_d.cfo')) as f:
            config = f.read()
        config = config.replace('width = 1024;', 'width = %d;' % self.width)
        config = config.replace('height = 768;', 'height = %d;' % self.height)
        game.write('conf_pc_d.cfo', config)
        game.start()
        self.game = game
        self.c.check(game.find_window(timeout=60) is not None, 'the window "Orsin" appears')
        x, y, w, h = game.geometry()
        self.c.equal((w, h), (self.width, self.height), 'the window has the configured size')

    # -- pixels ---------------------------------------------------------------------------
    def at(self, x, y):
        return int(x * self.sx), int(y * self.sy)

    def fraction(self, shot, box, test):
        """The fraction of the pixels of a virtual box (x0, y0, x1, y1) that pass `test`."""
        x0, y0 = self.at(box[0], box[1])
        x1, y1 = self.at(box[2], box[3])
        count = total = 0
        for y in range(y0, y1, 2):
            for x in range(x0, x1, 2):
                total += 1
                if test(shot.pixel(x, y)):
                    count += 1
        return count / max(total, 1)

    def mean_difference(self, a, b, boxes, step=2):
        """The mean difference of two shots over virtual boxes, summed over R, G and B,
        sampled every `step` window pixels."""
        total = n = 0
        for box in boxes:
            x0, y0 = self.at(box[0], box[1])
            x1, y1 = self.at(box[2], box[3])
            for y in range(y0, y1, step):
                for x in range(x0, x1, step):
                    pa, pb = a.pixel(x, y), b.pixel(x, y)
                    total += sum(abs(pa[i] - pb[i]) for i in range(3))
                    n += 1
        return total / max(n, 1)

    def button_box(self, name):
        (x, y), (w, h) = BUTTONS[name], BUTTON_SIZE[name]
        return (x - w / 2, y - h / 2, x + w / 2, y + h / 2)

    def wait(self, what, predicate, timeout=90):
        """Screenshots until `predicate(shot)` holds; the check and the last shot."""
        deadline = time.time() + timeout
        shot = None
        while time.time() < deadline:
            shot = self.game.window_shot()
            if shot is not None and shot.width == self.width and predicate(shot):
                break
            shot = None
            time.sleep(0.3)
        self.c.check(shot is not None, '%s (%dx%d)' % (what, self.width, self.height))
        keep = os.environ.get('VELMORA_SCREENS_SHOT')
        if keep and shot is not None:
            shot.save_ppm('%s_%d_%s.ppm' % (keep, self.width, re.sub(r'\W+', '_', what)))
        self.shot = shot
        return shot

    # -- input ----------------------------------------------------------------------------
    def point(self, x, y):
        self.game.mouse_move(*self.at(x, y))

    def click(self, name):
        """Moves to the button's centre, waits for its highlight (the motion has arrived and
        the hit test found it), then presses the left button."""
        self.point(*BUTTONS[name])
        box = self.button_box(name)
        if self.wait('%s lights up under the pointer' % name,
                     lambda s: self.fraction(s, box, gold) > 0.03) is None:
            return False
        self.game.click(1)
        return True


def walk(c, width, height):
    s = Screens(c, width, height)
    s.start()
    game = s.game
    try:
        if game.window is None:
            return c.done([game])
        # Boot: the boot window's panel, the level beside it.
        s.wait('the boot screen', lambda shot: s.fraction(shot, (200, 480, 820, 660), navy) > 0.6
               and s.fraction(shot, (10, 300, 110, 500), navy) < 0.05)
        if not s.click('continue_button'):
            return c.done([game])
        # Main menu: its panel, and the boot panel gone.
        s.wait('the main menu', lambda shot: s.fraction(shot, (290, 560, 370, 660), navy) > 0.8
               and s.fraction(shot, (200, 480, 260, 650), navy) < 0.3)
        s.click('credits_button')
        # Credits: the close button exists only here; the play button has gone.
        s.wait('the credits', lambda shot: s.fraction(shot, (290, 240, 360, 300), navy) > 0.8)
        s.click('credits_close_button')
        s.point(900, 300)  # off every button
        s.wait('the main menu again', lambda shot:
               s.fraction(shot, s.button_box('play_button'), navy) > 0.3 and
               s.fraction(shot, s.button_box('play_button'), gold) < 0.01)
        before = len(game.output())
        s.click('play_button')
        # Intro: its window over the level, the HUD bars and the mini map; the world paused.
        s.wait('the intro', lambda shot: s.fraction(shot, (200, 200, 300, 260), navy) > 0.8
               and s.fraction(shot, (30, 26, 110, 28), lambda p: p[1] > 150 and p[0] < 40) > 0.8)
        c.check(game.wait_for_line(r'^output: data/resources/meshes/courtyard.abt$',
                                   start=before, timeout=30) >= 0, 'play loads the level anew')
        s.click('exit_intro_button')
        # Playing: no window, the HUD bars in their colours, the hero's back in the middle
        # of the picture, the pointer gone.
        # The pointer stays where it clicked: a move would turn the hero's camera.
        shot = s.wait('the game with the follow camera', lambda shot:
                      s.fraction(shot, (200, 200, 300, 260), navy) < 0.2 and
                      s.fraction(shot, (440, 450, 580, 700), coat) > 0.2)
        if shot is not None:
            c.check(s.fraction(shot, (30, 26, 110, 28), lambda p: p[1] > 150 and p[0] < 40) > 0.8,
                    'the run bar is green')
            c.check(s.fraction(shot, (30, 49, 110, 51), lambda p: p[0] > 150 and p[1] < 40) > 0.8,
                    'the health bar is red')
            ring = [shot.pixel(*s.at(910 + 85 * dx, 108 + 85 * dy))
                    for dx, dy in ((1, 0), (0, 1), (-1, 0), (0, -1), (0.7, 0.7), (-0.7, 0.7))]
            outside = [shot.pixel(*s.at(910 + 104 * dx, 108 + 104 * dy))
                       for dx, dy in ((0, 1), (-1, 0), (-0.7, 0.7))]
            c.check(all(not navy(p) for p in ring), 'the mini map disc is drawn')
            c.check(ring != outside, 'the disc differs from what lies around it')
        # The pointer hides one update after the intro's button: frames may be slow here.
        s.wait('the pointer is hidden', lambda shot: s.fraction(shot, (384, 442, 410, 470), white)
               < 0.01)
        # Pause screen and back.
        game.key('Escape')
        s.wait('the pause screen', lambda shot: s.fraction(shot, (200, 200, 300, 260), navy) > 0.8)
        # The world is paused: the pointer can move without turning anything.
        s.point(700, 600)
        s.wait('the pointer shows on the pause screen',
               lambda shot: s.fraction(shot, (690, 590, 730, 640), white) > 0.02)
        game.key('Escape')
        s.wait('playing again', lambda shot: s.fraction(shot, (200, 200, 300, 260), navy) < 0.2)
        game.key('Escape')
        s.wait('paused again', lambda shot: s.fraction(shot, (200, 200, 300, 260), navy) > 0.8)
        s.click('exit_level_button')
        s.point(900, 300)
        s.wait('back in the main menu', lambda shot:
               s.fraction(shot, (290, 560, 370, 660), navy) > 0.8 and
               s.fraction(shot, (30, 26, 110, 28), lambda p: p[1] > 150 and p[0] < 40) < 0.1)
        s.click('exit_button')
        c.equal(game.wait_exit(30), 0, 'exit ends the program with code 0')
        c.equal(game.count_lines(r'not a texture|Scene object not found|failed'), 0,
                'every screen texture loads and the level is found')
        c.check(game.count_lines(r'^output: data/resources/meshes/courtyard.abt$') == 2,
                'the level loads behind the menu and again for play')
    finally:
        game.stop()
    return c.done([game])

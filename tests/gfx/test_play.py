# labels: game;gfx
# serial
"""Playing the courtyard level with real key presses: from the level's start the hero walks
up to the yard door's switch, strikes it, and the door swings open with its message; "t"
then toggles every door. The probe program logs the messages the game's screens would
show; screenshots show the switch and the door move."""

import os
import re
import shutil
import sys
import time

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
from harness import Checks, Game, level_only, run_cases  # noqa: E402

DATA = os.path.join(os.path.dirname(os.path.abspath(__file__)), '..', '..', 'data')
MESSAGE = "^TestProbe 'p' message '%s'$"


def start_level(c):
    """The probe program on a copy of the whole data folder with the committed start-up
    configuration in a small window (400x300: llvmpipe then keeps frames short under load,
    and the physics' steps with them), plus a probe that resumes the world on "r" and logs
    messages."""
    game = Game(probe=True)
    shutil.rmtree(game.data)
    shutil.copytree(DATA, game.data)
    with open(os.path.join(DATA, 'conf_pc_d.cfo')) as f:
        config = level_only(f.read())
    config = config.replace('width = 1024;', 'width = 400;').replace('height = 768;',
                                                                     'height = 300;')
    config = config.replace('require =', 'TestProbe = { name = p; resume_key = 1; '
                            'log_messages = 1; }\n\trequire =')
    # The strike on its own key: by default it shares "d" with the right side step, and a
    # strike held through a slow frame would carry the hero out of the switch's reach.
    config, count = re.subn(r'k_action_hit = d;', 'k_action_hit = e;', config)
    c.equal(count, 1, 'the configuration binds the strike')
    game.write('conf_pc_d.cfo', config)
    game.start()
    c.check(game.find_window(timeout=60) is not None, 'the window "Orsin" appears')
    c.check(game.wait_for_line(r"^TestProbe 'p' FrameEvent in pass 3$", timeout=60) >= 0,
            'the level runs')
    return game


def shot_of(c, game, what):
    time.sleep(0.6)
    shot = game.window_shot()
    c.check(shot is not None and shot.width > 0, 'a screenshot %s' % what)
    keep = os.environ.get('VELMORA_PLAY_SHOT')
    if keep and shot is not None:
        shot.save_ppm('%s_%s.ppm' % (keep, re.sub(r'\W+', '_', what)))
    return shot


def hero_position(c, game, what):
    before = len(game.output())
    game.key('F5')
    index = game.wait_for_line(r'^pos: (-?[\d.]+),(-?[\d.]+)$', start=before)
    if not c.check(index >= 0, 'F5 prints the hero\'s position (%s)' % what):
        return None
    m = re.match(r'^pos: (-?[\d.]+),(-?[\d.]+)$', game.output()[index])
    return float(m.group(1)), float(m.group(2))


def door_pixels(shot):
    """The fraction of the left third of the picture (between a sixth and two thirds of its
    height) that shows the dark wood of the door's planks: where the door stands, seen from
    the switch."""
    count = total = 0
    for y in range(shot.height // 6, shot.height * 2 // 3):
        for x in range(0, shot.width // 3):
            r, g, b = shot.pixel(x, y)
            total += 1
            if r < 90 and g < 70 and b < 60 and r > b:
                count += 1
    return count / max(total, 1)


def wait_count(game, pattern, count, timeout):
    """Whether the output holds `count` lines of `pattern` within `timeout` seconds."""
    deadline = time.time() + timeout
    while time.time() < deadline:
        if game.count_lines(pattern) >= count:
            return True
        time.sleep(0.2)
    return game.count_lines(pattern) >= count


def changed(a, b, x0, y0, x1, y1):
    """The fraction of the rectangle whose pixels differ clearly between two pictures."""
    n = total = 0
    for y in range(y0, y1):
        for x in range(x0, x1):
            total += 1
            if sum(abs(p - q) for p, q in zip(a.pixel(x, y), b.pixel(x, y))) > 60:
                n += 1
    return n / max(total, 1)


def case_the_hero_throws_the_switch_and_the_door_opens(c):
    game = start_level(c)
    try:
        # Both doors close themselves as the level starts.
        c.check(game.wait_for_line(MESSAGE % 'The yard door is shut') >= 0,
                'the yard door closes at the start')
        c.check(game.wait_for_line(MESSAGE % 'The east gate is shut') >= 0,
                'the east gate closes at the start')
        game.key('r')
        c.check(game.wait_for_line(r"^TestProbe 'p' ResumeGameEvent 1 in pass") >= 0,
                'the world resumes')
        # The follow camera: the hero's own view, behind him.
        game.key('F1')
        c.check(game.wait_for_line(r'^Camera mode changed: 0$') >= 0, 'F1: the follow camera')
        # With the follow camera the hero turns to its heading (south): let him finish.
        time.sleep(2.0)
        start = hero_position(c, game, 'start')
        c.check(start is not None and abs(start[0] - 40) < 1 and abs(start[1] + 1250) < 1,
                'the hero starts at 40,-1250: %r' % (start,))

        # Forward: the hero walks south until the switch's plinth stops him. Slow frames walk
        # less far in the same time, so the position decides, not the clock.
        game.key_down('w')
        last = None
        deadline = time.time() + 20
        while time.time() < deadline:
            time.sleep(0.5)
            now = hero_position(c, game, 'walking')
            if now is not None and last is not None and now[1] < -1380 and \
                    abs(now[1] - last[1]) < 1.0:
                break
            last = now
        game.key_up('w')
        at_switch = hero_position(c, game, 'at the switch')
        c.check(at_switch is not None and -1420 < at_switch[1] < -1400,
                'the hero stands at the switch: %r' % (at_switch,))
        before = shot_of(c, game, 'at the switch')
        c.check(door_pixels(before) > 0.3, 'the shut door in view: %.2f' % door_pixels(before))
        c.equal(game.count_lines(MESSAGE % 'The yard door swings open'), 0,
                'the door is still shut')

        # The strike, held for a few frames.
        game.key_down('e')
        time.sleep(0.8)
        game.key_up('e')
        c.check(game.wait_for_line(MESSAGE % 'The yard door swings open', timeout=15) >= 0,
                'the switch opens the yard door, with its message')
        c.equal(game.count_lines(MESSAGE % 'The east gate slides open'), 0,
                'the other switch\'s gate stays shut')
        opened = shot_of(c, game, 'door open')
        c.check(door_pixels(opened) < door_pixels(before) / 3,
                'the door has swung out of the gap: wood %.2f -> %.2f'
                % (door_pixels(before), door_pixels(opened)))
        # The switch's lever stands up now: the middle of the picture changes.
        w, h = opened.width, opened.height
        c.check(changed(before, opened, w // 3, 0, w * 2 // 3, h // 2) > 0.01,
                'the switch shows its other look: %.3f'
                % changed(before, opened, w // 3, 0, w * 2 // 3, h // 2))

        # "t" toggles every door: the open one shuts, the shut one opens.
        game.key('t')
        c.check(wait_count(game, MESSAGE % 'The yard door is shut', 2, 15),
                '"t" shuts the yard door again')
        c.check(game.wait_for_line(MESSAGE % 'The east gate slides open', timeout=15) >= 0,
                '"t" opens the east gate')
        shut = shot_of(c, game, 'door shut again')
        c.check(door_pixels(shut) > door_pixels(before) / 2,
                'the door is back in the gap: wood %.2f' % door_pixels(shut))
        game.key('q')
        c.equal(game.wait_exit(20), 0, 'exit code after "q"')
    finally:
        if c.failures and game.running():
            print('---- the game stopped answering; its threads ----')
            print(game.backtrace())
        game.stop()
    return c.done([game])


def once_more(case):
    """The played case runs a second time when its first run fails: once in about ten runs
    on a loaded machine the game stopped answering its keys mid-walk (its threads are printed
    when that happens, see above). A second failure fails the test."""
    def run(c):
        first = Checks(c.name + ' (first run)')
        if case(first) == 0:
            return c.done()
        print('FIRST RUN FAILED (%s); running the case once more'
              % '; '.join(first.failures[:3]))
        return case(c)
    return run


if __name__ == '__main__':
    run_cases([(name[5:], once_more(fn)) for name, fn in sorted(globals().items())
               if name.startswith('case_') and callable(fn)])

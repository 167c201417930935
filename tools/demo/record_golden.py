#!/usr/bin/env python3
"""Records the golden demo: a run of the real game played through with real X input
(xdotool) under its own Xvfb, written with `--record`:

  boot -> main menu -> play -> intro -> the yard door's switch -> strike: the door opens ->
  the square's patrol comes and strikes -> fight back until it falls -> a medkit ->
  pause -> back to the main menu -> exit.

    scripts/with-xvfb.sh python3 tools/demo/record_golden.py build/release/velmora \\
        data/demos/golden.demo tests/gfx/golden

The player steers by the hero's printed position (F5), so slow frames walk the same way.
F12 marks the three passes whose pictures the replay test compares: "door_open", "fight",
"paused". The tool then replays the new demo at 320x240 as fast as it goes (as the test
does), checks that the replay prints the recording's digest, and writes that digest and the
marked passes' pictures (golden.digest, NAME.png) into the folder given. A run that does
not reach every step fails and writes nothing."""

import math
import subprocess
import os
import re
import shutil
import sys
import time

HERE = os.path.dirname(os.path.abspath(__file__))
ROOT = os.path.normpath(os.path.join(HERE, '..', '..'))
sys.path.insert(0, os.path.join(ROOT, 'tests', 'gfx'))
from harness import Game  # noqa: E402
from screens_walk import BUTTONS  # noqa: E402

MARKS = ['door_open', 'fight', 'paused']


class Player:
    def __init__(self, game, width, height):
        self.game = game
        self.width, self.height = width, height
        self.degrees_per_pixel = 1.0

    def say(self, text):
        print('record: %s' % text, flush=True)

    def fail(self, text):
        raise RuntimeError(text)

    def click(self, name):
        x, y = BUTTONS[name]
        self.game.mouse_move(x * self.width // 1024, y * self.height // 768)
        time.sleep(0.8)
        self.game.click(1)
        time.sleep(0.8)

    def position(self):
        before = len(self.game.output())
        self.game.key('F5')
        index = self.game.wait_for_line(r'^pos: (-?[\d.e+-]+),(-?[\d.e+-]+)$', start=before,
                                        timeout=10)
        if index < 0:
            self.fail('no position after F5')
        m = re.match(r'^pos: (-?[\d.e+-]+),(-?[\d.e+-]+)$', self.game.output()[index])
        return float(m.group(1)), float(m.group(2))

    def hold(self, key, seconds):
        self.game.key_down(key)
        time.sleep(seconds)
        self.game.key_up(key)

    def mark(self):
        self.game.key('F12')
        time.sleep(0.3)

    def turn(self, pixels):
        """Moves the pointer sideways: the follow camera, and the hero with it, turn (to the
        right for positive pixels). In steps of a few pixels: a pointer move turns by its
        pixels times the last frame's length, and the game starts the view over from its
        heading of 0 once it has turned a whole circle, which one large move on a slow frame
        would do."""
        pixels = int(pixels)
        step = 4 if pixels > 0 else -4
        while abs(pixels) >= 4:
            subprocess.run(['xdotool', 'mousemove_relative', '--', str(step), '0'],
                           stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL, timeout=10)
            pixels -= step
            time.sleep(0.015)

    def walk_to(self, target, reach=40.0, timeout=90.0):
        """Walks to `target`, steering by the printed positions: the heading is the last
        stretch's direction. A large error is turned away standing (the stretch after the
        turn shows how far a pixel turned at this frame rate, which the next turn uses);
        a small one while walking on."""
        deadline = time.time() + timeout
        last = self.position()
        now = last
        heading = None
        turned = 0
        self.game.key_down('w')
        try:
            while time.time() < deadline:
                time.sleep(0.35)
                now = self.position()
                if math.hypot(target[0] - now[0], target[1] - now[1]) < reach:
                    return now
                stretch = math.hypot(now[0] - last[0], now[1] - last[1])
                if stretch < 6.0:
                    # Against something: back off, a little to the left, and on.
                    self.game.key_up('w')
                    self.hold('s', 0.4)
                    self.turn(-30)
                    time.sleep(0.3)
                    self.game.key_down('w')
                    heading, turned = None, 0
                    last = self.position()
                    continue
                new_heading = math.degrees(math.atan2(now[1] - last[1], now[0] - last[0]))
                if heading is not None and abs(turned) >= 10:
                    answer = -((new_heading - heading + 540.0) % 360.0 - 180.0) / turned
                    if 0.1 < answer < 6.0:
                        self.degrees_per_pixel = 0.4 * self.degrees_per_pixel + 0.6 * answer
                heading = new_heading
                want = math.degrees(math.atan2(target[1] - now[1], target[0] - now[0]))
                error = (want - heading + 540.0) % 360.0 - 180.0
                turned = int(max(-150, min(150, -0.8 * error / self.degrees_per_pixel)))
                if os.environ.get('GOLDEN_VERBOSE'):
                    self.say('at %.0f,%.0f heading %.0f want %.0f, %.2f degrees a pixel'
                             % (now + (heading, want, self.degrees_per_pixel)))
                if abs(error) > 25.0:
                    self.game.key_up('w')
                    self.turn(turned)
                    time.sleep(0.4)
                    last = self.position()
                    self.game.key_down('w')
                else:
                    self.turn(turned)
                    last = now
        finally:
            self.game.key_up('w')
        self.fail('did not reach %r from %r' % (target, now))

    def health(self):
        """The hero's health as the HUD's red bar shows it (18 to 118 on the virtual
        screen, 35 to 52 down, the label over its upper part), or None without a picture."""
        shot = self.game.window_shot()
        if shot is None or shot.width != self.width:
            return None
        y = 51 * self.height // 768
        count = 0
        for x in range(18 * self.width // 1024, 122 * self.width // 1024):
            r, g, b = shot.pixel(x, y)
            if r > 120 and g < 50 and b < 50:
                count += 1
        return count * 1024.0 / self.width

    def wait_for_blows(self, seconds):
        """Stands until the health bar drops (a patrol strikes); False when nothing came."""
        start = self.health()
        deadline = time.time() + seconds
        while time.time() < deadline:
            time.sleep(0.5)
            now = self.health()
            if start is not None and now is not None and now < start - 3:
                return True
        return False

    def find_patrol(self):
        """Where a patrol's navy uniform shows in the view: the mean column of its pixels
        as a fraction of the width from the centre (-0.5 left .. 0.5 right) and their share
        of the picture; None when none shows. The HUD corners are left out."""
        shot = self.game.window_shot()
        if shot is None or shot.width != self.width:
            return None
        if os.environ.get('GOLDEN_SHOTS'):
            self.shots = getattr(self, 'shots', 0) + 1
            shot.save_ppm('%s_%03d.ppm' % (os.environ['GOLDEN_SHOTS'], self.shots))
        xs = []
        total = 0
        for y in range(self.height // 8, self.height * 19 // 20, 3):
            for x in range(0, self.width, 3):
                if y < self.height * 2 // 5 and (x > self.width * 3 // 4 or x < self.width // 5):
                    continue
                total += 1
                r, g, b = shot.pixel(x, y)
                if b > 45 and b > r + 25 and b > g + 15 and r < 60:
                    xs.append(x)
        if len(xs) < 12:
            return None
        return sum(xs) / len(xs) / self.width - 0.5, len(xs) / max(total, 1)

    def fight(self, longest):
        """Holds the strike (d, which also steps to the right) with the step to the left (a),
        so that the hero stands his ground, and turns him to the patrol's uniform in the
        view, or looks around for it: the blow lands on what stands in front of him. Ends
        when the hero has taken no blow for eight seconds (a patrol strikes every two
        while it can)."""
        self.game.key_down('a')
        self.game.key_down('d')
        deadline = time.time() + longest
        health = self.health()
        last_blow = time.time()
        try:
            while time.time() < deadline and time.time() - last_blow < 8.0:
                seen = self.find_patrol()
                if seen is None:
                    self.turn(int(45.0 / self.degrees_per_pixel))
                else:
                    # About 70 degrees across the view.
                    self.turn(int(seen[0] * 70.0 / self.degrees_per_pixel))
                time.sleep(0.2)
                now = self.health()
                if now is not None and health is not None and now < health - 3:
                    last_blow = time.time()
                    self.say('struck: health %.0f, patrol %r' % (now, seen))
                if os.environ.get('GOLDEN_VERBOSE'):
                    self.say('health %r, patrol %r' % (now, seen))
                if now is not None:
                    health = now
        finally:
            self.game.key_up('d')
            self.game.key_up('a')
        return health


def record(binary, demo_path, out_dir):
    os.environ['VELMORA_BINARY'] = binary
    game = Game(args=['--record', os.path.abspath(demo_path) + '.part'])
    shutil.rmtree(game.data)
    shutil.copytree(os.path.join(ROOT, 'data'), game.data)
    # A smaller window than the game's own keeps the frames short on a loaded machine:
    # the demo keeps the size, and the replay scales the pointer from it.
    width, height = 640, 480
    with open(os.path.join(ROOT, 'data', 'conf_pc_d.cfo')) as f:
        config = f.read()
    game.write('conf_pc_d.cfo', config.replace('width = 1024;', 'width = %d;' % width)
               .replace('height = 768;', 'height = %d;' % height))
    p = Player(game, width, height)
    try:
        game.start()
        if game.find_window(timeout=60) is None:
            p.fail('no window')
        if game.wait_for_line(r'^Demo: recording to', timeout=60) < 0:
            p.fail('the game does not record')
        time.sleep(6)  # the boot screen over the level
        p.say('boot -> menu -> play')
        p.click('continue_button')
        time.sleep(1.5)
        p.click('play_button')
        if game.wait_for_line(r'^output: data/resources/meshes/courtyard.abt$', timeout=60) < 0:
            p.fail('play does not load the level')
        time.sleep(5)  # the intro and its clip
        p.click('exit_intro_button')
        time.sleep(1.0)
        time.sleep(2.0)  # the follow camera turns the hero to its heading
        p.say('to the switch')
        p.walk_to((40.0, -1405.0), reach=12.0)
        p.say('at the switch: %r' % (p.position(),))
        p.hold('d', 1.2)
        time.sleep(2.5)
        p.mark()  # door_open
        p.say('through the door into the south-west yard')
        p.hold('s', 0.8)  # off the switch's plinth
        p.turn(-60)       # to the left, towards the east
        time.sleep(0.5)
        p.say('turned at %r' % (p.position(),))
        for target in ((200.0, -1380.0), (200.0, -1600.0), (150.0, -1780.0)):
            p.say('at %r' % (p.walk_to(target, reach=35.0),))
        p.say('wait for the yard\'s patrol')
        if not p.wait_for_blows(50):
            p.say('not here: to the corner of its round')
            p.walk_to((-1000.0, -2700.0), reach=60.0)
            if not p.wait_for_blows(50):
                p.fail('the patrol did not come')
        p.mark()  # fight
        p.say('fight: health %.0f' % p.fight(90))
        p.say('after the fight at %r' % (p.position(),))
        here = p.position()
        if here[0] > -300:
            p.walk_to((0.0, -2650.0), reach=60.0)
        p.say('the medkit at %r' % (p.walk_to((-1230.0, -2840.0), reach=50.0),))
        p.hold('w', 0.6)
        time.sleep(1.0)
        p.say('pause, menu, exit')
        game.key('Escape')
        time.sleep(2)
        p.mark()  # paused
        p.click('exit_level_button')
        time.sleep(2)
        p.click('exit_button')
        if game.wait_exit(60) is None:
            p.fail('the game does not end')
    except Exception:
        # Ended with "q", a run that went wrong still leaves its demo and digest to look at.
        if game.running():
            game.key('q')
            game.wait_exit(30)
        print('\n'.join(game.output()[-25:]))
        raise
    finally:
        if game.running():
            game.stop()
    out = game.output()
    game.stop()
    digest = [line for line in out if line.startswith('Digest: ')]
    if not digest:
        print('\n'.join(out[-40:]))
        raise RuntimeError('no digest printed')
    text = open(demo_path + '.part').read()
    os.remove(demo_path + '.part')
    names = iter(MARKS)
    text = re.sub(r'^mark (\d+) mark\d+$', lambda m: 'mark %s %s' % (m.group(1), next(names)),
                  text, flags=re.M)
    if len(re.findall(r'^mark \d+ ', text, flags=re.M)) != len(MARKS):
        raise RuntimeError('the run has not three marks')
    with open(demo_path, 'w') as f:
        f.write(text)

    # The replay the test makes: its digest must be the recording's.
    replay = Game(args=['--timedemo', os.path.abspath(demo_path)])
    shutil.rmtree(replay.data)
    shutil.copytree(os.path.join(ROOT, 'data'), replay.data)
    with open(os.path.join(ROOT, 'data', 'conf_pc_d.cfo')) as f:
        config = f.read()
    replay.write('conf_pc_d.cfo', config.replace('width = 1024;', 'width = 320;')
                 .replace('height = 768;', 'height = 240;'))
    shots = os.path.join(replay.folder, 'shots')
    os.makedirs(shots)
    replay.args += ['--shots', shots]
    replay.start()
    replay.wait_exit(300)
    replayed = [line for line in replay.output() if line.startswith('Digest: ')]
    if replayed != digest:
        replay.stop()
        raise RuntimeError('the replay went another way:\n%s\n%s'
                           % ('\n'.join(digest), '\n'.join(replayed)))
    os.makedirs(out_dir, exist_ok=True)
    for name in MARKS:
        subprocess.run(['convert', os.path.join(shots, name + '.ppm'),
                        os.path.join(out_dir, name + '.png')], check=True)
    replay.stop()
    with open(os.path.join(out_dir, 'golden.digest'), 'w') as f:
        f.write('\n'.join(digest) + '\n')
    print('\n'.join(digest))
    print('record: %s and %s written' % (demo_path, out_dir))


if __name__ == '__main__':
    if len(sys.argv) != 4:
        print(__doc__)
        sys.exit(2)
    record(os.path.abspath(sys.argv[1]), sys.argv[2], sys.argv[3])

# labels: app;gfx
# timeout: 900
"""Demos: the golden demo (data/demos/golden.demo, a played-through run recorded with real
input) replayed as fast as the machine draws gives the digest its recording printed, and
the pictures of its three marked passes; a run recorded here with real key presses and
clicks replays to its own digest; a damaged demo or a wrong command line is refused."""

import os
import re
import shutil
import subprocess
import sys

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
from harness import CONVERT, Game, parse_ppm, run_cases  # noqa: E402
from screens_walk import BUTTONS  # noqa: E402

HERE = os.path.dirname(os.path.abspath(__file__))
ROOT = os.path.normpath(os.path.join(HERE, '..', '..'))
DATA = os.path.join(ROOT, 'data')
GOLDEN = os.path.join(ROOT, 'data', 'demos', 'golden.demo')
GOLDEN_DIR = os.path.join(HERE, 'golden')
RECORD_AGAIN = """
The game no longer plays the golden demo the way it was recorded. When the change of
behaviour is meant, record the demo again and commit the three files it writes:
    scripts/with-xvfb.sh python3 tools/demo/record_golden.py build/release/velmora \\
        data/demos/golden.demo tests/gfx/golden
"""


def sized_game(c, width, height, args):
    game = Game(args=args)
    shutil.rmtree(game.data)
    shutil.copytree(DATA, game.data)
    with open(os.path.join(DATA, 'conf_pc_d.cfo')) as f:
        config = f.read()
    config = config.replace('width = 1024;', 'width = %d;' % width)
    config = config.replace('height = 768;', 'height = %d;' % height)
    game.write('conf_pc_d.cfo', config)
    return game


def digest_of(lines):
    return [line for line in lines if line.startswith('Digest: ')]


def read_image(path):
    r = subprocess.run([CONVERT, path, 'ppm:-'], stdout=subprocess.PIPE,
                       stderr=subprocess.DEVNULL, timeout=60)
    return parse_ppm(r.stdout)


def mean_difference(a, b):
    total = 0
    for y in range(a.height):
        for x in range(a.width):
            pa, pb = a.pixel(x, y), b.pixel(x, y)
            total += sum(abs(pa[i] - pb[i]) for i in range(3))
    return total / max(a.width * a.height, 1)


def case_the_golden_demo_replays_to_its_digest_and_pictures(c):
    game = sized_game(c, 320, 240, [])
    shots = os.path.join(game.folder, 'shots')
    os.makedirs(shots)
    game.args = ['--timedemo', GOLDEN, '--shots', shots]
    try:
        game.start()
        code = game.wait_exit(780)
        c.equal(code, 0, 'the timedemo ends by itself with code 0')
        out = game.output()
        timing = [line for line in out if line.startswith('Timedemo: ')]
        c.check(len(timing) == 1 and re.match(
            r'^Timedemo: \d+ passes in [\d.]+ s, [\d.]+ frames per second at 320x240; per pass '
            r'[\d.]+ ms logic, [\d.]+ ms drawing; \d+ % of a core in all threads$',
            timing[0]) is not None,
            'the timedemo prints its frame rate: %r' % timing)
        c.equal(sum(1 for line in out if line.startswith('Demo: pass ')), 0,
                'every pass runs with the dt it was recorded with')
        with open(os.path.join(GOLDEN_DIR, 'golden.digest')) as f:
            expected = f.read().splitlines()
        got = digest_of(out)
        if not c.check(got == expected, 'the replay gives the recording\'s digest'):
            for a, b in zip(expected, got + [''] * len(expected)):
                if a != b:
                    print('  recorded: %s\n  replayed: %s' % (a, b))
            print(RECORD_AGAIN)
        for name in ('door_open', 'fight', 'paused'):
            path = os.path.join(shots, name + '.ppm')
            if not c.check(os.path.exists(path), 'the picture of the pass "%s"' % name):
                continue
            with open(path, 'rb') as f:
                shot = parse_ppm(f.read())
            reference = read_image(os.path.join(GOLDEN_DIR, name + '.png'))
            c.equal((shot.width, shot.height), (320, 240), '%s is 320x240' % name)
            if shot.width != reference.width or shot.height != reference.height:
                continue
            difference = mean_difference(shot, reference)
            # llvmpipe draws the same frame the same way; a small margin for another CPU's
            # vector width. A wrong frame differs by tens.
            if not c.check(difference < 6.0, 'the pass "%s" looks as recorded (mean difference '
                           '%.2f over R+G+B)' % (name, difference)):
                shutil.copy(path, os.path.join('/tmp', 'velmora_demo_%s.ppm' % name))
                print(RECORD_AGAIN)
    finally:
        game.stop()
    return c.done([game])


def case_a_run_recorded_here_replays_to_its_own_digest(c):
    recording = sized_game(c, 640, 480, [])
    demo = os.path.join(recording.folder, 'run.demo')
    recording.args = ['--record', demo, '--seed', '7']
    replay = None
    try:
        recording.start()
        c.check(recording.find_window(timeout=60) is not None, 'the window "Orsin" appears')
        c.check(recording.wait_for_line(r'^Demo: recording to .*run.demo\', seed 7$',
                                        timeout=60) >= 0, 'the game says it records')
        c.check(recording.wait_for_line(r'^output: data/resources/meshes/courtyard.abt$',
                                        timeout=60) >= 0, 'the level behind the boot screen')
        # Real input: the pointer over the boot screen's button, a click, the play button,
        # a key the world reads, F12 for a mark.
        for name in ('continue_button', 'play_button'):
            x, y = BUTTONS[name]
            recording.mouse_move(x * 640 // 1024, y * 480 // 768)
            subprocess.run(['sleep', '1'])
            recording.click(1)
            subprocess.run(['sleep', '1.5'])
        recording.key('F12')
        subprocess.run(['sleep', '2'])
        recording.key('q')
        c.equal(recording.wait_exit(60), 0, 'q ends the recording')
        out = recording.output()
        c.check(any(re.match(r'^Demo: mark 1 at pass \d+$', line) for line in out),
                'F12 marks a pass')
        c.check(any(re.match(r'^Demo: \d+ passes written to .*run.demo\'$', line) for line in out),
                'the demo is written at the end')
        recorded = digest_of(out)
        c.check('Digest: GameGUILayer GameGuiLayer shows intro_window intro_video '
                'exit_intro_button exit_level_button' in recorded and
                'Digest: MainGUILayer CustomGuiLayer hidden' in recorded and
                any(line.startswith('Digest: main_player Player pos=') for line in recorded),
                'the digest names the hero and the screens (the intro, after play): %r'
                % recorded)
        # The same run again, at another window size and as fast as it goes.
        replay = sized_game(c, 320, 240, ['--timedemo', demo])
        replay.start()
        c.equal(replay.wait_exit(120), 0, 'the replay ends by itself')
        replayed = digest_of(replay.output())
        c.check(recorded and replayed == recorded,
                'the replay prints the recording\'s digest:\n%s\n%s'
                % ('\n'.join(recorded), '\n'.join(replayed)))
    finally:
        recording.stop()
        if replay is not None:
            replay.stop()
    return c.done([recording] + ([replay] if replay else []))


def case_a_damaged_demo_or_a_wrong_line_is_refused(c):
    game = sized_game(c, 320, 240, [])
    try:
        with open(GOLDEN) as f:
            text = f.read()
        cut = os.path.join(game.folder, 'cut.demo')
        with open(cut, 'w') as f:
            f.write(text[:len(text) // 2])
        game.args = ['--replay', cut]
        game.start()
        c.equal(game.wait_exit(30), 1, 'a cut demo ends the program with code 1')
        c.check(any(re.match(r"^Demo: cannot replay '.*cut.demo': line \d+: ", line)
                    for line in game.output()), 'and says why: %r' % game.output()[-1:])
        c.equal(game.count_lines(r'^Velmora$'), 0, 'before the banner')
        other = Game(args=['--replya', 'x.demo'])
        other.start()
        c.equal(other.wait_exit(30), 2, 'an unknown option ends the program with code 2')
        c.equal(other.output()[:2], ["velmora: unknown option '--replya'",
                                     'usage: velmora [CONFIGURATION] [--record FILE] [--seed N]'],
                'and prints the usage')
        other.stop()
    finally:
        game.stop()
    return c.done([game])


if __name__ == '__main__':
    run_cases([(name[5:], fn) for name, fn in sorted(globals().items())
               if name.startswith('case_') and callable(fn)])

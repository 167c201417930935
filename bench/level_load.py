#!/usr/bin/env python3
"""Level-load benchmark of the real program: the time from a LoadGameEvent of the courtyard
level to the first frame of the level, with the committed ABT file and with the tree rebuilt
from the level's meshes (the level document as committed asks for the rebuild).

Runs the probe program (tests/probe) under its own Xvfb (llvmpipe) on a copy of data/. A
probe of the start-up configuration posts the LoadGameEvent when the script presses "l"; a
second probe, added to the copied level's Scene, logs the time from that post to the end
of the level's first frame, then ends the program.

    scripts/with-xvfb.sh --size 1280x1024 python3 bench/level_load.py \
        build/release/tests/velmora_probe [runs]

Prints one line per run and the medians.
"""

import os
import re
import shutil
import statistics
import sys
import time

sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), '..', 'tests', 'gfx'))
from harness import Game  # noqa: E402

DATA = os.path.join(os.path.dirname(os.path.abspath(__file__)), '..', 'data')
LEVEL = 'scenes/enemy_test.cfo'


def prepare(game, rebuild):
    shutil.rmtree(game.data)
    shutil.copytree(DATA, game.data)
    path = os.path.join(game.data, LEVEL)
    with open(path) as f:
        level = f.read()
    if not rebuild:
        # Without the builder's node the level reads the committed file.
        level, count = re.subn(r'\n\t\t// Rebuilt on every load[^\n]*\n\t\tABTBuilder = \{.*?\n\t\t\}\n',
                               '\n', level, count=1, flags=re.S)
        if count != 1:
            raise SystemExit('the level document has no ABTBuilder node to remove')
    # Inside the Scene: the loader binds the new "game_scene" and what it holds.
    level, count = re.subn(r'(\n\tname = game_scene;\n)',
                           r'\1\tTestProbe = { name = bench; bench_frames = 30; }\n', level, count=1)
    if count != 1:
        raise SystemExit('the level document has no "game_scene"')
    with open(path, 'w') as f:
        f.write(level)
    with open(os.path.join(DATA, 'conf_pc_d.cfo')) as f:
        config = f.read()
    # No screens and no level at start: the probe's "l" loads the level as the menu would.
    config, count = re.subn(r'\n\trequire = [^\n]*', '', config)
    if count == 0:
        raise SystemExit('the start-up configuration requires nothing')
    end = config.rindex('\n}')  # the close of the "SceneManager" node, the last one
    config = (config[:end] + '\n\tTestProbe = { name = menu; load_path = "%s"; }' % LEVEL +
              config[end:])
    game.write('conf_pc_d.cfo', config)


def one_run(rebuild):
    game = Game(probe=True)
    try:
        prepare(game, rebuild)
        game.start()
        if game.find_window(timeout=60) is None:
            return None, 'no window'
        if game.wait_for_line(r"^TestProbe 'menu' FrameEvent in pass 3$", 60) < 0:
            return None, 'no frame'
        time.sleep(0.5)
        game.key('l')
        rc = game.wait_exit(120)
        text = '\n'.join(game.output())
    finally:
        game.stop()
    m = re.search(r"TestProbe 'bench' first frame swapped ([\d.]+) ms after the LoadGameEvent",
                  text)
    if rc != 0 or not m:
        return None, text[-3000:]
    built = 'output: data/resources/meshes/courtyard.abt' in text
    if built != rebuild:
        return None, 'the tree was %srebuilt' % ('' if built else 'not ')
    return float(m.group(1)), None


def main():
    if len(sys.argv) > 1:
        os.environ['VELMORA_PROBE'] = sys.argv[1]
    runs = int(sys.argv[2]) if len(sys.argv) > 2 else 5
    results = {False: [], True: []}
    for run in range(runs):
        for rebuild in (False, True):
            ms, error = one_run(rebuild)
            if ms is None:
                print('run %d (%s) failed: %s' % (run, 'rebuild' if rebuild else 'committed', error))
                return 1
            results[rebuild].append(ms)
            print('run %d: %s ABT: %.1f ms' % (run, 'rebuilt' if rebuild else 'committed', ms))
    for rebuild in (False, True):
        v = results[rebuild]
        print('median, %s ABT: %.1f ms (%.1f to %.1f)' % ('rebuilt' if rebuild else 'committed',
                                                        statistics.median(v), min(v), max(v)))
    return 0


if __name__ == '__main__':
    sys.exit(main())

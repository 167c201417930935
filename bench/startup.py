#!/usr/bin/env python3
"""Start-up and empty-frame benchmark of the real program.

Runs the probe program (the engine and start-up of `velmora` with the test probe entity,
tests/probe) under its own Xvfb (llvmpipe) on the graphical tests' configuration with one
probe entity that measures, from process start, the time to the first swapped frame
and then the frame rate of an otherwise empty scene at the given window size.

    scripts/with-xvfb.sh python3 bench/startup.py build/release/tests/velmora_probe \
        [runs] [frames] [WxH]

Prints one line per run and the medians.
"""

import os
import re
import statistics
import sys
import time

sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), '..', 'tests', 'gfx'))
from harness import Game  # noqa: E402


def main():
    if len(sys.argv) > 1:
        os.environ['VELMORA_PROBE'] = sys.argv[1]
    runs = int(sys.argv[2]) if len(sys.argv) > 2 else 5
    frames = int(sys.argv[3]) if len(sys.argv) > 3 else 500
    width, height = (sys.argv[4] if len(sys.argv) > 4 else '1024x768').split('x')
    config = ('Window={width=%s;height=%s;}\n'
              'SceneManager={ TestProbe={name=bench;z_index=100;bench_frames=%d;} }\n'
              % (width, height, frames))
    first, fps = [], []
    for run in range(runs):
        started = time.time()
        game = Game(config=config, probe=True).start()
        try:
            rc = game.wait_exit(300)
            out = game.output()
        finally:
            game.stop()
        text = '\n'.join(out)
        m1 = re.search(r"TestProbe 'bench' first frame swapped after ([\d.]+) ms", text)
        m2 = re.search(r"TestProbe 'bench' (\d+) frames in ([\d.]+) s: ([\d.]+) frames per second",
                       text)
        if rc != 0 or not m1 or not m2:
            print('run %d failed (exit %r)' % (run, rc))
            print(text[-3000:])
            return 1
        first.append(float(m1.group(1)))
        fps.append(float(m2.group(3)))
        print('run %d: first frame %.1f ms, %s frames at %sx%s: %.1f fps (wall %.2f s)'
              % (run, first[-1], m2.group(1), width, height, fps[-1], time.time() - started))
    print('median: first frame %.1f ms, %.1f fps' % (statistics.median(first),
                                                    statistics.median(fps)))
    return 0


if __name__ == '__main__':
    sys.exit(main())

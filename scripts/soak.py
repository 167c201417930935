#!/usr/bin/env python3
"""Soak: plays the golden demo again and again in one process, as fast as the machine draws,
and watches its resident memory.

    scripts/with-xvfb.sh python3 scripts/soak.py [--seconds 1800] [--csv soak.csv]
        [--passes N] [BINARY]

Every play of the demo must end in the same state digest, the program must end by itself
with code 0, and the resident memory between two plays must stay within 1 MB of what it was
between the first and the second (the first play loads and warms what every later one
reuses). The game reports that figure itself, when the last play's world is gone and the
next one's is not yet built. Memory is also sampled every 10 seconds for the curve; the
samples go to the CSV file with the play each was taken in. Exit 0 when all holds."""

import argparse
import os
import re
import shutil
import subprocess
import sys
import tempfile
import threading
import time

ROOT = os.path.normpath(os.path.join(os.path.dirname(os.path.abspath(__file__)), '..'))
LIMIT_KB = 1024


def resident_kb(pid):
    try:
        with open('/proc/%d/status' % pid) as f:
            for line in f:
                if line.startswith('VmRSS:'):
                    return int(line.split()[1])
    except OSError:
        pass
    return None


def main():
    parser = argparse.ArgumentParser(description=__doc__.split('\n')[0])
    parser.add_argument('binary', nargs='?', default=os.path.join(ROOT, 'build', 'release',
                                                                  'velmora'))
    parser.add_argument('--seconds', type=float, default=1800.0)
    parser.add_argument('--csv', default='')
    parser.add_argument('--demo', default=os.path.join(ROOT, 'data', 'demos', 'golden.demo'))
    parser.add_argument('--passes', type=int, default=0,
                        help='play only the first PASSES passes of the demo (0: all)')
    args = parser.parse_args()

    folder = tempfile.mkdtemp(prefix='velmora_soak_')
    demo = os.path.abspath(args.demo)
    if args.passes > 0:
        # The demo's start: its header and first passes, marks left out.
        with open(demo) as f:
            lines = f.read().splitlines()
        passes = [line for line in lines if line.startswith('pass ')][:args.passes]
        demo = os.path.join(folder, 'start.demo')
        with open(demo, 'w') as f:
            f.write('\n'.join(lines[:3] + passes + ['end %d' % len(passes)]) + '\n')
    data = os.path.join(folder, 'data')
    shutil.copytree(os.path.join(ROOT, 'data'), data)
    config = os.path.join(data, 'conf_pc_d.cfo')
    with open(config) as f:
        text = f.read()
    with open(config, 'w') as f:
        f.write(text.replace('width = 1024;', 'width = 320;').replace('height = 768;',
                                                                      'height = 240;'))
    process = subprocess.Popen(
        [os.path.abspath(args.binary), '--timedemo', demo, '--loop',
         str(args.seconds)], cwd=folder, stdin=subprocess.DEVNULL, stdout=subprocess.PIPE,
        stderr=subprocess.STDOUT)
    lock = threading.Lock()
    state = {'play': 1, 'starts': [], 'hashes': [], 'rates': [], 'tail': []}

    def read():
        for raw in iter(process.stdout.readline, b''):
            line = raw.decode('utf-8', 'replace').rstrip('\n')
            with lock:
                state['tail'] = (state['tail'] + [line])[-30:]
                m = re.match(r'^Demo: play (\d+)$', line)
                if m:
                    state['play'] = int(m.group(1))
                # The game's own figure, taken between two plays with no world standing.
                m = re.match(r'^Demo: resident (\d+) kB between plays$', line)
                if m:
                    state['starts'].append((state['play'] + 1, int(m.group(1))))
                m = re.match(r'^Digest: hash ([0-9a-f]+)$', line)
                if m:
                    state['hashes'].append(m.group(1))
                m = re.match(r'^Timedemo: .* ([\d.]+) frames per second', line)
                if m:
                    state['rates'].append(float(m.group(1)))

    reader = threading.Thread(target=read, daemon=True)
    reader.start()
    start = time.time()
    samples = []
    while process.poll() is None:
        kb = resident_kb(process.pid)
        if kb is not None:
            with lock:
                samples.append((time.time() - start, state['play'], kb))
        # Sleep in short steps so that the end is seen at once.
        next_sample = start + 10.0 * len(samples)
        while process.poll() is None and time.time() < next_sample:
            time.sleep(0.2)
        if time.time() - start > args.seconds + 600:
            process.kill()
            print('soak: the program did not end 10 minutes after its time')
            break
    code = process.wait()
    reader.join(10)
    shutil.rmtree(folder, ignore_errors=True)

    if args.csv:
        with open(args.csv, 'w') as f:
            f.write('seconds,play,rss_kb\n')
            for t, play, kb in samples:
                f.write('%.1f,%d,%d\n' % (t, play, kb))
    failures = []
    if code != 0:
        failures.append('the program ended with code %d' % code)
    hashes = state['hashes']
    if len(hashes) < 2:
        failures.append('fewer than two plays ended (%d)' % len(hashes))
    elif len(set(hashes)) != 1:
        failures.append('the plays ended in different states: %s' % ', '.join(hashes))
    starts = [(play, kb) for play, kb in state['starts'] if kb is not None]
    growth = 0
    if starts:
        base = starts[0][1]
        growth = max(kb for _, kb in starts) - base
        if growth > LIMIT_KB:
            failures.append('resident memory grew by %d kB from before play %d: %s'
                            % (growth, starts[0][0],
                               ' '.join('%d:%d' % (p, kb) for p, kb in starts)))
    after_first = [kb for _, play, kb in samples if play >= 2]
    print('soak: %.0f s, %d plays, %d samples, %.1f frames per second on average'
          % (time.time() - start, len(hashes), len(samples),
             sum(state['rates']) / max(len(state['rates']), 1)))
    print('soak: resident memory between plays (kB): %s'
          % ' '.join('%d' % kb for _, kb in starts))
    if after_first:
        print('soak: samples after the first play: %d kB to %d kB; growth between plays %d kB'
              % (min(after_first), max(after_first), growth))
    for failure in failures:
        print('FAILED: %s' % failure)
    if failures:
        print('\n'.join(state['tail']))
    return 1 if failures else 0


if __name__ == '__main__':
    sys.exit(main())

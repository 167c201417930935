# labels: app;gfx;soak
# timeout: 600
"""The soak for two minutes: the start of the golden demo (boot, menus, the level loaded
for play, the intro, the walk to the switch and its door) played again and again in one
process ends in the same digest each time, and the resident memory between two plays
stays within 1 MB of what it was after the first (scripts/soak.py; the 30-minute run of the whole
demo and its curve are in docs/soak.md)."""

import os
import subprocess
import sys

ROOT = os.path.normpath(os.path.join(os.path.dirname(os.path.abspath(__file__)), '..', '..'))

if __name__ == '__main__':
    binary = os.environ.get('VELMORA_BINARY') or sys.argv[1]
    sys.exit(subprocess.call([sys.executable, os.path.join(ROOT, 'scripts', 'soak.py'),
                              '--seconds', '120', '--passes', '800', binary]))

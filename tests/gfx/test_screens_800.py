# labels: gui;gfx
"""The game's screens at 800x600: the same walk, clicking at the scaled places."""

import os
import sys

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
from harness import run_cases  # noqa: E402
from screens_walk import walk  # noqa: E402


def case_screens_at_800x600(c):
    return walk(c, 800, 600)


if __name__ == '__main__':
    run_cases([('screens_at_800x600', case_screens_at_800x600)])

# labels: gui;gfx
"""The game's screens from first to last at 1024x768 with real clicks: see screens_walk.py."""

import os
import sys

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
from harness import run_cases  # noqa: E402
from screens_walk import walk  # noqa: E402


def case_screens_at_1024x768(c):
    return walk(c, 1024, 768)


if __name__ == '__main__':
    run_cases([('screens_at_1024x768', case_screens_at_1024x768)])

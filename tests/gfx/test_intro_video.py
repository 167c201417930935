# labels: gui;gfx
"""The intro clip in the running game at 1024x768: boot, continue, play; the intro window
shows "intro_video" over its top edge, and the picture in that rectangle changes while the
clip plays (the world behind it is paused, the rain is not: the change must be larger
than the rain makes beside the clip)."""

import os
import sys

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
import screens_walk  # noqa: E402
from harness import run_cases  # noqa: E402
from screens_walk import Screens  # noqa: E402

# "intro_video" as data/gui/game.cfo places it: 232 by 174 around (512, 90).
CLIP = (400, 6, 624, 174)
# Beside it, the level with its rain, for comparison.
BESIDE = (160, 6, 384, 174)


def case_intro_video(c):
    s = Screens(c, 1024, 768)
    s.start()
    game = s.game
    try:
        if game.window is None:
            return c.done([game])
        s.wait('the boot screen', lambda shot: s.fraction(shot, (200, 480, 820, 660),
                                                            screens_walk.navy) > 0.6)
        if not s.click('continue_button'):
            return c.done([game])
        s.point(950, 300)
        s.wait('the main menu', lambda shot:
               s.fraction(shot, (290, 560, 370, 660), screens_walk.navy) > 0.8)
        if not s.click('play_button'):
            return c.done([game])
        first = s.wait('the intro', lambda shot:
                       s.fraction(shot, (200, 200, 300, 260), screens_walk.navy) > 0.8)
        if first is None:
            return c.done([game])
        # The clip's picture is drawn: not the black of an empty display, and its town's
        # houses are dark brown against a lighter sky band.
        c.check(s.fraction(first, CLIP, lambda p: max(p) > 12) > 0.5,
                'the clip shows a picture in its rectangle')
        later = s.wait('the clip moves on', lambda shot:
                       s.mean_difference(first, shot, [CLIP]) >
                       2 * s.mean_difference(first, shot, [BESIDE]) + 6, timeout=60)
        c.check(later is not None, 'the picture in the clip changes over time')
        c.equal(game.count_lines(r"Could not open|not a texture"), 0,
                'the clip and every texture load')
    finally:
        game.stop()
    return c.done([game])


if __name__ == '__main__':
    run_cases([('intro_video', case_intro_video)])

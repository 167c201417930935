#!/usr/bin/env python3
"""Takes the README's screenshots from a real run of the game under Xvfb: the main menu over
the level, and the courtyard in play behind the hero with the HUD, the mini map and the rain.

    scripts/with-xvfb.sh --size 1280x1024 python3 scripts/screenshots.py build/release/velmora

Writes docs/screen_menu.png and docs/screen_play.png (through ImageMagick's convert)."""

import os
import subprocess
import sys
import time

ROOT = os.path.dirname(os.path.dirname(os.path.abspath(__file__)))
sys.path.insert(0, os.path.join(ROOT, 'tests', 'gfx'))
if len(sys.argv) > 1:
    os.environ['VELMORA_BINARY'] = os.path.abspath(sys.argv[1])

from harness import Checks  # noqa: E402
from screens_walk import Screens, gold, navy  # noqa: E402


def save(shot, name):
    ppm = os.path.join(ROOT, 'docs', name + '.ppm')
    shot.save_ppm(ppm)
    subprocess.run(['convert', ppm, '-resize', '800x600', os.path.join(ROOT, 'docs', name + '.png')],
                   check=True)
    os.remove(ppm)


def main():
    c = Checks('screenshots')
    s = Screens(c, 1024, 768)
    s.start()
    try:
        s.wait('the boot screen', lambda shot: s.fraction(shot, (200, 480, 820, 660), navy) > 0.6)
        s.click('continue_button')
        s.point(700, 150)
        s.wait('the main menu', lambda shot: s.fraction(shot, (290, 560, 370, 660), navy) > 0.8
               and s.fraction(shot, (200, 480, 260, 650), navy) < 0.3)
        # Over "Play", which lights up.
        s.point(512, 344)
        shot = s.wait('"Play" lit', lambda shot: s.fraction(shot, s.button_box('play_button'), gold)
                      > 0.03)
        if shot is not None:
            save(shot, 'screen_menu')
        s.click('play_button')
        s.wait('the intro', lambda shot: s.fraction(shot, (200, 200, 300, 260), navy) > 0.8)
        s.click('exit_intro_button')
        s.point(700, 600)
        s.wait('playing', lambda shot: s.fraction(shot, (200, 200, 300, 260), navy) < 0.2)
        # Turn round to the square (the mouse turns the follow camera), then the picture.
        for x in range(700, 400, -60):
            s.point(x, 600)
            time.sleep(0.15)
        time.sleep(1.5)
        shot = s.game.window_shot()
        if shot is not None:
            save(shot, 'screen_play')
        s.game.key('q')
        s.game.wait_exit(30)
    finally:
        s.game.stop()
    return c.done([s.game])


if __name__ == '__main__':
    sys.exit(main())

# labels: scene;gfx
"""The courtyard level in the running game: the committed start-up configuration loads it,
and the fixed camera shows textured walls and ground in fog under the sky."""

import os
import shutil
import sys
import time

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
from harness import Game, grey, run_cases  # noqa: E402

GREY = grey(0.3)  # the clear colour
BLACK = (0, 0, 0)
DATA = os.path.join(os.path.dirname(os.path.abspath(__file__)), '..', '..', 'data')
SIMPLE_CONFIG = ('Window={width=800;height=600;}\n'
                 'SceneManager={ r_advanced_shading=0; r_particle_rain=0;'
                 ' require="scenes/enemy_test.cfo"; }\n')


def start_level(c, config=None):
    """The game on a copy of the whole data folder (the level document, its meshes,
    textures and shaders), with the committed start-up configuration unless `config`."""
    game = Game()
    shutil.rmtree(game.data)
    shutil.copytree(DATA, game.data)
    if config is not None:
        game.write('conf_pc_d.cfo', config)
    game.start()
    c.check(game.find_window(timeout=60) is not None, 'the window "Orsin" appears')
    return game


def distinct_colours(image):
    """How many different colours (to 4 bits a channel) the picture holds."""
    seen = set()
    for y in range(0, image.height, 4):
        for x in range(0, image.width, 4):
            r, g, b = image.pixel(x, y)
            seen.add((r >> 4, g >> 4, b >> 4))
    return len(seen)


def plain_fraction(image):
    return image.fraction(GREY, 2) + image.fraction(BLACK, 8)


def check_level_view(c, game, tag):
    c.check(game.wait_for_line(r'^output: data/resources/meshes/courtyard.abt$', timeout=60) >= 0, 'the builder runs (%s)' % tag)
    # The loading screen (black with a panel) and the grey clear come first.
    shot = None
    deadline = time.time() + 60
    while time.time() < deadline:
        shot = game.window_shot()
        if shot is not None and shot.width > 0 and plain_fraction(shot) < 0.1:
            break
        time.sleep(0.3)
    # A few frames more, so the shot is of the level's steady picture.
    time.sleep(2.0)
    shot = game.window_shot() or shot
    if not c.check(shot is not None and shot.width > 0, 'a screenshot of the window (%s)' % tag):
        return None
    keep = os.environ.get('VELMORA_LEVEL_SHOT')
    if keep:
        shot.save_ppm(keep + '_' + tag + '.ppm')
    plain = plain_fraction(shot)
    c.check(plain < 0.1, 'most pixels are neither the grey clear nor black (%s): %.3f' % (tag, plain))
    colours = distinct_colours(shot)
    c.check(colours > 20, 'textures give many colours (%s): %d' % (tag, colours))
    # The sky fills the top rows: neither the clear colour nor black, and its clouds make
    # them uneven (a flat fill would be one colour).
    top = shot.crop(0, 0, shot.width, 8)
    c.check(top.count(GREY, 2) == 0, 'no clear colour in the top rows (%s)' % tag)
    c.check(top.count(BLACK, 8) == 0, 'no black in the top rows (%s)' % tag)
    reds = [top.pixel(x, y)[0] for y in range(top.height) for x in range(top.width)]
    c.check(max(reds) - min(reds) >= 6, 'the sky\'s clouds in the top rows (%s): %d..%d'
            % (tag, min(reds), max(reds)))
    return shot


def run_level(c, config, tag):
    game = start_level(c, config)
    try:
        check_level_view(c, game, tag)
        c.equal(game.count_lines(r'loader|not a texture|failed'), 0,
                'every mesh and texture loads (%s)' % tag)
        game.key('q')
        c.equal(game.wait_exit(20), 0, 'exit code after "q" (%s)' % tag)
    finally:
        game.stop()
    return c.done([game])


def case_start_up_configuration_opens_on_the_level(c):
    # The committed configuration: 1024x768, advanced shading where the driver has it.
    return run_level(c, None, 'start-up')


def case_simple_shading_shows_the_level(c):
    return run_level(c, SIMPLE_CONFIG, 'simple')


if __name__ == '__main__':
    run_cases([(name[5:], fn) for name, fn in sorted(globals().items())
               if name.startswith('case_') and callable(fn)])

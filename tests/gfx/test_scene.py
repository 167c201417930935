# labels: scene;gfx
"""The level's root entity in the running game: the Scene sets up the 3D view, the
collision view draws its ground grid over it on F2, and the start-up pause holds its camera
keys until the game is resumed."""

import os
import sys

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
from harness import Game, grey, run_cases  # noqa: E402

GREY = grey(0.3)
GRID = (51, 51, 51)  # the ground grid's grey 0.2
DATA = os.path.join(os.path.dirname(os.path.abspath(__file__)), '..', '..', 'data')


def data_file(name):
    with open(os.path.join(DATA, name), 'rb') as f:
        return f.read()


def start_scene(c):
    config = ('Window={width=800;height=600;}\n'
              'SceneManager={ Scene={name=game_scene;camera_pos=0,-1500,1200;'
              'camera_target=0,0,0;camera_up=0,0,1;camera_fov=60;} }\n')
    game = Game(config=config, files={'system/white.dds': data_file('system/white.dds')}).start()
    c.check(game.find_window() is not None, 'the window "Orsin" appears')
    return game


def case_collision_view_draws_the_ground_grid(c):
    game = start_scene(c)
    try:
        before = game.wait_for_colour(GREY, fraction=0.99)
        c.check(before is not None and before.fraction(GREY) >= 0.99,
                'without the collision view the empty level is the grey clear')
        c.check(before is not None and before.count(GRID, tolerance=3) == 0,
                'no grid pixels before F2')
        game.key('F2')
        after = game.wait_for_colour(GRID, fraction=0.005, tolerance=3)
        c.check(after is not None and after.fraction(GRID, tolerance=3) >= 0.005,
                'F2 draws the ground grid in grey 0.2')
        # The grid lies in the ground plane seen from above and in front: its lines reach
        # the lower half of the window, and the horizon leaves the top rows clear.
        if after is not None:
            top = after.crop(0, 0, after.width, after.height // 8)
            bottom = after.crop(0, after.height // 2, after.width, after.height // 2)
            c.check(bottom.count(GRID, tolerance=3) > 0, 'grid lines in the lower half')
            c.equal(top.count(GRID, tolerance=3), 0, 'no grid in the top rows above the horizon')
        game.key('q')
        c.equal(game.wait_exit(20), 0, 'exit code after "q"')
        c.equal(game.count_lines(r'^not a texture'), 0, 'the sky texture loads')
    finally:
        game.stop()
    return c.done([game])


def case_paused_scene_ignores_its_camera_key(c):
    game = start_scene(c)
    try:
        game.wait_for_colour(GREY, fraction=0.99)
        game.key('F1')
        game.key('F2')  # a key the SceneManager itself answers: proof that keys arrive
        c.check(game.wait_for_colour(GRID, fraction=0.005, tolerance=3) is not None,
                'F2 still reaches the SceneManager')
        c.equal(game.count_lines(r'^Camera mode changed: '), 0,
                'F1 changes no camera mode while the start-up pause holds the Scene')
        game.key('q')
        c.equal(game.wait_exit(20), 0, 'exit code after "q"')
    finally:
        game.stop()
    return c.done([game])


if __name__ == '__main__':
    run_cases([(name[5:], fn) for name, fn in sorted(globals().items())
               if name.startswith('case_') and callable(fn)])

# labels: scene;gfx
"""The courtyard level seen through the Scene's cameras and debug keys in the running game:
F1 twice reaches free flight and held arrow keys fly the view; F2 lays the collision view
over the level; F8 prints the level's drawing statistics, which count no chunk when the
camera looks away from everything."""

import os
import re
import shutil
import subprocess
import sys
import time

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
from harness import Game, grey, level_only, run_cases  # noqa: E402

GREY = grey(0.3)  # the clear colour
DATA = os.path.join(os.path.dirname(os.path.abspath(__file__)), '..', '..', 'data')
SCENE = 'scenes/enemy_test.cfo'
# F8's first line: frame rate, draws, texture binds, textures per buffer, buffer switches,
# smallest and largest chunk.
STATISTICS = r'^\S+ d:(\d+) t:(\d+) tpn:(\d+) bsw:(\d+)  bs:(\d+) (\d+)$'


def start_level(c, camera=None, probe=False, without_hero=False):
    """The game on a copy of the whole data folder, 800x600, with the committed start-up
    configuration. `camera` = (pos, target, up) replaces the level's fixed camera. With
    `probe`, the probe program runs, with a TestProbe whose key "r" resumes the world.
    `without_hero` leaves the hero out, whose follow camera would move the eye."""
    game = Game(probe=probe)
    shutil.rmtree(game.data)
    shutil.copytree(DATA, game.data)
    if camera is not None:
        path = os.path.join(game.data, SCENE)
        with open(path) as f:
            text = f.read()
        for key, value in zip(('camera_pos', 'camera_target', 'camera_up'), camera):
            text, count = re.subn(r'\b%s = [^;]*;' % key, '%s = %s;' % (key, value), text, 1)
            c.equal(count, 1, 'the level document has "%s"' % key)
        if without_hero:
            text, count = re.subn(r'\n\t// The hero\.\n\tPlayer = \{.*?\n\t\}\n', '\n', text,
                                  count=1, flags=re.S)
            c.equal(count, 1, 'the level document has the hero')
        with open(path, 'w') as f:
            f.write(text)
    with open(os.path.join(DATA, 'conf_pc_d.cfo')) as f:
        config = level_only(f.read())
    config = config.replace('width = 1024;', 'width = 800;').replace('height = 768;',
                                                                     'height = 600;')
    # The rain's streaks would cut the runs of clear colour the views are measured by.
    config = config.replace('r_particle_rain = 1;', 'r_particle_rain = 0;')
    if probe:
        config = config.replace('require =', 'TestProbe = { name = p; resume_key = 1; }\n\trequire =')
    game.write('conf_pc_d.cfo', config)
    game.start()
    c.check(game.find_window(timeout=60) is not None, 'the window "Orsin" appears')
    c.check(game.wait_for_line(r'^output: data/resources/meshes/courtyard.abt$', timeout=60) >= 0,
            'the level loads')
    # The loading screen, then a few frames of the level's steady picture.
    deadline = time.time() + 60
    while time.time() < deadline:
        shot = game.window_shot()
        if shot is not None and shot.width > 0 and shot.fraction((0, 0, 0), 8) < 0.5:
            break
        time.sleep(0.3)
    time.sleep(1.5)
    return game


def shot_of(c, game, what):
    time.sleep(0.6)  # a few frames after the last input
    shot = game.window_shot()
    c.check(shot is not None and shot.width > 0, 'a screenshot %s' % what)
    keep = os.environ.get('VELMORA_LEVEL_SHOT')
    if keep and shot is not None:
        shot.save_ppm('%s_%s.ppm' % (keep, re.sub(r'\W+', '_', what)))
    return shot


def clear_run(shot):
    """How many pixels of the clear colour run from the left edge along the middle row:
    where the level's west wall ends, seen from above."""
    y = shot.height // 2
    x = 0
    while x < shot.width:
        r, g, b = shot.pixel(x, y)
        if max(abs(r - GREY[0]), abs(g - GREY[1]), abs(b - GREY[2])) > 2:
            break
        x += 1
    return x


def white_pixels(shot):
    return shot.count((255, 255, 255), 24)


def hold(game, key, seconds):
    # The key goes to the game's window: focus it first, as a single key press does.
    subprocess.run(['xdotool', 'windowfocus', '--sync', game.window],
                   stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL, timeout=10)
    game.key_down(key)
    time.sleep(seconds)
    game.key_up(key)


def bluish_pixels(shot):
    return sum(1 for y in range(0, shot.height, 2) for x in range(0, shot.width, 2)
               if shot.pixel(x, y)[2] > shot.pixel(x, y)[0] + 40)


def grid_pixels(shot):
    return shot.count(grey(0.2), 3)


def case_collision_view(c):
    # Inside the level's west wall, looking straight down: the wall's faces turn their backs
    # to the eye, so its collision polygon in the ground plane is in plain view once F2
    # draws it: a half-transparent blue fill with a white outline, over the ground grid.
    game = start_level(c, camera=('-1385,-700,200', '-1385,-700,0', '0,1,0'))
    try:
        before = shot_of(c, game, 'inside the wall')
        if before is None:
            return c.done([game])
        c.equal(bluish_pixels(before), 0, 'no collision polygon before F2')
        c.equal(white_pixels(before), 0, 'no outline before F2')
        c.equal(grid_pixels(before), 0, 'no grid before F2')
        game.key('F2')
        debug = shot_of(c, game, 'collision view')
        samples = (debug.height // 2) * (debug.width // 2)
        c.check(bluish_pixels(debug) > samples // 20,
                'F2 draws the wall\'s collision polygon: %d of %d' % (bluish_pixels(debug), samples))
        c.check(white_pixels(debug) > debug.height,
                'with its white outline: %d' % white_pixels(debug))
        c.check(grid_pixels(debug) > debug.height * 4, 'and the ground grid: %d' % grid_pixels(debug))
        game.key('F2')
        plain = shot_of(c, game, 'collision view off')
        c.equal(bluish_pixels(plain), 0, 'F2 again takes the collision view away')
        c.equal(grid_pixels(plain), 0, 'and the grid')
        game.key('q')
        c.equal(game.wait_exit(20), 0, 'exit code after "q"')
    finally:
        game.stop()
    return c.done([game])


def case_free_flight(c):
    # Above the square near its west wall: free flight starts looking straight down, the
    # wall's top a band on the left, the empty world beyond it the grey clear.
    game = start_level(c, camera=('-1250,-700,700', '-1000,500,160', '0,0,1'), probe=True,
                       without_hero=True)
    try:
        # The world starts paused and the Scene ignores keys until it is resumed.
        game.key('F1')
        time.sleep(0.5)
        c.equal(game.count_lines(r'^Camera mode changed'), 0, 'F1 does nothing while paused')
        game.key('r')
        c.check(game.wait_for_line(r"^TestProbe 'p' ResumeGameEvent 1 in pass") >= 0,
                'the world resumes')
        game.key('F1')
        c.check(game.wait_for_line(r'^Camera mode changed: 0$') >= 0, 'F1: the follow camera')
        game.key('F1')
        c.check(game.wait_for_line(r'^Camera mode changed: 1$') >= 0, 'F1 again: free flight')
        start = shot_of(c, game, 'free flight')
        if start is None:
            return c.done([game])
        edge = clear_run(start)
        c.check(0 < edge < start.width // 2,
                'looking down: the outside on the left, up to column %d' % edge)

        # Flying right (+x) moves everything seen to the left, and back.
        hold(game, 'Right', 1.0)
        right = shot_of(c, game, 'after Right')
        edge_right = clear_run(right)
        c.check(edge_right < edge - 10, 'Right: the wall moves left (%d -> %d)' % (edge, edge_right))
        hold(game, 'Left', 2.0)
        left = shot_of(c, game, 'after Left')
        edge_left = clear_run(left)
        c.check(edge_left > edge_right + 20,
                'Left: the wall moves right (%d -> %d)' % (edge_right, edge_left))
        # Forward is down towards the ground: what lies beside the centre moves outwards.
        # Longer than the turns: a slow frame under load flies a shorter way.
        hold(game, 'Up', 2.0)
        down = shot_of(c, game, 'after Up')
        edge_down = clear_run(down)
        c.check(edge_down < edge_left - 5,
                'Up: the view closes in, the wall moves out (%d -> %d)' % (edge_left, edge_down))
        # Released keys stop the flight.
        still = shot_of(c, game, 'still')
        c.equal(clear_run(still), edge_down, 'the view stands still with no key held')

        game.key('q')
        c.equal(game.wait_exit(20), 0, 'exit code after "q"')
    finally:
        game.stop()
    return c.done([game])


def statistics(c, game, what):
    before = len(game.output())
    game.key('F8')
    index = game.wait_for_line(STATISTICS, start=before)
    if not c.check(index >= 0, 'F8 prints the statistics line (%s)' % what):
        return None
    lines = game.output()
    match = re.match(STATISTICS, lines[index])
    c.check(index + 2 < len(lines) and re.match(r'^-?\d+\.\d{6},-?\d+\.\d{6},-?\d+\.\d{6}$',
                                                lines[index + 2]) is not None,
            'the tree\'s box follows in two lines (%s)' % what)
    return [int(v) for v in match.groups()]


def case_statistics_count_what_the_view_holds(c):
    # The real game from its fixed camera: F8 works while the world is still paused.
    game = start_level(c)
    try:
        values = statistics(c, game, 'fixed camera')
        if values:
            draws, binds = values[0], values[1]
            c.check(draws > 0, 'the fixed camera draws chunks: %d' % draws)
            c.check(binds > 0, 'and binds textures: %d' % binds)
        game.key('q')
        c.equal(game.wait_exit(20), 0, 'exit code after "q"')
    finally:
        game.stop()
    return c.done([game])


def case_a_camera_turned_away_draws_no_chunk(c):
    # High above the square, looking straight up: nothing of the level is in the view.
    game = start_level(c, camera=('0,0,1000', '0,0,2000', '0,1,0'))
    try:
        shot = shot_of(c, game, 'looking up')
        if shot is not None:
            c.check(shot.fraction(GREY, 2) < 0.05, 'the sky fills the view')
        values = statistics(c, game, 'turned away')
        if values:
            c.equal(values[0], 0, 'no chunk is drawn')
        game.key('q')
        c.equal(game.wait_exit(20), 0, 'exit code after "q"')
    finally:
        game.stop()
    return c.done([game])


if __name__ == '__main__':
    run_cases([(name[5:], fn) for name, fn in sorted(globals().items())
               if name.startswith('case_') and callable(fn)])

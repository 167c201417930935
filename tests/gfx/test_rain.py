# labels: world;gfx
"""The rain over the courtyard in the running game: with "r_particle_rain" on, light
streaks lie over the level's fixed view where the same view without rain has none; the
streaks are thin (the level shows through between them), pale blue-white, and they move
from one frame to the next."""

import os
import shutil
import sys
import time

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
from harness import Game, grey, run_cases  # noqa: E402

DATA = os.path.join(os.path.dirname(os.path.abspath(__file__)), '..', '..', 'data')
GREY = grey(0.3)  # the clear colour


def config(rain, size=10000):
    return ('Window={width=800;height=600;}\n'
            'SceneManager={ r_advanced_shading=0; r_particle_rain=%d; r_particle_rain_size=%d;'
            ' require="scenes/enemy_test.cfo"; }\n' % (rain, size))


def level_shot(c, rain, tag, size=10000, extra_shot=False):
    """The level's steady picture with the rain on or off; with `extra_shot`, a second
    picture half a second later. Returns (shots, game output)."""
    game = Game()
    shutil.rmtree(game.data)
    shutil.copytree(DATA, game.data)
    game.write('conf_pc_d.cfo', config(rain, size))
    game.start()
    shots = []
    try:
        c.check(game.find_window(timeout=60) is not None, 'the window appears (%s)' % tag)
        c.check(game.wait_for_line(r'^output: data/resources/meshes/courtyard.abt$', timeout=90) >= 0,
                'the level loads (%s)' % tag)
        deadline = time.time() + 60
        while time.time() < deadline:
            shot = game.window_shot()
            if shot is not None and shot.width > 0 and \
                    shot.fraction(GREY, 2) + shot.fraction((0, 0, 0), 8) < 0.1:
                break
            time.sleep(0.3)
        time.sleep(2.0)
        for i in range(2 if extra_shot else 1):
            if i:
                time.sleep(0.5)
            shot = game.window_shot()
            c.check(shot is not None and shot.width > 0, 'a screenshot (%s %d)' % (tag, i))
            shots.append(shot)
            keep = os.environ.get('VELMORA_RAIN_SHOT')
            if keep and shot is not None:
                shot.save_ppm('%s_%s_%d.ppm' % (keep, tag, i))
        game.key('q')
        c.equal(game.wait_exit(20), 0, 'exit code after "q" (%s)' % tag)
    finally:
        game.stop()
    return shots, game


def luma(p):
    return p[0] * 0.299 + p[1] * 0.587 + p[2] * 0.114


def compare(on, off, step=1, top=0):
    """Pixels of `on` clearly lighter than `off`, clearly darker, and for the lighter ones
    the colour and what was added to each channel. Rows above `top` (the turning sky) are
    left out."""
    lighter, darker, colours = 0, 0, []
    for y in range(top, on.height, step):
        for x in range(0, on.width, step):
            a, b = on.pixel(x, y), off.pixel(x, y)
            d = luma(a) - luma(b)
            if d > 25:
                lighter += 1
                colours.append((a, tuple(a[k] - b[k] for k in range(3))))
            elif d < -25:
                darker += 1
    return lighter, darker, colours


def case_rain_lays_light_streaks_over_the_level(c):
    (off,), game_off = level_shot(c, 0, 'no_rain')
    (on, later), game_on = level_shot(c, 1, 'rain', extra_shot=True)
    if None in (off, on, later):
        return c.done([game_off, game_on])
    c.equal(game_on.count_lines(r'not a texture|Cg error|loader|Rain:'), 0,
            'the rain\'s program and sprite load, without a word')
    top = on.height // 4  # the sky turns between the two runs
    lighter, darker, colours = compare(on, off, top=top)
    area = on.width * (on.height - top)
    c.check(lighter > area // 200, 'rain lightens many pixels: %d of %d' % (lighter, area))
    c.check(lighter < area // 4, 'streaks, not a veil: %d of %d pixels lighter' % (lighter, area))
    c.check(darker < lighter // 4, 'rain darkens almost nothing: %d darker, %d lighter'
            % (darker, lighter))
    # The streaks are the rain's pale blue-white (206, 214, 226) over the warm dusk: they
    # add at least as much blue as red, and leave light pixels.
    if colours:
        bluish = sum(1 for _, (dr, dg, db) in colours if db + 4 >= dr)
        c.check(bluish > len(colours) * 0.9, 'the rain adds blue-white light: %d of %d'
                % (bluish, len(colours)))
        mean = [sum(p[k] for p, _ in colours) / len(colours) for k in range(3)]
        c.check(min(mean) > 100, 'light pixels: mean colour %r' % ([round(m) for m in mean],))
    # The rain falls: half a second later the streaks are elsewhere.
    moved, _, _ = compare(later, on, top=top)
    moved_back, _, _ = compare(on, later, top=top)
    c.check(moved + moved_back > lighter // 4, 'the streaks move: %d + %d pixels changed'
            % (moved, moved_back))
    return c.done([game_off, game_on])


def case_an_absurd_rain_size_is_cut_with_a_line(c):
    (shot,), game = level_shot(c, 1, 'huge', size=2000000000)
    c.check(game.wait_for_line(
        r'^Rain: r_particle_rain_size 2000000000 is above 200000, using 200000$', timeout=1) >= 0,
        'the size guard\'s line')
    c.check(shot is not None and shot.width > 0, 'the level still shows')
    return c.done([game])


if __name__ == '__main__':
    run_cases([(name[5:], fn) for name, fn in sorted(globals().items())
               if name.startswith('case_') and callable(fn)])

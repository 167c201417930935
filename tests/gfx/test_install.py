# labels: app;gfx
"""The installed game: `cmake --install` of the build that holds the binary under test into a
scratch prefix, then the installed program started from an empty folder finds its data
beside itself, opens on the boot screen and ends on "q" with code 0."""

import os
import shutil
import subprocess
import sys
import tempfile

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
from harness import Game, binary_path, run_cases  # noqa: E402


def build_dir():
    """The build folder of the binary under test (its CMakeCache.txt lies there)."""
    folder = os.path.dirname(os.path.abspath(binary_path()))
    while folder != '/' and not os.path.exists(os.path.join(folder, 'CMakeCache.txt')):
        folder = os.path.dirname(folder)
    return folder


def case_installed_game_finds_its_data(c):
    prefix = tempfile.mkdtemp(prefix='velmora_install_')
    try:
        r = subprocess.run(['cmake', '--install', build_dir(), '--prefix', prefix],
                           stdout=subprocess.PIPE, stderr=subprocess.STDOUT, timeout=120)
        if not c.equal(r.returncode, 0, 'cmake --install: %s' % r.stdout.decode()[-400:]):
            return c.done()
        program = os.path.join(prefix, 'bin', 'velmora')
        c.check(os.access(program, os.X_OK), 'the program is installed')
        c.check(os.path.isfile(os.path.join(prefix, 'share', 'velmora', 'data', 'conf_pc_d.cfo')),
                'the data is installed')
        desktop = os.path.join(prefix, 'share', 'applications', 'velmora.desktop')
        c.check(os.path.isfile(desktop) and 'Exec=velmora' in open(desktop).read(),
                'the desktop entry is installed')
        # An empty folder to start from: the game's own data/ is not there.
        game = Game()
        shutil.rmtree(game.data)
        game.binary = program
        game.start()
        try:
            c.check(game.find_window(timeout=60) is not None, 'the window "Orsin" appears')
            c.check(game.wait_for_line(r"^ 'CustomGuiLayer'$", timeout=60) >= 0,
                    'the screens load from the installed data')
            c.check(game.wait_for_line(r'^output: data/resources/meshes/courtyard.abt$',
                                       timeout=60) >= 0, 'the level loads behind them')
            c.equal(game.count_lines(r'No data folder|not a texture|not found'), 0,
                    'every file is found')
            game.key('q')
            c.equal(game.wait_exit(30), 0, 'exit code after "q"')
        finally:
            game.stop()
        return c.done([game])
    finally:
        shutil.rmtree(prefix, ignore_errors=True)


if __name__ == '__main__':
    run_cases([('installed_game_finds_its_data', case_installed_game_finds_its_data)])

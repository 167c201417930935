"""The convention checks refuse what they must: each case plants a small tree in a
temporary folder (a copy of the real layer table, a few source files) and runs the check on
it, expecting a failure that names the file and line, or a pass for the clean variant.

    python3 tests/conventions/test_checks.py <project root>
"""

import os
import shutil
import subprocess
import sys
import tempfile

ROOT = os.path.abspath(sys.argv[1] if len(sys.argv) > 1 else
                       os.path.join(os.path.dirname(os.path.abspath(__file__)), '..', '..'))
LAYERS = os.path.join(ROOT, 'scripts', 'check_layers.py')
FORMAT = os.path.join(ROOT, 'scripts', 'check_format.sh')

failures = []


def check(condition, message):
    if not condition:
        failures.append(message)


def plant(files):
    """A temporary tree holding the real layer table and the given files."""
    folder = tempfile.mkdtemp(prefix='velmora_conventions_')
    os.makedirs(os.path.join(folder, 'docs'))
    shutil.copy(os.path.join(ROOT, 'docs', 'CONVENTIONS.md'), os.path.join(folder, 'docs'))
    for name, text in files.items():
        path = os.path.join(folder, name)
        os.makedirs(os.path.dirname(path), exist_ok=True)
        with open(path, 'w') as f:
            f.write(text)
    return folder


def run(command):
    result = subprocess.run(command, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True)
    return result.returncode, result.stdout


def layers(files):
    folder = plant(files)
    try:
        return run([sys.executable, LAYERS, '--root', folder])
    finally:
        shutil.rmtree(folder)


CLEAN = {
    'source/math/hvector2.h': '#pragma once\nstruct HVector2 {};\n',
    'source/cfo/cfonode.h': '#pragma once\n#include "math/hvector2.h"\n',
    'source/resources/texture.h': '#pragma once\n#include <vector>\n#include "cfo/cfonode.h"\n',
    'source/scene/entity.h': '#pragma once\n#include "resources/texture.h"\n',
    'source/world/mesh.h': '#pragma once\n#include "scene/entity.h"\n',
    'source/scene/scene.h': '#pragma once\n#include "world/mesh.h"\n',
    'source/game/player.h': '#pragma once\n#include "scene/scene.h"\n',
    'source/gui/button.h': '#pragma once\n#include "scene/entity.h"\n',
    'source/app/main.cpp': '#include "game/player.h"\n#include "gui/button.h"\n',
}


def case_clean_tree_passes():
    rc, out = layers(CLEAN)
    check(rc == 0, 'a clean planted tree passes (rc %d): %s' % (rc, out))


def case_real_tree_passes():
    rc, out = run([sys.executable, LAYERS, '--root', ROOT])
    check(rc == 0, 'the real tree passes: %s' % out)


def case_upward_include_fails():
    files = dict(CLEAN)
    files['source/cfo/cfonode.h'] = ('#pragma once\n#include "math/hvector2.h"\n'
                                     '#include "resources/texture.h"\n')
    rc, out = layers(files)
    check(rc == 1, 'an upward include fails (rc %d)' % rc)
    check('source/cfo/cfonode.h:3: includes "resources/texture.h"' in out,
          'the upward include is named by file and line: %s' % out)


def case_scene_core_may_not_include_scene_entity():
    files = dict(CLEAN)
    files['source/scene/scenemanager.h'] = '#pragma once\n#include "scene/scene.h"\n'
    rc, out = layers(files)
    check(rc == 1 and 'source/scene/scenemanager.h:2:' in out,
          'the scene core including the Scene entity fails: %s' % out)


def case_game_and_gui_never_meet():
    for name, target in (('source/game/player.h', 'gui/button.h'),
                         ('source/gui/button.h', 'game/player.h')):
        files = dict(CLEAN)
        files[name] = files[name] + '#include "%s"\n' % target
        rc, out = layers(files)
        check(rc == 1 and ('%s:3: includes "%s"' % (name, target)) in out and 'beside' in out,
              '%s including %s fails: %s' % (name, target, out))


def case_cycle_fails():
    files = dict(CLEAN)
    files['source/world/abt.h'] = '#pragma once\n#include "world/mesh.h"\n'
    files['source/world/mesh.h'] = '#pragma once\n#include "scene/entity.h"\n#include "world/abt.h"\n'
    rc, out = layers(files)
    check(rc == 1 and 'include cycle of 2 files' in out and 'source/world/abt.h:2' in out,
          'two headers including each other fail: %s' % out)
    files = dict(CLEAN)
    files['source/world/a.h'] = '#include "world/b.h"\n'
    files['source/world/b.h'] = '#include "c.h"\n'  # relative to its own folder
    files['source/world/c.h'] = '#include "world/a.h"\n'
    rc, out = layers(files)
    check(rc == 1 and 'include cycle of 3 files' in out,
          'a loop of three files fails, relative includes resolved: %s' % out)


def case_file_outside_every_layer_fails():
    files = dict(CLEAN)
    files['source/elsewhere/thing.h'] = '#pragma once\n'
    rc, out = layers(files)
    check(rc == 1 and 'source/elsewhere/thing.h:1: no layer' in out,
          'a file in no layer fails: %s' % out)


def case_system_headers_are_not_checked():
    files = dict(CLEAN)
    files['source/math/hvector2.h'] = '#pragma once\n#include "SDL.h"\n#include <GL/gl.h>\n'
    rc, out = layers(files)
    check(rc == 0, 'a quoted include of no engine file is left alone: %s' % out)


def case_format_check():
    rc, out = run(['bash', FORMAT])
    check(rc == 0, 'the real tree is formatted: %s' % out[-2000:])
    folder = plant({'source/math/good.h': '#pragma once\nint Good() { return 1; }\n',
                    'tests/math/bad.cpp': 'int  Bad( ){return 2;}\n'})
    try:
        rc, out = run(['bash', FORMAT, '--root', folder])
        check(rc == 1 and 'tests/math/bad.cpp is not formatted' in out
              and 'good.h' not in out, 'a misformatted file fails the check: %s' % out)
        with open(os.path.join(folder, 'tests/math/bad.cpp'), 'w') as f:
            f.write('int Bad() { return 2; }\n')
        rc, out = run(['bash', FORMAT, '--root', folder])
        check(rc == 0, 'the same tree passes once formatted: %s' % out)
    finally:
        shutil.rmtree(folder)


if __name__ == '__main__':
    cases = [(n, f) for n, f in sorted(globals().items()) if n.startswith('case_')]
    for name, fn in cases:
        before = len(failures)
        fn()
        print('[%s] %s' % ('ok' if len(failures) == before else 'FAIL', name[5:]))
    for f in failures:
        print('FAILED: ' + f)
    sys.exit(1 if failures else 0)

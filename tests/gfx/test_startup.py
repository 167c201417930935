# labels: app;gfx
"""Start-up and shut-down of the real program: the first frames, the log, the window node's
bad values, "q"."""

import os
import sys

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
from harness import Game, binary_path, grey, run_cases  # noqa: E402

GREY = grey(0.3)
WINDOW = 'Window={width=800;height=600;}\n'


def grey_frame_then_q(c, game, size=(800, 600)):
    """The common tail: the window shows the cleared grey frame; "q" ends with code 0."""
    wid = game.find_window()
    if not c.check(wid is not None, 'the window "Orsin" appears'):
        return
    shot = game.wait_for_colour(GREY, fraction=0.99)
    c.check(shot is not None and shot.fraction(GREY) >= 0.99,
            'the window is cleared to grey (0.3, 0.3, 0.3)')
    if shot is not None:
        c.equal((shot.width, shot.height), size, 'window size')
    game.key('q')
    c.equal(game.wait_exit(20), 0, 'exit code after "q"')


def case_grey_frame_and_q(c):
    game = Game(config=WINDOW + 'SceneManager={}\n').start()
    try:
        grey_frame_then_q(c, game)
        out = game.output()
        c.check(game.count_lines('^SceneManager configuration node not defined$') == 0,
                'no missing-node message with a SceneManager node')
        c.check(len(out) > 0, 'some output')
    finally:
        game.stop()
    return c.done([game])


def case_banner_gl_and_extension_lines(c):
    game = Game(config=WINDOW + 'SceneManager={}\n').start()
    try:
        grey_frame_then_q(c, game)
        out = game.output()
        text = '\n'.join(out)

        def index(pattern):
            import re
            for i, line in enumerate(out):
                if re.search(pattern, line):
                    return i
            return -1

        banner = index(r'Velmora')
        version = index(r'^Version: 0, 0, 0, 377$')
        equals = index(r'^=+$')
        vendor = index(r'^Vendor: \S')
        renderer = index(r'^Renderer: \S')
        gl_version = index(r'^Version: \d+\.\d')
        blend = index(r"^!OpenGL extension 'GL_ARB_vertex_blend' not supported$")
        lines = [index(r'^ MAX_ANISOTROPY \d'), index(r'^ MULTISAMPLE 0$'),
                 index(r'^ MAX_TEXTURE_UNITS \d+$'), index(r'^ MAX_ELEMENTS_VERTICES \d+$'),
                 index(r'^ MAX_ELEMENTS_INDICES \d+$')]
        c.check(banner >= 0 and version > banner and equals > version,
                'banner, version line and equal signs in order')
        c.check(blend > equals, 'the vertex blend line after the banner (llvmpipe lacks it)')
        c.check(vendor > blend and renderer == vendor + 1 and gl_version == vendor + 2,
                'Vendor, Renderer and Version lines together, after the checks')
        c.check(lines[0] == gl_version + 1 and lines == list(range(lines[0], lines[0] + 5)),
                'the five GL information lines right after the version, in order')
        c.check(game.count_lines(r"^!OpenGL extension 'GL_ARB_(transpose_matrix|multitexture|"
                                 r"texture_compression|vertex_buffer_object|vertex_program)'") == 0,
                'no required extension reported missing')
        c.check(game.count_lines(r'^=+$') == 2, 'the line of equal signs opens and closes start-up')
    finally:
        game.stop()
    return c.done([game])


def case_closing_the_window_ends_like_q(c):
    game = Game(config=WINDOW + 'SceneManager={}\n').start()
    try:
        wid = game.find_window()
        c.check(wid is not None, 'the window "Orsin" appears')
        c.check(game.wait_for_colour(GREY, fraction=0.99) is not None, 'the grey frame')
        c.check(game.close_window(), 'the close request is sent')
        c.equal(game.wait_exit(20), 0, 'exit code after closing the window')
    finally:
        game.stop()
    return c.done([game])


def case_no_scenemanager_node(c):
    game = Game(config=WINDOW).start()
    try:
        c.check(game.wait_for_line('^SceneManager configuration node not defined$') >= 0,
                'the missing-node message')
        grey_frame_then_q(c, game)
    finally:
        game.stop()
    return c.done([game])


def case_no_window_node(c):
    game = Game(config='SceneManager={}\n').start()
    try:
        c.equal(game.wait_exit(30), 0, 'exit code without a window node')
        c.check(game.count_lines('^Window configuration node not defined$') == 1,
                'the window message')
    finally:
        game.stop()
    return c.done([game])


def case_no_width_or_height(c):
    game = Game(config='Window={}\nSceneManager={}\n').start()
    try:
        grey_frame_then_q(c, game, size=(800, 600))
    finally:
        game.stop()
    return c.done([game])


def case_other_size(c):
    game = Game(config='Window={width=640;height=400;}\nSceneManager={}\n').start()
    try:
        grey_frame_then_q(c, game, size=(640, 400))
    finally:
        game.stop()
    return c.done([game])


def case_width_zero(c):
    game = Game(config='Window={width=0;height=600;}\nSceneManager={}\n').start()
    try:
        c.check(game.wait_for_line('^Window size 0x600 is not valid, using 800x600$') >= 0,
                'the size message')
        grey_frame_then_q(c, game)
    finally:
        game.stop()
    return c.done([game])


def case_width_negative(c):
    game = Game(config='Window={width=-5;height=-5;}\nSceneManager={}\n').start()
    try:
        c.check(game.wait_for_line(r'^Window size -5x-5 is not valid, using 800x600$') >= 0,
                'the size message')
        grey_frame_then_q(c, game)
    finally:
        game.stop()
    return c.done([game])


def case_impossible_multisample(c):
    game = Game(config='Window={width=800;height=600;multisample=48;}\nSceneManager={}\n').start()
    try:
        c.check(game.wait_for_line(r'^Multisample 48 not available \(.*\), using none$') >= 0,
                'the multisample message')
        grey_frame_then_q(c, game)
        c.check(game.count_lines('^ MULTISAMPLE 0$') == 1, 'no samples in the end')
    finally:
        game.stop()
    return c.done([game])


def case_multisample_four(c):
    game = Game(config='Window={width=800;height=600;multisample=4;}\nSceneManager={}\n').start()
    try:
        grey_frame_then_q(c, game)
        c.check(game.count_lines('^ MULTISAMPLE 4$') == 1, 'four samples reported')
    finally:
        game.stop()
    return c.done([game])


def case_unreadable_argument_falls_back(c):
    game = Game(config=WINDOW + 'SceneManager={}\n', args=['nothere.cfo']).start()
    try:
        c.check(game.wait_for_line("^CFO Document 'nothere.cfo' not found$") >= 0,
                "the document's own line")
        grey_frame_then_q(c, game)
    finally:
        game.stop()
    return c.done([game])


def case_no_configuration_at_all(c):
    game = Game(config=None).start()
    try:
        c.equal(game.wait_exit(30), 0, 'exit code without a configuration')
        c.check(game.count_lines('^Could not read configuration file$') == 1, 'the message')
    finally:
        game.stop()
    return c.done([game])


def case_missing_search_path(c):
    game = Game(config=WINDOW + 'SceneManager={add_search_path=no_such_folder;}\n').start()
    try:
        c.check(game.wait_for_line(r" 'no_such_folder'$") >= 0,
                'the mount failure names the path')
        grey_frame_then_q(c, game)
    finally:
        game.stop()
    return c.done([game])


def case_require_loop(c):
    game = Game(config=WINDOW + 'SceneManager={require=scenes/a.cfo;}\n',
                files={'scenes/a.cfo': 'require=scenes/b.cfo;\n',
                       'scenes/b.cfo': 'require=scenes/a.cfo;\n'}).start()
    try:
        grey_frame_then_q(c, game)
        c.equal(game.count_lines(r"^SceneManager::LoadTree 'scenes/a.cfo' requires itself, "
                                 r"include skipped$"), 1, 'the require loop message')
    finally:
        game.stop()
    return c.done([game])


def case_game_binary_has_no_probe(c):
    """The probe entity lives in the probe program only: the game neither contains its
    name nor builds it from a document, whatever the environment says."""
    config = WINDOW + 'SceneManager={ TestProbe={name=p;quad=0,0,1024,768;colour=0,1,0;} }\n'
    with open(binary_path(), 'rb') as f:
        c.check(b'TestProbe' not in f.read(), 'the velmora binary holds no "TestProbe"')
    game = Game(config=config, env={'VELMORA_TEST_ENTITIES': '1'}).start()
    try:
        grey_frame_then_q(c, game)
        c.equal(game.count_lines(r"^TestProbe "), 0, 'the game makes no probe entity')
    finally:
        game.stop()
    # The same document in the probe program does make one: the check above can fail.
    probe = Game(config=config, probe=True).start()
    try:
        c.check(probe.wait_for_line(r"^TestProbe 'p' loaded$") >= 0, 'the probe program loads it')
        c.check(probe.find_window() is not None, 'the probe program opens its window')
        shot = probe.wait_for_colour((0, 255, 0), fraction=0.9)
        c.check(shot is not None and shot.fraction((0, 255, 0)) >= 0.9,
                'the probe program draws its green quad over the window')
        probe.key('q')
        c.equal(probe.wait_exit(20), 0, 'the probe program ends on "q"')
    finally:
        probe.stop()
    return c.done([game, probe])


def zip_bytes(members):
    """A ZIP archive (deflated members) of {name: bytes or (byte, count)} as bytes."""
    import io
    import zipfile
    out = io.BytesIO()
    with zipfile.ZipFile(out, 'w', zipfile.ZIP_DEFLATED) as z:
        for name, data in members.items():
            if isinstance(data, tuple):
                byte, count = data
                info = zipfile.ZipInfo(name)
                info.compress_type = zipfile.ZIP_DEFLATED
                with z.open(info, 'w', force_zip64=True) as member:
                    chunk = byte * (1 << 20)
                    for _ in range(count >> 20):
                        member.write(chunk)
                    member.write(byte * (count & ((1 << 20) - 1)))
            else:
                z.writestr(name, data)
    return out.getvalue()


def case_truncated_archive_gives_its_reason(c):
    whole = zip_bytes({'scenes/a.cfo': 'x=1;\n'})
    game = Game(config=WINDOW + 'SceneManager={add_search_path=data/trunc_tail.zip;}\n',
                files={'trunc_tail.zip': whole[:-10]}).start()
    try:
        c.check(game.wait_for_line(r" 'data/trunc_tail.zip'$") >= 0,
                'the mount failure names the archive')
        grey_frame_then_q(c, game)
        line = [l for l in game.output() if l.endswith("'data/trunc_tail.zip'")]
        c.check(bool(line) and not line[0].startswith('no error'),
                'the reason is the archive library\'s own, not "no error": %r' % line)
    finally:
        game.stop()
    return c.done([game])


def case_oversized_archive_member_is_refused(c):
    """A small archive whose member unpacks past the whole-read limit: the require is
    refused with a line naming the member and its size, and the game goes on."""
    size = 256 * 1024 * 1024 + 1
    archive = zip_bytes({'big.cfo': (b' ', size)})
    c.check(len(archive) < 2 * 1024 * 1024, 'the archive itself is small (%d bytes)' % len(archive))
    game = Game(config=WINDOW + 'SceneManager={add_search_path=data/big.zip;require=big.cfo;}\n',
                files={'big.zip': archive}).start()
    try:
        c.check(game.wait_for_line(r"^File 'big.cfo' is %d bytes, more than the 268435456 " % size)
                >= 0, 'the refusal names the file and its size')
        grey_frame_then_q(c, game)
    finally:
        game.stop()
    return c.done([game])


if __name__ == '__main__':
    run_cases([(name[5:], fn) for name, fn in sorted(globals().items())
               if name.startswith('case_') and callable(fn)])

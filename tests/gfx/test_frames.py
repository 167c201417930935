# labels: scene;gfx
"""The frame loop and input as the running program shows them, observed through the test
probe entity of the probe program (tests/probe/testprobe.h), which logs what it receives,
and through screenshots."""

import os
import re
import sys
import time

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
from harness import Game, colour_close, grey, run_cases  # noqa: E402

GREY = grey(0.3)


def window(width=800, height=600):
    return 'Window={width=%d;height=%d;}\n' % (width, height)


def start(c, config, files=None, width=800, height=600):
    game = Game(config=window(width, height) + config, files=files, probe=True).start()
    wid = game.find_window()
    c.check(wid is not None, 'the window "Orsin" appears')
    return game


def quit_with_q(c, game):
    game.key('q')
    c.equal(game.wait_exit(20), 0, 'exit code after "q"')


def probe_lines(game, name):
    prefix = "TestProbe '%s' " % name
    return [line[len(prefix):] for line in game.output() if line.startswith(prefix)]


def case_first_two_passes_draw_nothing(c):
    game = start(c, 'SceneManager={ TestProbe={name=p; pause_ms=3000;} }\n')
    try:
        c.check(game.wait_for_line(r"^TestProbe 'p' FrameEvent in pass 3$") >= 0,
                'the first FrameEvent arrives in pass 3')
        lines = probe_lines(game, 'p')
        frames = [l for l in lines if l.startswith('FrameEvent in pass')]
        c.equal(frames[:1], ['FrameEvent in pass 3'], 'first FrameEvent pass')
        c.check(game.wait_for_line(r"^TestProbe 'p' ResumeGameEvent 0 in pass 2$") >= 0,
                'the start-up ResumeGameEvent (false) arrives in pass 2')
        # The probe holds its first FrameEvent (pass 3, before that pass renders): the
        # screen still shows the loading screen, black around a dark blue box. Had pass 1
        # or 2 cleared and swapped, it would be grey.
        shot = game.window_shot()
        c.check(shot is not None, 'a screenshot during the first FrameEvent')
        if shot is not None:
            c.check(colour_close(shot.pixel(5, 5), (0, 0, 0), 2),
                    'corner still black: %r' % (shot.pixel(5, 5),))
            c.check(colour_close(shot.pixel(400, 300), (0, 0, 77), 2),
                    'centre still the dark blue box: %r' % (shot.pixel(400, 300),))
            c.check(shot.fraction(GREY) == 0, 'no grey yet')
        shot = game.wait_for_colour(GREY, fraction=0.99)
        c.check(shot is not None and shot.fraction(GREY) >= 0.99, 'then the grey frame')
        game.wait_for_line(r"^TestProbe 'p' first Render in pass", 10)
        renders = [l for l in probe_lines(game, 'p') if l.startswith('first Render in pass')]
        c.equal(renders, ['first Render in pass 3'], 'first drawing pass')
        quit_with_q(c, game)
    finally:
        game.stop()
    return c.done([game])


def case_mouse_in_virtual_coordinates(c):
    results = []
    for (w, h, points) in [(800, 600, [(400, 300), (100, 50), (799, 599), (0, 0)]),
                           (640, 480, [(320, 240), (639, 1)]),
                           (1024, 768, [(512, 384), (1000, 700)])]:
        game = start(c, 'SceneManager={ TestProbe={name=m;log_input=1;} }\n', width=w, height=h)
        try:
            game.wait_for_line(r"^TestProbe 'm' FrameEvent in pass 3$")
            for (x, y) in points:
                game.mouse_move(x, y)
                vx, vy = x * 1024 // w, y * 768 // h
                found = game.wait_for_line(r"^TestProbe 'm' motion %d %d raw %d %d$"
                                           % (vx, vy, x, y), timeout=10)
                c.check(found >= 0, '%dx%d window: pointer at (%d, %d) gives (%d, %d)'
                        % (w, h, x, y, vx, vy))
            quit_with_q(c, game)
            results.append(game)
        finally:
            game.stop()
    return c.done(results)


def case_keys_reach_entities_and_f2_toggles(c):
    game = start(c, 'SceneManager={ TestProbe={name=k;log_input=1;} }\n')
    try:
        game.wait_for_line(r"^TestProbe 'k' FrameEvent in pass 3$")
        game.key('a')
        c.check(game.wait_for_line(r"^TestProbe 'k' key down 97 r_debug_physics 0$", 10) >= 0,
                'key "a" reaches the entity as 97')
        c.check(game.wait_for_line(r"^TestProbe 'k' key up 97$", 10) >= 0, 'its key up')
        game.key('F2')
        c.check(game.wait_for_line(r"^TestProbe 'k' key down 283 r_debug_physics 1$", 10) >= 0,
                'F2 reaches the entity after turning the debug view on')
        game.key('F2')
        c.check(game.wait_for_line(r"^TestProbe 'k' key down 283 r_debug_physics 0$", 10) >= 0,
                'a second F2 turns it off again')
        game.key('Left', 'Up', 'F1', 'Escape', 'shift')
        for code in (276, 273, 282, 27, 304):
            c.check(game.wait_for_line(r"^TestProbe 'k' key down %d " % code, 10) >= 0,
                    'key code %d arrives' % code)
        game.click(1)
        c.check(game.wait_for_line(r"^TestProbe 'k' button down 1 at \d+ \d+$", 10) >= 0,
                'left button')
        game.click(4)
        c.check(game.wait_for_line(r"^TestProbe 'k' button down 4 at \d+ \d+$", 10) >= 0,
                'wheel up as button 4')
        c.check(game.wait_for_line(r"^TestProbe 'k' button up 4 at \d+ \d+$", 10) >= 0,
                'and its release')
        quit_with_q(c, game)
        c.check(game.count_lines(r"^TestProbe 'k' key down 113") == 0,
                '"q" posts nothing: the entity never sees it')
    finally:
        game.stop()
    return c.done([game])


def case_require_prints_indented_class_names(c):
    config = ('SceneManager={\n'
              '  require=scenes/inc.cfo;\n'
              '  TestProbe={name=top; TestProbe={name=child;}}\n'
              '}\n')
    files = {'scenes/inc.cfo': 'TestProbe={name=inc; TestProbe={name=inner; '
                               'TestProbe={name=deepest;}}}\n'}
    game = start(c, config, files=files)
    try:
        game.wait_for_line(r"^TestProbe 'top' FrameEvent in pass 3$")
        names = [l for l in game.output() if re.match(r"^ *'TestProbe'$", l)]
        c.equal(names, [" 'TestProbe'", "  'TestProbe'", "   'TestProbe'",
                        " 'TestProbe'", "  'TestProbe'"], 'class-name lines with their depth')
        loaded = [l for l in game.output() if re.match(r"^TestProbe '\w+' loaded$", l)]
        c.equal(loaded, ["TestProbe 'inc' loaded", "TestProbe 'inner' loaded",
                         "TestProbe 'deepest' loaded", "TestProbe 'top' loaded",
                         "TestProbe 'child' loaded"], 'load order')
        bound = [l for l in game.output() if re.match(r"^TestProbe '\w+' bound$", l)]
        c.equal(len(bound), 5, 'every probe bound')
        quit_with_q(c, game)
    finally:
        game.stop()
    return c.done([game])


def case_game_scene_replaced_by_load_game_event(c):
    config = ('SceneManager={\n'
              '  TestProbe={name=gui; quad=0,0,100,100; colour=0,1,0; z_index=10;}\n'
              '  TestProbe={name=game_scene; load_path=scenes/second.cfo; log_input=1;\n'
              '             quad=200,200,400,400; colour=1,0,0;}\n'
              '}\n')
    files = {'scenes/second.cfo': 'TestProbe={name=game_scene; quad=600,200,800,400; '
                                  'colour=0,0,1;}\nTestProbe={name=beside;}\n'}
    game = start(c, config, files=files)
    try:
        game.wait_for_line(r"^TestProbe 'game_scene' FrameEvent in pass 3$")
        shot = game.wait_for_colour((255, 0, 0), fraction=0.02)
        c.check(shot is not None and shot.fraction((255, 0, 0)) > 0.03, 'the first scene draws red')
        mark = len(game.output())
        game.key('l')
        c.check(game.wait_for_line(r"^TestProbe 'game_scene' posts LoadGameEvent "
                                   r"'scenes/second.cfo'$", 10, start=mark) >= 0, 'the post')
        c.check(game.wait_for_line(r"^TestProbe 'game_scene' ResumeGameEvent 0 in pass \d+$", 10,
                                   start=mark) >= 0, 'the new scene gets a ResumeGameEvent')
        after = game.output()[mark:]
        order = [l for l in after if re.match(r"^TestProbe '\w+' (unloaded|deleted|loaded|bound)$", l)]
        c.equal(order, ["TestProbe 'game_scene' unloaded", "TestProbe 'game_scene' deleted",
                        "TestProbe 'game_scene' loaded", "TestProbe 'beside' loaded",
                        "TestProbe 'game_scene' bound"],
                'old scene destroyed, new one loaded, only "game_scene" bound')
        c.check(not any("'gui' unloaded" in l or "'gui' deleted" in l for l in after),
                'the GUI probe outside "game_scene" lives on')
        shot = game.wait_for_colour((0, 0, 255), fraction=0.03)
        c.check(shot is not None and shot.fraction((0, 0, 255)) > 0.03, 'the new scene draws blue')
        c.check(shot is not None and shot.fraction((255, 0, 0)) == 0, 'the red one is gone')
        c.check(shot is not None and shot.fraction((0, 255, 0)) > 0.005, 'the GUI probe still draws')
        quit_with_q(c, game)
    finally:
        game.stop()
    return c.done([game])


def case_delete_and_load_in_one_frame(c):
    config = ('SceneManager={\n'
              '  TestProbe={name=victim;}\n'
              '  TestProbe={name=game_scene; load_path=scenes/next.cfo; delete_name=victim;}\n'
              '}\n')
    files = {'scenes/next.cfo': 'TestProbe={name=game_scene;}\n'}
    game = start(c, config, files=files)
    try:
        game.wait_for_line(r"^TestProbe 'game_scene' FrameEvent in pass 3$")
        mark = len(game.output())
        game.key('k')
        c.check(game.wait_for_line(r"^TestProbe 'game_scene' bound$", 10, start=mark) >= 0,
                'the new scene is bound')
        after = game.output()[mark:]
        order = [l for l in after if re.match(r"^TestProbe '\w+' (posts .*|unloaded|deleted|loaded)$", l)]
        c.equal(order, ["TestProbe 'game_scene' posts DeleteEntityEvent 'victim'",
                        "TestProbe 'game_scene' posts LoadGameEvent 'scenes/next.cfo'",
                        "TestProbe 'victim' deleted",
                        "TestProbe 'game_scene' unloaded", "TestProbe 'game_scene' deleted",
                        "TestProbe 'game_scene' loaded"], 'the delete goes first')
        c.check(not any("'victim' unloaded" in l for l in after),
                'a deleted entity is not unloaded')
        quit_with_q(c, game)
    finally:
        game.stop()
    return c.done([game])


def case_unreadable_scene_document(c):
    config = ('SceneManager={ TestProbe={name=game_scene; load_path=scenes/missing.cfo;} }\n')
    game = start(c, config)
    try:
        game.wait_for_line(r"^TestProbe 'game_scene' FrameEvent in pass 3$")
        game.key('l')
        c.check(game.wait_for_line(r"^CFO Document 'scenes/missing.cfo' not found$", 10) >= 0,
                "the document's line")
        c.check(game.wait_for_line(r'^SceneManager::CleanUpObjects Scene object not found$', 10) >= 0,
                'the scene message')
        c.check(game.wait_for_line(r"^TestProbe 'game_scene' deleted$", 10) >= 0,
                'the old scene is destroyed all the same')
        shot = game.wait_for_colour(GREY, fraction=0.99)
        c.check(shot is not None and shot.fraction(GREY) >= 0.99, 'the loop goes on')
        quit_with_q(c, game)
    finally:
        game.stop()
    return c.done([game])


def case_hidden_entity_gets_frames_but_does_not_draw(c):
    config = 'SceneManager={ TestProbe={name=h; visible=0; quad=0,0,1024,768; colour=1,0,0;} }\n'
    game = start(c, config)
    try:
        c.check(game.wait_for_line(r"^TestProbe 'h' FrameEvent in pass 3$") >= 0,
                'the hidden probe gets its FrameEvent')
        shot = game.wait_for_colour(GREY, fraction=0.99)
        c.check(shot is not None and shot.fraction(GREY) >= 0.99, 'and nothing red is drawn')
        c.check(game.count_lines(r"^TestProbe 'h' first Render") == 0, 'no Render call')
        quit_with_q(c, game)
    finally:
        game.stop()
    return c.done([game])


def case_quad_in_virtual_space(c):
    # A quad over the left half of the virtual screen covers the left half of any window.
    config = 'SceneManager={ TestProbe={name=q; quad=0,0,512,768; colour=1,1,0;} }\n'
    game = start(c, config, width=640, height=480)
    try:
        shot = game.wait_for_colour((255, 255, 0), fraction=0.45)
        c.check(shot is not None, 'a screenshot')
        if shot is not None:
            c.check(colour_close(shot.pixel(10, 240), (255, 255, 0)), 'left half yellow')
            c.check(colour_close(shot.pixel(315, 10), (255, 255, 0)), 'up to the middle')
            c.check(colour_close(shot.pixel(325, 470), GREY), 'right half grey')
            frac = shot.fraction((255, 255, 0))
            c.check(0.48 <= frac <= 0.52, 'half the window: %.3f' % frac)
        quit_with_q(c, game)
    finally:
        game.stop()
    return c.done([game])


if __name__ == '__main__':
    run_cases([(name[5:], fn) for name, fn in sorted(globals().items())
               if name.startswith('case_') and callable(fn)])

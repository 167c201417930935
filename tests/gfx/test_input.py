# labels: platform;gfx
"""Keys as a player presses them on a real X server: held keys, Ctrl+Pause, and keys that
only some layouts have. Observed through the test probe entity of the probe program
(tests/probe/testprobe.h) with "log_input=1", which logs every key with its SDL 1.2 code."""

import ctypes
import ctypes.util
import os
import re
import sys
import time

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
from harness import Game, run_cases  # noqa: E402

CONFIG = 'Window={width=800;height=600;}\nSceneManager={ TestProbe={name=k;log_input=1;} }\n'
MENU_KEYCODE = 135  # the PC Menu key in the X server's (evdev) keymap


class KeyboardState(ctypes.Structure):
    _fields_ = [('key_click_percent', ctypes.c_int), ('bell_percent', ctypes.c_int),
                ('bell_pitch', ctypes.c_uint), ('bell_duration', ctypes.c_uint),
                ('led_mask', ctypes.c_ulong), ('global_auto_repeat', ctypes.c_int),
                ('auto_repeats', ctypes.c_char * 32)]


class XServer:
    """The few keyboard settings of the test's own X server that the cases change."""

    def __init__(self):
        self.x11 = ctypes.CDLL(ctypes.util.find_library('X11'))
        self.x11.XOpenDisplay.restype = ctypes.c_void_p
        self.x11.XOpenDisplay.argtypes = [ctypes.c_char_p]
        self.x11.XCloseDisplay.argtypes = [ctypes.c_void_p]
        self.x11.XSync.argtypes = [ctypes.c_void_p, ctypes.c_int]
        self.x11.XAutoRepeatOn.argtypes = [ctypes.c_void_p]
        self.x11.XGetKeyboardControl.argtypes = [ctypes.c_void_p, ctypes.POINTER(KeyboardState)]
        self.x11.XStringToKeysym.restype = ctypes.c_ulong
        self.x11.XStringToKeysym.argtypes = [ctypes.c_char_p]
        self.x11.XChangeKeyboardMapping.argtypes = [ctypes.c_void_p, ctypes.c_int, ctypes.c_int,
                                                    ctypes.POINTER(ctypes.c_ulong), ctypes.c_int]

    def _open(self):
        display = self.x11.XOpenDisplay(None)
        if not display:
            raise RuntimeError('cannot open the X display')
        return display

    def auto_repeat_on(self):
        """Turns the server's key repeat on (a held key then sends repeated presses, as on a
        desktop); True when the server reports it on."""
        display = self._open()
        try:
            self.x11.XAutoRepeatOn(display)
            self.x11.XSync(display, 0)
            state = KeyboardState()
            self.x11.XGetKeyboardControl(display, ctypes.byref(state))
            return state.global_auto_repeat == 1  # AutoRepeatModeOn
        finally:
            self.x11.XCloseDisplay(display)

    def set_keysym(self, keycode, name):
        """Gives a keycode one keysym, as a layout option (compose:menu, ...) would."""
        display = self._open()
        try:
            keysyms = (ctypes.c_ulong * 1)(self.x11.XStringToKeysym(name.encode()))
            self.x11.XChangeKeyboardMapping(display, keycode, 1, keysyms, 1)
            self.x11.XSync(display, 0)
        finally:
            self.x11.XCloseDisplay(display)


def start(c):
    game = Game(config=CONFIG, probe=True).start()
    c.check(game.find_window() is not None, 'the window "Orsin" appears')
    c.check(game.wait_for_line(r"^TestProbe 'k' FrameEvent in pass 3$") >= 0, 'the probe runs')
    return game


def quit_with_q(c, game):
    game.key('q')
    c.equal(game.wait_exit(20), 0, 'exit code after "q"')


def keys_since(game, mark):
    """The probe's key lines after line `mark`, as ('down' or 'up', code)."""
    keys = []
    for line in game.output()[mark:]:
        m = re.match(r"^TestProbe 'k' key (down|up) (\d+)", line)
        if m:
            keys.append((m.group(1), int(m.group(2))))
    return keys


def hold(game, name, seconds):
    game.key_down(name)
    time.sleep(seconds)
    game.key_up(name)


def case_held_key_gives_one_key_down(c):
    c.check(XServer().auto_repeat_on(), "the X server's key repeat is on")
    game = start(c)
    try:
        mark = len(game.output())
        hold(game, 'F2', 2.0)
        c.check(game.wait_for_line(r"^TestProbe 'k' key up 283$", 10, start=mark) >= 0,
                'the release of F2 arrives')
        time.sleep(0.5)
        downs = [l for l in game.output()[mark:] if l.startswith("TestProbe 'k' key down 283 ")]
        c.equal(downs, ["TestProbe 'k' key down 283 r_debug_physics 1"],
                'F2 held for two seconds: one key down, one toggle of the debug view')
        c.equal(keys_since(game, mark), [('down', 283), ('up', 283)], 'the keys of the hold')
        # The debug view stays on: the next key sees it.
        mark = len(game.output())
        game.key('a')
        c.check(game.wait_for_line(r"^TestProbe 'k' key down 97 r_debug_physics 1$", 10,
                                   start=mark) >= 0, 'r_debug_physics is still on afterwards')
        # A movement key held as a player walks.
        game.wait_for_line(r"^TestProbe 'k' key up 97$", 10, start=mark)
        mark = len(game.output())
        hold(game, 'w', 1.5)
        c.check(game.wait_for_line(r"^TestProbe 'k' key up 119$", 10, start=mark) >= 0,
                'the release of "w" arrives')
        time.sleep(0.5)
        c.equal(keys_since(game, mark), [('down', 119), ('up', 119)], '"w" held: one press')
        quit_with_q(c, game)
    finally:
        game.stop()
    return c.done([game])


def case_ctrl_pause_is_break(c):
    game = start(c)
    try:
        mark = len(game.output())
        # xdotool lets Ctrl go before Pause: the release is Break all the same.
        game.key('ctrl+Pause')
        c.check(game.wait_for_line(r"^TestProbe 'k' key up 318$", 10, start=mark) >= 0,
                'the release of Break arrives')
        keys = keys_since(game, mark)
        c.equal([k for k in keys if k[1] != 306], [('down', 318), ('up', 318)],
                'Ctrl+Pause is Break (318), press and release')
        mark = len(game.output())
        game.key('Pause')
        c.check(game.wait_for_line(r"^TestProbe 'k' key up 19$", 10, start=mark) >= 0,
                'the release of Pause arrives')
        c.equal(keys_since(game, mark), [('down', 19), ('up', 19)], 'Pause alone is 19')
        quit_with_q(c, game)
    finally:
        game.stop()
    return c.done([game])


def layout_key(c, keysym, code):
    """Puts `keysym` on the Menu key, presses that key and expects `code`."""
    server = XServer()
    server.set_keysym(MENU_KEYCODE, keysym)
    game = None
    try:
        game = start(c)
        mark = len(game.output())
        game.key(str(MENU_KEYCODE))
        c.check(game.wait_for_line(r"^TestProbe 'k' key up %d$" % code, 10, start=mark) >= 0,
                'the release of %s arrives as %d' % (keysym, code))
        c.equal(keys_since(game, mark), [('down', code), ('up', code)], keysym)
        quit_with_q(c, game)
    finally:
        if game is not None:
            game.stop()
        server.set_keysym(MENU_KEYCODE, 'Menu')
    return game


def case_compose_and_euro_keys(c):
    games = [layout_key(c, 'Multi_key', 314), layout_key(c, 'EuroSign', 321),
             layout_key(c, 'Menu', 319)]
    return c.done([g for g in games if g is not None])


if __name__ == '__main__':
    run_cases([(name[5:], fn) for name, fn in sorted(globals().items())
               if name.startswith('case_') and callable(fn)])

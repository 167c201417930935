"""Graphical test harness: runs the real `velmora` binary in a temporary folder and plays
the user.

Each graphical test script imports this module, writes the data it needs (configuration and
scene documents) into a `Game`, starts it, gives it key presses and mouse motion through
xdotool, takes screenshots of its window and reads its standard output. The scripts run
inside scripts/with-xvfb.sh, which provides DISPLAY; the game renders with Mesa's llvmpipe.

Standard library only. A script exits 0 when every check passed, 1 otherwise, and prints
one line per failed check.

    from harness import Game, run_checks
    game = Game(config='Window={width=800;height=600;}SceneManager={}')
    game.start()
    wid = game.find_window()
    ...
    game.key('q'); rc = game.wait_exit()
"""

import os
import re
import shutil
import signal
import subprocess
import sys
import tempfile
import threading
import time

CONVERT = '/usr/bin/convert'  # /usr/local/bin/convert may be a stand-in: use the real one
DEFAULT_TIMEOUT = 30.0


def binary_path(probe=False):
    """The game binary, from VELMORA_BINARY (set by the suite) or the first argument; with
    `probe`, the probe program (tests/probe) from VELMORA_PROBE or the second argument."""
    variable, index = ('VELMORA_PROBE', 2) if probe else ('VELMORA_BINARY', 1)
    path = os.environ.get(variable)
    if not path and len(sys.argv) > index:
        path = sys.argv[index]
    if not path or not os.path.exists(path):
        print('harness: %s not found (set %s)' % ('probe program' if probe else 'velmora binary',
                                                  variable))
        sys.exit(1)
    return os.path.abspath(path)


class Image:
    """An RGB image: width, height and a bytes object of width*height*3."""

    def __init__(self, width, height, pixels):
        self.width = width
        self.height = height
        self.pixels = pixels

    def pixel(self, x, y):
        if x < 0 or y < 0 or x >= self.width or y >= self.height:
            raise IndexError('pixel (%d, %d) outside %dx%d' % (x, y, self.width, self.height))
        i = (y * self.width + x) * 3
        return tuple(self.pixels[i:i + 3])

    def crop(self, x, y, width, height):
        x = max(0, x)
        y = max(0, y)
        width = max(0, min(width, self.width - x))
        height = max(0, min(height, self.height - y))
        rows = []
        for row in range(y, y + height):
            start = (row * self.width + x) * 3
            rows.append(self.pixels[start:start + width * 3])
        return Image(width, height, b''.join(rows))

    def count(self, colour, tolerance=8):
        """How many pixels lie within `tolerance` of `colour` on every channel."""
        n = 0
        r0, g0, b0 = colour
        p = self.pixels
        for i in range(0, len(p), 3):
            if abs(p[i] - r0) <= tolerance and abs(p[i + 1] - g0) <= tolerance \
                    and abs(p[i + 2] - b0) <= tolerance:
                n += 1
        return n

    def fraction(self, colour, tolerance=8):
        total = self.width * self.height
        return self.count(colour, tolerance) / total if total else 0.0

    def save_ppm(self, path):
        with open(path, 'wb') as f:
            f.write(b'P6\n%d %d\n255\n' % (self.width, self.height))
            f.write(self.pixels)


def parse_ppm(data):
    """Parses a binary PPM (P6, maxval 255). None when the data is not one."""
    fields = []
    pos = 0
    while len(fields) < 4:
        while pos < len(data) and data[pos:pos + 1].isspace():
            pos += 1
        if pos < len(data) and data[pos:pos + 1] == b'#':
            while pos < len(data) and data[pos:pos + 1] != b'\n':
                pos += 1
            continue
        start = pos
        while pos < len(data) and not data[pos:pos + 1].isspace():
            pos += 1
        if start == pos:
            return None
        fields.append(data[start:pos])
    pos += 1  # the single blank after maxval
    if fields[0] != b'P6':
        return None
    try:
        width, height, maxval = int(fields[1]), int(fields[2]), int(fields[3])
    except ValueError:
        return None
    if maxval != 255 or width <= 0 or height <= 0:
        return None
    size = width * height * 3
    if len(data) - pos < size:
        return None
    return Image(width, height, data[pos:pos + size])


def colour_close(a, b, tolerance=8):
    return all(abs(x - y) <= tolerance for x, y in zip(a, b))


def level_only(config):
    """The start-up configuration without its screens: the menu and in-game layers'
    documents ("gui/...") are no longer required, so the game opens straight on the level's
    fixed camera (with the world paused, as always at start)."""
    return re.sub(r'\n\trequire = "gui/[^"\n]*";', '', config)


def grey(level):
    """A GL clear level in 0..1 as an 8-bit RGB triple."""
    v = int(round(level * 255))
    return (v, v, v)


class Game:
    """One run of the game in a temporary folder holding data/. With `probe`, the run is
    of the probe program, which knows the TestProbe entity besides the game's classes."""

    def __init__(self, config=None, files=None, args=None, env=None, config_name='conf_pc_d.cfo',
                 probe=False):
        self.binary = binary_path(probe)
        self.folder = tempfile.mkdtemp(prefix='velmora_gfx_')
        self.data = os.path.join(self.folder, 'data')
        os.makedirs(self.data)
        if config is not None:
            self.write(config_name, config)
        for name, text in (files or {}).items():
            self.write(name, text)
        self.args = list(args or [])
        self.env = dict(os.environ)
        self.env.update(env or {})
        self.process = None
        self.lines = []
        self.lock = threading.Lock()
        self.reader = None
        self.window = None
        self.returncode = None

    # -- data ----------------------------------------------------------------------------
    def write(self, name, content):
        """Writes a file under data/ (text or bytes)."""
        path = os.path.join(self.data, name)
        os.makedirs(os.path.dirname(path), exist_ok=True)
        mode = 'wb' if isinstance(content, bytes) else 'w'
        with open(path, mode) as f:
            f.write(content)
        return path

    # -- process -------------------------------------------------------------------------
    def start(self):
        self.process = subprocess.Popen(
            [self.binary] + self.args, cwd=self.folder, env=self.env,
            stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, stderr=subprocess.STDOUT)
        self.reader = threading.Thread(target=self._read, daemon=True)
        self.reader.start()
        return self

    def _read(self):
        for raw in iter(self.process.stdout.readline, b''):
            line = raw.decode('utf-8', 'replace').rstrip('\n')
            with self.lock:
                self.lines.append(line)
        self.process.stdout.close()

    def output(self):
        with self.lock:
            return list(self.lines)

    def wait_for_line(self, pattern, timeout=DEFAULT_TIMEOUT, start=0):
        """Waits for a line matching the regular expression; returns its index or -1."""
        regex = re.compile(pattern)
        deadline = time.time() + timeout
        while time.time() < deadline:
            lines = self.output()
            for i in range(start, len(lines)):
                if regex.search(lines[i]):
                    return i
            if self.process.poll() is not None:
                self.reader.join(2)
                lines = self.output()
                for i in range(start, len(lines)):
                    if regex.search(lines[i]):
                        return i
                return -1
            time.sleep(0.05)
        return -1

    def count_lines(self, pattern):
        regex = re.compile(pattern)
        return sum(1 for line in self.output() if regex.search(line))

    def wait_exit(self, timeout=DEFAULT_TIMEOUT):
        """The exit code, or None when the process still runs after `timeout`."""
        try:
            self.returncode = self.process.wait(timeout)
        except subprocess.TimeoutExpired:
            return None
        if self.reader:
            self.reader.join(5)
        return self.returncode

    def running(self):
        return self.process is not None and self.process.poll() is None

    def backtrace(self):
        """The stacks of the running process's threads (through gdb, when it is installed):
        what a game that stopped answering was doing."""
        if self.process is None or self.process.poll() is not None or not shutil.which('gdb'):
            return ''
        r = subprocess.run(['gdb', '-p', str(self.process.pid), '-batch', '-nx',
                            '-ex', 'thread apply all bt 30'],
                           stdout=subprocess.PIPE, stderr=subprocess.STDOUT, timeout=60)
        return r.stdout.decode(errors='replace')

    def stop(self):
        """Ends the process (if it still runs) and removes the folder."""
        if self.process is not None and self.process.poll() is None:
            self.process.send_signal(signal.SIGTERM)
            try:
                self.process.wait(5)
            except subprocess.TimeoutExpired:
                self.process.kill()
                self.process.wait(5)
        if self.reader:
            self.reader.join(5)
        if os.environ.get('VELMORA_GFX_KEEP'):
            print('harness: kept %s' % self.folder)
        else:
            shutil.rmtree(self.folder, ignore_errors=True)

    # -- window and input ----------------------------------------------------------------
    def find_window(self, name='Orsin', timeout=DEFAULT_TIMEOUT):
        """The X window id of the game's window (by its exact name), or None."""
        deadline = time.time() + timeout
        while time.time() < deadline:
            if not self.running():
                return None
            r = subprocess.run(['xdotool', 'search', '--onlyvisible', '--name', '^%s$' % name],
                               stdout=subprocess.PIPE, stderr=subprocess.DEVNULL)
            ids = r.stdout.decode().split()
            if ids:
                self.window = ids[-1]
                subprocess.run(['xdotool', 'windowfocus', '--sync', self.window],
                               stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL, timeout=10)
                return self.window
            time.sleep(0.1)
        return None

    def geometry(self):
        """(x, y, width, height) of the game window on the screen."""
        r = subprocess.run(['xdotool', 'getwindowgeometry', '--shell', self.window],
                           stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, timeout=10)
        values = dict(line.split('=', 1) for line in r.stdout.decode().split() if '=' in line)
        return (int(values.get('X', 0)), int(values.get('Y', 0)),
                int(values.get('WIDTH', 0)), int(values.get('HEIGHT', 0)))

    def key(self, *names, delay_ms=30):
        """Presses and releases keys (xdotool names: q, F2, Left, shift, ...)."""
        subprocess.run(['xdotool', 'windowfocus', '--sync', self.window],
                       stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL, timeout=10)
        subprocess.run(['xdotool', 'key', '--delay', str(delay_ms)] + list(names),
                       stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL, timeout=10)

    def key_down(self, name):
        subprocess.run(['xdotool', 'keydown', name], stdout=subprocess.DEVNULL,
                       stderr=subprocess.DEVNULL, timeout=10)

    def key_up(self, name):
        subprocess.run(['xdotool', 'keyup', name], stdout=subprocess.DEVNULL,
                       stderr=subprocess.DEVNULL, timeout=10)

    def close_window(self):
        """Asks the window to close as a window manager does (WM_DELETE_WINDOW), which
        SDL reports as a quit. True when the message was sent."""
        import ctypes
        import ctypes.util
        name = ctypes.util.find_library('X11')
        if not name or self.window is None:
            return False
        x11 = ctypes.CDLL(name)
        x11.XOpenDisplay.restype = ctypes.c_void_p
        x11.XOpenDisplay.argtypes = [ctypes.c_char_p]
        x11.XInternAtom.restype = ctypes.c_ulong
        x11.XInternAtom.argtypes = [ctypes.c_void_p, ctypes.c_char_p, ctypes.c_int]
        x11.XSendEvent.argtypes = [ctypes.c_void_p, ctypes.c_ulong, ctypes.c_int, ctypes.c_long,
                                   ctypes.c_void_p]
        x11.XFlush.argtypes = [ctypes.c_void_p]
        x11.XCloseDisplay.argtypes = [ctypes.c_void_p]

        class ClientMessage(ctypes.Structure):
            _fields_ = [('type', ctypes.c_int), ('serial', ctypes.c_ulong),
                        ('send_event', ctypes.c_int), ('display', ctypes.c_void_p),
                        ('window', ctypes.c_ulong), ('message_type', ctypes.c_ulong),
                        ('format', ctypes.c_int), ('data', ctypes.c_long * 5)]

        class Event(ctypes.Union):
            _fields_ = [('client', ClientMessage), ('pad', ctypes.c_long * 24)]

        display = x11.XOpenDisplay(None)
        if not display:
            return False
        window = int(self.window)
        event = Event()
        event.client.type = 33  # ClientMessage
        event.client.send_event = 1
        event.client.display = display
        event.client.window = window
        event.client.message_type = x11.XInternAtom(display, b'WM_PROTOCOLS', 0)
        event.client.format = 32
        event.client.data[0] = x11.XInternAtom(display, b'WM_DELETE_WINDOW', 0)
        event.client.data[1] = 0  # CurrentTime
        ok = x11.XSendEvent(display, window, 0, 0, ctypes.byref(event)) != 0
        x11.XFlush(display)
        x11.XCloseDisplay(display)
        return ok

    def mouse_move(self, x, y):
        """Moves the pointer to (x, y) in window pixels."""
        subprocess.run(['xdotool', 'mousemove', '--window', self.window, str(x), str(y)],
                       stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL, timeout=10)

    def click(self, button=1):
        subprocess.run(['xdotool', 'click', str(button)], stdout=subprocess.DEVNULL,
                       stderr=subprocess.DEVNULL, timeout=10)

    # -- screenshots ---------------------------------------------------------------------
    def screenshot(self):
        """The whole screen as an Image, or None when it cannot be taken."""
        xwd = subprocess.Popen(['xwd', '-root', '-silent'], stdout=subprocess.PIPE,
                               stderr=subprocess.DEVNULL)
        r = subprocess.run([CONVERT, 'xwd:-', 'ppm:-'], stdin=xwd.stdout,
                           stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, timeout=30)
        xwd.stdout.close()
        xwd.wait(10)
        return parse_ppm(r.stdout)

    def window_shot(self):
        """The game window's pixels as an Image, or None."""
        image = self.screenshot()
        if image is None or self.window is None:
            return image
        x, y, w, h = self.geometry()
        return image.crop(x, y, w, h)

    def wait_for_colour(self, colour, fraction=0.9, tolerance=8, timeout=DEFAULT_TIMEOUT):
        """Waits until at least `fraction` of the window has `colour`; the last shot."""
        deadline = time.time() + timeout
        shot = None
        while time.time() < deadline:
            shot = self.window_shot()
            if shot is not None and shot.width > 0 and shot.fraction(colour, tolerance) >= fraction:
                return shot
            time.sleep(0.2)
        return shot


class Checks:
    """Collects failed checks; `done()` prints them and gives the exit code."""

    def __init__(self, name):
        self.name = name
        self.failures = []

    def check(self, condition, message):
        if not condition:
            self.failures.append(message)
            print('FAILED: %s' % message)
        return condition

    def equal(self, actual, expected, message):
        return self.check(actual == expected, '%s: expected %r, got %r' % (message, expected, actual))

    def done(self, games=()):
        for game in games:
            if self.failures:
                print('---- output of %s ----' % ' '.join([os.path.basename(game.binary)] + game.args))
                for line in game.output()[-80:]:
                    print(line)
                if game.running():
                    print('---- the process still runs; its threads ----')
                    print(game.backtrace())
        if self.failures:
            print('%s: %d check(s) failed' % (self.name, len(self.failures)))
            return 1
        print('%s: all checks passed' % self.name)
        return 0


def run_cases(cases):
    """Runs named test functions (each taking a Checks) and exits with the summary code.
    A command-line filter (second argument after the binary) runs only matching names."""
    only = os.environ.get('VELMORA_GFX_ONLY')
    failed = 0
    for name, case in cases:
        if only and only not in name:
            continue
        checks = Checks(name)
        started = time.time()
        try:
            rc = case(checks)
        except Exception as e:  # a harness error is a failure of this case, not a crash
            print('FAILED: %s raised %r' % (name, e))
            rc = 1
        print('[%s] %s in %.1fs' % ('ok' if rc == 0 else 'FAIL', name, time.time() - started))
        failed += 1 if rc else 0
    sys.exit(1 if failed else 0)

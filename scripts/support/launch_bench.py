"""What scripts/bench measures of the program's start, its size and its end."""

import ctypes
import os
import pathlib
import re
import statistics
import subprocess
import time
import urllib.request

from stage import PROGRAM, ROOT, Program, XServer

BENCH = ROOT / "build/release/bench"
# Within the console and the bare window, both at the upper right of a display of 1440 points.
SPOT = (1430, 8)


class Screen:
    """The pixels of an X server's screen."""

    def __init__(self, display):
        self.x = ctypes.CDLL("libX11.so.6")
        for function, result, arguments in [
                ("XOpenDisplay", ctypes.c_void_p, [ctypes.c_char_p]),
                ("XDefaultRootWindow", ctypes.c_ulong, [ctypes.c_void_p]),
                ("XGetImage", ctypes.c_void_p,
                 [ctypes.c_void_p, ctypes.c_ulong, ctypes.c_int, ctypes.c_int, ctypes.c_uint,
                  ctypes.c_uint, ctypes.c_ulong, ctypes.c_int]),
                ("XGetPixel", ctypes.c_ulong, [ctypes.c_void_p, ctypes.c_int, ctypes.c_int]),
                ("XDestroyImage", ctypes.c_int, [ctypes.c_void_p]),
                ("XCloseDisplay", ctypes.c_int, [ctypes.c_void_p])]:
            getattr(self.x, function).restype = result
            getattr(self.x, function).argtypes = arguments
        self.connection = self.x.XOpenDisplay(display.encode())
        self.root = self.x.XDefaultRootWindow(self.connection)

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.x.XCloseDisplay(self.connection)

    def pixel(self, x, y):
        all_planes, z_pixmap = 0xFFFFFFFF, 2
        image = self.x.XGetImage(self.connection, self.root, x, y, 1, 1, all_planes, z_pixmap)
        value = self.x.XGetPixel(image, 0, 0)
        self.x.XDestroyImage(image)
        return value


def start_to_screen(command, environment, screen):
    """Seconds until a program's window is painted where there was nothing. It is ended there."""
    empty = screen.pixel(*SPOT)
    start = time.monotonic()
    process = subprocess.Popen([command], env=environment, stderr=subprocess.DEVNULL)
    while screen.pixel(*SPOT) == empty:
        if process.poll() is not None or time.monotonic() - start > 10:
            raise RuntimeError(f"{command} shows nothing")
        # Looking all the time would take a core from what is looked at.
        time.sleep(0.0003)
    elapsed = time.monotonic() - start
    process.terminate()
    process.wait()
    while screen.pixel(*SPOT) != empty:
        time.sleep(0.001)
    return elapsed


def start_row(pairs=25):
    ratios, times = [], []
    with XServer("small") as server, Screen(server.display) as screen:
        environment = Program(display=server.display).environment
        for _ in range(pairs):
            ours = start_to_screen(PROGRAM, environment, screen)
            bare = start_to_screen(BENCH / "bare_application", environment, screen)
            ratios.append(ours / bare)
            times.append(ours)
    return ("Start to the console on screen ÷ an empty `QMainWindow` on screen, X11",
            statistics.median(ratios), "<=", 2, f"{statistics.median(times) * 1000:.0f} ms")


def memory_row():
    with XServer("small", "large") as server, \
            Program(display=server.display, webRemoteEnabled=True) as program:
        port = program.wait_for_log(r"Web remote on port (\d+)")[1]
        program.send("GO 12", "MSG Doors open")
        for path in ("", "display", "state", "cues") * 10:
            with urllib.request.urlopen(f"http://127.0.0.1:{port}/{path}") as answer:
                answer.read()
        time.sleep(3)
        assert "Tarrow — DUMMY1" in server.run("xwininfo", "-root", "-tree")
        status = pathlib.Path(f"/proc/{program.process.pid}/status").read_text()
    peak = int(re.search(r"VmHWM:\s+(\d+) kB", status)[1]) * 1024 / 1e6
    return ("Peak memory with the console, a 1080p display and the web remote, in MB", peak, "<=",
            120, "X11")


def quit_row():
    words = ["umockdev-wrapper", BENCH / "bench_quit"]
    environment = dict(os.environ, QT_QPA_PLATFORM="offscreen")
    line = subprocess.run(words, env=environment, check=True, capture_output=True,
                          text=True).stdout
    median, worst = map(float, line.split()[1:])
    return ("Quit to process gone, with a deck of 32 keys, in ms", median, "<=", 300,
            f"worst {worst:.0f} ms")


def rows():
    yield start_row()
    yield memory_row()
    yield quit_row()

"""The program on a stage of two displays and a deck, whose parts come and go and are used."""

import collections
import contextlib
import os
import pathlib
import re
import socket
import subprocess
import time

from stage import PROGRAM, ROOT, Program

BENCH = ROOT / "build/release/bench"
PATIENCE_SECONDS = 20
# Until a hand gets to the next control.
HAND_SECONDS = 0.5
KEYS = 32
BLACKOUT_KEY = 14
OUTPUT = "Tarrow — DUMMY1"
CUES = [(f"Cue {number}", 30 * number) for number in range(1, 91)]

# Where the console's controls are, from the top right corner of the display that it docks at.
EXPAND = (-26, 255)
# In the order in which each has something to do, with what it changes in /state. "20" only fills the
# field that GO takes, and there is no message to show or to clear.
BUTTONS = {
    "20": ((-215, 348), None), "GO": ((-201, 302), "phase"), "Pause": ((-124, 302), "phase"),
    "+1": ((-34, 348), "time"), "-1": ((-80, 348), "time"), "STOP": ((-48, 302), "phase"),
    "Show": ((-116, 431), None), "Clear": ((-53, 431), None),
    "Attention": ((-209, 491), "strobeCount"), "Loop": ((-133, 491), "loop"),
    "Blackout": ((-285, 491), "blackout"),
}
# Cues, Clock, Timer: what they leave is the first again.
MODES = [(-189, 255), (-97, 255), (-282, 255)]
# The setting, a control that changes it, and one that changes it back.
CHANGES = [
    ("allowCountUp", (-58, 491), (-58, 491)),
    ("textColor", (-95, 569), (-173, 569)),
    ("backgroundColor", (-69, 599), (-147, 599)),
    ("useThresholdColors", (-311, 638), (-311, 638)),
    ("amberThresholdSeconds", (-158, 724), (-158, 734)),
    ("enabledScreenIDs", (-311, 864), (-311, 864)),
    ("ndiEnabled", (-311, 903), (-311, 903)),
    ("webRemoteEnabled", (-311, 933), (-311, 933)),
]


def wait_until(holds, what):
    deadline = time.monotonic() + PATIENCE_SECONDS
    while not holds():
        if time.monotonic() > deadline:
            raise RuntimeError(f"waited in vain: {what}")
        time.sleep(0.02)


class DeckProgram(Program):
    """The program with a deck, started by the helper that holds the deck."""

    def __init__(self, **options):
        super().__init__(cues=CUES, stored={"sd.enabled": True}, ndiEnabled=True,
                         webRemoteEnabled=True, **options)
        self.watch = pathlib.Path(self.home.name) / "watch"
        self.environment |= {"NDI_RUNTIME_DIR_V6": str(BENCH / "soak_ndi"),
                             "SOAK_WATCH": str(self.watch)}

    def launch(self):
        helper = subprocess.Popen(
            ["umockdev-wrapper", BENCH / "soak_deck", PROGRAM], env=self.environment,
            stdin=subprocess.PIPE, stdout=subprocess.PIPE, stderr=self.log, text=True)
        self.pid = int(helper.stdout.readline())
        return helper

    def deck(self, line):
        """Has the deck do something; the answer."""
        self.process.stdin.write(line + "\n")
        self.process.stdin.flush()
        return self.process.stdout.readline().strip()

    def stored(self, key):
        text = (pathlib.Path(self.home.name) / "quillfen/tarrow.conf").read_text()
        match = re.search(rf'"{key}":(\{{.*?\}}|\[.*?\]|[^,}}]*)', text.replace('\\"', '"'))
        return match and match[1]

    def watched(self, what):
        """The numbers that the watch within the program has written down."""
        return [float(number) for number in
                re.findall(rf"^{what} ([\d.]+)$", self.watch.read_text(), re.MULTILINE)]


@contextlib.contextmanager
def window_manager(server):
    """A small one, without which no window gets the keyboard."""
    # It says that it is there before it is ready, and loses windows that are shown in between.
    process = subprocess.Popen(
        ["openbox", "--startup", "xprop -root -f IS_READY 32c -set IS_READY 1"],
        env=dict(os.environ, DISPLAY=server.display),
        stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
    try:
        wait_until(lambda: "=" in server.run("xprop", "-root", "IS_READY"), "a window manager")
        yield
    finally:
        process.terminate()
        process.wait()


class Stage:
    """`happen` lets something random happen. Displays, deck and settings are as before when it
    returns; the timer is not."""

    def __init__(self, server, program, remote, random):
        self.server = server
        self.program = program
        self.remote = remote
        self.random = random
        self.happened = collections.Counter()

    def open_console(self):
        # The window manager draws a border of one pixel.
        wait_until(lambda: self._edge("X") + self._edge("Width") == 1919, "the console in place")
        self._click(EXPAND)
        wait_until(lambda: self._edge("Height") > 900, "the console's settings")
        self._wait_for_window(OUTPUT)

    def try_controls(self):
        """Uses each button, and a key of the deck, while nothing else happens, and sees what it
        does. So what is pressed later is not pressed in vain."""
        for name in [*BUTTONS, "Loop", "Blackout"]:
            place, what = BUTTONS[name]
            if what is None:
                self._click(place)
            else:
                self._see_change(what, lambda place=place: self._click(place))
        for _ in range(2):
            self._see_change("blackout", lambda: self._press_key(BLACKOUT_KEY))

    def _see_change(self, what, act):
        def now():
            return self.remote.get("/state")[what]

        before = now()
        act()
        wait_until(lambda: now() != before, f"another {what}")

    def use_text_color(self, show):
        """Lets the caller show something in the text colour that a setting is changed to."""
        _, change, back = CHANGES[1]
        self._click(change)
        show()
        self._click(back)

    def _edge(self, name):
        """A number that xwininfo tells of the console; 0 while it is not on screen."""
        info = self._window("Tarrow")
        return "IsViewable" in info and int(re.search(rf"{name}: +(\d+)", info)[1])

    def happen(self):
        name, act = self.random.choice([
            ("display pulled and plugged", self._replug_display),
            ("deck pulled and plugged", self._replug_deck),
            ("key of the deck", lambda: self._press_key(self.random.randrange(KEYS))),
            ("press in the console", self._press_button),
            ("setting changed and back", self._change_setting),
            ("mode of the console", self._change_mode),
        ])
        act()
        self.happened[name] += 1

    def _replug_display(self):
        self.server.run("xrandr", "--output", "DUMMY1", "--off")
        wait_until(lambda: "IsViewable" not in self._window(OUTPUT), "no picture without a display")
        self.server.run("xrandr", "--output", "DUMMY1", "--mode", "large", "--pos", "1920x0")
        self._wait_for_window(OUTPUT)

    def _replug_deck(self):
        for line in ("unplug", "plug"):
            assert self.program.deck(line) == line, "the deck got no pictures"

    def _press_key(self, key):
        self.program.deck(f"press {key}")

    def _press_button(self):
        place, _ = self.random.choice(list(BUTTONS.values()))
        self._click(place)

    def _change_mode(self):
        for place in MODES:
            self._click(place)
            time.sleep(HAND_SECONDS)

    def _change_setting(self):
        key, change, back = self.random.choice(CHANGES)
        self.remote.away = key == "webRemoteEnabled"
        for place in (change, back):
            before = self.program.stored(key)
            self._click(place)
            wait_until(lambda: self.program.stored(key) != before, f"a change of {key}")
            time.sleep(HAND_SECONDS)
        if self.remote.away:
            wait_until(lambda: is_open(self.remote.port), "the web remote")
        if key == "enabledScreenIDs":
            self._wait_for_window(OUTPUT)
        self.remote.away = False

    def _click(self, place):
        x, y = place
        self.server.run("xdotool", "mousemove", str(1920 + x), str(y), "click", "1")

    def _window(self, title):
        return self.server.run("sh", "-c", f"xwininfo -name '{title}' 2>&1 || true")

    def _wait_for_window(self, title):
        wait_until(lambda: "IsViewable" in self._window(title), f"the window {title}")


def is_open(port):
    with socket.socket() as client:
        return client.connect_ex(("127.0.0.1", port)) == 0

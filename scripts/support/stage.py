"""The built program with a home of its own, and an X server with displays for it to play on.

What scripts/bench, scripts/soak, scripts/screenshots and the tests written in Python have in
common.
"""

import json
import os
import pathlib
import platform
import re
import socket
import subprocess
import tempfile
import time
import uuid

ROOT = pathlib.Path(__file__).resolve().parent.parent.parent
LISTENING = re.compile(r"UDP listening on port (\d+)")
PROGRAM = ROOT / "build/release/tarrow"
# Everything the settings document must hold, with any free port.
SETTINGS = json.loads((ROOT / "scripts/support/settings.json").read_text())


class Program:
    """The program, its log in a file. `output` is a file for its standard output, `cues` are pairs
    of title and seconds, `stored` is what else the preferences hold, `changes` are settings other
    than SETTINGS."""

    def __init__(self, display=None, executable=PROGRAM, output=None, cues=(), stored=None,
                 **changes):
        self.executable = executable
        self.output = output
        self.home = tempfile.TemporaryDirectory()
        self.store({
            "TarrowSettings.v1": SETTINGS | changes,
            "TarrowCues.v1": [{"id": str(uuid.uuid4()), "title": title, "seconds": seconds}
                              for title, seconds in cues],
        } | (stored or {}))
        self.environment = dict(
            os.environ, HOME=self.home.name, XDG_CONFIG_HOME=self.home.name,
            XDG_RUNTIME_DIR=self.home.name, QT_QPA_PLATFORM="xcb" if display else "offscreen",
            PULSE_SERVER="unix:/nonexistent",
        )
        if display:
            self.environment["DISPLAY"] = display
        self.environment.pop("DBUS_SESSION_BUS_ADDRESS", None)

    def store(self, documents):
        """Makes the documents, by key, all that the preferences hold."""
        folder = pathlib.Path(self.home.name) / "quillfen"
        folder.mkdir(exist_ok=True)
        lines = ["[General]"]
        for key, document in documents.items():
            text = json.dumps(document).replace("\\", "\\\\").replace('"', '\\"')
            lines.append(f'{key}="{text}"')
        (folder / "tarrow.conf").write_text("\n".join(lines) + "\n")

    def __enter__(self):
        self.log = open(pathlib.Path(self.home.name) / "log", "w+b")
        self.process = self.launch()
        self.port = int(self.wait_for_log(LISTENING)[1])
        return self

    def launch(self):
        return subprocess.Popen([self.executable], env=self.environment, stdout=self.output,
                                stderr=self.log)

    def __exit__(self, *_):
        self.process.kill()
        self.process.wait()
        self.log.close()
        self.home.cleanup()

    def send(self, *commands):
        with socket.socket(socket.AF_INET, socket.SOCK_DGRAM) as sender:
            for command in commands:
                sender.sendto(command.encode(), ("127.0.0.1", self.port))

    def log_text(self):
        return (pathlib.Path(self.home.name) / "log").read_text(errors="replace")

    def wait_for_log(self, pattern):
        for _ in range(1000):
            if match := re.search(pattern, self.log_text()):
                return match
            time.sleep(0.01)
        raise RuntimeError(f"no {pattern!r} in the log")

    def processor_seconds(self):
        fields = pathlib.Path(f"/proc/{self.process.pid}/stat").read_text().rsplit(")", 1)[1]
        user, system = fields.split()[11:13]
        return (int(user) + int(system)) / os.sysconf("SC_CLK_TCK")


class XServer:
    """An X server with the displays DUMMY0, DUMMY1, … side by side, in the modes given: "large" or
    "small"."""

    def __init__(self, *modes):
        self.modes = modes

    def __enter__(self):
        self.folder = tempfile.TemporaryDirectory()
        self.process = subprocess.Popen(
            ["Xorg", "-displayfd", "1", "-config", ROOT / "scripts/support/xorg.conf",
             "-noreset", "-novtswitch", "-sharevts", "-nolisten", "tcp",
             "-logfile", f"{self.folder.name}/log"],
            stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, text=True)
        self.display = ":" + self.process.stdout.readline().strip()
        for number, mode in enumerate(self.modes):
            output = f"DUMMY{number}"
            place = ["--right-of", f"DUMMY{number - 1}"] if number else ["--primary"]
            self.run("xrandr", "--addmode", output, mode)
            self.run("xrandr", "--output", output, "--mode", mode, *place)
        return self

    def __exit__(self, *_):
        self.process.terminate()
        self.process.wait()
        self.process.stdout.close()
        self.folder.cleanup()

    def run(self, *words):
        """What a program prints that runs on the server to its end."""
        return subprocess.run(words, env=dict(os.environ, DISPLAY=self.display), check=True,
                              capture_output=True, text=True).stdout


def free_port():
    """A TCP port that nothing listens on now."""
    with socket.socket() as listener:
        listener.bind(("127.0.0.1", 0))
        return listener.getsockname()[1]


def display_number(connector, maker="", model="", serial_number=""):
    """The number under which the program stores a display."""
    number = 2166136261
    for part in (connector, maker, model, serial_number):
        for byte in part.encode() + b"\0":
            number = (number ^ byte) * 16777619 & 0xFFFFFFFF
    return number


def socket_state(port):
    """Bytes waiting and datagrams dropped, of the socket bound to the port."""
    for line in pathlib.Path("/proc/net/udp6").read_text().splitlines()[1:]:
        fields = line.split()
        if int(fields[1].split(":")[1], 16) == port:
            return int(fields[4].split(":")[1], 16), int(fields[-1])
    raise RuntimeError(f"nothing listens on port {port}")


def machine():
    """What figures belong to, in one line."""
    model = re.search(r"model name\s*: (.*)", pathlib.Path("/proc/cpuinfo").read_text())
    return f"{model[1] if model else 'unknown processor'}, {os.cpu_count()} cores, " \
           f"Linux {platform.release().split('-')[0]}, {time.strftime('%Y-%m-%d')}"

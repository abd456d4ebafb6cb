#!/usr/bin/env python3
"""Measures the NDI output with a real runtime, and prints rows for scripts/bench as JSON. Without
the runtime they hold no figures.

To be run by scripts/support/without-network: what the sender announces stays on the machine.
"""

import contextlib
import json
import os
import pathlib
import socket
import statistics
import subprocess
import sys
import tempfile
import time

sys.path.insert(0, str(pathlib.Path(__file__).parent))
from stage import ROOT, Program  # noqa: E402

RUNTIME = ROOT / "build/ndi-runtime"
LIBRARY = RUNTIME / "libndi.so.6"
BENCH = ROOT / "build/release/bench"
SECONDS = 30
COMMANDS = 300
# What is measured for a receiver or none, and the limit.
ROWS = [("NDI frames a second, {}: off from 30 by", 0.1),
        ("`GO` to changed `/state`, {}, median in ms", 5),
        ("`GO` to changed `/state`, {}, the worst in ms", 40),
        ("Main thread in NDI's send, {} ÷ a bare grid of sends", 1.2)]


class Timed:
    """Variables for a program whose sends are timed, and the times once it has ended."""

    def __init__(self, folder):
        self.file = pathlib.Path(folder) / "times"
        self.environment = {
            "NDI_RUNTIME_DIR_V6": str(BENCH / "timing_ndi"),
            "NDI_REAL_RUNTIME": str(RUNTIME),
            "NDI_TIMES": str(self.file),
            "QT_QPA_PLATFORM": "offscreen",
        }

    def figures(self):
        """Frames a second, and the share of the time that was spent in sends."""
        frames, seconds, in_sends = map(float, self.file.read_text().split())
        return frames / seconds, in_sends / seconds


def sender_port():
    """Where the runtime has opened a sender: on port 5961, or on a later one while the connections
    of the sender before have not expired."""
    for _ in range(1000):
        for line in pathlib.Path("/proc/net/tcp").read_text().splitlines()[1:]:
            _, address, _, status, *_ = line.split()
            port = int(address.rpartition(":")[2], 16)
            if status == "0A" and 5961 <= port < 6000:
                return port
        time.sleep(0.01)
    raise RuntimeError("no sender")


@contextlib.contextmanager
def receivers(count):
    """With so many receivers of the sender that there is or is about to be, all of them receiving.
    """
    processes = [subprocess.Popen([BENCH / "ndi_receiver", RUNTIME, str(sender_port())],
                                  stdout=subprocess.PIPE)
                 for _ in range(count)]
    try:
        for process in processes:
            if not process.stdout.readline():
                raise RuntimeError("a receiver gets no frame")
        yield
    finally:
        for process in processes:
            process.kill()
            process.wait()
            process.stdout.close()


def of_the_program(count):
    with tempfile.TemporaryDirectory() as folder:
        timed = Timed(folder)
        program = Program(ndiEnabled=True)
        program.environment |= timed.environment
        with program:
            program.wait_for_log("NDI sending as")
            program.send("GO 12")
            with receivers(count):
                time.sleep(SECONDS + 4)
            program.process.terminate()
            program.process.wait()
        return timed.figures()


def state(port):
    """What a browser sees."""
    with socket.create_connection(("127.0.0.1", port)) as connection:
        connection.sendall(b"GET /state HTTP/1.1\r\n\r\n")
        answer = b""
        while piece := connection.recv(65536):
            answer += piece
    return json.loads(answer.partition(b"\r\n\r\n")[2])


def command_latencies(count):
    """Milliseconds from a datagram to the state that it makes, while frames are sent, sorted."""
    program = Program(ndiEnabled=True, webRemoteEnabled=True)
    program.environment["NDI_RUNTIME_DIR_V6"] = str(RUNTIME)
    times = []
    with program:
        program.wait_for_log("NDI sending as")
        port = int(program.wait_for_log(r"Web remote on port (\d+)")[1])
        with receivers(count):
            for number in range(COMMANDS):
                minutes = 10 + number % 80
                # At all places between two frames.
                time.sleep(number * 0.007 % 0.0333)
                start = time.monotonic()
                program.send(f"GO {minutes}")
                while state(port)["time"] != f"{minutes}:00":
                    pass
                times.append((time.monotonic() - start) * 1000)
    return sorted(times)


def of_a_bare_grid(count):
    with tempfile.TemporaryDirectory() as folder:
        timed = Timed(folder)
        process = subprocess.Popen([BENCH / "ndi_grid", str(SECONDS + 1)],
                                   env=dict(os.environ) | timed.environment)
        with receivers(count):
            process.wait()
        return timed.figures()


def figures(count):
    """For each of ROWS, the figure and what stands beside it."""
    rate, blocked = of_the_program(count)
    _, bare = of_a_bare_grid(count)
    times = command_latencies(count)
    return [(abs(rate - 30), f"{rate:.3f} over {SECONDS} s"),
            (statistics.median(times), f"of {COMMANDS}"),
            (times[-1], ""),
            (blocked / bare, f"{blocked * 100:.1f} % of the time")]


def rows():
    for count, receiver in [(0, "no receiver"), (1, "one receiver")]:
        measured = figures(count) if LIBRARY.exists() else [(None, "")] * len(ROWS)
        for (what, limit), (value, absolute) in zip(ROWS, measured):
            yield what.format(receiver), value, "<=", limit, absolute


print(json.dumps(list(rows())))

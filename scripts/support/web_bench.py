"""Measures the web remote, for scripts/bench."""

import contextlib
import heapq
import pathlib
import random
import re
import statistics
import subprocess
import tempfile
import time
import urllib.request

from stage import ROOT, Program, free_port

TICK_WATCH = ROOT / "build/release/bench/tick_watch"
PORT = re.compile(r"Web remote on port (\d+)\n")

# What the pages ask for, and every how many seconds.
DISPLAY_PAGE = [("/state", 0.25)]
CONTROL_PAGE = [("/state", 0.3), ("/cues", 1.2)]
PAGES = 20 * DISPLAY_PAGE + 10 * CONTROL_PAGE

NGINX = """daemon off;
worker_processes 1;
pid %(folder)s/pid;
error_log %(folder)s/error.log;
events { worker_connections 1024; }
http {
    access_log off;
    keepalive_timeout 0;
    default_type application/json;
    server {
        listen 127.0.0.1:%(port)d;
        location = /state { return 200 '%(document)s'; }
    }
}
"""


def fetch(port, path):
    with urllib.request.urlopen(f"http://127.0.0.1:{port}{path}", timeout=20) as response:
        return response.read()


@contextlib.contextmanager
def nginx(document):
    """A server that returns the document from its configuration; gives its port."""
    port = free_port()
    with tempfile.TemporaryDirectory() as folder:
        configuration = pathlib.Path(folder) / "nginx.conf"
        values = {"folder": folder, "port": port, "document": document.decode()}
        configuration.write_text(NGINX % values)
        process = subprocess.Popen(["nginx", "-e", f"{folder}/error.log", "-c", configuration])
        try:
            for _ in range(500):
                with contextlib.suppress(OSError):
                    assert fetch(port, "/state") == document
                    break
                time.sleep(0.01)
            yield port
        finally:
            process.terminate()
            process.wait()


def load(port, seconds=2):
    """Requests a second, and the 99th percentile of their latency in microseconds."""
    output = subprocess.run(
        ["wrk", "-t1", "-c32", f"-d{seconds}s", "--latency", f"http://127.0.0.1:{port}/state"],
        check=True, capture_output=True, text=True).stdout
    assert "Non-2xx" not in output and "Socket errors" not in output, output
    rate = float(re.search(r"Requests/sec:\s*([\d.]+)", output)[1])
    number, unit = re.search(r"99%\s+([\d.]+)(us|ms|s)\b", output).groups()
    return rate, float(number) * {"us": 1, "ms": 1e3, "s": 1e6}[unit]


def load_rows(pairs=15):
    """Short runs in random order: the machine's own ups and downs are as large as the difference."""
    ours, others = [], []
    with Program(webRemoteEnabled=True) as program:
        port = int(program.wait_for_log(PORT)[1])
        program.send("GO 90")
        with nginx(fetch(port, "/state")) as other_port:
            runs = [(port, ours), (other_port, others)]
            for _ in range(pairs):
                random.shuffle(runs)
                for server, results in runs:
                    results.append(load(server))
    rate, latency = (statistics.median(a / b for a, b in zip(*columns))
                     for columns in zip(zip(*ours), zip(*others)))
    yield ("Answers to `/state` a second ÷ nginx with the same document", rate, ">=", 1.0,
           f"{statistics.median(own[0] for own in ours):,.0f} a second")
    yield ("Their latency at the 99th percentile ÷ nginx's", latency, "<=", 1.2,
           f"{statistics.median(own[1] for own in ours) / 1000:.2f} ms")


def requests_of(pages, seconds):
    """The paths that the pages ask for, each given out when it is due."""
    start = time.monotonic()
    due = [(start + interval * number / len(pages), number)
           for number, (_, interval) in enumerate(pages)]
    heapq.heapify(due)
    while due[0][0] < start + seconds:
        moment, number = due[0]
        time.sleep(max(0, moment - time.monotonic()))
        path, interval = pages[number]
        yield path
        heapq.heapreplace(due, (moment + interval, number))


def poll_as_pages(port, seconds):
    """The traffic of 20 display pages and 10 control pages."""
    for path in requests_of(PAGES, seconds):
        fetch(port, path)


def page_rows(seconds=60):
    cues = [(f"Cue {number}", 60 * number) for number in range(1, 21)]
    with Program(webRemoteEnabled=True, cues=cues) as program:
        port = int(program.wait_for_log(PORT)[1])
        program.send("GO 90")
        before = program.processor_seconds()
        poll_as_pages(port, seconds)
        share = (program.processor_seconds() - before) / seconds * 100
    yield ("Percent of a core, with 20 display pages and 10 control pages", share, "<=", 10,
           f"over {seconds} s")

    with tempfile.TemporaryFile() as output, \
            Program(executable=TICK_WATCH, webRemoteEnabled=True, cues=cues,
                    output=output) as program:
        port = int(program.wait_for_log(PORT)[1])
        program.send("GO 90")
        poll_as_pages(port, seconds)
        program.process.terminate()
        program.process.wait()
        output.seek(0)
        ticks, late = map(int, output.read().split())
    yield ("Percent of the engine's ticks less than 20 ms late meanwhile",
           (ticks - late) / ticks * 100, ">=", 99.9, f"{late} late of {ticks}")


def rows():
    yield from load_rows()
    yield from page_rows()

"""What a show's network sends to the program, good and bad, and the account of what came of it."""

import collections
import http.client
import itertools
import json
import re
import socket
import time
import urllib.parse

from stage import socket_state
from web_bench import CONTROL_PAGE, DISPLAY_PAGE, fetch, requests_of

BROWSERS = 15 * DISPLAY_PAGE + 5 * CONTROL_PAGE
PEERS = 8
LARGEST_DATAGRAM = 65507
# Up to here datagrams of a burst fit into the receiver's buffer together.
SMALL = 1000
SETTLE_SECONDS = 20
BURST_SECONDS = 0.2

# In minutes: all digits in the colour of much time, and in those of little and very little.
MUCH_TIME = [12.0, 34.0, 56.0, 78.0, 90.0]
LITTLE_TIME = [1.4, 3.95, 4.6, 2.8, 1.15, 0.2, 0.55, 0.75, 0.45, 0.1, 0.15, 0.3]

# Commands with no payload, and what the log calls them. What stops the process is not among them.
PLAIN = {
    "START": "start", "PAUSE": "pause", "+1": "addMinute", "-1": "subtractMinute",
    "BLACK": "toggleBlackout", "TIME": "toggleClock", "FLASH": "strobe", "CLEARMSG": "clearMessage",
    "NEXT": "nextCue", "PREV": "prevCue", "STOPTIME": "stop", "RESET": "reset",
}
INVALID = [
    b"", b" \r\n", b"STOP", b"GO 5 min", b"GO 5,5", b"SET", b"CUE 99999999999999999999", b"CUE 2.0",
    b"START\nPAUSE", b"\xff", b"PAUSE\xff", b"\xc3\x28", b"MSG \xed\xa0\x80", b"\0PAUSE",
]
LINE = re.compile(r"\S+ \S+ (\w+)(?: [\w.]+)?: (.*)")
# All that the log may hold besides commands: level and text.
USUAL = re.compile(
    r"info (UDP listening on port|Web remote on port|NDI sending as|Displays are not kept awake)")


def is_merged(whole, first, second):
    """Whether the whole consists of the two, each in its order."""
    # How many of the first may have been met so far; what is ambiguous stays so for a while.
    counts = {0}
    for place, item in enumerate(whole):
        counts = {count + 1 for count in counts if first[count:count + 1] == [item]} \
            | {count for count in counts if second[place - count:place - count + 1] == [item]}
    return len(first) in counts and len(whole) == len(first) + len(second)


class Ledger:
    """What was sent, set against what the program's log says was carried out."""

    def __init__(self, program):
        self.log = open(program.log.name, "rb")
        self.rest = b""
        # In the order in which they were sent. Datagrams of all peers come in at one socket.
        self.datagrams = []
        self.requests = []
        self.entered = []
        self.carried_out = 0
        self.lost = []
        self.surplus = []
        self.out_of_order = []
        self.complaints = []

    def settle(self):
        """Waits until all that was sent has been carried out; what has not been then is lost."""
        deadline = time.monotonic() + SETTLE_SECONDS
        due = collections.Counter(itertools.chain(self.datagrams, self.requests))
        self.read()
        while due - collections.Counter(self.entered) and time.monotonic() < deadline:
            time.sleep(0.002)
            self.read()
        entered = collections.Counter(self.entered)
        self.carried_out += (entered & due).total()
        self.lost += (due - entered).elements()
        self.surplus += (entered - due).elements()
        if entered == due and not is_merged(self.entered, self.datagrams, self.requests):
            self.out_of_order.append("; ".join(self.entered))
        for commands in (self.datagrams, self.requests, self.entered):
            commands.clear()

    def read(self):
        *lines, self.rest = (self.rest + self.log.read()).split(b"\n")
        for line in lines:
            self._enter(line.decode(errors="replace"))

    def _enter(self, line):
        level, text = LINE.fullmatch(line).groups() if LINE.fullmatch(line) else ("none", line)
        if text.startswith("command "):
            self.entered.append(text.removeprefix("command "))
        elif not USUAL.match(f"{level} {text}"):
            self.complaints.append(line)


class Crowd:
    """A fixed set of peers that send datagrams, and one that sends commands as a browser does."""

    def __init__(self, program, remote, ledger, random):
        self.address = ("127.0.0.1", program.port)
        self.remote = remote
        self.ledger = ledger
        self.random = random
        # The last one is the browser.
        self.marks = [0] * (PEERS + 1)
        self.sockets = [socket.socket(socket.AF_INET, socket.SOCK_DGRAM) for _ in range(PEERS)]
        self.sent = collections.Counter()

    def close(self):
        for peer in self.sockets:
            peer.close()

    def dropped(self):
        return socket_state(self.address[1])[1]

    def rehearse(self, minutes):
        """Shows these times, alone and above a message, and messages, so that what the program
        keeps of them is there before anything is counted."""
        for number in minutes:
            self.command("CLEARMSG")
            self._send(0, f"GO {number}".encode(), f"go(minutes: {number})")
            self.ledger.settle()
            # Until nothing moves any more, and a little.
            time.sleep(0.5)
            self._show("short")
            time.sleep(0.5)
        for text in ("message " * 10, "long message " * 30):
            self._show(text)
            time.sleep(0.5)
        self.command("TIME")
        time.sleep(1)
        self.command("TIME")

    def _show(self, text):
        self._send(0, f"MSG {text}".encode(), f'message("{text.strip()}")')
        self.ledger.settle()

    def play(self, seconds):
        end = time.monotonic() + seconds
        while (start := time.monotonic()) < end:
            self._burst()
            time.sleep(max(0, start + BURST_SECONDS - time.monotonic()))

    def _burst(self):
        """A dozen datagrams of any kind, and two requests; all of it dealt with on return."""
        for _ in range(12):
            peer = self.random.randrange(PEERS)
            kind = self.random.choices(["command", "invalid", "huge"], [80, 19, 1])[0]
            if kind == "command":
                text, description = self._command(peer)
                self._send(peer, self._decorated(text).encode(), description)
            elif kind == "invalid":
                self._send(peer, self._invalid())
            else:
                self._send(peer, *self._huge())
            self.sent[kind] += 1
        for _ in range(2):
            self._request(*self._command(PEERS))
        self.ledger.settle()

    def command(self, text):
        """One command by itself, carried out on return."""
        self._send(0, text.encode(), PLAIN[text])
        self.sent["command"] += 1
        self.ledger.settle()

    def _request(self, text, description):
        answer = self.remote.get("/cmd?c=" + urllib.parse.quote(text))
        # What got no answer was not carried out; if it was, that is one too many.
        if answer is not None:
            self.ledger.requests.append(description)
            self.sent["request"] += 1

    def _send(self, peer, datagram, description=None):
        """Sends it. With a description it is a command, and due from now on."""
        if description is not None:
            self.ledger.datagrams.append(description)
        self.sockets[peer].sendto(datagram, self.address)
        # The loopback drops what there is no room for, and that would be no fault of the program's.
        while len(datagram) > SMALL and socket_state(self.address[1])[0] > 0:
            time.sleep(0.001)

    def _command(self, peer):
        """The text of a random command, and what the log calls it."""
        number = self.random.randint(1, 90)
        if self.random.random() < 1 / 3:
            return self.random.choice(list(PLAIN.items()))
        text, description = self.random.choice([
            (f"GO {number}", f"go(minutes: {number}.0)"),
            (f"set{number}.5", f"set(minutes: {number}.5)"),
            (f"CUE {number}", f"cue({number})"),
            (f"MSG peer {peer} mark {self.marks[peer]}",
             f'message("peer {peer} mark {self.marks[peer]}")'),
        ])
        self.marks[peer] += text.startswith("MSG")
        return text, description

    def _decorated(self, text):
        """The same command with blanks around it, as some senders have it."""
        before, after = self.random.choice([("", ""), (" ", ""), ("\t", " "), ("", "\r\n")])
        return before + text + after

    def _invalid(self):
        if self.random.random() < 0.5:
            return self.random.choice(INVALID)
        # No byte string that begins like this is a command.
        return b"?" + self.random.randbytes(self.random.randrange(SMALL))

    def _huge(self):
        """A datagram, and what the log calls it if it is a command."""
        if self.random.random() < 0.5:
            return b"\xfe" + self.random.randbytes(LARGEST_DATAGRAM - 1), None
        text = "x" * (LARGEST_DATAGRAM - 4)
        return b"MSG " + text.encode(), f'message("{text}")'


class Remote:
    """The web remote as browsers see it, for any thread. `away` says that it is switched off, and
    may be silent."""

    def __init__(self, port, cue_count):
        self.port = port
        self.cue_count = cue_count
        self.away = False
        # How long each took, in milliseconds.
        self.answers = []
        self.failures = []

    def get(self, path):
        """The document; nothing when there was none."""
        was_away = self.away
        start = time.monotonic()
        try:
            document = json.loads(fetch(self.port, path))
        except (OSError, http.client.HTTPException, ValueError) as error:
            if not (was_away or self.away):
                self.failures.append(f"{path}: {error!r}")
            return None
        self.answers.append((time.monotonic() - start) * 1000)
        if not self._is_right(path, document):
            self.failures.append(f"{path}: {document}")
        return document

    def _is_right(self, path, document):
        if path == "/state":
            # The colon of a time of day blinks.
            return re.search(r"\d[: ]\d\d", document["time"]) is not None
        if path == "/cues":
            return len(document) == self.cue_count
        return document == {"ok": True}

    def poll(self, seconds):
        """What twenty browsers ask for in a time."""
        for path in requests_of(BROWSERS, seconds):
            self.get(path)

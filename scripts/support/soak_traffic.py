"""What a show's network sends to the program, good and bad, and the account of what came of it."""

import collections
import re
import socket
import threading
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

# In minutes: all digits in the colour of much time, in that of little, and in that of very little.
REHEARSAL = [12.0, 34.0, 56.0, 78.0, 90.0, 1.4, 3.95, 4.6, 2.8, 1.15,
             0.2, 0.55, 0.75, 0.45, 0.1, 0.15, 0.3]

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
MARK = re.compile(r'message\("peer (\d+) mark (\d+)"\)')
# All that the log may hold besides commands: level and text.
USUAL = re.compile(
    r"info (UDP listening on port|Web remote on port|NDI sending as|Displays are not kept awake)")


class Ledger:
    """What was sent, set against what the program's log says was carried out."""

    def __init__(self, program):
        self.log = open(program.log.name, "rb")
        self.rest = b""
        self.due = collections.Counter()
        self.next_mark = collections.Counter()
        self.carried_out = 0
        self.lost = []
        self.surplus = []
        self.out_of_order = []
        self.complaints = []

    def expect(self, description):
        self.due[description] += 1

    def settle(self):
        """Waits until all that is due has been carried out; what has not been then is lost."""
        deadline = time.monotonic() + SETTLE_SECONDS
        self.read()
        while self.due and time.monotonic() < deadline:
            time.sleep(0.002)
            self.read()
        self.lost += self.due.elements()
        self.due.clear()

    def read(self):
        *lines, self.rest = (self.rest + self.log.read()).split(b"\n")
        for line in lines:
            self._enter(line.decode(errors="replace"))

    def _enter(self, line):
        level, text = LINE.fullmatch(line).groups() if LINE.fullmatch(line) else ("none", line)
        if not text.startswith("command "):
            if not USUAL.match(f"{level} {text}"):
                self.complaints.append(line)
            return
        description = text.removeprefix("command ")
        if self.due[description] == 0:
            self.surplus.append(description)
        else:
            self.carried_out += 1
            self.due[description] -= 1
        if self.due[description] == 0:
            del self.due[description]
        if mark := MARK.fullmatch(description):
            peer, number = map(int, mark.groups())
            if number != self.next_mark[peer]:
                self.out_of_order.append(description)
            self.next_mark[peer] = number + 1


class Crowd:
    """A fixed set of peers that send datagrams, and one that sends commands as a browser does."""

    def __init__(self, program, web_port, ledger, random):
        self.address = ("127.0.0.1", program.port)
        self.web_port = web_port
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

    def rehearse(self):
        """Shows every digit, in every colour, alone and above a message, so that what the program
        keeps of them is there before anything is counted."""
        for number in REHEARSAL:
            self.command("CLEARMSG")
            self.ledger.expect(f"go(minutes: {number})")
            self._send(0, f"GO {number}".encode())
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

    def _show(self, text):
        self.ledger.expect(f'message("{text.strip()}")')
        self._send(0, f"MSG {text}".encode())
        self.ledger.settle()

    def burst(self):
        """A dozen datagrams of any kind, and two requests; all of it dealt with on return."""
        for _ in range(12):
            peer = self.random.randrange(PEERS)
            kind = self.random.choices(["command", "invalid", "huge"], [80, 19, 1])[0]
            if kind == "command":
                self._send(peer, self._decorated(self._command(peer)).encode())
            elif kind == "invalid":
                self._send(peer, self._invalid())
            else:
                self._send(peer, self._huge())
            self.sent[kind] += 1
        for _ in range(2):
            self.request(self._command(PEERS))
        self.ledger.settle()

    def command(self, text):
        """One command by itself, carried out on return."""
        self.ledger.expect(PLAIN[text])
        self._send(0, text.encode())
        self.sent["command"] += 1
        self.ledger.settle()

    def request(self, text):
        answer = fetch(self.web_port, "/cmd?c=" + urllib.parse.quote(text))
        assert answer == b'{"ok":true}', answer
        self.sent["request"] += 1

    def _send(self, peer, datagram):
        self.sockets[peer].sendto(datagram, self.address)
        # The loopback drops what there is no room for, and that would be no fault of the program's.
        while len(datagram) > SMALL and socket_state(self.address[1])[0] > 0:
            time.sleep(0.001)

    def _command(self, peer):
        """The text of a random command. It is due from now on."""
        number = self.random.randint(1, 90)
        text, description = self.random.choice([
            (f"GO {number}", f"go(minutes: {number}.0)"),
            (f"set{number}.5", f"set(minutes: {number}.5)"),
            (f"CUE {number}", f"cue({number})"),
            (f"MSG peer {peer} mark {self.marks[peer]}",
             f'message("peer {peer} mark {self.marks[peer]}")'),
            *[self.random.choice(list(PLAIN.items()))] * 2,
        ])
        self.marks[peer] += text.startswith("MSG")
        self.ledger.expect(description)
        return text

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
        if self.random.random() < 0.5:
            return b"\xfe" + self.random.randbytes(LARGEST_DATAGRAM - 1)
        text = "x" * (LARGEST_DATAGRAM - 4)
        self.ledger.expect(f'message("{text}")')
        return b"MSG " + text.encode()


class Browsers(threading.Thread):
    """What twenty browsers ask for in a time. `away` says that the web remote is off meanwhile."""

    def __init__(self, port, seconds):
        super().__init__(daemon=True)
        self.port = port
        self.seconds = seconds
        self.away = False
        self.answers = 0
        self.longest = 0.0
        self.failures = []

    def run(self):
        for path in requests_of(BROWSERS, self.seconds):
            start = time.monotonic()
            was_away = self.away
            try:
                fetch(self.port, path)
            except OSError as error:
                if not (was_away or self.away):
                    self.failures.append(f"{path}: {error}")
                continue
            self.answers += 1
            self.longest = max(self.longest, (time.monotonic() - start) * 1000)

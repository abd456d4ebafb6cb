#!/usr/bin/env python3
"""The pages of the web remote, served by the built program and opened in a real browser.

Usage: RemotePages.py PROGRAM [TEST…]
"""

import collections
import pathlib
import sys
import unittest
import urllib.parse
import urllib.request

sys.path.insert(0, str(pathlib.Path(__file__).parents[2] / "scripts/support"))
from browser import Browser  # noqa: E402
from stage import Program, free_port  # noqa: E402

PHONE = (360, 740)
TABLET = (1000, 750)
CUES = [("Opening", 300), ("<b>Main</b> & \u05d0\u05d1", 1200), ("x" * 200, 7200)]
SETTINGS = {
    "textColor": {"r": 0.5, "g": 1, "b": 0.5, "a": 1},
    "backgroundColor": {"r": 0, "g": 0, "b": 0.2, "a": 1},
    "webRemoteEnabled": True,
}
TEXT_COLOR = "rgb(128, 255, 128)"
BACKGROUND_COLOR = "rgb(0, 0, 51)"
LONG_MESSAGE = "Doors open in ten minutes, please take your seats " * 4 + "x" * 80

# Page, selector, property and value of what nobody would miss at once.
STYLES = [
    ("/display", "#time", "white-space", "nowrap"),
    ("/display", "#message", "color", TEXT_COLOR),
    ("/display", "#message-box", "opacity", "1"),
    ("/display", "#strobe", "width", "1000px"),
    ("/display", "#strobe", "height", "750px"),
    ("/display", "#strobe", "pointer-events", "none"),
]
BUTTONS = [
    # Label, what the fields hold, the command that is sent.
    ("GO", {"minutes": "12"}, "GO12"), ("GO", {"minutes": "0"}, "GO0"), ("GO", {}, None),
    ("Pause", {}, "PAUSE"), ("Stop", {}, "STOPTIME"), ("Clock", {}, "TIME"),
    ("\u22121 min", {}, "-1"), ("+1 min", {}, "+1"), ("Reset", {}, "RESET"),
    ("Blackout", {}, "BLACK"), ("Attention", {}, "ATTENTION"), ("Clr Msg", {}, "CLEARMSG"),
    ("Show", {"message": "T\u00fcr & 100%"}, "MSGT\u00fcr & 100%"), ("Show", {}, "MSG"),
    ("Prev cue", {}, "PREV"), ("Next cue", {}, "NEXT"), ("2.  ", {}, "CUE2"),
]


class RemotePages(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.port = free_port()
        cls.address = f"http://127.0.0.1:{cls.port}"
        cls.program = cls.enterClassContext(cls.new_program())
        cls.program.wait_for_log("Web remote on port")
        cls.browser = cls.enterClassContext(Browser())

    @classmethod
    def new_program(cls):
        return Program(executable=sys.argv[1], cues=CUES, webPort=cls.port, **SETTINGS)

    def command(self, *texts):
        for text in texts:
            urllib.request.urlopen(
                f"{self.address}/cmd?c={urllib.parse.quote(text)}", timeout=30).close()

    def open(self, path, *commands, size=None):
        """Opens a page on which the first answers have come, after a RESET and the commands."""
        self.command("RESET", *commands)
        self.browser.open(self.address + path, *(size or (PHONE if path == "/" else TABLET)))

    def value(self, expression):
        return self.browser.evaluate(expression)

    def style(self, selector, name):
        return self.value(
            f"getComputedStyle(document.querySelector('{selector}')).getPropertyValue('{name}')")

    def text(self, name):
        return self.value(f"document.getElementById('{name}').textContent")

    def font_size(self, selector):
        return float(self.style(selector, "font-size").removesuffix("px"))

    def requested(self):
        return [address.removeprefix(self.address) for address in self.browser.requests()]

    def test_polls_at_its_intervals(self):
        for path, expected in (("/", {"/": 1, "/state": 41, "/cues": 11}),
                               ("/display", {"/display": 1, "/state": 49})):
            with self.subTest(path):
                self.open(path)
                self.browser.pass_time(12000)
                self.assertEqual(collections.Counter(self.requested()), expected)

    def test_drops_an_answer_that_a_later_one_has_overtaken(self):
        for path in ("/", "/display"):
            with self.subTest(path):
                self.open(path)
                self.assertEqual(self.value("""(async () => {
                    const answers = [];
                    window.fetch = () => new Promise(answer => answers.push(answer));
                    const polls = [pollState(), pollState()];
                    for (const number of [1, 0]) {
                        answers[number]({ json: async () => ({ time: "0" + number + ":00" }) });
                        await polls[number];
                    }
                    return document.getElementById("time").textContent;
                })()"""), "01:00")

    def test_gives_up_requests_that_nobody_answers(self):
        for path, expected in (("/", [["/cmd?c=STOPTIME", None], ["/state", None]]),
                               ("/display", [["/state", "no-store"], ["/state", "no-store"]])):
            with self.subTest(path):
                self.open(path)
                self.value("""window.aborted = [];
                    window.fetch = (path, { signal, cache }) => new Promise((_, fail) => {
                        signal.onabort = () => { aborted.push([path, cache]); fail(); };
                    });
                    document.querySelector(".stop")?.click();""")
                self.browser.pass_time(3500)
                self.assertEqual(self.value("aborted.slice(0, 2)"), expected)

    def test_styles(self):
        for path, selector, name, value in STYLES:
            with self.subTest(selector=selector, name=name):
                self.open(path, "CUE1", "STOPTIME", "MSG Doors open")
                # It opens on the message, without a slide.
                self.assertEqual(self.style(selector, name), value)

    def test_buttons_send_commands(self):
        for label, fields, command in BUTTONS:
            with self.subTest(label, fields=fields):
                self.open("/")
                for field, text in fields.items():
                    self.value(f"document.getElementById('{field}').value = '{text}'")
                self.requested()
                self.value("[...document.querySelectorAll('button')]"
                           f".find(button => button.textContent.includes('{label}')).click()")
                self.browser.pass_time(79)
                sent = [] if command is None else ["/cmd?c=" + urllib.parse.quote(command, "")]
                self.assertEqual(self.requested(), sent)
                self.browser.pass_time(2)
                self.assertEqual(self.requested(), ["/state"] if sent else [])

    def test_control_page_colors_the_time_its_own_way(self):
        for start, own, mirrored in (("GO 12", "rgb(255, 255, 255)", TEXT_COLOR),
                                     ("GO 4", "rgb(255, 176, 0)", "rgb(255, 176, 0)"),
                                     ("GO 1", "rgb(255, 59, 48)", "rgb(255, 59, 48)")):
            for path, color in (("/", own), ("/display", mirrored)):
                with self.subTest(start, path=path):
                    self.open(path, start)
                    self.assertEqual(self.style("#time", "color"), color)

    def test_status_line(self):
        self.open("/", "GO 5", "BLACK", "MSG <i>Doors</i>")
        self.assertEqual(self.text("status"),
                         "running \u2022 blackout \u2022 msg: <i>Doors</i>")
        self.value("applyState({time: '', phase: 'idle', loop: true, message: ''})")
        self.assertEqual(self.text("status"), "idle \u2022 loop")

    def test_cue_list_holds_titles_as_text(self):
        self.open("/", "CUE 2")
        self.assertEqual(
            self.value("[...document.querySelectorAll('#cues > button')].map(button =>"
                       "[button.textContent, button.querySelectorAll('b').length,"
                       "button.ariaCurrent])"),
            [["1.  Opening   (05:00)", 0, None],
             ["2.  <b>Main</b> & \u05d0\u05d1   (20:00)", 0, "true"],
             [f"3.  {'x' * 200}   (120:00)", 0, None]])

    def test_suits_fingers_and_screen_readers_on_a_phone(self):
        self.open("/", f"MSG {'x' * 200}")
        self.assertEqual(self.value("document.documentElement.scrollWidth"), PHONE[0])
        self.assertEqual(
            self.value("[...document.querySelectorAll('button, input')].filter(element => {"
                       "const box = element.getBoundingClientRect();"
                       "return box.width < 44 || box.height < 44 ||"
                       "element.scrollWidth > element.clientWidth ||"
                       "!(element.ariaLabel || element.textContent); }).map(e => e.outerHTML)"), [])

    def test_time_size(self):
        for width, height, message, size in (
                (1280, 200, "", 180), (360, 740, "", 92), (30, 8, "", 8), (1280, 200, "Doors", 72)):
            with self.subTest(width=width, height=height, message=message):
                self.open("/display", f"MSG {message}", size=(width, height))
                self.assertEqual(self.font_size("#time"), size)

    def test_message_is_as_large_as_fits(self):
        for text, width, height in (("Go", 1024, 768), ("Go", 300, 900), (LONG_MESSAGE, 360, 640)):
            with self.subTest(text[:10], width=width):
                self.open("/display", f"MSG {text}", size=(width, height))
                size = self.font_size("#message")
                largest = min(height * 0.6 * 0.55, width * 0.4)
                # Two pixels a step, and no step more than it takes.
                self.assertAlmostEqual((largest - size) % 2, 0, delta=0.1)
                overflows = "message.scrollHeight > messageBox.clientHeight"
                self.assertFalse(self.value(overflows))
                self.value(f"message.style.fontSize = '{size + 2}px'")
                self.assertTrue(size + 2 > largest or self.value(overflows))

    def test_message_slides(self):
        self.open("/display", size=(1200, 300))
        while self.value("stage.className") == "still":
            self.browser.pass_time(1)
        for command, height, time_size in (("MSG Doors", 120, 108), ("CLEARMSG", 300, 270)):
            with self.subTest(command):
                self.command(command)
                self.browser.pass_time(250)
                slides = "stage.getAnimations({subtree: true})"
                self.assertGreater(self.value(f"{slides}.length"), 0)
                self.value(f"{slides}.forEach(slide => slide.finish())")
                self.browser.pass_time(500)
                self.assertEqual(self.style("#time-box", "height"), f"{height}px")
                self.assertEqual(self.font_size("#time"), time_size)

    def test_flashes_five_times_for_a_new_strobe_only(self):
        self.open("/display", "ATTENTION")
        self.browser.pass_time(1000)
        self.assertEqual(self.value("strobe.className"), "")
        self.command("ATTENTION")
        self.browser.pass_time(250)
        layer = self.value(
            "(() => { const [flash] = strobe.getAnimations(); flash.pause();"
            "return Array.from({length: 20}, (_, step) => { flash.currentTime = step * 50 + 25;"
            "return getComputedStyle(strobe).opacity; }); })()")
        self.assertEqual(layer, ["1", "1", "0", "0"] * 5)
        self.assertEqual(self.value("strobe.getAnimations()[0].effect.getTiming().iterations"), 1)

    def test_fullscreen_button_hides(self):
        shown = "fullscreen.className === 'shown'"
        self.open("/display")
        self.browser.pass_time(2410)
        for activity in ("mousemove", "touchstart"):
            with self.subTest(activity):
                self.assertFalse(self.value(shown))
                self.value(f"document.body.dispatchEvent("
                           f"new Event('{activity}', {{bubbles: true}}))")
                self.browser.pass_time(2490)
                self.assertTrue(self.value(shown))
                self.browser.pass_time(20)
        for element in ("HTML", None):
            changed_to = self.value(
                "new Promise(done => { document.addEventListener('fullscreenchange', () =>"
                "done(document.fullscreenElement?.tagName), {once: true});"
                "document.querySelector('button[aria-label=Fullscreen]').click(); })")
            self.assertEqual(changed_to, element)

    def test_blackout_leaves_the_background(self):
        self.open("/display", "GO 5", "MSG Doors", "BLACK")
        self.assertEqual(self.style("#time", "visibility"), "hidden")
        self.assertEqual(self.style("#message", "visibility"), "hidden")
        self.assertEqual(self.style("#stage", "background-color"), BACKGROUND_COLOR)

    def test_resumes_when_the_server_returns(self):
        for path in ("/", "/display"):
            with self.subTest(path):
                self.open(path, "GO 12", "PAUSE")
                frozen = self.text("time")
                self.assertNotEqual(frozen, "00:00")
                self.program.__exit__()
                self.browser.pass_time(2000)
                self.assertEqual(self.text("time"), frozen)
                type(self).program = self.enterClassContext(self.new_program())
                self.program.wait_for_log("Web remote on port")
                self.browser.pass_time(500)
                self.assertEqual(self.text("time"), "00:00")


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1] + sys.argv[2:])

"""Uses one program on the desktop that it runs on, and writes one JSON line for each step: what came of it."""

import argparse
import functools
import http.server
import json
import os
import pathlib
import subprocess
import sys
import threading
import time

import bus
from bus import Atspi
from programs import PROGRAMS
from recorder import Recorder
from screen import Placing, Screen, do, placing
from truth import Truth

SECONDS_TO_START, SECONDS_TO_APPEAR, SECONDS_TO_RECORD = 40, 5, 2
LATE = 250  # milliseconds
HOVER, HELD, SETTLE = 0.2, 0.08, 0.35
PRESSES = {"LeftDown", "RightDown"}


def below(pid):
    """A process and all its descendants."""
    found, parents = {pid}, {}
    for name in filter(str.isdigit, os.listdir("/proc")):
        try:
            stat = pathlib.Path(f"/proc/{name}/stat").read_text(encoding="utf-8", errors="replace")
        except OSError:
            continue
        parents[int(name)] = int(stat.rpartition(")")[2].split()[1])
    grown = True
    while grown:
        more = {child for child, parent in parents.items() if parent in found} - found
        grown = bool(more)
        found |= more
    return found


class NotThere(Exception):
    pass


CONTROLS = {"push button", "toggle button", "check box", "radio button", "link", "menu item", "menu", "page tab", "entry",
            "text", "check menu item", "radio menu item", "password text", "spin button", "slider", "switch"}


def innermost(facts, place, point):
    """What is touched: what is inside a control is but its looks, and anything else is touched where its parts are."""
    for child in reversed(facts.children if facts.role not in CONTROLS else []):
        x, y, width, height = place.frame(child.extents)
        if child.has_size() and 0 <= point[0] - x < width and 0 <= point[1] - y < height:
            return innermost(child, place, point)
    return facts


class QuietHandler(http.server.SimpleHTTPRequestHandler):
    def log_message(self, *_):
        pass


class Session:
    def __init__(self, program, options):
        self.program, self.options = program, options
        self.reader, self.screen = bus.Bus(), Screen()
        self.recorder = Recorder(options.zqlog, os.environ["XDG_CACHE_HOME"])
        self.page = self.serve(program.page) if program.page else None
        environment = {**os.environ, **program.environment(options.scale)}
        self.process = subprocess.Popen(program.command(options.scale, self.page), env=environment)
        self.at = (0, 0)

    @staticmethod
    def serve(page):
        """Two sites, for a frame of another one: localhost and 127.0.0.1."""
        handler = functools.partial(QuietHandler, directory=pathlib.Path(__file__).resolve().parent)
        server = http.server.ThreadingHTTPServer(("127.0.0.1", 0), handler)
        threading.Thread(target=server.serve_forever, daemon=True).start()
        return f"http://localhost:{server.server_port}/{page}"

    # Finding

    def tree(self):
        def enter(facts):
            return facts.role == "application" or facts.has(Atspi.StateType.SHOWING) or facts.has_size()

        found = []
        for root in self.reader.roots_of(below(self.process.pid)):
            found += self.reader.walk(root, enter)
        return found

    def windows(self):
        pids = below(self.process.pid)
        return [window for window in self.screen.windows() if not window.pid or window.pid in pids]

    def placing_of(self, facts, windows):
        """How the coordinates of the element's window lie on the screen, and the title that the X server knows."""
        top = facts.top
        best = None
        for window in windows:
            place = placing(top.extents, window.client)
            if place and (best is None or (window.title == top.name) > best[0]):
                best = (window.title == top.name, place, window.title)
        return best[1:] if best else (Placing(self.options.scale if self.program.is_logical else 1), "")

    def candidates(self, role, name):
        tree = self.tree()
        shows = any(facts.has(Atspi.StateType.SHOWING) for facts in tree if facts.parent and facts.parent.parent)
        windows = self.windows()
        for facts in tree:
            hidden = shows and not facts.has(Atspi.StateType.SHOWING)
            if facts.role != role or name not in ("*", facts.name) or hidden or not facts.has_size():
                continue
            place, title = self.placing_of(facts, windows)
            x, y, width, height = place.frame(facts.extents)
            point = (round(x + min(width / 2, self.program.reach)), round(y + height / 2))
            over = [window for window in windows if window.contains(point)]
            if over and min(width, height) >= 4:
                yield innermost(facts, place, point), place, title or over[0].title, point

    def find(self, target, patience=SECONDS_TO_APPEAR):
        """ROLE:NAME, or ROLE:* for any, with #N for the Nth of them."""
        target, _, number = target.partition(" #")
        role, _, name = target.partition(":")
        end = time.monotonic() + patience
        while time.monotonic() < end:
            found = list(self.candidates(role, name))
            if len(found) > int(number or 0):
                return found[int(number or 0)]
            time.sleep(0.2)
        raise NotThere(target)

    def wait_for_program(self):
        end, last = time.monotonic() + SECONDS_TO_START, None
        while time.monotonic() < end:
            time.sleep(0.5)
            windows = self.windows()
            now = [window.frame for window in windows], len(self.tree()) if self.program.on_bus else 0
            if windows and now == last and (now[1] > 5 or not self.program.on_bus):
                return
            last = now
        raise NotThere("the program's window")

    # Doing

    def presses(self, since):
        return [record for record in self.recorder.records()[since:] if record.get("mouseEventType") in PRESSES]

    def click(self, point, button=1, times=1):
        """The records of the presses, what was told of them, and the delay of the first in milliseconds."""
        records, told = len(self.recorder.records()), len(self.recorder.clicks)
        start = time.monotonic()
        for each in range(times):
            do("mousedown", button, "sleep", HELD, "mouseup", button)
            if each + 1 < times:
                time.sleep(max(0.0, start + (each + 1) / 8 - time.monotonic()))
        end = time.monotonic() + SECONDS_TO_RECORD
        while len(self.presses(records)) < times and time.monotonic() < end:
            time.sleep(0.02)
        time.sleep(SETTLE)
        clicks = [click for click in self.recorder.clicks[told:] if click[1]["down"]]
        delay = (clicks[0][0] - start) * 1000 if clicks else None
        return self.presses(records), [click for _, click in clicks], delay

    def judge_click(self, target, button=1, times=1):
        facts, place, title, point = self.find(target)
        do("mousemove", *point)
        time.sleep(HOVER)
        truth = Truth(self.reader, facts, place, title, self.page_of(facts))
        records, clicks, delay = self.click(point, button, times)
        if not records:
            return "none", ["no record"], delay
        if len(records) != times:
            return ("twice" if len(records) > times else "none"), [f"{len(records)} records of {times} presses"], delay
        verdict, details = truth.verdict(records[0], clicks[0] if clicks else {})
        if verdict != "right":
            details = [*details, f"at {point}: {records[0]['elementXpath'][-160:]}"]
        for record, click in list(zip(records, clicks))[1:]:
            # What was clicked may change its value, its frame and its window's title by it.
            if record["elementName"] != truth.name and times > 2:
                verdict, details = "wrong", [*details, f"a later one: {record['elementName']!r}"]
        if verdict == "right" and delay and delay > LATE:
            verdict = "late"
        return verdict, details, delay

    def page_of(self, facts):
        if not self.program.page or not any(each.role.startswith("document") for each in facts.up()):
            return None
        return self.page

    def judge_typing(self, text):
        before = len(self.recorder.records())
        do("type", "--delay", 60, text)
        end = time.monotonic() + SECONDS_TO_RECORD
        keys = []
        while len(keys) < len(text) and time.monotonic() < end:
            time.sleep(0.05)
            keys = [record for record in self.recorder.records()[before:] if record["eventType"] == "KeyPressed"]
        typed = "".join(key["character"] for key in keys)
        names = {facts.name for facts in self.tree() if facts.role == "application"} if self.program.on_bus else set()
        titles = {window.title for window in self.windows()}
        details = [] if typed == text else [f"typed {text!r}, recorded {typed!r}"]
        for key in keys:
            if names and key["applicationName"] not in names or key["windowName"] not in titles:
                details.append(f"a key of {key['applicationName']!r}, window {key['windowName']!r}")
        foreign = any(each.startswith("a key of") for each in details)
        return ("wrong" if foreign else "none" if details else "right"), sorted(set(details)), None

    def judge_bare_click(self):
        """Into a window of a program that is not on the bus: there is the X server's word alone."""
        window = self.windows()[0]
        x, y, width, height = window.client
        point = (x + width // 2, y + height // 2)
        do("mousemove", *point)
        time.sleep(HOVER)
        records, _, delay = self.click(point)
        if not records:
            return "none", ["no record"], delay
        got = records[0]
        is_right = got["windowName"] == window.title and got["applicationName"] and got["elementName"] == ""
        return ("right" if is_right else "wrong"), [] if is_right else [json.dumps(got)], delay

    def step(self, text):
        verb, _, rest = text.partition(" ")
        if verb == "click" and not rest:
            return self.judge_bare_click()
        if verb in ("click", "right", "double", "fast"):
            return self.judge_click(rest, 3 if verb == "right" else 1, {"double": 2, "fast": 8}.get(verb, 1))
        if verb == "type":
            return self.judge_typing(rest)
        if verb == "key":
            do("key", rest)
        elif verb == "find":
            self.find(rest, SECONDS_TO_START)
        elif verb == "wait":
            time.sleep(float(rest))
        else:
            raise ValueError(text)
        time.sleep(SETTLE)
        return None

    def steps(self):
        """Those of the table; "each N ROLE" stands for clicks on the first N of a role."""
        for text in self.program.steps:
            if not text.startswith("each "):
                yield text
                continue
            _, number, role = text.split(" ", 2)
            seen = []
            for facts, *_ in self.candidates(role, "*"):
                seen.append(facts.name)
            for index in range(min(int(number), len(seen))):
                yield f"click {role}:* #{index}"

    def run(self):
        self.wait_for_program()
        with open(self.options.answer, "w", encoding="utf-8") as file:
            for text in self.steps():
                try:
                    came = self.step(text)
                except NotThere as missing:
                    came = "missing", [f"{missing} is not there"], None
                if came:
                    verdict, details, delay = came
                    print(text, verdict, details, flush=True)
                    file.write(json.dumps({"step": text, "verdict": verdict, "details": details, "delay": delay}) + "\n")
                    file.flush()
        self.process.kill()
        self.recorder.stop()


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("program")
    parser.add_argument("--zqlog", required=True)
    parser.add_argument("--scale", type=float, default=1)
    parser.add_argument("--answer", required=True)
    options = parser.parse_args()
    Session(PROGRAMS[options.program], options).run()


sys.exit(main())

"""What the demo's tours share: the programs, the desktop's windows, and steps that are checked and reported."""

import json
import os
import pathlib
import re
import subprocess
import sys
import time

ROOT = pathlib.Path(__file__).resolve().parent.parent
PROGRAMS = ROOT / "build" / "release" / "bin"
OUTPUT = ROOT / "build" / os.environ.get("TEVANTO_DEMO_OUTPUT", "demo")


def run(*command, timeout=60):
    return subprocess.run([str(part) for part in command], capture_output=True, text=True, timeout=timeout)


def eventually(condition, seconds=10):
    """Waits for another program to get there; the deadline only decides how long a failing step takes."""
    deadline = time.monotonic() + seconds
    while time.monotonic() < deadline:
        if condition():
            return True
        time.sleep(0.05)
    return bool(condition())


class Step(Exception):
    """A step that did not do what it should; the text says what was seen instead."""


def expect(condition, seen):
    if not condition:
        raise Step(seen)


class Phone:
    """The phone's program; `shown` is what is printed of its command line."""

    def __init__(self, command, shown="tevanto-phone"):
        self.command = [str(part) for part in command]
        self.shown = shown

    def say(self, arguments, answer):
        print(f"    $ {self.shown} {' '.join(map(str, arguments))}\n      {answer}")

    def __call__(self, *arguments):
        """Runs it, prints what it answered, and fails the step when it failed."""
        result = run(*self.command, *arguments)
        answer = " ".join((result.stdout + result.stderr).split())
        self.say(arguments, answer if len(answer) <= 150 else answer[:147] + "...")
        expect(result.returncode == 0, f"tevanto-phone {arguments[0]} ended with {result.returncode}: {answer}")
        return result.stdout

    def move_to(self, x, y):
        here = pointer()
        if here != (x, y):
            self("move", x - here[0], y - here[1])
        expect(eventually(lambda: pointer() == (x, y)), f"the pointer is at {pointer()}, not at {(x, y)}")

    def focus(self, window):
        """Clicks into a window; the window manager takes its time to give it the keyboard."""
        self.move_to(*middle(window))
        self("click")
        expect(eventually(lambda: run("xdotool", "getactivewindow").stdout.strip() == window), "the click did not focus it")

    def start(self, *arguments, **streams):
        """Starts it, to be ended by the caller."""
        return subprocess.Popen([*self.command, *map(str, arguments)], text=True, **streams)


def status():
    result = run(PROGRAMS / "tevanto", "status", "--json")
    expect(result.returncode == 0, result.stderr.strip())
    return json.loads(result.stdout)


def pointer():
    values = dict(line.split("=") for line in run("xdotool", "getmouselocation", "--shell").stdout.split())
    return int(values["X"]), int(values["Y"])


def windows(name):
    return run("xdotool", "search", "--onlyvisible", "--name", name).stdout.split()


def geometry(window):
    """Where the content of a window is. xdotool would count the window manager's frame twice."""
    shown = run("xwininfo", "-id", window).stdout
    names = ("Absolute upper-left X", "Absolute upper-left Y", "Width", "Height")
    return tuple(int(re.search(name + r":\s+(-?\d+)", shown)[1]) for name in names)


def middle(window):
    x, y, width, height = geometry(window)
    return x + width // 2, y + height // 2


class Desktop:
    """A terminal that waits for one line and stores it, and a window that records its events."""

    def __init__(self, sample, title):
        self.notes = OUTPUT / "typed.txt"
        self.events = OUTPUT / "events.txt"
        # A terminal loads a font when it first shows a script, and takes no keys meanwhile. The sample has it done.
        question = (f"printf '%s\\n' '{sample}'; clear; printf '\\n  {title}:\\n\\n  > '; IFS= read -r line; "
                    f"printf '%s\\n' \"$line\" >'{self.notes}.part'; mv '{self.notes}.part' '{self.notes}'; "
                    "printf '\\n  Received and stored, character for character.\\n'; cat")
        self.programs = [
            subprocess.Popen(["xterm", "-title", "Notes", "-geometry", "62x16+60+60", "-fs", "15", "-e", "bash", "-c",
                              question], stdin=subprocess.DEVNULL),
            subprocess.Popen(["xev", "-event", "button", "-event", "keyboard", "-geometry", "280x180+940+120", "-name",
                              "Recorder"], stdin=subprocess.DEVNULL, stdout=self.events.open("w"))]
        if not eventually(lambda: windows("^Notes$") and windows("^Recorder$"), 30):
            end(self.programs)
            sys.exit("demo: the windows of the desktop do not open")
        self.terminal, self.recorder = windows("^Notes$")[0], windows("^Recorder$")[0]

    def recorded(self):
        """What the recording window saw: "ButtonPress button 1", "ButtonPress at 20,30" (on the screen), "KeyPress Left"."""
        text = self.events.read_text() if self.events.exists() else ""
        seen = []
        for event in re.split(r"\n\n", text):
            kind = re.match(r"\s*((?:Button|Key)(?:Press|Release)) event", event)
            if not kind:
                continue
            for button in re.findall(r"button (\d)", event):
                seen.append(f"{kind[1]} button {button}")
            for x, y in re.findall(r"root:\((-?\d+),(-?\d+)\)", event):
                seen.append(f"{kind[1]} at {x},{y}")
            for key in re.findall(r"keysym 0x[0-9a-f]+, (\w+)\)", event):
                seen.append(f"{kind[1]} {key}")
        return "\n".join(seen)


def take_screenshot(phone, terminal):
    """With the pointer beside the text."""
    x, y, width, height = geometry(terminal)
    phone.move_to(x + width - 120, y + height - 90)
    image = OUTPUT / "demo.png"
    result = run("maim", image)
    expect(result.returncode == 0 and image.stat().st_size > 1000, result.stderr)


def check_likeness(seen, width, height):
    """Expects a picture that the phone took to show what the screenshot does; prints how like they are."""
    result = run("ffmpeg", "-nostdin", "-i", seen, "-i", OUTPUT / "demo.png", "-lavfi",
                 f"[0]format=rgb24[seen];[1]format=rgb24,scale={width}:{height}:flags=area[screen];[seen][screen]psnr",
                 "-f", "null", "-")
    found = re.search(r"PSNR.*average:(\S+)", result.stderr)
    expect(found and float(found[1]) >= 25, f"it is not what the screen shows: {found and found[0]}{result.stderr[-300:]}")
    print(f"      {found[1]} dB between the decoded picture and the screen")


def check_film(film, width, height):
    probe = run("ffprobe", "-v", "error", "-count_frames", "-of", "json", "-show_entries",
                "stream=codec_name,profile,width,height,nb_read_frames:format=duration", film)
    seen = json.loads(probe.stdout)
    stream = seen["streams"][0]
    expect((stream["codec_name"], stream["profile"], stream["width"], stream["height"]) ==
           ("h264", "Main", width, height), str(stream))
    expect(int(stream["nb_read_frames"]) > 20 and float(seen["format"]["duration"]) > 3, str(seen))


def prepare_output():
    OUTPUT.mkdir(parents=True, exist_ok=True)
    for old in OUTPUT.iterdir():
        if old.is_file():
            old.unlink()
    # An application that is opened shows a prompt that says nothing of this machine.
    os.environ.update(LC_ALL="C.UTF-8", SHELL="/bin/sh", PS1="$ ")


def use_own_settings(folder):
    os.environ.update(XDG_CONFIG_HOME=str(folder / "config"), XDG_RUNTIME_DIR=str(folder / "runtime"))
    (folder / "runtime").mkdir(mode=0o700, exist_ok=True)


def start_companion(folder, *options, enter=(), has_windows=False):
    """Starts a companion with its own settings and ports. `enter` is the command that takes it into another network."""
    use_own_settings(folder)
    if not has_windows:
        options = ("--headless", *options)
    output = (OUTPUT / "companion.txt").open("a")
    companion = subprocess.Popen([*enter, PROGRAMS / "tevanto", "--remote-port", "0", "--screen-port", "0", *options],
                                 stdin=subprocess.DEVNULL, stdout=output, stderr=subprocess.STDOUT)

    def ready():
        result = run(PROGRAMS / "tevanto", "status", "--json")
        return result.returncode == 0 and json.loads(result.stdout)["remotePort"] != 0

    if not eventually(ready, 30):
        end([companion])
        sys.exit("demo: the companion does not start:\n" + (OUTPUT / "companion.txt").read_text())
    return companion


def end(programs):
    for program in programs:
        if program and program.poll() is None:
            program.terminate()
            program.wait(10)


class Steps:
    """Steps in their order, and what became of them."""

    def __init__(self):
        self.rows = []
        self.results = []

    def step(self, name):
        def register(action):
            self.rows.append((name, action))
            return action

        return register

    def carry_out(self, *arguments):
        for name, action in self.rows:
            print(f"  {name}", flush=True)
            try:
                action(*arguments)
                self.results.append((name, True))
            except (Step, subprocess.TimeoutExpired, OSError, ValueError, KeyError, IndexError) as problem:
                print(f"    FAILED: {problem}")
                self.results.append((name, False))

    def report(self, closing):
        """Prints the results; returns the exit status."""
        print("\ndemo: what happened")
        for name, ok in self.results:
            print(f"  {'ok    ' if ok else 'FAILED'}  {name}")
        failed = sum(not ok for _, ok in self.results)
        print(f"demo: {len(self.results) - failed} steps ok, {failed} failed; {closing}")
        return 1 if failed else 0

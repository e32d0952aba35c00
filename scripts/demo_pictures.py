#!/usr/bin/env python3
"""Makes the pictures of README.md. Started by scripts/make-pictures on a virtual desktop, which is the computer's.
"panel" takes a screenshot of the companion's panel. "film" films the computer beside PHONE_DISPLAY, the phone's screen,
where commands are typed into a terminal and the mirrored screen appears in a window."""

import contextlib
import glob
import os
import pathlib
import re
import shutil
import signal
import subprocess
import sys
import time

sys.dont_write_bytecode = True  # the folder of the scripts stays as it is
from demo_parts import (OUTPUT, PROGRAMS, ROOT, Step, end, eventually, expect, geometry, pointer, prepare_output, run,
                        start_companion, status, use_own_settings, windows)

IMAGES = ROOT / "docs" / "images"
FRAMES_PER_SECOND = "25/2"  # a GIF counts in hundredths of a second
BAR_HEIGHT = 26  # of the bar at the top of the computer's screen
CAPTION_HEIGHT = 44
LEAD = 0.24  # seconds at the start of a scene in which the camera runs and nothing happens yet
LARGEST_FILM = 2_000_000  # bytes
SCREEN_WIDTH = 600  # of the computer
MIRROR = (340, 309)  # pixels of the mirrored screen on the phone's
TEXT = "Grüße, 你好 ☕"

# A bar with a menu, the open windows and the tray.
BAR_SETTINGS = f"""<?xml version="1.0" encoding="UTF-8"?>
<channel name="xfce4-panel" version="1.0">
  <property name="configver" type="int" value="2"/>
  <property name="panels" type="array">
    <value type="int" value="1"/>
    <property name="dark-mode" type="bool" value="true"/>
    <property name="panel-1" type="empty">
      <property name="position" type="string" value="p=6;x=0;y=0"/>
      <property name="length" type="uint" value="100"/>
      <property name="position-locked" type="bool" value="true"/>
      <property name="size" type="uint" value="{BAR_HEIGHT}"/>
      <property name="plugin-ids" type="array">
        <value type="int" value="1"/>
        <value type="int" value="2"/>
        <value type="int" value="3"/>
        <value type="int" value="4"/>
      </property>
    </property>
  </property>
  <property name="plugins" type="empty">
    <property name="plugin-1" type="string" value="applicationsmenu"/>
    <property name="plugin-2" type="string" value="tasklist"/>
    <property name="plugin-3" type="string" value="separator">
      <property name="expand" type="bool" value="true"/>
      <property name="style" type="uint" value="0"/>
    </property>
    <property name="plugin-4" type="string" value="systray"/>
  </property>
</channel>
"""

# Types each line of a pipe as a person would, runs it at the next line, and tells its exit status and what it left
# running in the background.
TERMINAL = r"""
exec 3<>"$1" 4<> <(:)
printf '\e[32m$\e[0m '
while IFS= read -r command <&3; do
  for ((i = 0; i < ${#command}; i++)); do printf '%s' "${command:i:1}"; read -rt 0.01 -u 4; done
  : >"$1.typed"
  read -r _ <&3
  printf '\n\e[38;5;250m'
  eval "$command"
  echo "$? ${!:-0}" >"$1.part" && mv "$1.part" "$1.done"
  printf '\e[32m$\e[0m '
done
"""

# Shows the volume of the sound server whenever it changes.
VOLUME = r"""
printf '\e[?25l'
show() {
  local percent bar
  percent=$(pactl get-sink-volume @DEFAULT_SINK@ | grep -o '[0-9]*%' | head -n 1)
  printf -v bar '%*s' $((${percent%\%} * 24 / 100)) ''
  printf '\r\e[K Volume %4s  \e[38;2;53;132;228m%s\e[0m' "$percent" "${bar// /█}"
}
show
pactl subscribe | grep --line-buffered 'on sink #' | while read -r _; do show; done
"""


def on_phone(*command):
    return run("env", f"DISPLAY={os.environ['PHONE_DISPLAY']}", *command)


def open_terminal(title, place, script, *arguments, colors=(), environment=None):
    return subprocess.Popen(["xterm", "-title", title, "-geometry", place, "-fs", "10", *colors, "-e", "bash", "-c",
                             script, "bash", *map(str, arguments)], stdin=subprocess.DEVNULL, env=environment)


class Computer:
    """A desktop with a bar, and the companion with its windows."""

    def __init__(self, folder):
        self.programs = []
        use_own_settings(folder)
        settings = folder / "config" / "xfce4" / "xfconf" / "xfce-perchannel-xml"
        settings.mkdir(parents=True)
        (settings / "xfce4-panel.xml").write_text(BAR_SETTINGS)
        # Started by hand: the session bus, which starts it otherwise, knows other settings.
        self.start(*glob.glob("/usr/lib/*/xfce4/xfconf/xfconfd"))
        expect(eventually(lambda: self.owns("org.xfce.Xfconf"), 30), "The store of the bar's settings does not start.")
        self.start("xfce4-panel")
        expect(eventually(lambda: self.owns("org.kde.StatusNotifierWatcher"), 30), "The bar does not start.")
        run(PROGRAMS / "tevanto", "defaults", "set", "hasCompletedMacFirstRunGuide", "true", "--type", "bool")
        self.companion = start_companion(folder, "--loopback-only", has_windows=True)
        self.programs.append(self.companion)
        expect(eventually(lambda: windows("^Tevanto$"), 30), "The companion's window does not open.")
        expect(eventually(self.closes_window, 30), "The companion's window does not close.")

    def start(self, *command):
        log = (OUTPUT / "desktop.txt").open("a")
        self.programs.append(subprocess.Popen(command, stdin=subprocess.DEVNULL, stdout=log, stderr=log))

    def owns(self, name):
        return "true" in run("dbus-send", "--session", "--print-reply", "--dest=org.freedesktop.DBus", "/",
                             "org.freedesktop.DBus.NameHasOwner", f"string:{name}").stdout

    def closes_window(self):
        if active_window() == "Tevanto":
            run("xdotool", "key", "alt+F4")
        return eventually(lambda: not windows("^Tevanto$"), 2)

    def open_panel(self):
        """By a click on the icon in the bar; answers which window it is."""
        width = int(run("xdotool", "getdisplaygeometry").stdout.split()[0])

        def opens():
            run("xdotool", "mousemove", width - BAR_HEIGHT // 2 + 2, BAR_HEIGHT // 2, "click", "1")
            return eventually(lambda: windows("^Tevanto$"), 3)

        expect(eventually(opens, 30), "The panel does not open.")
        return windows("^Tevanto$")[0]


class Phone:
    """A terminal on the phone's screen. Its commands are typed and carried out there."""

    def __init__(self, folder):
        run("xauth", "-q", "merge", os.environ["PHONE_XAUTHORITY"])
        on_phone("xsetroot", "-solid", "#14181f", "-cursor_name", "left_ptr")
        self.pipe = folder / "commands"
        os.mkfifo(self.pipe)
        environment = {**os.environ, "DISPLAY": os.environ["PHONE_DISPLAY"],
                       "PATH": f"{PROGRAMS}:{os.environ['PATH']}"}
        self.terminal = open_terminal("Phone: terminal", "42x9+0+0", TERMINAL, self.pipe, environment=environment)
        self.mirror = 0
        expect(eventually(lambda: on_phone("xdotool", "search", "--onlyvisible", "--name", "^Phone").stdout, 30),
               "The phone's terminal does not open.")

    def type(self, command):
        """Types the command; `enter` carries it out."""
        print(f"    $ {command}", flush=True)
        self.send(command)
        self.take_note("typed")

    def enter(self):
        """Answers which program is left running, or 0."""
        self.send("")
        code, left = map(int, self.take_note("done").split())
        expect(code == 0, f"The command ended with {code}.")
        return left

    def __call__(self, command):
        self.type(command)
        return self.enter()

    def send(self, line):
        with self.pipe.open("w") as pipe:
            pipe.write(line + "\n")

    def take_note(self, name):
        note = self.pipe.with_name(f"{self.pipe.name}.{name}")
        expect(eventually(note.exists, 30), "The phone's terminal does not go on.")
        text = note.read_text()
        note.unlink()
        return text

    def begin(self):
        """Carries out what was typed and does not end by itself."""
        self.send("")

    def touch(self, x, y):
        """Moves over the touchpad until the computer's pointer is near (x, y), and touches it."""
        on_phone("xdotool", "mousemove", 330, 60)
        expect(eventually(lambda: status()["isClientConnected"]), "The touchpad does not connect.")
        for _ in range(100):
            here = pointer()
            steps = [(there > now) - (there < now) if abs(there - now) > near else 0
                     for there, now, near in zip((x, y), here, (20, 20))]
            if not any(steps):
                break
            on_phone("xdotool", "mousemove_relative", "--", 16 * steps[0], 17 * steps[1])
            eventually(lambda here=here: pointer() != here, 0.3)
        on_phone("xdotool", "click", "1")

    def leave_touchpad(self):
        on_phone("xdotool", "key", "q")
        self.take_note("done")

    def open_mirror(self, x, y, width, height):
        """Carries out what was typed. The window is larger than the phone's screen at first."""
        self.mirror = self.enter()

        def window():
            return on_phone("xdotool", "search", "--onlyvisible", "--name", "^Tevanto$").stdout.split()

        expect(eventually(lambda: window() and status()["isStreaming"], 30), "The mirrored screen does not appear.")

        def placed():
            on_phone("xdotool", "windowsize", window()[0], width, height, "windowmove", window()[0], x, y)
            time.sleep(0.2)  # until the next picture, which may change the size again
            return f"Geometry: {width}x{height}" in on_phone("xdotool", "getwindowgeometry", window()[0]).stdout

        expect(eventually(placed, 30), "The mirrored screen does not become smaller.")

    def end(self):
        if self.mirror:
            with contextlib.suppress(ProcessLookupError):
                os.kill(self.mirror, signal.SIGTERM)
        end([self.terminal])


class Film:
    """Scenes with a caption each. Waiting between them is not filmed."""

    def __init__(self):
        self.captions = []

    @contextlib.contextmanager
    def scene(self, caption, hold=0.5, shows_touch=False):
        """Films until the block ends, and `hold` seconds more."""
        print(f"  {caption}", flush=True)
        film = self.part(len(self.captions))
        self.captions.append(caption)
        screens = []
        for display, has_pointer in ((os.environ["DISPLAY"], "1"), (os.environ["PHONE_DISPLAY"], "01"[shows_touch])):
            screens += ["-f", "x11grab", "-thread_queue_size", "64", "-draw_mouse", has_pointer, "-framerate",
                        FRAMES_PER_SECOND, "-i", display]
        # The screens are opened one after the other; their frames carry the time of day, which puts them side by side.
        since_now = f"setpts=PTS-{time.time():.3f}/TB"
        camera = subprocess.Popen(
            ["ffmpeg", "-nostdin", "-v", "error", "-copyts", *screens, "-filter_complex",
             f"[0]{since_now},pad=iw+2:color=black[left];[1]{since_now}[right];[left][right]hstack",
             "-c:v", "libx264rgb", "-qp", "0", "-preset", "ultrafast", "-tune", "zerolatency", "-flush_packets", "1",
             film],
            stdin=subprocess.DEVNULL)
        try:
            expect(eventually(lambda: film.exists() and film.stat().st_size > 10_000, 30), "The camera does not start.")
            yield
            time.sleep(hold)
        finally:
            camera.send_signal(signal.SIGINT)
            camera.wait(30)

    @staticmethod
    def part(number):
        return OUTPUT / f"scene-{number}.nut"

    def save(self, path):
        inputs, filters = [], []
        for number, caption in enumerate(self.captions):
            text = OUTPUT.relative_to(ROOT) / f"scene-{number}.txt"  # a filter takes no path with any character
            (ROOT / text).write_text(caption)
            inputs += ["-i", self.part(number)]
            filters.append(f"[{number}]trim=start={LEAD},setpts=PTS-STARTPTS,fps={FRAMES_PER_SECOND},"
                           f"pad=iw:ih+{CAPTION_HEIGHT}:0:0:color=#10141a,"
                           f"drawtext=font='DejaVu Sans':fontsize=22:fontcolor=white:expansion=none:"
                           f"textfile='{text}':x=(w-tw)/2:y=h-{CAPTION_HEIGHT // 2}-11[{number}s]")
        joined = "".join(f"[{number}s]" for number in range(len(self.captions)))
        filters.append(f"{joined}concat=n={len(self.captions)},split[seen][counted]")
        filters.append("[counted]palettegen=stats_mode=full[palette]")
        filters.append("[seen][palette]paletteuse=dither=none:diff_mode=rectangle")
        result = run("ffmpeg", "-nostdin", "-v", "error", "-y", *inputs, "-filter_complex", ";".join(filters), path,
                     timeout=300)
        expect(result.returncode == 0, "The film could not be written: " + result.stderr)


def save(picture):
    """Only what is complete takes the place of an older picture."""
    shutil.move(picture, IMAGES / picture.name)
    print(f"make-pictures: docs/images/{picture.name}, {(IMAGES / picture.name).stat().st_size / 1000:.0f} kB")


def make_panel(folder):
    os.environ["QT_SCALE_FACTOR"] = "2"
    computer = Computer(folder)
    try:
        panel = computer.open_panel()
        x, y, width, height = geometry(panel)
        run("xdotool", "mousemove", "0", "1000")
        time.sleep(1)  # the panel comes in gradually
        picture = OUTPUT / "panel.png"
        result = run("maim", "--hidecursor", "-g", f"{width}x{height}+{x}+{y}", picture)
        expect(result.returncode == 0, result.stderr)
        save(picture)
    finally:
        end(reversed(computer.programs))


def active_window():
    return run("xdotool", "getactivewindow", "getwindowname").stdout.strip()


def mirror_content():
    window = on_phone("xdotool", "search", "--onlyvisible", "--name", "^Tevanto$").stdout.split()[0]
    place = on_phone("xwininfo", "-id", window).stdout
    return [int(re.search(rf"Absolute upper-left {axis}: +(-?\d+)", place)[1]) for axis in "XY"]


def enter_mirror():
    """Moves the phone's pointer to the place in the window that shows the computer's pointer."""
    (left, top), (x, y) = mirror_content(), pointer()
    scale = MIRROR[0] / SCREEN_WIDTH
    on_phone("xdotool", "mousemove", round(left + x * scale), round(top + y * scale))


def glide(x, y):
    """Moves the pointer of the phone's window until that of the computer is at (x, y)."""
    for _ in range(200):
        here = pointer()
        ahead = [max(-20, min(20, there - now)) for there, now in zip((x, y), here)]
        if max(map(abs, ahead)) <= 2:
            return
        steps = [round(step * MIRROR[0] / SCREEN_WIDTH) or (step > 0) - (step < 0) for step in ahead]
        on_phone("xdotool", "mousemove_relative", "--", *steps)
        eventually(lambda here=here: pointer() != here, 0.3)
        time.sleep(0.02)
    raise Step(f"The pointer is at {pointer()}, not at {(x, y)}.")


def play(film, phone):
    code = status()["pairingCode"]
    with film.scene("The computer shows a code.", 0.9):
        pass
    with film.scene("The phone pairs with it once."):
        phone(f"tevanto-phone pair {code}")
        expect(eventually(lambda: status()["isPaired"]), "The companion knows of no phone.")
    with film.scene("The phone is a touchpad …", 0.2, shows_touch=True):
        phone.type("tevanto-phone touchpad")
        phone.begin()
        phone.touch(170, 110)
        expect(eventually(lambda: active_window() == "Notes"), "The click did not choose the notes.")
    phone.leave_touchpad()
    with film.scene("… and a keyboard."):
        phone(f"tevanto-phone type '{TEXT}'")
    with film.scene("It sets the volume,"):
        phone("tevanto-phone volume 80")
    with film.scene("opens applications,", 0.9):
        phone("tevanto-phone open debian-uxterm.desktop")
        expect(eventually(lambda: windows("^uxterm$"), 30), "No new window appeared.")
    with film.scene("and shows the screen …", 0.3):
        phone.type("tevanto-phone mirror --view &")
    phone.open_mirror(8, 213, *MIRROR)
    with film.scene("and shows the screen …", 0.6):
        pass
    enter_mirror()
    with film.scene("… in a window that controls it.", 1.3):
        glide(SCREEN_WIDTH - BAR_HEIGHT // 2 + 2, BAR_HEIGHT // 2)
        on_phone("xdotool", "click", "1")
        expect(eventually(lambda: windows("^Tevanto$")), "The click did not open the panel.")
        glide(480, 75)


def make_film(folder):
    computer, phone, film, desktop = Computer(folder), None, Film(), []
    try:
        paper = ["-bg", "#fbf8f0", "-fg", "#20242c", "-cr", "#20242c"]
        desktop.append(open_terminal("Notes", "42x8+12+54", "cat", colors=paper))
        desktop.append(open_terminal("Sound", "42x1+12+260", VOLUME, colors=paper))
        expect(eventually(lambda: windows("^Notes$") and windows("^Sound$"), 30), "The windows do not open.")
        phone = Phone(folder)
        run("pactl", "set-sink-volume", "@DEFAULT_SINK@", "30%")
        computer.open_panel()
        run("xdotool", "mousemove", "500", "75")
        time.sleep(1)  # the panel comes in gradually
        play(film, phone)
        film.save(OUTPUT / "tour.gif")
        size = (OUTPUT / "tour.gif").stat().st_size
        expect(size <= LARGEST_FILM, f"The film takes {size} bytes, more than {LARGEST_FILM}.")
        save(OUTPUT / "tour.gif")
    finally:
        if phone:
            phone.end()
        end([*desktop, *reversed(computer.programs)])


def main():
    prepare_output()
    folder = pathlib.Path(os.environ["XAUTHORITY"]).parent
    try:
        {"panel": make_panel, "film": make_film}[sys.argv[1]](folder)
    except Step as problem:
        sys.exit(f"make-pictures: {problem} The logs are in {OUTPUT.relative_to(ROOT)}.")


if __name__ == "__main__":
    main()

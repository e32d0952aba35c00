"""What the packages installed, as a user of the clean tree runs it."""
import contextlib
import ctypes
import json
import os
import re
import signal
import struct
import subprocess
import time
import urllib.error
import urllib.request
import zlib

import clean_tree
from clean_tree import Failure

NEW_NETWORK = 0x40000000  # CLONE_NEWNET
PATIENCE = 120  # seconds to wait for a condition; a machine under load
USER = 1000
HOME = "/home/somebody"
RUNTIME = "/run/user/1000"
ADDRESS = "10.77.0.1"
RELAY = "http://127.0.0.1:8787"
MANY_SHADES = 64  # an empty window has a few
ICON_SIZES = (16, 22, 24, 32, 48, 64, 128, 256, 512)
COMPLETIONS = ("bash-completion/completions/{}", "zsh/vendor-completions/_{}", "fish/vendor_completions.d/{}.fish")


def leave_the_network():
    """This process and those that it starts get a network of their own: its loopback, and one line that ends here."""
    libc = ctypes.CDLL(None, use_errno=True)
    if libc.unshare(NEW_NETWORK) != 0:
        raise Failure(f"no network namespace: {os.strerror(ctypes.get_errno())}")
    for arguments in (["link", "set", "lo", "up"], ["link", "add", "line", "type", "veth", "peer", "name", "end"],
                      ["address", "add", f"{ADDRESS}/24", "dev", "line"], ["link", "set", "line", "up"],
                      ["link", "set", "end", "up"]):
        clean_tree.command_output(["ip", *arguments])


def eventually(what, condition):
    """Waits for what a process does in its own time; gives what the condition gives."""
    deadline = time.monotonic() + PATIENCE
    while True:
        found = condition()
        if found:
            return found
        if time.monotonic() > deadline:
            raise Failure(f"{what}: not within {PATIENCE} s")
        time.sleep(0.05)


def key_of(text, key):
    return re.search(rf"(?m)^{key}=(.*)$", text)[1]


def picture_bytes(png):
    """The rows of a PNG file, filtered as they are."""
    at, data = 8, b""
    while at < len(png):
        length, kind = struct.unpack(">I4s", png[at:at + 8])
        if kind == b"IDAT":
            data += png[at + 8:at + 8 + length]
        at += length + 12
    return zlib.decompress(data)


class InstalledPrograms:
    def __init__(self, tree, folder):
        self._tree = tree
        self._folder = folder
        self._running = {}
        self._environment = {"PATH": "/usr/bin:/bin", "HOME": HOME, "LC_ALL": "C.UTF-8", "XDG_RUNTIME_DIR": RUNTIME,
                             "DBUS_SESSION_BUS_ADDRESS": "unix:path=/nonexistent",
                             "DBUS_SYSTEM_BUS_ADDRESS": "unix:path=/nonexistent",
                             "TEVANTO_RELAY_URLS": RELAY.replace("http:", "ws:")}

    # Processes.

    def _start(self, name, arguments, **options):
        log = os.path.join(self._folder, f"{name}.log")
        with open(log, "wb") as file:
            process = subprocess.Popen(arguments, stdin=subprocess.DEVNULL, stdout=file, stderr=file, **options)
        self._running[name] = process

    def _said(self, name):
        with open(os.path.join(self._folder, f"{name}.log"), encoding="utf-8", errors="replace") as file:
            return file.read()[-4000:]

    def _wait_for(self, name, what, condition):
        """Until the condition holds, or the process has ended."""
        process = self._running[name]
        try:
            found = eventually(what, lambda: condition() or process.poll() is not None)
        except Failure as failure:
            raise Failure(f"{failure}; {name} said:\n{self._said(name)}") from None
        if process.poll() is not None:
            raise Failure(f"{name} ended with {process.returncode}:\n{self._said(name)}")
        return found

    def _stop(self, name):
        """By the signal by which the system ends it; it has to end as asked."""
        process = self._running.pop(name)
        process.send_signal(signal.SIGTERM)
        try:
            status = process.wait(PATIENCE)
        except subprocess.TimeoutExpired:
            raise Failure(f"{name} did not end when asked; it said:\n{self._said(name)}") from None
        if status != 0:
            raise Failure(f"{name} ended with {status} when asked; it said:\n{self._said(name)}")

    def _as_user(self, *arguments, user=USER):
        # chroot becomes the program: a signal to it reaches the right one.
        return ["/usr/sbin/chroot", f"--userspec={user}:{user}", "--groups=", self._tree.path, *arguments]

    def _run(self, *arguments):
        return clean_tree.command_output(self._as_user(*arguments), PATIENCE, env=self._environment)

    def _tools(self, *arguments):
        """A tool of this machine, at the tree's display."""
        return clean_tree.command_output(list(arguments), PATIENCE, env={**os.environ, "DISPLAY": self._environment["DISPLAY"]})

    # Files.

    def check_files(self):
        entry = self._tree.inside("usr/share/applications/app.tevanto.Tevanto.desktop")
        clean_tree.command_output(["desktop-file-validate", entry])
        text = self._tree.read("usr/share/applications/app.tevanto.Tevanto.desktop")
        for key in ("Exec", "TryExec"):
            self._run("sh", "-c", f"command -v {key_of(text, key)}")
        clean_tree.command_output(["appstreamcli", "validate", "--no-net",
                                   self._tree.inside("usr/share/metainfo/app.tevanto.Tevanto.metainfo.xml")])
        self._check_icons(key_of(text, "Icon"))
        for program in ("tevanto", "tevanto-phone", "tevanto-relay"):
            self._check_program(program)
        self._check_units()

    def _check_units(self):
        verify = ["systemd-analyze", "verify", "--man=no", "--recursive-errors=no"]
        clean_tree.command_output([*verify, f"--root={self._tree.path}", "tevanto-relay.service"])
        # Units of users are only looked at where they would run.
        unit = self._tree.read("usr/lib/systemd/user/tevanto.service")
        copy = os.path.join(self._folder, "tevanto.service")
        with open(copy, "w", encoding="utf-8") as file:
            file.write(unit.replace("ExecStart=", f"ExecStart={self._tree.path}"))
        clean_tree.command_output([*verify, "--user", copy], env={**os.environ, "XDG_RUNTIME_DIR": self._folder})

    def _check_icons(self, icon):
        theme = "usr/share/icons/hicolor"
        for size in ICON_SIZES:
            with open(self._tree.inside(f"{theme}/{size}x{size}/apps/{icon}.png"), "rb") as file:
                # The PNG signature, then the header chunk with the width and the height.
                if struct.unpack(">II", file.read(24)[16:]) != (size, size):
                    raise Failure(f"the icon of {size} pixels has another size")
        if "<svg" not in self._tree.read(f"{theme}/scalable/apps/{icon}.svg"):
            raise Failure("the scalable icon is none")

    def _check_program(self, program):
        version = self._run(program, "--version").split()
        if version[0] != program or not re.fullmatch(r"\d+\.\d+\.\d+", version[1]):
            raise Failure(f"{program} calls itself {version}")
        for path in ("man/man1/{}.1.gz", *COMPLETIONS):
            if not os.path.getsize(self._tree.inside("usr/share/" + path.format(program))):
                raise Failure(f"{path.format(program)} is empty")

    # The desktop of the tree.

    @contextlib.contextmanager
    def desktop(self):
        """A display for the tree's user. In the end everything is stopped."""
        sockets = self._tree.inside("tmp/.X11-unix")
        os.makedirs(sockets)
        os.chmod(sockets, 0o1777)
        os.makedirs("/tmp/.X11-unix", exist_ok=True)
        clean_tree.command_output(["mount", "--bind", sockets, "/tmp/.X11-unix"])
        self._tree.run("useradd", "--create-home", "--uid", str(USER), "--shell", "/bin/sh", "somebody")
        os.makedirs(self._tree.inside(RUNTIME), mode=0o700)
        os.chown(self._tree.inside(RUNTIME), USER, USER)
        try:
            self._start_display()
            yield
        finally:
            for process in self._running.values():
                process.kill()
                process.wait()

    def _start_display(self):
        reading, writing = os.pipe()
        self._start("display", ["Xvfb", "-displayfd", str(writing), "-nolisten", "tcp", "-noreset", "-ac", "-screen", "0",
                                "1280x800x24"], pass_fds=[writing])
        os.close(writing)
        # Ends with the line, or with the server.
        with os.fdopen(reading) as answer:
            number = answer.readline().strip()
        if not number:
            raise Failure(f"the X server does not start: {self._said('display')}")
        self._environment["DISPLAY"] = f":{number}"

    # The relay.

    def start_relay(self):
        unit = self._tree.read("usr/lib/systemd/system/tevanto-relay.service")
        settings = dict(line.split("=", 1) for line in self._tree.read("etc/tevanto/relay.env").splitlines()
                        if line and not line.startswith("#"))
        nobody = 65534
        self._start("relay", self._as_user(*key_of(unit, "ExecStart").split(), user=nobody),
                    env={"PATH": "/usr/bin:/bin", **settings})
        self._wait_for("relay", "the relay answers", lambda: self._relay_says("/healthz") == "ok")

    def _relay_says(self, path):
        try:
            with urllib.request.urlopen(RELAY + path, timeout=PATIENCE) as answer:
                return answer.read().decode().strip()
        except (urllib.error.URLError, ConnectionError):
            return ""

    # The companion.

    def start_companion(self):
        self._start("companion", self._as_user("tevanto", "--headless", "--no-discovery"), env=self._environment)
        self._wait_for("companion", "the companion listens", lambda: self._status().get("remotePort"))

    def stop_companion(self):
        self._stop("companion")

    def _status(self):
        run = subprocess.run(self._as_user("tevanto", "status", "--json"), capture_output=True, text=True, check=False,
                             timeout=PATIENCE, env=self._environment)
        return json.loads(run.stdout) if run.returncode == 0 else {}

    def _phone(self, *arguments):
        return self._run("tevanto-phone", "--host", "127.0.0.1", "--timeout", str(PATIENCE), *arguments)

    def _pointer(self):
        said = self._tools("xdotool", "getmouselocation", "--shell")
        return tuple(int(number) for number in re.findall(r"(?m)^[XY]=(\d+)", said))

    def pair_and_move(self):
        self._phone("pair", self._status()["pairingCode"])
        self._move_by(30, 20, self._phone)

    def _move_by(self, dx, dy, phone):
        x, y = self._pointer()
        phone("move", str(dx), str(dy))
        eventually("the pointer moves", lambda: self._pointer() == (x + dx, y + dy))

    def mirror(self):
        self._phone("mirror", "--snapshot", f"{HOME}/screen.png", "--seconds", "0")
        with open(self._tree.inside(f"{HOME}/screen.png"), "rb") as file:
            header = file.read(24)
        if header[:8] != b"\x89PNG\r\n\x1a\n" or struct.unpack(">I", header[16:20])[0] != 1280:
            raise Failure("the mirrored picture is no picture of the screen")

    def call_from_away(self):
        def phone(*arguments):
            return self._run("tevanto-phone", "--away", self._status()["deviceID"], "--timeout", str(PATIENCE), *arguments)

        self._move_by(20, 30, phone)

    def ask_doctor(self):
        # Parts of it fail here, where no sound server and no Avahi daemon is.
        run = subprocess.run(self._as_user("tevanto", "doctor", "--json"), capture_output=True, text=True, check=False,
                             timeout=PATIENCE, env=self._environment)
        found = {check["name"]: check for check in json.loads(run.stdout)["checks"]}
        for name in ("pointer", "screen", "encoder", "settings", "relay"):
            if not found[name]["ok"]:
                raise Failure(f"the doctor says of {name}: {found[name]['text']}")

    def outlives_the_upgrade(self):
        process = self._status()["processID"]
        self._run("tevanto")
        if self._status().get("processID") != process:
            raise Failure("the second start did not hand over to the companion that runs")
        self._move_by(10, 10, self._phone)
        # It has not mirrored yet, and the encoders on the disk are not those that it was built with.
        self._start("viewer", self._as_user("tevanto-phone", "--host", "127.0.0.1", "mirror", "--snapshot", f"{HOME}/none.png"),
                    env=self._environment)
        eventually("the companion refuses modules of another version", lambda: "start it again" in self._said("companion"))
        viewer = self._running.pop("viewer")
        viewer.kill()
        viewer.wait()
        self._move_by(10, 10, self._phone)
        # The new version knows the phone that the old one was paired with.
        self._stop("companion")
        self.start_companion()
        self._move_by(10, 10, self._phone)
        self.mirror()

    # The windows.

    def has_windows(self):
        return os.path.exists(self._tree.inside("usr/lib/tevanto/ui.so"))

    def show_window(self):
        self._start("companion", self._as_user("tevanto", "--no-discovery"), env=self._environment)
        self._wait_for("companion", "the window opens", self._sees_window)
        if "is not installed" in self._said("companion"):
            raise Failure(f"the window lacks something: {self._said('companion')}")
        self.stop_companion()

    def _sees_window(self):
        """The window is on the screen, and something is drawn in it."""
        found = re.search(r'(0x[0-9a-f]+) "Tevanto": \("tevanto"', self._tools("xwininfo", "-root", "-tree"))
        if not found or "Map State: IsViewable" not in self._tools("xwininfo", "-id", found[1]):
            return False
        picture = os.path.join(self._folder, "window.png")
        self._tools("maim", "--window", str(int(found[1], 16)), picture)
        with open(picture, "rb") as file:
            return len(set(picture_bytes(file.read()))) > MANY_SHADES

#!/usr/bin/env python3
"""How long it takes from the start of the phone's program until it has decoded its first picture of a computer on
another network: directly, and through a TURN server. Relay, TURN server, companion and phone are the real programs, in
networks of their own (Linux network namespaces). The companion waits in its room each time: for a second and a half after
a session's end it does not. Prints one JSON object. Part of bench/run."""
import json
import os
import pathlib
import shutil
import subprocess
import sys
import tempfile
import threading
import time

ROOT = pathlib.Path(__file__).resolve().parent.parent
sys.path.insert(0, str(ROOT / "scripts"))
sys.dont_write_bytecode = True
from demo_networks import SERVER, Servers, enter_own_network, make_networks
from demo_parts import PROGRAMS, end, eventually, run

ROUNDS = 11
FORWARDING = pathlib.Path("/proc/sys/net/ipv4/ip_forward")


class Display:
    """A virtual display of the usual size, empty."""

    def __init__(self):
        read_end, write_end = os.pipe()
        self.server = subprocess.Popen(["Xvfb", "-displayfd", str(write_end), "-screen", "0", "1920x1080x24", "-nolisten",
                                        "tcp", "-noreset"], pass_fds=[write_end], stdout=subprocess.DEVNULL,
                                       stderr=subprocess.DEVNULL)
        os.close(write_end)
        with os.fdopen(read_end) as numbers:
            os.environ["DISPLAY"] = ":" + numbers.readline().strip()


class Waiting:
    """Hears from the companion when it has come into its room, which it does after each session anew."""

    def __init__(self, log):
        self.times = threading.Semaphore(0)
        threading.Thread(target=self.listen, args=[log], daemon=True).start()

    def listen(self, log):
        for line in log:
            if "signaling open, announcing" in line:
                self.times.release()

    def wait(self):
        if not self.times.acquire(timeout=120):
            sys.exit("first_picture: the companion does not come into its room")


def start_companion(folder, enter):
    os.environ.update(XDG_CONFIG_HOME=str(folder / "companion"), XDG_RUNTIME_DIR=str(folder), HOME=str(folder))
    companion = subprocess.Popen([*enter, PROGRAMS / "tevanto", "--headless", "--no-discovery", "--remote-port", "0",
                                  "--screen-port", "0"], stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL,
                                 stderr=subprocess.PIPE, text=True)
    if not eventually(lambda: run(PROGRAMS / "tevanto", "status", "--json").returncode == 0, 60):
        end([companion])
        sys.exit("first_picture: the companion does not start")
    return companion, Waiting(companion.stderr), json.loads(run(PROGRAMS / "tevanto", "status", "--json").stdout)


class Phone:
    """A phone that was paired once, and has no TURN credentials when it starts."""

    def __init__(self, folder, enter, room):
        self.folder, self.command = folder, [*enter, PROGRAMS / "tevanto-phone", "--away", room, "--timeout", "60"]
        self.paired, self.used = folder / "paired", folder / "used"

    def pair(self, code):
        done = subprocess.run([*self.command, "pair", code], env=dict(os.environ, XDG_CONFIG_HOME=str(self.paired)),
                              capture_output=True, text=True, timeout=120)
        if done.returncode != 0:
            sys.exit("first_picture: the phone is not paired: " + done.stderr)
        for settings in self.paired.rglob("*.json"):
            kept = json.loads(settings.read_text())
            for holder in (kept, *(value for value in kept.values() if isinstance(value, dict))):
                holder.pop("tevanto.turn-credentials.v1", None)
            settings.write_text(json.dumps(kept))

    def look(self):
        """Milliseconds from the start: the offer sent, ICE connected, the control channel open, the first picture
        decoded."""
        shutil.rmtree(self.used, ignore_errors=True)
        shutil.copytree(self.paired, self.used)
        picture = self.folder / "picture.png"
        picture.unlink(missing_ok=True)
        seen = {}
        started = time.perf_counter()
        phone = subprocess.Popen([*self.command, "--verbose", "mirror", "--snapshot", picture],
                                 env=dict(os.environ, XDG_CONFIG_HOME=str(self.used)), stdin=subprocess.DEVNULL,
                                 stdout=subprocess.DEVNULL, stderr=subprocess.PIPE, text=True)

        def listen():
            for line in phone.stderr:
                for name, text in (("offer", "sending offer"), ("ice", "ice: connected"),
                                   ("open", "data channel ready"), ("relayed", "selected route: TURN relay")):
                    if text in line:
                        seen.setdefault(name, (time.perf_counter() - started) * 1000)

        listener = threading.Thread(target=listen)
        listener.start()
        # The file is there a moment after the picture was decoded: writing it counts in.
        while not picture.exists() and phone.poll() is None:
            time.sleep(0.001)
        seen["picture"] = (time.perf_counter() - started) * 1000
        if phone.wait(60) != 0:
            sys.exit("first_picture: the phone saw nothing")
        listener.join()
        return seen


def measure(phone, waiting, relayed):
    """With forwarding the two networks see one another."""
    waiting.wait()
    FORWARDING.write_text("0\n" if relayed else "1\n")
    seen = phone.look()
    if ("relayed" in seen) != relayed:
        sys.exit(f"first_picture: the route is not the one that was meant: {seen}")
    return seen


def main():
    os.environ["PATH"] += ":/usr/sbin:/sbin"
    lacking = enter_own_network()
    if lacking:
        sys.exit("first_picture: needs networks of its own: " + lacking)
    folder = pathlib.Path(tempfile.mkdtemp(prefix="tevanto-bench-"))
    nowhere = f"unix:path={folder}/no-bus"
    os.environ.update(DBUS_SESSION_BUS_ADDRESS=nowhere, DBUS_SYSTEM_BUS_ADDRESS=nowhere)
    display, servers, companion, networks = Display(), None, None, []
    try:
        servers = Servers(SERVER, folder / "servers")
        os.environ["TEVANTO_RELAY_URLS"] = servers.url
        networks = make_networks()
        companion, waiting, status = start_companion(folder, networks[0].enter)
        phone = Phone(folder, networks[1].enter, status["deviceID"])
        waiting.wait()
        phone.pair(status["pairingCode"])
        rounds = {"direct": [], "turn": []}
        for _ in range(ROUNDS):
            rounds["direct"].append(measure(phone, waiting, relayed=False))
            rounds["turn"].append(measure(phone, waiting, relayed=True))
        middle = {route: {name: sorted(one.get(name, 0) for one in seen)[len(seen) // 2]
                         for name in ("offer", "ice", "open", "picture")} for route, seen in rounds.items()}
        print(json.dumps(middle))
    finally:
        end([companion, *(network.holder for network in networks), display.server])
        if servers:
            servers.stop()
        shutil.rmtree(folder, ignore_errors=True)


if __name__ == "__main__":
    main()

"""Networks of the demo's own (Linux network namespaces), with the servers of the away connection in their middle.

    home ───────── internet ───────── away
    10.8.1.2       10.8.1.1  10.8.2.1     10.8.2.2
                   10.8.0.1: relay and TURN server

Home and away reach the internet and not one another. This process, and what it starts without `enter`, is in the
internet."""

import os
import pathlib
import secrets
import socket
import subprocess
import sys

from demo_parts import PROGRAMS, end, eventually, run

SERVER = "10.8.0.1"
INSIDE = "TEVANTO_DEMO_INSIDE"


def enter_own_network():
    """Starts this program again in a network of its own, as root or, where the kernel lets them, as anybody. Returns
    why that cannot be, where it cannot."""
    if os.environ.pop(INSIDE, None):
        check("ip", "link", "set", "lo", "up")
        check("ip", "address", "add", SERVER + "/32", "dev", "lo")
        return None
    apart = ["unshare", "--net"]
    if os.geteuid() != 0:
        apart = ["unshare", "--user", "--map-current-user", "--keep-caps", "--net"]
    tried = run(*apart, "ip", "link", "add", "one", "type", "veth", "peer", "name", "other")
    if tried.returncode == 0:
        os.environ[INSIDE] = "yes"
        sys.stdout.flush()
        os.execvp(apart[0], [*apart, sys.executable, *sys.argv])
    return " ".join(tried.stderr.split()) or "unshare failed"


def check(*command):
    result = run(*command)
    if result.returncode != 0:
        raise OSError(" ".join(map(str, command)) + ": " + " ".join((result.stdout + result.stderr).split()))


class Network:
    """A network with one computer in it, on a cable of the internet's; `enter` begins the command line of what runs
    there."""

    def __init__(self, name, net):
        here = os.readlink("/proc/self/ns/net")
        self.address = f"{net}.2"
        self.holder = subprocess.Popen(["unshare", "--net", "sleep", "infinity"], stdin=subprocess.DEVNULL)
        inside = f"/proc/{self.holder.pid}/ns/net"
        self.enter = ["nsenter", "--net=" + inside]
        if not eventually(lambda: os.readlink(inside) != here):
            raise OSError("a network of its own was not made")
        check("ip", "link", "add", name, "type", "veth", "peer", "name", "eth0", "netns", self.holder.pid)
        check("ip", "address", "add", f"{net}.1/24", "dev", name)
        check("ip", "link", "set", name, "up")
        for command in (f"link set lo up", f"address add {self.address}/24 dev eth0", "link set eth0 up",
                        f"route add default via {net}.1"):
            check(*self.enter, "ip", *command.split())

    def reaches(self, address):
        return run(*self.enter, "ping", "-n", "-c", "1", "-W", "1", address).returncode == 0


def make_networks():
    """Home and away. A new network may have taken over the machine's forwarding: here nothing is passed on."""
    forwarding = pathlib.Path("/proc/sys/net/ipv4/ip_forward")
    if forwarding.read_text().strip() != "0":
        forwarding.write_text("0\n")
    return Network("home", "10.8.1"), Network("away", "10.8.2")


def free_port(address):
    """One that nobody listens at now, for UDP and TCP: a TURN server cannot be told to choose one."""
    for _ in range(100):
        with socket.socket() as stream, socket.socket(type=socket.SOCK_DGRAM) as datagrams:
            stream.bind((address, 0))
            try:
                datagrams.bind(stream.getsockname())
            except OSError:
                continue
            return stream.getsockname()[1]
    raise OSError("no free port on " + address)


class Servers:
    """A TURN server, and a relay that hands out credentials for it. What they are told, phone and companion keep for
    hours: after `kill`, `start` brings back the same."""

    def __init__(self, address, folder):
        folder.mkdir(mode=0o700)
        self.address, self.folder = address, folder
        self.relay, self.turn, self.port, self.turn_port = None, None, 0, free_port(address)
        self.secret = folder / "turn-secret"
        self.secret.write_text(secrets.token_hex(16))
        self.start()
        self.url = f"ws://{address}:{self.port}"

    def start(self):
        self.start_turn()
        self.start_relay()

    def start_turn(self):
        log = self.folder / "turn.log"
        log.unlink(missing_ok=True)
        settings = self.folder / "turnserver.conf"
        settings.write_text(f"listening-ip={self.address}\nrelay-ip={self.address}\nlistening-port={self.turn_port}\n"
                            f"use-auth-secret\nstatic-auth-secret={self.secret.read_text()}\nrealm=tevanto.demo\n"
                            "fingerprint\nno-cli\nno-tls\nno-dtls\nallow-loopback-peers\nsimple-log\n"
                            f"log-file={log}\npidfile={self.folder / 'turn.pid'}\nuserdb={self.folder / 'turn.users'}\n")
        self.turn = subprocess.Popen(["turnserver", "-c", settings], stdin=subprocess.DEVNULL,
                                     stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        # It writes this when all of its listeners are open.
        if not eventually(lambda: log.exists() and "Total General servers" in log.read_text(errors="replace"), 30):
            self.stop()
            sys.exit("demo: the TURN server does not come up")

    def start_relay(self):
        """On the port that it had before, if any."""
        options = ["--listen", self.address, "--port", str(self.port), "--turn-secret-file", self.secret]
        for transport in ("udp", "tcp"):
            options += ["--turn-url", f"turn:{self.address}:{self.turn_port}?transport={transport}"]
        self.relay = subprocess.Popen([PROGRAMS / "tevanto-relay", *options], stdin=subprocess.DEVNULL,
                                      stdout=subprocess.PIPE, stderr=(self.folder / "relay.log").open("a"), text=True)
        said = self.relay.stdout.readline()
        if not said.startswith("listening on"):
            self.stop()
            sys.exit("demo: the relay does not come up: " + (self.folder / "relay.log").read_text())
        self.port = int(said.strip().rsplit(":", 1)[1])

    def kill(self):
        for server in (self.relay, self.turn):
            server.kill()
            server.wait()

    def stop(self):
        end([self.relay, self.turn])

"""A Debian 12 tree with nothing in it but what every installation has, to install packages into.

Its packages come from where this machine gets its own. What was downloaded is kept, so that only the first run needs
the network for long. Everything is mounted in a mount namespace of the caller's and goes with it.
"""
import hashlib
import os
import shutil
import subprocess
import time

SUITE = "bookworm"
DOWNLOAD_PATIENCE = 1200  # seconds; mirrors may be slow
PATIENCE = 900
# Of each download, with a longer wait before each.
RETRIES = 6
# A mirror moves on; what is older is made again.
BASE_LIFETIME = 7 * 24 * 3600
TREE_SIZE = 2 * 1024**3  # bytes, more than twice what is in it in the end
# Nothing is worth a disk flush here, and nothing may be started while packages are installed.
DPKG_OPTIONS = "force-unsafe-io\n"
NO_SERVICES = "#!/bin/sh\nexit 101\n"


class Failure(Exception):
    """What went wrong, with the end of what the command wrote."""


def command_output(arguments, timeout=PATIENCE, **options):
    try:
        run = subprocess.run(arguments, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, stdin=subprocess.DEVNULL, text=True,
                             timeout=timeout, check=False, **options)
    except subprocess.TimeoutExpired as late:
        said = (late.stdout or b"").decode(errors="replace")[-2000:]
        raise Failure(f"{' '.join(arguments)} did not end within {timeout} s\n{said}") from None
    if run.returncode != 0:
        raise Failure(f"{' '.join(arguments)} ended with {run.returncode}:\n{run.stdout[-6000:]}")
    return run.stdout


def debian_sources():
    """The lines for sources.list of this machine's own sources of Debian 12."""
    wanted = "$(ORIGIN)|$(CODENAME)|$(RELEASE)|$(COMPONENT)|$(REPO_URI)"
    listed = command_output(["apt-get", "indextargets", "--format", wanted, "Created-By: Packages"])
    lines = []
    for target in listed.splitlines():
        origin, codename, release, component, address = target.split("|")
        if origin == "Debian" and codename.startswith(SUITE):
            lines.append(f"deb {address} {release} {component}")
    if not lines:
        raise Failure("this machine's apt has no lists of Debian 12; run apt-get update, on Debian 12")
    return sorted(set(lines))


def proxy_settings():
    dump = command_output(["apt-config", "dump"])
    return [line for line in dump.splitlines() if line.startswith("Acquire::") and "proxy" in line.lower() and '""' not in line]


def free_memory():
    """In bytes."""
    with open("/proc/meminfo", encoding="ascii") as file:
        return next(int(line.split()[1]) * 1024 for line in file if line.startswith("MemAvailable:"))


class CleanTree:
    def __init__(self, folder, cache):
        self.path = os.path.join(folder, "tree")
        self._cache = cache
        self._environment = {"PATH": "/usr/sbin:/usr/bin:/sbin:/bin", "LC_ALL": "C.UTF-8", "DEBIAN_FRONTEND": "noninteractive",
                             "HOME": "/root"}

    def base(self):
        """The tarball of the bare tree; makes it where there is none, or an old one."""
        sources = debian_sources()
        # apt fetches over TLS only where it knows whom to believe.
        extra = ["ca-certificates"] if any(" https:" in line for line in sources) else []
        key = hashlib.sha256("\n".join(sources + extra).encode()).hexdigest()[:16]
        tarball = os.path.join(self._cache, f"debian-12-{key}.tar")
        if os.path.exists(tarball) and time.time() - os.path.getmtime(tarball) < BASE_LIFETIME:
            return tarball
        os.makedirs(self._cache, exist_ok=True)
        arguments = ["mmdebstrap", "--mode=root", "--variant=minbase", "--format=tar", "--skip=cleanup/apt/lists",
                     "--dpkgopt=" + DPKG_OPTIONS.strip()]
        arguments += [f"--include={package}" for package in extra]
        arguments += [f"--aptopt={line}" for line in [*proxy_settings(), f'Acquire::Retries "{RETRIES}";']]
        # A name of its own: another run may be making the same one.
        new = f"{tarball}.{os.getpid()}.new"
        try:
            command_output([*arguments, SUITE, new, *sources], DOWNLOAD_PATIENCE)
            os.replace(new, tarball)
        finally:
            if os.path.exists(new):
                os.unlink(new)
        return tarball

    def make(self, tarball):
        os.makedirs(self.path)
        # Thousands of small files, gone in a minute: faster where they need no disk.
        if free_memory() > 4 * TREE_SIZE:
            command_output(["mount", "-t", "tmpfs", "-o", f"mode=755,size={TREE_SIZE}", "tree", self.path])
        command_output(["tar", "--extract", "--file", tarball, "--directory", self.path, "--numeric-owner"])
        self.write("etc/dpkg/dpkg.cfg.d/unsafe-io", DPKG_OPTIONS)
        self.write("usr/sbin/policy-rc.d", NO_SERVICES, 0o755)
        self.write("etc/apt/apt.conf.d/90keep", 'APT::Keep-Downloaded-Packages "true";\n')
        self.write("etc/hosts", "127.0.0.1 localhost clean\n")
        shutil.copyfile("/etc/resolv.conf", self.inside("etc/resolv.conf"))
        self._mount()

    def _mount(self):
        archives = os.path.join(self._cache, "archives")
        os.makedirs(os.path.join(archives, "partial"), exist_ok=True)
        command_output(["mount", "--bind", archives, self.inside("var/cache/apt/archives")])
        command_output(["mount", "-t", "proc", "proc", self.inside("proc")])
        command_output(["mount", "-t", "tmpfs", "-o", "mode=755", "dev", self.inside("dev")])
        for device in ("null", "zero", "full", "random", "urandom", "tty"):
            self.write(f"dev/{device}", "")
            command_output(["mount", "--bind", f"/dev/{device}", self.inside(f"dev/{device}")])
        for folder in ("dev/shm", "dev/pts", "tmp"):
            os.makedirs(self.inside(folder), exist_ok=True)
            command_output(["mount", "-t", "devpts" if folder == "dev/pts" else "tmpfs", "-o",
                            "newinstance" if folder == "dev/pts" else "mode=1777", "tree", self.inside(folder)])

    def inside(self, path):
        return os.path.join(self.path, path.lstrip("/"))

    def write(self, path, text, mode=0o644):
        with open(self.inside(path), "w", encoding="utf-8") as file:
            file.write(text)
        os.chmod(self.inside(path), mode)

    def read(self, path):
        with open(self.inside(path), encoding="utf-8") as file:
            return file.read()

    def run(self, *arguments, timeout=PATIENCE):
        """As root."""
        return command_output(["/usr/sbin/chroot", self.path, *arguments], timeout, env=self._environment)

    def apt(self, *arguments):
        return self.run("apt-get", "--yes", "--no-install-recommends", "--option", f"Acquire::Retries={RETRIES}", *arguments,
                        timeout=DOWNLOAD_PATIENCE)

    def download_dependencies(self, packages):
        """Fetches everything that the packages need. The lists are those of the tarball, and may be old."""
        try:
            self.apt("install", "--download-only", *packages)
        except Failure:
            self.apt("update")
            self.apt("install", "--download-only", *packages)

"""usage: packages_test.py BUILD

Makes the Debian packages of what is in BUILD and has Debian's own checks look at them; installs them into a clean Debian
12 tree, runs what they bring, upgrades, removes and purges them. The tree needs root; without it, it ends with 77 once
the packages are made and checked.
"""
import concurrent.futures
import os
import shutil
import signal
import subprocess
import sys
import tempfile
import time

import clean_tree
import installed_programs
from clean_tree import Failure

NOT_RUN = 77
BUILD = os.path.abspath(sys.argv[1])
PROJECT = os.path.dirname(os.path.dirname(os.path.dirname(os.path.abspath(__file__))))
CACHE = os.path.join(PROJECT, "build", "package-cache")
ALL = ("tevanto-common", "tevanto-headless", "tevanto", "tevanto-phone", "tevanto-relay")
UNIT_LINK = "etc/systemd/system/multi-user.target.wants/tevanto-relay.service"
# Where packages leave traces.
STATE = ("etc", "usr", "var", "opt", "srv", "root")


class Step:
    """Says how long it took."""

    def __init__(self, name):
        self._name = name

    def __enter__(self):
        self._start = time.monotonic()

    def __exit__(self, kind, *unused):
        print(f"{'failed' if kind else 'ok':7} {time.monotonic() - self._start:5.1f} s  {self._name}", flush=True)


def require(truth, what):
    if not truth:
        raise Failure(what)


def make_packages(folder):
    """The same programs under two revisions."""
    for revision in ("1", "2"):
        clean_tree.command_output([os.path.join(PROJECT, "scripts", "package"), "--built", BUILD, "--revision", revision,
                                   "--output", os.path.join(folder, f"revision-{revision}")])


def check_packages(folder):
    revision = os.path.join(folder, "revision-1")
    packages = [os.path.join(revision, name) for name in os.listdir(revision) if name.endswith(".deb")]
    clean_tree.command_output(["lintian", "--allow-root", "--fail-on", "error,warning", *packages])


def packages_in(tree, revision):
    folder = f"/packages/revision-{revision}"
    return [os.path.join(folder, name) for name in sorted(os.listdir(tree.inside(folder))) if name.endswith(".deb")]


def installed(tree):
    """Names, states and versions of our packages."""
    listed = tree.run("dpkg-query", "-W", "-f", "${Package} ${db:Status-Status} ${Version}\\n")
    return {name: (state, version) for name, state, version in
            (line.split(maxsplit=2) for line in listed.splitlines() if line.startswith("tevanto"))}


def all_are(tree, revision):
    found = installed(tree)
    require(set(found) == set(ALL), f"not all packages are there: {found}")
    for name, (state, version) in found.items():
        require(state == "installed" and version.endswith(f"-{revision}"), f"{name} is {state} in version {version}")
    require(not tree.run("dpkg", "--audit").strip(), "dpkg finds packages half installed")
    changed = [line for line in tree.run("dpkg", "--verify", *ALL).splitlines() if " c /etc/" not in line]
    require(not changed, f"installed files differ from those of the packages: {changed}")


def brings_along(tree, package):
    """What would be installed with this package."""
    wanted = [path for path in packages_in(tree, 1) if os.path.basename(path).startswith((f"{package}_", "tevanto-common_"))]
    if package == "tevanto-relay":
        wanted = [path for path in wanted if "relay" in path]
    planned = tree.apt("install", "--simulate", *wanted)
    return {line.split()[1] for line in planned.splitlines() if line.startswith("Inst ")}


def stays_small(tree):
    for package, unwanted in (("tevanto-relay", ("libqt", "libx11", "libxcb", "libav", "tevanto-common", "libsdl")),
                              ("tevanto-headless", ("libqt6", "qml6", "libsdl2")), ("tevanto-phone", ("libqt6", "qml6"))):
        brought = brings_along(tree, package)
        require(package in brought, f"{package} would not be installed: {brought}")
        offenders = {name for name in brought if name.startswith(unwanted)}
        require(not offenders, f"{package} brings along {offenders}")


def traces(tree):
    """Every path with our name in it."""
    found = set()
    for top in STATE:
        for folder, folders, files in os.walk(tree.inside(top)):
            for name in folders + files:
                path = os.path.relpath(os.path.join(folder, name), tree.path)
                if "tevanto" in path.lower():
                    found.add(path)
    return found


def mentions(tree):
    """Files of the system's configuration and of dpkg that name us."""
    run = subprocess.run(["grep", "--recursive", "--files-with-matches", "--ignore-case", "--fixed-strings", "tevanto",
                          tree.inside("etc"), tree.inside("var/lib/dpkg/info"), tree.inside("var/lib/dpkg/status"),
                          tree.inside("var/lib/systemd")], capture_output=True, text=True, check=False)
    return {os.path.relpath(path, tree.path) for path in run.stdout.splitlines()}


def prepare(tree):
    with Step("download what the packages need"):
        tree.download_dependencies(packages_in(tree, 1))
    with Step("a package brings along only what it needs"):
        stays_small(tree)


def installs(tree):
    tree.apt("install", *packages_in(tree, 1))
    all_are(tree, 1)
    require(os.path.islink(tree.inside(UNIT_LINK)), "the relay is not switched on")
    require(not os.path.exists(tree.inside("etc/systemd/user/graphical-session.target.wants/tevanto.service")),
            "the unit without a window is switched on for everybody")


def upgrades(tree):
    settings = tree.read("etc/tevanto/relay.env") + "TEVANTO_RELAY_PORT=18787\n"
    tree.write("etc/tevanto/relay.env", settings, 0o600)
    clean_tree.command_output(["systemctl", f"--root={tree.path}", "disable", "tevanto-relay.service"])
    tree.apt("install", *packages_in(tree, 2))
    all_are(tree, 2)
    require(tree.read("etc/tevanto/relay.env") == settings, "the upgrade changed the administrator's settings")
    require(not os.path.exists(tree.inside(UNIT_LINK)), "the upgrade switched the relay on again")


def removes(tree):
    tree.apt("remove", *ALL)
    kept = traces(tree)
    require("etc/tevanto/relay.env" in kept, "the settings are gone with the package, and not only when it is purged")
    for path in ("usr/bin/tevanto", "usr/lib/tevanto", "usr/share/applications/app.tevanto.Tevanto.desktop"):
        require(path not in kept, f"{path} is still there")


def purges(tree, before):
    tree.apt("purge", *ALL)
    require(not installed(tree), f"dpkg still knows {installed(tree)}")
    left = traces(tree) - before
    require(not left, f"these are left over: {sorted(left)}")
    require(not mentions(tree), f"these still name us: {sorted(mentions(tree))}")


def life_of_the_packages(tree, folder, before):
    """From here on nothing needs a network but the tree's own."""
    programs = installed_programs.InstalledPrograms(tree, folder)
    with Step("install"):
        installs(tree)
    with Step("desktop entry, icons, man pages, units"):
        programs.check_files()
    with programs.desktop():
        with Step("the relay answers"):
            programs.start_relay()
        with Step("a phone pairs with the companion, and moves its pointer"):
            programs.start_companion()
            programs.pair_and_move()
        with Step("from far away: relay and peers"):
            programs.call_from_away()
        with Step("the doctor finds what there is"):
            programs.ask_doctor()
        with Step("upgrade, with everything running"):
            upgrades(tree)
        with Step("what ran goes on with what it has, and hands over; started again, it mirrors"):
            programs.outlives_the_upgrade()
        programs.stop_companion()
        if programs.has_windows():
            with Step("the window opens"):
                programs.show_window()
    with Step("remove"):
        removes(tree)
    with Step("purge"):
        purges(tree, before)


def inside_the_namespaces(folder):
    tree = clean_tree.CleanTree(folder, CACHE)
    packages = os.path.join(folder, "packages")
    with concurrent.futures.ThreadPoolExecutor() as pool:
        with Step("make the packages twice, and the bare tree"):
            making = pool.submit(make_packages, packages)
            tarball = tree.base()
            making.result()
        with Step("lintian has nothing to say; the tree is unpacked"):
            checking = pool.submit(check_packages, packages)
            tree.make(tarball)
            checking.result()
    os.makedirs(tree.inside("packages"))
    clean_tree.command_output(["mount", "--bind", packages, tree.inside("packages")])
    before = traces(tree)
    prepare(tree)
    installed_programs.leave_the_network()
    life_of_the_packages(tree, folder, before)


def without_the_tree(folder):
    packages = os.path.join(folder, "packages")
    with Step("make the packages twice"):
        make_packages(packages)
    with Step("lintian has nothing to say"):
        check_packages(packages)
    print("installing them into a clean system needs root; run this as root")
    return NOT_RUN


def in_namespaces(folder):
    # With the first process of the namespace everything ends that was started in it, and every mount is undone.
    # It does not outlive this process either.
    unshare = ["setpriv", "--pdeathsig", "KILL", "unshare", "--mount", "--pid", "--fork", "--kill-child", "--mount-proc"]
    return subprocess.run([*unshare, sys.executable, __file__, BUILD, "--inside", folder], check=False).returncode


def reported(work, folder):
    try:
        return work(folder) or 0
    except Failure as failure:
        print(f"FAILED: {failure}", flush=True)
        return 1


def main():
    if sys.argv[2:3] == ["--inside"]:
        return reported(inside_the_namespaces, sys.argv[3])
    signal.signal(signal.SIGTERM, lambda *unused: sys.exit(1))
    folder = tempfile.mkdtemp(prefix="package-test-", dir=os.path.join(PROJECT, "build"))
    os.chmod(folder, 0o755)  # for the tree's user, and for that of apt
    try:
        return reported(in_namespaces if os.geteuid() == 0 else without_the_tree, folder)
    finally:
        shutil.rmtree(folder)


if __name__ == "__main__":
    sys.exit(main())

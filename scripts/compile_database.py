"""The compile database of a build folder, and fingerprints by which a check passes over what it has seen clean."""
import functools
import hashlib
import json
import os
import pathlib
import re
import shlex
import subprocess

ROOT = pathlib.Path(__file__).resolve().parent.parent


def entries_of(build):
    return json.loads((build / "compile_commands.json").read_text())


def cache_folder(check):
    """Where the check keeps the fingerprints of what was clean."""
    base = os.environ.get("XDG_CACHE_HOME") or os.path.expanduser("~/.cache")
    folder = pathlib.Path(base) / "tevanto" / check
    folder.mkdir(parents=True, exist_ok=True)
    return folder


def recorded_headers(build):
    """What ninja knows about each object: {object: [file, ...]}, paths as ninja wrote them."""
    listing = subprocess.run(["ninja", "-C", str(build), "-t", "deps"], check=True, text=True, stdout=subprocess.PIPE).stdout
    found, current = {}, None
    for line in listing.splitlines():
        if line.startswith("    "):
            current.append(line.strip())
        elif ": #deps" in line:
            current = found.setdefault(line.split(": #deps")[0], [])
    return found


@functools.lru_cache(maxsize=None)
def fingerprint_of(path):
    """Content for our own files; size and date for those of the system, which are many and seldom change."""
    if path.is_relative_to(ROOT):
        return hashlib.sha256(path.read_bytes()).hexdigest()
    facts = path.stat()
    return f"{facts.st_size}:{facts.st_mtime_ns}"


def portable(text):
    return text.replace(str(ROOT), "@")


def object_of(entry):
    words = shlex.split(entry["command"])
    return words[words.index("-o") + 1]


def fingerprint(entry, files, common):
    """Of a compilation, all files that it reads, and what holds for every compilation."""
    digest = hashlib.sha256(common)
    digest.update(portable(entry["command"]).encode())
    directory = pathlib.Path(entry["directory"])
    for file in sorted(files):
        path = pathlib.Path(os.path.normpath(directory / file))
        digest.update(f"\n{portable(str(path))} {fingerprint_of(path)}".encode())
    return digest.hexdigest()


def sources_of(entry):
    """The sources that an entry of the compile database compiles, relative to the root: itself, or those of a folder."""
    path = pathlib.Path(entry["file"])
    files = [path]
    if path.parent.name == "Unity":
        files = [pathlib.Path(name) for name in re.findall(r'^#include "(.*)"$', path.read_text(encoding="utf-8"), re.M)]
    return [str(file.relative_to(ROOT)) for file in files if file.is_relative_to(ROOT)]

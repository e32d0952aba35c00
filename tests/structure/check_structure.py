#!/usr/bin/env python3
"""Checks that the sources keep to the house: which folder may include which, which headers show a library's types,
and how files begin and are named. Prints each offence as "file:line: what" and exits with 1 when there is one.

usage: check_structure.py <root of the source tree>
"""
import pathlib
import re
import sys

# Folder -> what it may include besides itself. An entry that ends with "*" names the beginning of a file's path.
ALLOWED = {
    "core": [],
    "net": ["core"],
    "remote": ["core", "net", "control", "screen", "p2p"],
    "control": ["core", "remote/RemoteMessage*"],
    "screen": ["core", "net"],
    "p2p": ["core", "net", "remote/RemoteMessage*", "remote/MessageChannel*", "screen"],
    "platform": ["core", "net", "control", "screen", "p2p", "remote/RemoteMessage*"],
    "app": ["core", "net", "remote", "control", "screen", "p2p", "platform", "phone"],
    "phone": ["core", "net", "remote/RemoteMessage*", "remote/MessageChannel*", "screen", "p2p"],
    "relay": ["core", "net"],
}
# The message model must not drag in the server that it stands beside.
NARROWER = {"remote/RemoteMessage": ["core", "remote/RemoteMessage*"]}
# Composition roots put the systems' adapters together.
ROOTS = {"phone/main.cpp": ["platform"], "relay/main.cpp": ["platform"]}
# Headers that wrap a library for the sources beside them and so may name its types.
WRAPPERS = re.compile(r"^(core/EventLoopCore|core/(Defaults|Exact)Json|net/(Asio\w+|BeastWebSocketLink)|relay/Asio\w+|relay/TlsSocket|app/\w+Json|app/ui/.*|platform/.*)\.h$")
# What belongs to the language or the system, not to a library.
C_HEADERS = re.compile(r"^(sys|netinet|arpa|net|linux)/[a-z_]+\.h$|^(unistd|fcntl|poll|signal|errno|termios|pwd|spawn|dlfcn|ifaddrs|netdb|stdint|stddef|stdlib|string|time)\.h$")
INCLUDE = re.compile(r'^\s*#\s*(?:include|import)\s*([<"])([^>"]+)[>"]')
THIS_SYSTEMS = re.compile(r"^\s*#\s*if.*\b(__linux__|__APPLE__|_WIN32)\b")


def permitted(source, target):
    folder = source.split("/")[0]
    rules = next((rules for start, rules in NARROWER.items() if source.startswith(start)), None)
    if rules is None:
        rules = [folder + "/*"] + ALLOWED[folder] + ROOTS.get(source, [])
    return any(target.startswith(rule[:-1]) if rule.endswith("*") else target.split("/")[0] == rule for rule in rules)


def include_offences(source, lines, sources):
    is_header = source.endswith(".h")
    for number, line in enumerate(lines, 1):
        found = INCLUDE.match(line)
        if not found:
            if THIS_SYSTEMS.match(line) and not source.startswith("platform/"):
                yield number, "shared code does not ask which system it is on"
            continue
        kind, target = found.groups()
        if kind == '"':
            if target not in sources:
                yield number, f'"{target}" is not a header under src/'
            elif not permitted(source, target):
                yield number, f'{source.split("/")[0]}/ may not include "{target}"'
        elif is_header and not WRAPPERS.match(source) and not is_of_the_language(target):
            yield number, f"<{target}> shows a library's types to everybody who includes this header"


def is_of_the_language(target):
    return bool(C_HEADERS.match(target)) or not ("/" in target or target.endswith((".h", ".hpp")))


def header_offences(source, text):
    first = next((line for line in text.splitlines() if line.strip()), "")
    if first != "#pragma once":
        yield 1, "a header begins with #pragma once"


def name_offences(source, text):
    """The main type of a header has its name; a header of free functions is named for its topic."""
    stem = pathlib.PurePath(source).stem
    if stem == "main":
        return
    if not re.fullmatch(r"[A-Z][A-Za-z0-9]*", stem):
        yield 1, "files are named like types"
    if not source.endswith(".h"):
        return
    types = re.findall(r"^(?:template\s*<[^\n]*>\s*\n)?(?:class|struct|enum class)\s+(?:\[\[nodiscard\]\]\s*)?(\w+)(?:\s+final)?\s*(?::[^:;]|\{)", text, re.M)
    # A lone type that is named otherwise is a main type under a wrong name, unless functions are what the header is for.
    has_functions = re.search(r"^(?!using|return|class|struct)[A-Za-z_:<>,&*\[\] ]+ [a-z]\w*\([^;{]*\)[^;{]*[;{]", text, re.M)
    if len(types) == 1 and types[0] != stem and not has_functions:
        yield 1, f"holds the type {types[0]} and is not named after it"


def offences(root):
    base = root / "src"
    sources = {str(path.relative_to(base)) for kind in ("*.h", "*.cpp", "*.mm") for path in base.rglob(kind)}
    for source in sorted(sources):
        text = (base / source).read_text(encoding="utf-8")
        if source.split("/")[0] not in ALLOWED:
            yield source, 1, "stands in a folder that the house does not have"
            continue
        found = list(include_offences(source, text.splitlines(), sources))
        if source.endswith(".h"):
            found += header_offences(source, text)
        found += name_offences(source, text)
        for number, what in found:
            yield source, number, what
    for folder in ("tests", "bench", "fuzz"):
        for path in sorted((root / folder).rglob("*.h")):
            for number, what in header_offences(str(path), path.read_text(encoding="utf-8")):
                yield str(path.relative_to(root)), number, what


def main():
    root = pathlib.Path(sys.argv[1])
    count = 0
    for source, number, what in offences(root):
        print(f"{source}:{number}: {what}")
        count += 1
    if not list((root / "src").rglob("*.h")):
        print(f"{root}: no sources to look at")
        count += 1
    sys.exit(1 if count else 0)


if __name__ == "__main__":
    main()

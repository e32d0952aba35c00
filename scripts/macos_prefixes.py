"""Large headers of others, compiled once for all sources that include them: without that, the check of the build for
macOS takes twice as long. A source gets them when it includes something of the same library, directly or not; headers
of the C++ library itself are never given, so that what a source forgot to include of it is missed.
"""
import collections
import pathlib
import re
import subprocess

import macos_sources

INCLUDE = re.compile(r'^\s*#\s*include\s+(?:"([^"]+)"|<([^>]+)>)', re.MULTILINE)
FAMILIES = {"asio": re.compile(r"boost/asio"), "beast": re.compile(r"boost/beast"), "json": re.compile(r"boost/json"),
            "gtest": re.compile(r"g(test|mock)/"), "qt": re.compile(r"Q[A-Z]\w+$")}
FEWEST_SOURCES = 3
DEFINITIONS = ("-DBOOST", "-DQT")  # what changes the meaning of the headers


class Includes:
    """What a source includes of others, directly or by headers of ours."""

    def __init__(self, root):
        self.folders = [root / "src", root]
        self.seen = {}

    def of(self, path):
        if path not in self.seen:
            self.seen[path] = found = set()
            for ours, others in INCLUDE.findall(path.read_text(encoding="utf-8")):
                if others:
                    found.add(others)
                for folder in self.folders:
                    if ours and (folder / ours).is_file():
                        found |= self.of(folder / ours)
                        break
        return self.seen[path]


def families(includes):
    return tuple(name for name, pattern in FAMILIES.items() if any(pattern.match(each) for each in includes))


def of_families(includes, names):
    return {each for each in includes if any(FAMILIES[name].match(each) for name in names)}


def plan(compiled, wanted, root=macos_sources.ROOT):
    """[(sources, headers, arguments)] for each group of C++ sources that has headers in common."""
    includes = Includes(root)
    groups = collections.defaultdict(list)
    for source in wanted:
        key = families(includes.of(source))
        if source.suffix == ".cpp" and key:
            groups[key, tuple(each for each in compiled[source] if each.startswith(DEFINITIONS))].append(source)
    for (names, _), sources in sorted(groups.items()):
        if len(sources) >= FEWEST_SOURCES:
            headers = set().union(*(of_families(includes.of(source), names) for source in sources))
            yield sources, sorted(headers), compiled[sources[0]]


def compile_prefix(folder, number, headers, arguments):
    """The file to give to -include-pch; nothing when it cannot be made, which the sources themselves then explain."""
    text = folder / f"prefix{number}.h"
    made = pathlib.Path(f"{text}.pch")
    text.write_text("".join(f"#include <{header}>\n" for header in headers), encoding="utf-8")
    done = subprocess.run([macos_sources.CLANG, "-x", "c++-header", *arguments, *macos_sources.system(),
                           *macos_sources.WARNINGS, str(text), "-o", str(made)],
                          stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
    return made if done.returncode == 0 else None

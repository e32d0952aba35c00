"""The rules about single files: how they begin, how they are named, and where they stand."""
import collections
import pathlib
import re

from rooms import Offence, folder_of, name_of, stem_of

MOST_FILES = 25
# Folders that may hold more files than that, each with the reason.
LARGE_FOLDERS = {
    "app/ui": "models and the pictures that Qt makes of them; views and systems have folders of their own",
    "platform/linux/webrtc": "one engine, whose callbacks and completions are a type each",
    "relay": "a program of its own, whose sockets and rooms change together",
}
# Headers whose types are not named after them, each with the reason.
OTHER_TYPES = {
    "core/Log.h": "levels, sinks and loggers are used together",
    "platform/macos/away/LKRTCPeerDelegate.h": "Objective-C has no namespaces, so the class bears the product's name",
    "relay/ClientAddress.h": "an address and the proxies that may name it are used together",
}
# Sources without a header of their own name, each with the reason.
OTHER_HEADERS = {
    "relay/PlainRelayConnection.cpp": "compiles the template of AsioRelayConnection.h for plain sockets alone",
    "relay/TlsRelayConnection.cpp": "compiles the template of AsioRelayConnection.h for TLS alone",
    "remote/message/RemoteMessageDecode.cpp": "one direction of RemoteMessageCodec.h",
    "remote/message/RemoteMessageEncode.cpp": "the other direction of RemoteMessageCodec.h",
}
Type = collections.namedtuple("Type", "name line is_class")
SYSTEM_PREFIXES = ("Linux", "Mac")
SYSTEM_FOLDERS = ("linux", "macos")
PROCESSOR_SUFFIXES = ("NoAvx2", "Avx2")
THIS_SYSTEMS = re.compile(r"^\s*#\s*(?:if|elif).*\b(__linux__|__APPLE__|_WIN32)\b")
COMMENT = re.compile(r"//[^\n]*|/\*.*?\*/", re.S)
TYPE = re.compile(r"^(?:template\s*<[^\n]*>\s*)?(?:class|struct|union|enum(?:\s+class)?|@interface)\s+"
                  r"(?:\[\[\w+\]\]\s*)?([\w:]*\w)(?:\s+final)?\s*(?::[^:;]|\{)", re.M)
# What free functions do not excuse: a class has behavior of its own and with it a header.
CLASS = re.compile(r"^(?:template\s*<[^\n]*>\s*)?(?:class|@interface)\b")
ALIAS = re.compile(r"^using\s+(\w+)\s*=", re.M)
FREE_FUNCTION = re.compile(
    r"^(?!\s|using\b|return\b|class\b|struct\b|union\b|enum\b|friend\b|typedef\b|namespace\b)"
    r"(?:template\s*<[^\n]*>\s*)?[\w:<>,&*\[\]\" ]+ (?!k[A-Z])[a-z]\w*\(", re.M)
# Areas of tests/ that mirror no folder of src/.
FREE_TESTS = re.compile(r"(e2e|support|structure|packaging|macos|vectors)/|platform/contracts/")


def offences(tree):
    for source, text in sorted(tree.texts.items()):
        for line, what in file_offences(tree, source, text):
            yield Offence("src/" + source, line, what)
    yield from outside_header_offences(tree)
    yield from large_folder_offences(tree)
    yield from test_place_offences(tree)
    yield from exception_offences(tree)


def exception_offences(tree):
    for exceptions, is_named_well in ((OTHER_TYPES, lambda source: wrongly_named_type(tree.texts[source], source) is None),
                                      (OTHER_HEADERS, lambda source: has_its_header(tree, source))):
        for source in sorted(exceptions):
            if source not in tree.texts:
                yield Offence("src/" + source, 1, "has an exception of its name, and is not there")
            elif is_named_well(source):
                yield Offence("src/" + source, 1, "needs no exception of its name")


def file_offences(tree, source, text):
    if not source.startswith("platform/"):
        for number, line in enumerate(text.splitlines(), 1):
            if THIS_SYSTEMS.match(line):
                yield number, "shared code does not ask which system it is on"
    if stem_of(source) != "main" and not re.fullmatch(r"[A-Z][A-Za-z0-9]*", stem_of(source)):
        yield 1, "files are named like types"
    if source.endswith(".h"):
        yield from guard_offences(text)
        wrong = wrongly_named_type(text, source)
        if wrong and source not in OTHER_TYPES:
            yield wrong.line, f"holds the type {wrong.name} and is not named after it"
    elif source not in OTHER_HEADERS and not has_its_header(tree, source):
        yield 1, "has no header of its name and implements no header of its room for one system or processor"


def guard_offences(text):
    first = next((line for line in text.splitlines() if line.strip()), "")
    if first != "#pragma once":
        yield 1, "a header begins with #pragma once"


def wrongly_named_type(text, source):
    """The type that the header should be named after, or None when its name is right.

    The main type of a header has its name. A header of free functions is named for its topic, and the structs and enums
    that they take stand beside them; classes do not. A type that is defined apart from the class it belongs to counts
    under both names together.
    """
    code = COMMENT.sub(lambda comment: "\n" * comment[0].count("\n"), text)
    types = [Type(match[1].replace("::", ""), code.count("\n", 0, match.start(1)) + 1, bool(CLASS.match(match[0])))
             for match in TYPE.finditer(code)]
    if stem_of(source) in {type_.name for type_ in types} | set(ALIAS.findall(code)):
        return None
    if FREE_FUNCTION.search(code):
        types = [type_ for type_ in types if type_.is_class]
    return types[0] if types else None


def has_its_header(tree, source):
    """A source implements the header of its name, which it includes when the two differ.

    For one system, the source is listed as built there only and may put the system before the name, or it stands in the
    system's folder below the header's room. For one kind of processor, it puts that behind the name.
    """
    folder, stem, name = folder_of(source), stem_of(source), name_of(source)
    keyword = tree.rooms[folder].keyword_of(name) if folder in tree.rooms else None
    if f"{folder}/{stem}.h" in tree.headers or name == "main.cpp" or keyword == "SEPARATE":
        return True
    without_system = {stem.removeprefix(prefix) for prefix in SYSTEM_PREFIXES}
    headers = {f"{folder}/{stem.removesuffix(suffix)}.h" for suffix in PROCESSOR_SUFFIXES}
    if keyword in ("LINUX", "MACOS"):
        headers |= {f"{folder}/{shorter}.h" for shorter in without_system}
    if name_of(folder) in SYSTEM_FOLDERS:
        headers |= {f"{folder_of(folder)}/{shorter}.h" for shorter in without_system}
    return any(include.quoted and include.target in headers & tree.headers for include in tree.includes[source])


def outside_header_offences(tree):
    for folder in ("tests", "bench", "fuzz"):
        for path in sorted((tree.root / folder).rglob("*.h")):
            for line, what in guard_offences(path.read_text(encoding="utf-8")):
                yield Offence(str(path.relative_to(tree.root)), line, what)


def large_folder_offences(tree):
    counts = collections.Counter(path.parent.relative_to(tree.root / "src") for path in (tree.root / "src").rglob("*")
                                 if path.suffix in (".h", ".cpp", ".mm", ".qml"))
    for folder, count in sorted(counts.items()):
        if count > MOST_FILES and str(folder) not in LARGE_FOLDERS:
            yield Offence(f"src/{folder}", 1, f"holds {count} files; more than {MOST_FILES} are several rooms")
    for folder in sorted(LARGE_FOLDERS):
        if counts[pathlib.PurePath(folder)] <= MOST_FILES:
            yield Offence(f"src/{folder}", 1, f"needs no exception for more than {MOST_FILES} files")


def test_place_offences(tree):
    """The test of a unit stands in the folder under tests/ that the unit has under src/, and any test in such a folder.

    The unit is the header with the longest name that begins the test's. A contract is tested beside each of its
    implementations, and a view in QML beside the models.
    """
    folders = collections.defaultdict(set)
    for header in tree.headers:
        folders[stem_of(header)].add(folder_of(header))
    views = {path.stem for path in (tree.root / "src").rglob("*.qml")}
    tests = tree.root / "tests"
    for path in sorted(path for kind in ("*Test.cpp", "*Test.mm") for path in tests.rglob(kind)):
        place, name = path.relative_to(tests).as_posix(), path.stem.removesuffix("Test")
        if FREE_TESTS.match(place):
            continue
        if not (tree.root / "src" / folder_of(place)).is_dir():
            yield Offence(f"tests/{place}", 1, "stands in a folder that src/ does not have")
        unit = None if name.endswith("Contract") or name in views else unit_of(name, folders)
        if unit and folder_of(place) not in folders[unit]:
            expected = " or ".join(f"tests/{folder}" for folder in sorted(folders[unit]))
            yield Offence(f"tests/{place}", 1, f"belongs in {expected}, for its name begins with that of {unit}.h")


def unit_of(name, stems):
    """The longest stem that begins the name and ends where a word of it does, or None."""
    return max((stem for stem in stems if name.startswith(stem) and not name[len(stem):][:1].islower()),
               key=len, default=None)

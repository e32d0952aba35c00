"""Reads the sources below src/ and the tevanto_room calls that group them into rooms.

A room is a folder that holds sources. The call in its CMakeLists.txt is both the linker's and the check's only
statement of what the room consists of and what it may include.
"""
import collections
import pathlib
import re

SOURCE_KEYWORDS = ("SOURCES", "LINUX", "MACOS", "SEPARATE")
USES_KEYWORDS = ("USES", "USES_LINUX", "USES_MACOS")
LIBRARY_KEYWORDS = ("LIBRARIES", "PUBLIC_LIBRARIES", "LIBRARIES_LINUX", "LIBRARIES_MACOS")
KEYWORDS = SOURCE_KEYWORDS + ("PUBLIC_HEADERS",) + USES_KEYWORDS + LIBRARY_KEYWORDS
# Keyword of a source -> endings of the USES and LIBRARIES keywords that hold for it. A header may be meant for one
# system, which its name does not tell, and a separate source belongs to a target that may be built on one only.
SYSTEMS = {"SOURCES": ("",), "LINUX": ("", "_LINUX"), "MACOS": ("", "_MACOS")}
EVERY_SYSTEM = ("", "_LINUX", "_MACOS")

Word = collections.namedtuple("Word", "value line")
Call = collections.namedtuple("Call", "name line words")
Include = collections.namedtuple("Include", "line quoted target")
Offence = collections.namedtuple("Offence", "file line what")

TOKEN = re.compile(r'(?P<comment>#[^\n]*)|"(?P<quoted>(?:[^"\\]|\\.)*)"|(?P<paren>[()])|(?P<bare>[^\s()#"]+)|\s+')
INCLUDE = re.compile(r'^\s*#\s*(?:include|import)\s*([<"])([^>"]+)[>"]')


def calls_of(text):
    """The calls of a CMakeLists.txt in their order."""
    calls, name, depth = [], None, 0
    for match in TOKEN.finditer(text):
        line = text.count("\n", 0, match.start()) + 1
        if match["paren"] == "(":
            depth += 1
            if depth == 1:
                calls.append(Call(name.value if name else "", name.line if name else line, []))
        elif match["paren"] == ")":
            depth = max(depth - 1, 0)
        elif match["quoted"] is not None or match["bare"]:
            name = Word(match["quoted"] if match["quoted"] is not None else match["bare"], line)
            if depth:
                calls[-1].words.append(name)
    return calls


class Room:
    """One folder of sources as its call describes it. `values` holds the words of each keyword."""

    def __init__(self, path, file, call, other_calls):
        self.path = path
        self.file = file
        self.line = call.line
        self.values = {keyword: [] for keyword in KEYWORDS}
        self.stray = []
        self.repeated = []
        keyword = None
        seen = set()
        for word in call.words[1:]:
            if word.value in KEYWORDS:
                keyword = word.value
                if keyword in seen:
                    self.repeated.append(word)
                seen.add(keyword)
            elif keyword is None or re.fullmatch(r"[A-Z][A-Z_]*", word.value):
                self.stray.append(word)
            else:
                self.values[keyword].append(word)
        # Words of the other targets of the same file: they name and link the separate sources.
        self.other_words = {word.value for other in other_calls for word in other.words}

    def words(self, *keywords):
        return [word for keyword in keywords for word in self.values[keyword]]

    def names(self, *keywords):
        return {word.value for word in self.words(*keywords)}

    def keyword_of(self, file_name):
        return next((keyword for keyword in SOURCE_KEYWORDS if file_name in self.names(keyword)), None)

    def systems_of(self, file_name):
        return SYSTEMS.get(self.keyword_of(file_name), EVERY_SYSTEM)

    def uses(self, file_name, path):
        """Tells whether the file may include the public headers of the room `path`."""
        if path in self.names(*("USES" + system for system in self.systems_of(file_name))):
            return True
        return self.keyword_of(file_name) == "SEPARATE" and "tevanto_" + path.replace("/", "_") in self.other_words

    def libraries(self, file_name):
        """The third-party targets that the room itself links for the file."""
        own = self.names("PUBLIC_LIBRARIES", *("LIBRARIES" + system for system in self.systems_of(file_name)))
        return own | self.other_words if self.keyword_of(file_name) == "SEPARATE" else own

    def publishes(self, header):
        public = self.names("PUBLIC_HEADERS")
        return header in public or public == {"*"}


class Tree:
    """The sources below src/, their includes, and the rooms. Paths are relative to src/."""

    def __init__(self, root):
        self.root = pathlib.Path(root)
        base = self.root / "src"
        self.texts = {str(path.relative_to(base)): path.read_text(encoding="utf-8") for path in sources_in(base)}
        self.headers = {source for source in self.texts if source.endswith(".h")}
        self.includes = {source: includes_of(text) for source, text in self.texts.items()}
        self.users = self._read_users()
        self.folders = collections.defaultdict(list)
        for source in sorted(self.texts):
            self.folders[folder_of(source)].append(name_of(source))
        self.rooms = {}
        self.call_offences = []
        for path in sorted(base.rglob("CMakeLists.txt")):
            self._read_room(path, str(path.parent.relative_to(base)))
        for folder in sorted(set(self.folders) - set(self.rooms)):
            if not any(offence.file == cmake_file(folder) for offence in self.call_offences):
                self.call_offences.append(Offence(cmake_file(folder), 1, "holds no tevanto_room for the sources beside it"))

    def _read_room(self, path, folder):
        calls = calls_of(path.read_text(encoding="utf-8"))
        own = [call for call in calls if call.name == "tevanto_room"]
        file = cmake_file(folder)
        for call in own[1:]:
            self.call_offences.append(Offence(file, call.line, "a folder has one tevanto_room"))
        if not own:
            return
        named = own[0].words[0].value if own[0].words else ""
        if named != folder:
            self.call_offences.append(Offence(file, own[0].line, f'the room of this folder is "{folder}", not "{named}"'))
        elif folder not in self.folders:
            self.call_offences.append(Offence(file, own[0].line, "a folder without sources has no tevanto_room"))
        else:
            self.rooms[folder] = Room(folder, file, own[0], [call for call in calls if call not in own])

    def is_wanted_outside_its_room(self, header):
        """Tells whether another room includes the header. Tests, benchmarks and fuzz targets may include any header."""
        return bool(self.users[header] - {folder_of(header)})

    def _read_users(self):
        """Header -> the folders below src/ whose files include it."""
        users = collections.defaultdict(set)
        for source, includes in self.includes.items():
            for include in includes:
                users[include.target].add(folder_of(source))
        return users


def sources_in(folder):
    return sorted(path for kind in ("*.h", "*.cpp", "*.mm") for path in folder.rglob(kind))


def includes_of(text):
    found = ((number, INCLUDE.match(line)) for number, line in enumerate(text.splitlines(), 1))
    return [Include(number, match[1] == '"', match[2]) for number, match in found if match]


def is_in(path, folder):
    return path == folder or path.startswith(folder + "/")


def folder_of(source):
    return str(pathlib.PurePosixPath(source).parent)


def name_of(source):
    return pathlib.PurePosixPath(source).name


def stem_of(source):
    return pathlib.PurePosixPath(source).stem


def cmake_file(folder):
    return str(pathlib.PurePosixPath("src", folder, "CMakeLists.txt"))

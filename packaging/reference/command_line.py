"""Reads the command line of a program from what it prints for --help.

The layout is that of CLI11: names in a column of 30, the description behind it or on the next line.
"""
import dataclasses
import re
import subprocess

COLUMN = 30
HELP_PATIENCE = 60  # seconds; a machine under load


@dataclasses.dataclass
class Argument:
    """An option, or a positional argument, whose only name is what stands for it."""
    names: list
    meaning: str = ""
    kind: str = ""  # TEXT, UINT, ...; empty: takes no value
    check: str = ""  # what narrows the kind: FILE, ADDRESS, INT in [1 - 1000]
    choices: list = dataclasses.field(default_factory=list)
    default: str = ""
    environment: str = ""
    several: bool = False
    required: bool = False

    @property
    def takes_value(self):
        return bool(self.kind)

    @property
    def placeholder(self):
        """What stands for the value: FILE, NUMBER, on|off."""
        if self.choices and len(self.choices) <= 3:
            return "|".join(self.choices)
        if re.fullmatch(r"[A-Z]+", self.check):
            return self.check
        if self.is_path:
            return "FOLDER" if "folder" in self.meaning else "FILE"
        return {"UINT": "NUMBER", "INT": "NUMBER", "FLOAT": "NUMBER"}.get(self.kind, self.kind)

    @property
    def is_path(self):
        return bool(re.search(r"\bA file\b|PEM file|\bfolder\b|\bFILE\b", f"{self.check} {self.meaning}"))

    @property
    def range(self):
        """The smallest and the largest value, as they are printed."""
        found = re.search(r"in \[(\S+) - (\S+)\]", self.check)
        return found.groups() if found else None


@dataclasses.dataclass
class Command:
    path: list  # the program's name, then those of its commands
    description: str = ""
    options: list = dataclasses.field(default_factory=list)
    positionals: list = dataclasses.field(default_factory=list)
    commands: list = dataclasses.field(default_factory=list)
    closing: str = ""

    @property
    def name(self):
        return self.path[-1]

    def walk(self):
        yield self
        for command in self.commands:
            yield from command.walk()

    def own_options(self):
        return [option for option in self.options if "--help" not in option.names]


LEFT = re.compile(
    r"(?P<names>\S+)"
    r"(?: (?P<kind>[A-Z]+)(?::(?P<check>\{[^}]*\}|[A-Z]+(?: in \[[^\]]*\])?))?)?"
    r"(?:=(?P<default>.*?))??"
    r"(?P<several> \.\.\.)?"
    r"(?P<required> REQUIRED)?"
    r"(?: \(Env:(?P<environment>[A-Z_]+)\))?"
    r"(?: (?:Excludes|Needs): .*)?")


def named_in(meaning):
    """The values of "string, array (JSON), or auto"; what is said in several words is no value."""
    first, found, last = meaning.partition(", or ")
    if not found:
        return []
    values = [re.sub(r" \(\w+\)$", "", value) for value in [*first.split(", "), last]]
    if not all(re.fullmatch(r"[a-z]+", value) for value in values[:-1]):
        return []
    return values if re.fullmatch(r"[a-z]+", values[-1]) else values[:-1]


def read_argument(left, meaning):
    found = LEFT.fullmatch(left)
    if not found:
        raise ValueError(f"this line of the help has a shape that is not known: {left!r}")
    check, default = found["check"] or "", found["default"] or ""
    choices = check[1:-1].split(",") if check.startswith("{") else named_in(meaning)
    names = found["names"].split(",")
    return Argument(names, meaning, found["kind"] or "", "" if check.startswith("{") else check, choices,
                    "" if default == "[]" else default, found["environment"] or "", bool(found["several"]),
                    bool(found["required"]))


def entries(lines):
    """Pairs of the left column and the meaning."""
    at = 0
    while at < len(lines):
        line, at = lines[at], at + 1
        if at < len(lines) and lines[at].startswith(" " * COLUMN):
            yield line.strip(), lines[at].strip()
            at += 1
        elif len(line) > COLUMN and line[COLUMN - 2:COLUMN].endswith(" ") and line[:COLUMN].rstrip() + "  " <= line:
            yield line[:COLUMN].strip(), line[COLUMN:].strip()
        else:
            yield line.strip(), ""


def sections(text):
    """The paragraphs under their titles; what has none is under ""."""
    found, title = {"": []}, ""
    for line in text.splitlines():
        if re.fullmatch(r"[A-Z][a-z]+:", line):
            title = line[:-1]
            found[title] = []
        elif title and line and not line.startswith("  "):
            title = ""
            found[""].append("\n" + line)
        elif line or not title:
            found[title].append(line)
    return found


def help_of(program, path):
    run = subprocess.run([program, *path, "--help"], capture_output=True, text=True, check=True, stdin=subprocess.DEVNULL,
                         timeout=HELP_PATIENCE)
    return run.stdout


def read_command(program, path):
    found = sections(help_of(program, path[1:]))
    free = "\n".join(found[""])
    description, _, rest = free.partition("Usage: ")
    command = Command(path, description.strip(), closing=rest.partition("\n")[2].strip())
    command.options = [read_argument(*entry) for entry in entries(found.get("Options", []))]
    command.positionals = [read_argument(*entry) for entry in entries(found.get("Positionals", []))]
    for name, _ in entries(found.get("Subcommands", [])):
        command.commands.append(read_command(program, path + [name]))
    unknown = set(found) - {"", "Options", "Positionals", "Subcommands"}
    if unknown:
        raise ValueError(f"the help of {' '.join(path)} has sections that are not known: {unknown}")
    return command


def read_program(program):
    return read_command(program, [program.rsplit("/", 1)[-1]])


def version_of(program):
    run = subprocess.run([program, "--version"], capture_output=True, text=True, check=True, timeout=HELP_PATIENCE)
    return run.stdout.strip()

"""The programs under test, and what their help says, read without the code that the man pages are made with."""
import re
import subprocess
import sys

PATIENCE = 60  # seconds for a short command; a machine under load


def run(arguments, **options):
    # No settings of whoever runs the tests: the relay's options also come from the environment.
    return subprocess.run(arguments, capture_output=True, text=True, check=True, stdin=subprocess.DEVNULL,
                          timeout=PATIENCE, **options).stdout


def help_of(program, command=()):
    return run([program, *command, "--help"])


def commands_of(program, command=()):
    """Every command below, as lists of words; the program itself is the empty one."""
    found = [list(command)]
    _, _, listed = help_of(program, command).partition("Subcommands:\n")
    for line in listed.splitlines():
        if not line.startswith("  "):
            break
        if line[2] != " ":
            found += commands_of(program, [*command, line.split()[0]])
    return found


def options_of(program, command=()):
    """The options' names as the help lists them, at the beginnings of its lines."""
    names = set()
    for line in help_of(program, command).splitlines():
        found = re.match(r"  (-\S+)", line)
        if found:
            names.update(found[1].split(","))
    if "--help" not in names:
        sys.exit(f"the help of {program} {' '.join(command)} lists no options")
    return names

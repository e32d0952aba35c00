"""usage: completions_test.py SHELL FOLDER PROGRAM...

The completions in FOLDER complete the options and commands of the programs, and the values that are known.
"""
import os
import subprocess
import sys
import tempfile
import unittest

import programs
import shells

SHELL, FOLDER, *PROGRAMS = sys.argv[1:2] + [os.path.abspath(path) for path in sys.argv[2:]]
FILES = {"bash": "{}.bash", "zsh": "_{}", "fish": "{}.fish"}


def named(name):
    return next(program for program in PROGRAMS if os.path.basename(program) == name)


class Fish:
    """fish tells what it would offer, without a terminal."""

    def __init__(self, completion, environment):
        self._completion = completion
        self._folder = tempfile.TemporaryDirectory(prefix="tevanto-shell-")
        self._environment = {"HOME": self._folder.name, **environment}

    def complete(self, line):
        script = f"source {self._completion}; complete -C (string unescape -- $argv[1])"
        offered = programs.run(["fish", "--no-config", "-c", script, line], env=self._environment).splitlines()
        words = [word.split("\t")[0] for word in offered]
        before, _, typed = line.rpartition(" ")
        if not words:
            return line
        return f"{before} {os.path.commonprefix(words)}" + (" " if len(words) == 1 else "")

    def __enter__(self):
        return self

    def __exit__(self, *unused):
        self._folder.cleanup()


def shell_for(program):
    completion = os.path.join(FOLDER, FILES[SHELL].format(os.path.basename(program)))
    environment = {"PATH": f"{os.path.dirname(program)}:{os.environ['PATH']}", "LC_ALL": "C.UTF-8",
                   "XDG_CONFIG_HOME": SETTINGS.name}
    return Fish(completion, environment) if SHELL == "fish" else shells.Terminal(SHELL, completion, environment)


SETTINGS = tempfile.TemporaryDirectory(prefix="tevanto-settings-")


def enough_of(name, names):
    """As much of the name as tells it from the others: all of it when it is the beginning of another one."""
    for length in range(1, len(name)):
        if sum(other.startswith(name[:length]) for other in names) == 1:
            return name[:length]
    return name


class Completions(unittest.TestCase):
    def expect(self, shell, line, expected):
        self.assertEqual(shell.complete(line).rstrip(), expected, f"after {line!r}")

    def test_every_command(self):
        for program in PROGRAMS:
            with shell_for(program) as shell:
                commands = programs.commands_of(program)
                for *path, name in commands[1:]:
                    names = [other[-1] for other in commands[1:] if other[:-1] == path]
                    start = " ".join([os.path.basename(program), *path])
                    self.expect(shell, f"{start} {enough_of(name, names)}", f"{start} {name}")

    def test_every_option(self):
        for program in PROGRAMS:
            own = programs.options_of(program)
            with shell_for(program) as shell:
                for command in programs.commands_of(program):
                    start = " ".join([os.path.basename(program), *command])
                    options = programs.options_of(program, command)
                    for option in options:
                        # A single letter is complete as it is, and the help is offered once, for the program.
                        if option.startswith("--") and (option != "--help" or not command):
                            self.expect(shell, f"{start} {enough_of(option, options | own)}", f"{start} {option}")

    def test_nothing_is_made_up(self):
        for program in PROGRAMS:
            with shell_for(program) as shell:
                line = f"{os.path.basename(program)} --no-such-opt"
                self.expect(shell, line, line)

    def test_values_that_the_help_names(self):
        with shell_for(named("tevanto-phone")) as shell:
            self.expect(shell, "tevanto-phone gesture missionC", "tevanto-phone gesture missionControl")
            self.expect(shell, "tevanto-phone key ret", "tevanto-phone key return")
            self.expect(shell, "tevanto-phone --host 192.0.2.1 keep-awake of", "tevanto-phone --host 192.0.2.1 keep-awake off")
            self.expect(shell, "tevanto-phone volume 40 --jso", "tevanto-phone volume 40 --json")
        with shell_for(named("tevanto")) as shell:
            self.expect(shell, "tevanto keep-awake of", "tevanto keep-awake off")
            self.expect(shell, "tevanto defaults set --type arr", "tevanto defaults set --type array")

    def test_settings_that_are_stored(self):
        tevanto = named("tevanto")
        environment = {**os.environ, "XDG_CONFIG_HOME": SETTINGS.name}
        programs.run([tevanto, "defaults", "set", "example.relay.name", "here"], env=environment)
        programs.run([tevanto, "defaults", "set", "$(touch${IFS}spoilt)", "x"], env=environment, cwd=SETTINGS.name)
        with shell_for(tevanto) as shell:
            self.expect(shell, "tevanto defaults get example.r", "tevanto defaults get example.relay.name")
            self.expect(shell, "tevanto defaults remove exa", "tevanto defaults remove example.relay.name")
            self.expect(shell, "tevanto defaults set --type string exa", "tevanto defaults set --type string example.relay.name")
        self.assertFalse(os.path.exists("spoilt"), "a setting's name was carried out")

    def test_files(self):
        with tempfile.TemporaryDirectory(prefix="tevanto-files-") as folder:
            file = os.path.join(folder, "certificate.pem")
            with open(file, "w", encoding="utf-8"):
                pass
            with shell_for(named("tevanto-relay")) as shell:
                line = f"tevanto-relay --certificate {file}"
                self.expect(shell, line[:-8], line)


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1], verbosity=2)

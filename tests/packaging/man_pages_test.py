"""usage: man_pages_test.py FOLDER PROGRAM...

The man pages in FOLDER say what the programs' help says, and read without complaints.
"""
import os
import subprocess
import sys
import unittest

import programs

FOLDER, *PROGRAMS = sys.argv[1:]


def page_of(program):
    return os.path.join(FOLDER, os.path.basename(program) + ".1.gz")


def rendered(program):
    # One long line for each paragraph, so that nothing is hyphenated or broken.
    environment = {**os.environ, "MANWIDTH": "2000", "LC_ALL": "C.UTF-8", "MAN_KEEP_FORMATTING": "", "MANPAGER": "cat"}
    return programs.run(["man", "--no-hyphenation", "-l", page_of(program)], env=environment)


def section(text, title):
    """What stands under a title, to the next line that begins in the same column."""
    lines = text.splitlines()
    found = []
    for line in lines[lines.index(title) + 1:]:
        indent = len(line) - len(line.lstrip())
        if line.strip() and indent <= len(title) - len(title.lstrip()):
            break
        found.append(line)
    return "\n".join(found)


def entries(text):
    """The options that have a line of their own."""
    lines = [line.strip() for line in text.splitlines()]
    return {word.rstrip(",") for line in lines if line.startswith("-") for word in line.split() if word.startswith("-")}


class ManPages(unittest.TestCase):
    def test_every_option_of_the_help_is_there(self):
        for program in PROGRAMS:
            text = rendered(program)
            with self.subTest(program=program):
                missing = programs.options_of(program) - entries(section(text, "OPTIONS"))
                self.assertFalse(missing)

    def test_every_command_is_there_with_its_own_options(self):
        for program in PROGRAMS:
            text = rendered(program)
            for command in programs.commands_of(program):
                if not command or len(programs.commands_of(program, command)) > 1:
                    continue
                with self.subTest(program=program, command=command):
                    start = "   " + " ".join([os.path.basename(program), *command])
                    title = next(line for line in text.splitlines() if line == start or line.startswith(start + " "))
                    missing = programs.options_of(program, command) - {"-h", "--help"} - entries(section(text, title))
                    self.assertFalse(missing)

    def test_every_variable_of_the_help_is_there(self):
        relay = next(program for program in PROGRAMS if program.endswith("tevanto-relay"))
        variables = {part.split(")")[0] for part in programs.help_of(relay).split("(Env:")[1:]}
        self.assertGreater(len(variables), 10)
        text = rendered(relay)
        self.assertFalse({variable for variable in variables if variable not in text})

    def test_the_exit_statuses_are_those_of_the_help(self):
        for program in PROGRAMS:
            with self.subTest(program=program):
                line = next(line for line in programs.help_of(program).splitlines() if line.startswith("Exit status: "))
                said = section(rendered(program), "EXIT STATUS").split()
                self.assertEqual(said, line.removeprefix("Exit status: ").rstrip(".").replace(",", "").split())

    def test_the_formatter_has_nothing_to_complain_about(self):
        for program in PROGRAMS:
            with self.subTest(program=program):
                run = subprocess.run(["man", "--warnings", "-E", "UTF-8", "-l", "-Tutf8", "-Z", page_of(program)],
                                     stdout=subprocess.DEVNULL, stderr=subprocess.PIPE, text=True, check=True,
                                     env={**os.environ, "LC_ALL": "C.UTF-8"}, timeout=programs.PATIENCE)
                self.assertEqual(run.stderr, "")


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1], verbosity=2)

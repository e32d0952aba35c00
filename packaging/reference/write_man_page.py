#!/usr/bin/env python3
"""usage: write_man_page.py PROGRAM SECTIONS DATE OUT.gz

Writes the man page of a program: what it prints for --help, and around it what SECTIONS says in the macros of man(7):
the text of the description first, then whole sections.
"""
import gzip
import re
import sys

import command_line

HELP = "Every command takes \\fB\\-h\\fR and \\fB\\-\\-help\\fR, which print what is said here about it."


def escaped(text):
    text = text.replace("\\", "\\e").replace("-", "\\-").replace("'", "\\(aq").replace("`", "\\(ga")
    return re.sub(r"(?m)^\.", r"\\&.", text)


def signature(argument):
    """--host ADDRESS, as it is typed."""
    names = [f"\\fB{escaped(name)}\\fR" for name in argument.names]
    if not argument.names[0].startswith("-"):
        return " ".join(f"\\fI{escaped(name)}\\fR" for name in argument.names)
    value = f" \\fI{escaped(argument.placeholder)}\\fR" if argument.takes_value else ""
    return ", ".join(names) + value


def remarks(argument):
    said = []
    if argument.choices and not all(choice in argument.meaning for choice in argument.choices):
        said.append("One of " + ", ".join(argument.choices) + ".")
    if argument.range:
        said.append("From {} to {}.".format(*argument.range))
    if argument.several:
        said.append("May be given several times, or with commas between.")
    if argument.default:
        said.append(f"Default: {argument.default}.")
    if argument.environment:
        said.append(f"In the environment: {argument.environment}.")
    return " ".join(said)


def entry(argument):
    meaning = argument.meaning + "." if argument.meaning else ""
    return [".TP", signature(argument), escaped(f"{meaning} {remarks(argument)}".strip()) or "\\&"]


def synopsis(command):
    parts = [f"\\fB{escaped(' '.join(command.path))}\\fR"]
    if command.own_options():
        parts.append("[\\fIoptions\\fR]")
    parts += [f"\\fI{escaped(positional.names[0])}\\fR" for positional in command.positionals]
    return " ".join(parts)


def runnable(program):
    """The program itself, and the commands that have none below them."""
    return [command for command in program.walk() if command is program or not command.commands]


def command_section(command):
    lines = [".SS " + synopsis(command), escaped(command.description) + "."]
    for argument in [*command.positionals, *command.own_options()]:
        lines += entry(argument)
    return lines


def exit_statuses(closing):
    found = re.search(r"(?m)^Exit status: (.*)\.$", closing)
    lines = []
    for status in found[1].split(", ") if found else []:
        number, _, meaning = status.partition(" ")
        lines += [".TP", f"\\fB{number}\\fR", escaped(meaning)]
    return lines


def closing_words(closing):
    words = re.sub(r"(?m)^Exit status: .*$", "", closing).strip()
    return [line if line else ".PP" for line in escaped(words).splitlines()]


def man_page(program, sections, date, version):
    title = program.name.upper()
    own_text, separator, further = sections.partition(".SH ")
    lines = [f'.TH {escaped(title)} 1 {date} "{escaped(version)}" "User Commands"', ".SH NAME",
             f"{escaped(program.name)} \\- {escaped(program.description[0].lower() + program.description[1:].rstrip('.'))}",
             ".SH SYNOPSIS"]
    for command in runnable(program):
        lines += [synopsis(command), ".br"]
    lines += [".SH DESCRIPTION", own_text.strip(), ".PP", *closing_words(program.closing), ".SH OPTIONS"]
    for option in program.options:
        lines += entry(option)
    if program.commands:
        lines += [".SH COMMANDS", HELP]
        for command in runnable(program)[1:]:
            lines += command_section(command)
    if exit_statuses(program.closing):
        lines += [".SH EXIT STATUS", *exit_statuses(program.closing)]
    return "\n".join(lines) + "\n" + separator + further


def main():
    path, sections, date, out = sys.argv[1:]
    with open(sections, encoding="utf-8") as file:
        page = man_page(command_line.read_program(path), file.read(), date, command_line.version_of(path))
    with open(out, "wb") as file:
        # No time in it: the same source gives the same file.
        file.write(gzip.compress(page.encode(), 9, mtime=0))


if __name__ == "__main__":
    main()

#!/usr/bin/env python3
"""usage: write_completions.py PROGRAM FOLDER

Writes what completes the command line of a program in bash, zsh and fish: PROGRAM.bash, _PROGRAM and PROGRAM.fish.
"""
import os
import sys

import bash
import command_line
import fish
import zsh


def main():
    path, folder = sys.argv[1:]
    program = command_line.read_program(path)
    for name, shell in ((f"{program.name}.bash", bash), (f"_{program.name}", zsh), (f"{program.name}.fish", fish)):
        with open(os.path.join(folder, name), "w", encoding="utf-8") as file:
            file.write(shell.completion(program))


if __name__ == "__main__":
    main()

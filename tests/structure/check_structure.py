#!/usr/bin/env python3
"""Checks that the sources keep to their layout: what each room consists of and may include, which libraries it links,
and how files are named and placed. Prints each offence as "file:line: what" and exits with 1 when there is one.

usage: check_structure.py <root of the source tree> [--markdown]

--markdown prints the table of what each room may include, which docs/architecture.md shows between the markers
<!-- rooms --> and <!-- /rooms -->, and checks nothing.
"""
import pathlib
import re
import sys

import file_rules
import libraries
import room_rules
from rooms import Offence, Tree

PAGE = "docs/architecture.md"
MARKED = re.compile(r"<!-- rooms -->(.*?)<!-- /rooms -->", re.S)


def page_offences(tree):
    page = tree.root / PAGE
    text = page.read_text(encoding="utf-8") if page.exists() else ""
    marked = MARKED.search(text)
    if marked and marked[1].strip() != room_rules.markdown(tree).strip():
        yield Offence(PAGE, text.count("\n", 0, marked.start()) + 1,
                      "the table of rooms is not what check_structure.py --markdown prints")
    elif not marked and ("<!-- rooms -->" in text or "<!-- /rooms -->" in text):
        yield Offence(PAGE, 1, "the table of rooms lacks one of its two markers")


def offences(root):
    tree = Tree(root)
    if not tree.headers:
        yield Offence(str(root), 1, "holds no sources to look at")
    for rules in (room_rules, libraries, file_rules):
        yield from rules.offences(tree)
    yield from page_offences(tree)


def main():
    if len(sys.argv) < 2 or sys.argv[2:] not in ([], ["--markdown"]):
        sys.exit(__doc__)
    root = pathlib.Path(sys.argv[1])
    if sys.argv[2:]:
        print(room_rules.markdown(Tree(root)), end="")
        return
    found = sorted(set(offences(root)))
    for file, line, what in found:
        print(f"{file}:{line}: {what}")
    sys.exit(1 if found else 0)


if __name__ == "__main__":
    main()

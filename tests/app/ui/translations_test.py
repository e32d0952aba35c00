"""usage: translations_test.py PROJECT

The texts for translators are those of the sources, and what the services say is among them.
"""
import os
import re
import subprocess
import sys
import tempfile
import xml.etree.ElementTree as ElementTree

PROJECT = sys.argv[1]
TEXTS = os.path.join(PROJECT, "src", "app", "ui", "translations", "tevanto.ts")
SERVICES = ("remote", "screen", "control")
# Where a service says something that a person reads: at once, by a name, with a number in the middle or at the end.
SAID = (r'statusText\.set\("([^"]+)"\)', r'reportError\("([^"]+)"\)', r'withCode\("([^"]+)"',
        r'statusText\.set\("([^"]+)" \+ std::to_string\(', r'inline constexpr auto\* k\w+ = "([^"]+)";')


def messages(path):
    """(context, text), in their order."""
    return [(context.findtext("name"), message.findtext("source"))
            for context in ElementTree.parse(path).iter("context") for message in context.iter("message")]


def fresh():
    with tempfile.TemporaryDirectory() as folder:
        path = os.path.join(folder, "fresh.ts")
        subprocess.run([os.path.join(PROJECT, "scripts", "update-translations"), path], check=True, stderr=subprocess.DEVNULL)
        return messages(path)


def said_by_the_services():
    for service in SERVICES:
        for folder, _, files in os.walk(os.path.join(PROJECT, "src", service)):
            for name in files:
                if service == "remote" and name.endswith(".h") and name != "ServerStatus.h":
                    continue
                if service != "remote" and not name.endswith(".cpp"):
                    continue
                with open(os.path.join(folder, name), encoding="utf-8") as file:
                    source = file.read()
                for pattern in SAID:
                    yield from re.findall(pattern, source)


def main():
    written, now = messages(TEXTS), fresh()
    if written != now:
        sys.exit(f"run scripts/update-translations: {sorted(set(now) ^ set(written))} differ")
    statuses = [text for context, text in now if context == "Status"]
    said = set(said_by_the_services())
    missing = [text for text in said if not any(status == text or status.startswith(text + "%1") or
                                                status.startswith(text + " (%1") for status in statuses)]
    if missing or len(said) < 20:
        sys.exit(f"the services say {sorted(said)}; translators never see {missing}")


if __name__ == "__main__":
    main()

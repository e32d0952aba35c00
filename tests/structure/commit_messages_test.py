#!/usr/bin/env python3
"""Plants good and bad commit messages, and expects the hook and the check over the history to tell them apart."""
import os
import pathlib
import runpy
import subprocess
import sys
import tempfile
import unittest

SCRIPTS = pathlib.Path(__file__).resolve().parents[2] / "scripts"
HOOK = SCRIPTS / "hooks" / "commit-msg"
CHECK = SCRIPTS / "check-commits"
BASE = runpy.run_path(str(CHECK))["BASE"]

WHY = "\n\nIt is measured below.\n"
GOOD = [
    "screen: hold key frames back on a full route" + WHY,
    "core/queue: add QueueBound\n\nIt takes the place of four helpers.\n",
    "docs, build: name the rooms" + WHY,
    "platform/linux/x11, tests/platform/linux/x11: move the pointer\n\nWhy.\n\nFigures.",
    "relay: " + "x" * 65 + WHY,
    "Merge branch 'h-checks'",
    'Revert "screen: hold key frames back on a full route, in a subject that is longer than any other may be"' + WHY,
]
TO_BE_SQUASHED = ["fixup! screen: hold key frames back", "squash! Anything", "amend! relay: count rooms" + WHY]
BAD = [
    ("Say how the wait was measured" + WHY, "area: imperative summary"),
    ("screen hold key frames back" + WHY, "area: imperative summary"),
    ("Screen: hold key frames back" + WHY, "area: imperative summary"),
    ("screen:hold key frames back" + WHY, "area: imperative summary"),
    ("screen:  hold key frames back" + WHY, "area: imperative summary"),
    ("screen: " + WHY, "area: imperative summary"),
    ("screen and relay: hold key frames back" + WHY, "area: imperative summary"),
    ("screen,relay: hold key frames back" + WHY, "area: imperative summary"),
    ("/screen: hold key frames back" + WHY, "area: imperative summary"),
    ("relay: " + "x" * 66 + WHY, "73 characters; 72 are the most"),
    ("relay: count rooms\nand why", "second line is not blank"),
    ("Merged branch 'h-checks'" + WHY, "area: imperative summary"),
    ("Revert the pointer" + WHY, "area: imperative summary"),
    ("fixup screen: hold key frames back" + WHY, "area: imperative summary"),
    ("relay: count rooms", "message has no body"),
    ("relay: count rooms\n\n  \n", "message has no body"),
    ('Revert "relay: count rooms"', "message has no body"),
]


class CommitMessages(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = folder.name
        self.environment = {**{name: value for name, value in os.environ.items() if not name.startswith("GIT_")},
                            "GIT_CONFIG_GLOBAL": os.devnull, "GIT_CONFIG_NOSYSTEM": "1"}
        for person in ("AUTHOR", "COMMITTER"):
            self.environment |= {f"GIT_{person}_NAME": "A", f"GIT_{person}_EMAIL": "a@example.org"}

    def run_in_folder(self, *command, **options):
        return subprocess.run(command, cwd=self.folder, env=self.environment, stdout=subprocess.PIPE,
                              stderr=subprocess.STDOUT, text=True, **options)

    def git(self, *arguments):
        ended = self.run_in_folder("git", *arguments)
        self.assertEqual(ended.returncode, 0, ended.stdout)
        return ended.stdout.strip()

    def commit(self, message, *options):
        self.git("commit", "--quiet", "--allow-empty", "-m", message, *options)
        return self.git("rev-parse", "--short", "HEAD")

    def hook(self, message):
        path = pathlib.Path(self.folder, "message")
        path.write_text(message, encoding="utf-8")
        return self.run_in_folder(sys.executable, HOOK, path)

    def test_the_hook_takes_good_messages(self):
        for message in GOOD + TO_BE_SQUASHED:
            ended = self.hook(message)
            self.assertEqual((ended.returncode, ended.stdout), (0, ""), message)

    def test_the_hook_refuses_bad_messages_and_says_why(self):
        for message, says in BAD:
            ended = self.hook(message)
            self.assertEqual(ended.returncode, 1, message)
            self.assertIn(says, ended.stdout)

    def test_the_hook_looks_at_what_git_keeps_of_the_message(self):
        self.assertEqual(self.hook("# Please enter\n\nrelay: count rooms\n\nWhy.\n# On branch main\n").returncode, 0)
        self.assertEqual(self.hook("relay: count rooms\n\n# Why.\n").returncode, 1)
        diff = "# ------------------------ >8 ------------------------\ndiff --git a/x b/x\n"
        self.assertEqual(self.hook("relay: count rooms\n\nWhy.\n" + diff).returncode, 0)
        self.assertEqual(self.hook("relay: count rooms\n" + diff).returncode, 1)
        self.assertEqual(self.hook("# relay: count rooms\nCount rooms\n\nWhy.\n" + diff).returncode, 1)

    def test_git_runs_the_hook_from_its_folder(self):
        self.git("init", "--quiet")
        self.git("config", "core.hooksPath", str(HOOK.parent))
        self.commit(GOOD[0])
        ended = self.run_in_folder("git", "commit", "--allow-empty", "-m", BAD[0][0])
        self.assertNotEqual(ended.returncode, 0)
        self.assertIn("commit-msg: The subject is not", ended.stdout)

    def test_the_check_names_each_offender_of_a_range(self):
        self.git("init", "--quiet")
        self.commit("Before the range")
        self.git("tag", "start")
        for message in GOOD:
            self.commit(message)
        ended = self.run_in_folder(sys.executable, CHECK, "start..HEAD")
        self.assertEqual((ended.returncode, ended.stdout), (0, ""))
        offenders = [(self.commit(message, "--cleanup=verbatim"), says) for message, says in BAD]
        self.commit(GOOD[0])
        ended = self.run_in_folder(sys.executable, CHECK, "start..HEAD")
        self.assertEqual(ended.returncode, 1)
        lines = ended.stdout.splitlines()
        self.assertEqual([line.split()[0] for line in lines[0::2]], [name for name, _ in reversed(offenders)])
        for line, (_, says) in zip(lines[1::2], reversed(offenders)):
            self.assertIn(says, line)

    def test_the_check_names_what_is_not_squashed_yet(self):
        self.git("init", "--quiet")
        self.commit(GOOD[0])
        self.git("tag", "start")
        names = [self.commit(message) for message in TO_BE_SQUASHED]
        ended = self.run_in_folder(sys.executable, CHECK, "start..HEAD")
        self.assertEqual(ended.returncode, 1)
        lines = ended.stdout.splitlines()
        self.assertEqual([line.split()[0] for line in lines[0::2]], names[::-1])
        self.assertEqual(set(lines[1::2]), {"  It is not squashed yet."})

    def test_the_first_commits_of_the_rule_need_no_body(self):
        self.git("init", "--quiet")
        self.commit(GOOD[0])
        self.git("tag", "start")
        self.commit("relay: count rooms")
        before = self.git("rev-parse", "HEAD")
        check = CHECK.read_text(encoding="utf-8").replace(runpy.run_path(str(CHECK))["BODY_BASE"], before)
        folder = pathlib.Path(self.folder, "scripts")
        (folder / "hooks").mkdir(parents=True)
        (folder / "check").write_text(check, encoding="utf-8")
        (folder / "hooks" / HOOK.name).write_text(HOOK.read_text(encoding="utf-8"), encoding="utf-8")
        self.assertEqual(self.run_in_folder(sys.executable, folder / "check", "start..HEAD").returncode, 0)
        late = self.commit("relay: count members")
        ended = self.run_in_folder(sys.executable, folder / "check", "start..HEAD")
        self.assertEqual(ended.returncode, 1)
        self.assertEqual(len(ended.stdout.splitlines()), 2, ended.stdout)
        self.assertTrue(ended.stdout.startswith(late), ended.stdout)

    def test_the_check_passes_over_merges(self):
        self.git("init", "--quiet")
        self.commit("relay: start")
        self.git("tag", "start")
        self.git("checkout", "--quiet", "-b", "side")
        self.commit("relay: go on" + WHY)
        self.git("checkout", "--quiet", "-")
        self.git("merge", "--quiet", "--no-ff", "-m", "Bring both together", "side")
        self.assertEqual(self.run_in_folder(sys.executable, CHECK, "start..HEAD").returncode, 0)

    def test_the_check_fails_without_the_first_commit_of_the_rule(self):
        self.git("init", "--quiet")
        self.commit(GOOD[0])
        ended = self.run_in_folder(sys.executable, CHECK)
        self.assertEqual(ended.returncode, 1)
        self.assertIn(f"The commit {BASE}, after which the rule holds, is not in the history", ended.stdout)

    def test_the_check_fails_for_a_range_that_cannot_be_read(self):
        self.git("init", "--quiet")
        self.commit(GOOD[0])
        ended = self.run_in_folder(sys.executable, CHECK, "nowhere..HEAD")
        self.assertEqual(ended.returncode, 1)
        self.assertIn("The commits of nowhere..HEAD cannot be read", ended.stdout)


if __name__ == "__main__":
    unittest.main()

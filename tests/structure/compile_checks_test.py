#!/usr/bin/env python3
"""Plants offences in sources that are compiled together, and expects scripts/check-tidy and scripts/check-includes to see
them."""
import json
import os
import pathlib
import shutil
import subprocess
import sys
import tempfile
import unittest

ROOT = pathlib.Path(__file__).resolve().parents[2]
TOGETHER = "build/core.dir/Unity/unity_0_cxx.cxx"
OBJECT = f"{TOGETHER}.o"
FIRST = "#include <vector>\n\nint sizeOf(const std::vector<int>& values) { return static_cast<int>(values.size()); }\n"
SECOND = "int answer() { return 42; }\n"


class CompileChecks(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.root = pathlib.Path(folder.name).resolve()
        for name in ("check-tidy", "check-includes", "compile_database.py"):
            (self.root / "scripts").mkdir(exist_ok=True)
            shutil.copy(ROOT / "scripts" / name, self.root / "scripts" / name)
        shutil.copy(ROOT / ".clang-tidy", self.root)
        self.write("src/First.cpp", FIRST)
        self.write("src/Second.cpp", SECOND)
        sources = [str(self.root / "src" / name) for name in ("First.cpp", "Second.cpp")]
        self.write(TOGETHER, "".join(f'#include "{source}"\n' for source in sources))
        source = str(self.root / TOGETHER)
        command = f"c++ -std=c++20 -o {OBJECT.removeprefix('build/')} -c {source}"
        self.write("build/compile_commands.json", json.dumps(
            [{"directory": str(self.root / "build"), "command": command, "file": source}]))
        self.write("build/build.ninja", "rule cxx\n"
                   f"  command = {command} -MD -MF $out.d\n  depfile = $out.d\n  deps = gcc\n"
                   f"build {OBJECT.removeprefix('build/')}: cxx {source}\n")

    def write(self, name, text):
        path = self.root / name
        path.parent.mkdir(parents=True, exist_ok=True)
        path.write_text(text, encoding="utf-8")

    def build(self):
        subprocess.run(["ninja", "-C", str(self.root / "build")], check=True, stdout=subprocess.DEVNULL)

    def run_check(self, name, *parts):
        environment = {**os.environ, "XDG_CACHE_HOME": str(self.root / "cache"), "PYTHONDONTWRITEBYTECODE": "1"}
        ended = subprocess.run([sys.executable, self.root / "scripts" / name, self.root / "build", *parts],
                               env=environment, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True)
        return ended.returncode, ended.stdout

    def test_clean_sources_pass_and_are_not_looked_at_again(self):
        self.build()
        for name, sources, looked_at in [("check-tidy", "clang-tidy: 2 sources in 1 compilations", 1),
                                         ("check-includes", "check-includes: 2 sources", 2)]:
            self.assertEqual(self.run_check(name), (0, f"{sources}, {looked_at} looked at, 0 failed\n"))
            self.assertEqual(self.run_check(name), (0, f"{sources}, 0 looked at, 0 failed\n"))

    def test_tidy_sees_an_offence_in_any_source_that_is_compiled_with_others(self):
        for name, sound in (("First.cpp", FIRST), ("Second.cpp", SECOND)):
            with self.subTest(name=name):
                self.write(f"src/{name}", sound + "int* none() { return 0; }\nint Wrong_Name() { return 1; }\n")
                self.build()
                status, output = self.run_check("check-tidy", "src/")
                self.assertEqual(status, 1, output)
                self.assertIn("modernize-use-nullptr", output)
                self.assertIn("readability-identifier-naming", output)
                self.assertIn(f"src/{name}:", output)
                self.assertIn("1 looked at, 1 failed", output)
                self.write(f"src/{name}", sound)

    def test_a_source_that_lives_on_the_includes_of_another_is_seen(self):
        lacking = "std::vector<int> none() { return {}; }\n"
        self.write("src/Second.cpp", lacking)
        self.build()  # Together they compile.
        self.assertEqual(self.run_check("check-tidy")[0], 0)
        status, output = self.run_check("check-includes")
        self.assertEqual(status, 1)
        self.assertTrue(output.startswith("src/Second.cpp:\n"), output)
        self.assertIn("check-includes: 2 sources, 2 looked at, 1 failed", output)
        self.assertEqual(self.run_check("check-includes", "src/First")[0], 0)
        # One that failed is looked at again, and only that one.
        self.assertIn("2 sources, 1 looked at, 1 failed", self.run_check("check-includes")[1])
        self.write("src/Second.cpp", "#include <vector>\n\n" + lacking)
        self.build()
        self.assertEqual(self.run_check("check-includes"), (0, "check-includes: 2 sources, 1 looked at, 0 failed\n"))

    def test_what_was_not_built_is_not_passed_over(self):
        for name in ("check-tidy", "check-includes"):
            status, output = self.run_check(name)
            self.assertEqual(status, 1)
            self.assertIn("not built since it changed", output)


if __name__ == "__main__":
    unittest.main()

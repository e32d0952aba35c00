#!/usr/bin/env python3
"""Plants logs of Ninja and expects scripts/build-report to add up their figures and to refuse what is no log."""
import pathlib
import subprocess
import sys
import tempfile
import unittest

REPORT = pathlib.Path(__file__).resolve().parents[2] / "scripts" / "build-report"
# In nanoseconds since 1970: when a first run of Ninja began, and a second one, 1000 s later.
FIRST_RUN, SECOND_RUN = 1_700_000_000_000_000_000, 1_700_001_000_000_000_000
ENCODE = "src/screen/encode/CMakeFiles/tevanto_screen_encode.dir/Unity/unity_0_cxx.cxx.o"
CLOUD = "tests/p2p/cloud/CMakeFiles/p2p_cloud_tests.dir/Unity/unity_1_cxx.cxx.o"


def entry(run, start, end, output, command=None):
    """Times in milliseconds since the run began."""
    return f"{start}\t{end}\t{run + end * 1_000_000}\t{output}\t{command or output}"


SOUND = [
    entry(FIRST_RUN, 0, 40_000, ENCODE),
    entry(FIRST_RUN, 0, 4000, "src/screen/CMakeFiles/tevanto_screen.dir/ScreenRoute.cpp.o"),
    entry(FIRST_RUN, 3000, 10_000, CLOUD),
    entry(FIRST_RUN, 10_000, 10_500, "bin/p2p_cloud_tests"),
    # One command with two outputs, the second inside the build folder by its whole path.
    entry(FIRST_RUN, 10_500, 12_500, "qml/Tevanto/Card.qml", "c0"),
    entry(FIRST_RUN, 10_500, 12_500, "{folder}/qml/Tevanto/Card.qml", "c0"),
    # Made again in the second run, which is what counts.
    entry(SECOND_RUN, 0, 9000, ENCODE),
]


class BuildReport(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = pathlib.Path(folder.name)

    def plant(self, lines, name="a", header="# ninja log v5"):
        folder = self.folder / name
        folder.mkdir()
        text = "\n".join([header, *lines]) + "\n"
        (folder / ".ninja_log").write_text(text.replace("{folder}", str(folder)))
        return folder

    def run_report(self, *arguments):
        return subprocess.run([REPORT, *arguments], stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True, cwd=self.folder)

    def rows(self, *arguments):
        """The columns of each row that is printed, by its name; and the names in their order."""
        report = self.run_report(*arguments)
        self.assertEqual(report.returncode, 0, report.stderr)
        self.assertEqual(report.stderr, "")
        columns = 2 if "--compare" in arguments else 1
        cells = [line.split(None, columns) for line in report.stdout.splitlines() if line.startswith(" ")]
        return {row[-1]: row[:-1] for row in cells}, [row[-1] for row in cells]

    def refused(self, folder, *says):
        report = self.run_report(folder)
        self.assertEqual((report.returncode, report.stdout), (1, ""))
        for part in (str(folder), *says):
            self.assertIn(part, report.stderr)
        self.assertNotIn("Traceback", report.stderr)

    def test_figures_of_a_planted_log(self):
        seconds, names = self.rows(self.plant(SOUND))
        # Busy from 0 to 12.5 s of the first run, and for 9 s of the second.
        self.assertEqual(seconds["wall time, s"], ["21.5"])
        self.assertEqual(seconds["sum of all commands, s"], ["22.5"])
        self.assertEqual(seconds["commands"], ["5"])
        self.assertEqual(names[3:], ["src/screen", "tests/p2p", "qml/Tevanto", "bin", "src/screen/encode",
                                     "tests/p2p/cloud (p2p_cloud_tests), part 2", "src/screen/ScreenRoute.cpp",
                                     "qml/Tevanto/Card.qml", "bin/p2p_cloud_tests"])
        self.assertEqual([seconds[name] for name in names[3:]],
                         [["13.0"], ["7.0"], ["2.0"], ["0.5"], ["9.0"], ["7.0"], ["4.0"], ["2.0"], ["0.5"]])

    def test_commands_at_the_same_time_are_one_stretch_of_wall_time(self):
        seconds, _ = self.rows(self.plant([entry(FIRST_RUN, 1000, 5000, "a"), entry(FIRST_RUN, 2000, 3000, "b"),
                                           entry(FIRST_RUN, 4000, 7000, "c"), entry(FIRST_RUN, 9000, 10_000, "d")]))
        self.assertEqual((seconds["wall time, s"], seconds["sum of all commands, s"]), (["7.0"], ["9.0"]))

    def test_an_output_without_a_time_of_its_own_counts_in_the_sum_alone(self):
        seconds, _ = self.rows(self.plant([entry(FIRST_RUN, 0, 3000, "a"), "0\t8000\t0\tgone\tff"]))
        self.assertEqual((seconds["wall time, s"], seconds["sum of all commands, s"]), (["3.0"], ["11.0"]))

    def test_only_the_slowest_outputs_are_listed(self):
        _, names = self.rows(self.plant([entry(FIRST_RUN, 0, 1000 * number, f"bin/t{number:02}") for number in range(1, 26)]))
        self.assertEqual(names[4:], [f"bin/t{number:02}" for number in range(25, 5, -1)])

    def test_two_folders_stand_side_by_side(self):
        other = [entry(FIRST_RUN, 0, 6000, ENCODE), entry(FIRST_RUN, 0, 1000, "bin/tevanto")]
        seconds, names = self.rows(self.plant(SOUND), "--compare", self.plant(other, "b"))
        self.assertEqual(seconds["wall time, s"], ["21.5", "6.0"])
        self.assertEqual(seconds["commands"], ["5", "2"])
        self.assertEqual(seconds["src/screen"], ["13.0", "6.0"])
        self.assertEqual(seconds["tests/p2p"], ["7.0", "-"])
        self.assertEqual(seconds["bin"], ["0.5", "1.0"])
        self.assertEqual(seconds["src/screen/encode"], ["9.0", "6.0"])
        self.assertEqual(seconds["bin/tevanto"], ["-", "1.0"])
        self.assertLess(names.index("bin/tevanto"), names.index("bin/p2p_cloud_tests"))

    def test_a_folder_without_a_log(self):
        self.refused(self.folder, "No such file or directory", "Build first")
        self.refused(self.plant([]), "has no entry yet", "Build first")

    def test_what_is_no_log_that_is_understood(self):
        self.refused(self.plant(SOUND, header="# ninja log v7"), "# ninja log v5")
        self.refused(self.plant([*SOUND, "1\t2\tthree"], "b"), ".ninja_log:9:")

    def test_help(self):
        report = self.run_report("--help")
        self.assertEqual((report.returncode, report.stderr), (0, ""))
        self.assertIn("scripts/build-report [build folder] [--compare OTHER]", report.stdout)


if __name__ == "__main__":
    unittest.main()

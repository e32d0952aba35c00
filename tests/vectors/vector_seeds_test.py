"""Checks the seeds that scripts/vector-seeds makes: for fuzz targets that exist, and no file of fuzz/corpus twice.

usage: vector_seeds_test.py <root of the source tree>
"""
import pathlib
import re
import subprocess
import sys
import tempfile
import unittest

ROOT = pathlib.Path(sys.argv.pop(1))


class VectorSeedsTest(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.folder = tempfile.TemporaryDirectory()
        cls.seeds = pathlib.Path(cls.folder.name) / "seeds"
        subprocess.run([ROOT / "scripts" / "vector-seeds", cls.seeds], check=True)

    @classmethod
    def tearDownClass(cls):
        cls.folder.cleanup()

    def test_each_target_exists_and_has_seeds(self):
        targets = re.findall(r"tevanto_fuzz\((\w+)", (ROOT / "fuzz" / "CMakeLists.txt").read_text(encoding="utf-8"))
        found = sorted(self.seeds.iterdir())
        self.assertTrue(found)
        for folder in found:
            self.assertIn(folder.name, targets)
            self.assertTrue(list(folder.iterdir()), folder.name)

    def test_no_seed_is_there_twice(self):
        for folder in self.seeds.iterdir():
            made = {seed.read_bytes() for seed in folder.iterdir()}
            self.assertEqual(len(made), len(list(folder.iterdir())), folder.name)
            for seed in (ROOT / "fuzz" / "corpus" / folder.name).glob("*"):
                self.assertNotIn(seed.read_bytes(), made, seed)

    def test_frames_on_channels_keep_their_length_and_time(self):
        rows = {seed.name: seed.read_bytes() for seed in (self.seeds / "data_channel_fuzz").iterdir()}
        whole = next(row for name, row in rows.items() if name.endswith("-whole-message"))
        self.assertEqual(whole, b"\x00\x18" + b'{"type":"ack","ok":true}')
        late = next(row for name, row in rows.items() if name.endswith("-2-seconds-are-too-old"))
        self.assertEqual(late, bytes.fromhex("0209000000010000000212" "5209000000010001000261"))


if __name__ == "__main__":
    unittest.main()

"""Checks the seeds that scripts/vector-seeds makes: for fuzz targets that exist, and no file of fuzz/corpus twice.

usage: vector_seeds_test.py <root of the source tree>
"""
import json
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

    def seeds_of(self, target):
        """Name without its number -> seed."""
        return {seed.name[4:]: seed.read_bytes() for seed in (self.seeds / target).iterdir()}

    def test_chunks_keep_their_place_and_time(self):
        seeds = self.seeds_of("incoming_chunks_fuzz")
        # Identifier 1, three chunks of eight bytes.
        self.assertEqual(seeds["chunks-out-of-order"], bytes.fromhex("000112076b" "000102077b" "00010a0722"))
        # 10 s are 200 units, and 20 s more are 255 of a message that is over at once, and 145.
        self.assertEqual(seeds["30-seconds-are-too-old"], bytes.fromhex("000102077b" "c8010a0722" "ff06000000" "910112076b"))
        self.assertNotIn("a-whole-message-between-chunks", seeds, "without the message it is that of chunks in order")
        self.assertEqual(seeds["second-of-two"], bytes.fromhex("0007090722"))
        self.assertNotIn("the-last-of-the-most", seeds)

    def test_screen_packets_keep_their_place_and_time(self):
        seeds = self.seeds_of("screen_assembler_fuzz")
        self.assertEqual(seeds["a-packet-of-seven-bytes"], bytes.fromhex("0007080770"))
        # 1.75 s are 438 units: 255 of what is no packet, and 183.
        self.assertEqual(seeds["just-young-enough"], bytes.fromhex("0001100112" "ff00000000" "b701110161"))
        self.assertNotIn("the-last-of-800", seeds)

    def test_invites_are_payloads_of_the_record_that_is_looked_up(self):
        seed = self.seeds_of("cloud_record_fuzz")["an-invite-without-a-name"]
        self.assertEqual(seed[:1], b"\x00")
        record, = json.loads(seed[1:])["records"]
        self.assertEqual((record["recordName"], record["fields"]["payload"]["value"]), ("n", '{"deviceID":"x"}'))

    def test_frames_on_channels_keep_their_length_and_time(self):
        rows = {seed.name: seed.read_bytes() for seed in (self.seeds / "data_channel_fuzz").iterdir()}
        whole = next(row for name, row in rows.items() if name.endswith("-whole-message"))
        self.assertEqual(whole, b"\x00\x18" + b'{"type":"ack","ok":true}')
        late = next(row for name, row in rows.items() if name.endswith("-2-seconds-are-too-old"))
        self.assertEqual(late, bytes.fromhex("0209000000010000000212" "5209000000010001000261"))


if __name__ == "__main__":
    unittest.main()

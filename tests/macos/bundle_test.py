"""What goes into Tevanto.app, as far as it can be made and read without a Mac.

usage: bundle_test.py <root of the source tree>
"""
import pathlib
import plistlib
import struct
import subprocess
import sys
import tempfile
import unittest

ROOT = pathlib.Path(sys.argv.pop(1))
PACKAGING = ROOT / "packaging" / "macos"


def information():
    text = (PACKAGING / "Info.plist.in").read_text()
    filled = text.replace("@PROJECT_VERSION@", "1.2.3").replace("@CMAKE_OSX_DEPLOYMENT_TARGET@", "13.0")
    assert "@" not in filled, "CMake fills in nothing else"
    return plistlib.loads(filled.encode())


def package(*arguments):
    return subprocess.run([ROOT / "scripts" / "package-macos", *arguments], text=True,
                          stdout=subprocess.PIPE, stderr=subprocess.PIPE)


class Bundle(unittest.TestCase):
    def test_it_is_a_menu_bar_application_for_the_deployment_target(self):
        info = information()
        self.assertIs(info["LSUIElement"], True)
        self.assertEqual(info["LSMinimumSystemVersion"], "13.0")
        self.assertEqual(info["CFBundleIdentifier"], "app.tevanto.Tevanto")
        self.assertEqual((info["CFBundleVersion"], info["CFBundleExecutable"]), ("1.2.3", "Tevanto"))

    def test_it_names_its_services_and_says_why_it_asks(self):
        info = information()
        self.assertEqual(info["NSBonjourServices"], ["_tevanto-remote._tcp", "_tevanto-video._tcp", "_tevanto-doctor._tcp"])
        for key in ("NSLocalNetworkUsageDescription", "NSAppleEventsUsageDescription", "NSScreenCaptureUsageDescription"):
            self.assertTrue(info[key].startswith("Tevanto "), key)

    def test_the_hardened_runtime_leaves_scripts_possible(self):
        rights = plistlib.loads((PACKAGING / "Tevanto.entitlements").read_bytes())
        self.assertEqual(set(rights), {"com.apple.security.automation.apple-events", "com.apple.security.cs.allow-jit"})

    def test_the_icon_has_every_size(self):
        with tempfile.TemporaryDirectory() as folder:
            iconset = pathlib.Path(folder, "Tevanto.iconset")
            subprocess.run([ROOT / "scripts" / "make-iconset", ROOT / "packaging" / "icons" / "tevanto.svg", iconset], check=True)
            sizes = {path.name: struct.unpack(">II", path.read_bytes()[16:24]) for path in iconset.iterdir()}
        wanted = {}
        for points in (16, 32, 128, 256, 512):
            wanted[f"icon_{points}x{points}.png"] = (points, points)
            wanted[f"icon_{points}x{points}@2x.png"] = (2 * points, 2 * points)
        self.assertEqual(sizes, wanted)

    def test_packaging_refuses_to_make_what_no_other_mac_opens(self):
        for arguments, says in [((), "--identity is missing"), (("--identity", "A"), "--notary-profile is missing"),
                                (("--identity", "A", "--notary-profile", "P", "--cloudkit-container", "iCloud.x"), "--provisioning-profile"),
                                (("--identity", "A", "--notary-profile", "P"), "needs a Mac"), (("--sing",), "unknown argument")]:
            done = package(*arguments)
            self.assertEqual(done.returncode, 1, arguments)
            self.assertIn(says, done.stderr)

    def test_a_container_is_asked_for_with_what_the_profile_grants(self):
        done = package("--identity", "A", "--notary-profile", "P", "--cloudkit-container", "iCloud.x", "--provisioning-profile", "x",
                       "--dry-run")
        self.assertEqual(done.returncode, 0, done.stderr)
        rights = [step for step in done.stdout.splitlines() if step.startswith("plutil -insert")]
        for key in ("developer.icloud-services", "developer.icloud-container-identifiers", "developer.icloud-container-environment",
                    "application-identifier", "developer.team-identifier"):
            self.assertTrue(any(f"com.apple.{key} ".replace(".", "\\\\.") in step for step in rights), key)

    def test_packaging_signs_from_the_inside_out_before_it_asks_for_notarization(self):
        done = package("--identity", "A", "--notary-profile", "P", "--dry-run")
        self.assertEqual(done.returncode, 0, done.stderr)
        steps = done.stdout.splitlines()
        at = {text: next(i for i, step in enumerate(steps) if text in step) for text in
              ("macdeployqt", "Contents/Frameworks/\\*", "--entitlements", "--verify", "hdiutil create", "notarytool submit", "stapler staple")}
        self.assertEqual(sorted(at, key=at.get), list(at))
        for step in steps:
            if step.startswith("codesign --force"):
                self.assertIn("--options runtime", step)


if __name__ == "__main__":
    unittest.main()

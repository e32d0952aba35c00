#!/usr/bin/env python3
"""Plants offences against the house in a small tree and expects the check to see each, and nothing else."""
import pathlib
import subprocess
import sys
import tempfile
import unittest

import check_structure

CHECK = pathlib.Path(__file__).with_name("check_structure.py")
SOUND = {
    "src/core/Result.h": "#pragma once\n\n#include <string>\n#include <sys/stat.h>\n\nnamespace tevanto {\nclass Result {};\n}\n",
    "src/core/EventLoopCore.h": "#pragma once\n#include <boost/asio/io_context.hpp>\n",
    "src/net/TcpConnection.h": '#pragma once\n#include "core/Result.h"\n',
    "src/remote/RemoteMessage.h": '#pragma once\n#include "core/Result.h"\n',
    "src/remote/RemoteMessageCodec.cpp": '#include "remote/RemoteMessage.h"\n#include <boost/json.hpp>\n',
    "src/remote/MacRemoteServer.h": '#pragma once\n#include "net/TcpConnection.h"\n#include "control/InputEvents.h"\n',
    "src/control/InputEvents.h": '#pragma once\n#include "remote/RemoteMessage.h"\nclass InputEvents {};\n',
    "src/screen/CaptureEngine.h": '#pragma once\n#include "net/TcpConnection.h"\n',
    "src/platform/linux/XTestInputEvents.h": '#pragma once\n#include <xcb/xcb.h>\n#include "control/InputEvents.h"\n',
    "src/app/main.cpp": '#include "platform/linux/XTestInputEvents.h"\n#include "remote/MacRemoteServer.h"\n',
    "src/phone/main.cpp": '#include "platform/linux/XTestInputEvents.h"\n#include "phone/Touchpad.h"\n',
    "src/phone/Touchpad.h": '#pragma once\n#include "remote/RemoteMessage.h"\nvoid drawTouchpad();\n',
    "tests/support/ManualQueue.h": "#pragma once\n",
}


class CheckStructure(unittest.TestCase):
    def check(self, changed=None):
        with tempfile.TemporaryDirectory() as folder:
            for name, text in {**SOUND, **(changed or {})}.items():
                path = pathlib.Path(folder, name)
                path.parent.mkdir(parents=True, exist_ok=True)
                path.write_text(text)
            return [f"{source}:{number}: {what}" for source, number, what in check_structure.offences(pathlib.Path(folder))]

    def offends(self, name, text, says):
        found = self.check({name: text})
        self.assertEqual(len(found), 1, f"{found} for {text}")
        self.assertIn(says, found[0])
        self.assertIn(name.removeprefix("src/"), found[0])

    def test_a_sound_tree_passes(self):
        self.assertEqual(self.check(), [])

    def test_the_program_fails_when_it_finds_something_and_when_it_finds_no_sources(self):
        with tempfile.TemporaryDirectory() as folder:
            source = pathlib.Path(folder, "src", "core", "Text.h")
            source.parent.mkdir(parents=True)
            self.assertEqual(self.status(folder), 1)
            source.write_text("#pragma once\n")
            self.assertEqual(self.status(folder), 0)
            source.write_text("")
            self.assertEqual(self.status(folder), 1)

    def status(self, folder):
        return subprocess.run([sys.executable, CHECK, folder], stdout=subprocess.PIPE).returncode

    def test_the_direction_of_includes(self):
        for name, target in [
            ("core/A.cpp", "net/TcpConnection.h"),
            ("core/A.cpp", "remote/RemoteMessage.h"),
            ("net/A.cpp", "remote/RemoteMessage.h"),
            ("control/A.cpp", "net/TcpConnection.h"),
            ("control/A.cpp", "remote/MacRemoteServer.h"),
            ("screen/A.cpp", "control/InputEvents.h"),
            ("screen/A.cpp", "remote/RemoteMessage.h"),
            ("remote/A.cpp", "platform/linux/XTestInputEvents.h"),
            ("remote/A.cpp", "phone/Touchpad.h"),
            ("remote/RemoteMessageCodec.h", "net/TcpConnection.h"),
            ("remote/RemoteMessageCodec.h", "remote/MacRemoteServer.h"),
            ("platform/linux/A.cpp", "remote/MacRemoteServer.h"),
            ("phone/A.cpp", "remote/MacRemoteServer.h"),
            ("phone/A.cpp", "control/InputEvents.h"),
            ("phone/A.cpp", "platform/linux/XTestInputEvents.h"),
            ("p2p/A.cpp", "control/InputEvents.h"),
            ("relay/A.cpp", "remote/RemoteMessage.h"),
        ]:
            with self.subTest(name=name, target=target):
                self.offends(f"src/{name}", f'#pragma once\n#include "{target}"\n', f'may not include "{target}"')

    def test_headers_that_are_not_there_or_not_rooted_at_src(self):
        self.offends("src/core/A.cpp", '#include "Result.h"\n', "is not a header under src/")

    def test_a_library_in_a_header(self):
        for header in ["boost/json.hpp", "openssl/ssl.h", "plist/plist.h", "uv.h"]:
            self.offends("src/core/Text.h", f"#pragma once\n#include <{header}>\n", "shows a library's types")
        self.assertEqual(self.check({"src/core/Text.cpp": "#include <boost/json.hpp>\n"}), [])

    def test_a_header_without_its_guard(self):
        self.offends("src/core/Text.h", "#include <string>\n", "#pragma once")
        self.offends("tests/support/Other.h", "\n// nothing\n", "#pragma once")

    def test_a_folder_of_no_room(self):
        self.offends("src/misc/Text.h", "#pragma once\n", "does not have")

    def test_names(self):
        self.offends("src/core/text_tools.cpp", "", "named like types")
        self.offends("src/core/Text.h", "#pragma once\nnamespace tevanto {\nclass Paper final {\n};\n}\n", "not named after it")

    def test_the_system_in_shared_code(self):
        self.offends("src/core/Text.cpp", "#ifdef __linux__\n#endif\n", "which system it is on")


if __name__ == "__main__":
    unittest.main()

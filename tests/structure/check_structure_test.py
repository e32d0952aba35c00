#!/usr/bin/env python3
"""Plants offences in a small tree and expects the check to see each, and nothing else."""
import contextlib
import io
import pathlib
import subprocess
import sys
import tempfile
import unittest
from unittest import mock

import check_structure
import file_rules
import libraries
import room_rules
import rooms
from sound_tree import SOUND

CHECK = pathlib.Path(check_structure.__file__)
NO_EXCEPTIONS = {"OTHER_TYPES": {}, "OTHER_HEADERS": {}, "LARGE_FOLDERS": {}}
WRAPPERS = {"core/queue/EventLoopCore.h", "net/tcp/AsioSocket.h", "platform/linux/x11/XTestInputEvents.h"}


class CheckStructure(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.folder = tempfile.TemporaryDirectory()
        cls.root = pathlib.Path(cls.folder.name)
        cls.addClassCleanup(cls.folder.cleanup)
        for name, text in SOUND.items():
            cls.write(name, text)

    @classmethod
    def write(cls, name, text):
        path = cls.root / name
        if text is None:
            path.unlink()
            return
        path.parent.mkdir(parents=True, exist_ok=True)
        path.write_text(text)

    @contextlib.contextmanager
    def planted(self, changed, wrappers=frozenset(WRAPPERS), **exceptions):
        """The sound tree with these texts instead of its own, without those files whose text is None."""
        for name, text in changed.items():
            self.write(name, text)
        try:
            with (mock.patch.multiple(file_rules, **{**NO_EXCEPTIONS, **exceptions}),
                  mock.patch.object(libraries, "WRAPPERS", wrappers)):
                yield
        finally:
            for name in changed:
                self.write(name, SOUND.get(name))

    def check(self, changed, **exceptions):
        with self.planted(changed, **exceptions):
            return [f"{file}:{line}: {what}" for file, line, what in check_structure.offences(self.root)]

    def passes(self, changed, **exceptions):
        self.assertEqual(self.check(changed, **exceptions), [])

    def offends(self, changed, *says, **exceptions):
        """Expects as many offences as `says` has parts, each part in one of them."""
        found = self.check(changed, **exceptions)
        self.assertEqual(len(found), len(says), f"{found} for {changed}")
        for part in says:
            self.assertEqual(len([line for line in found if part in line]), 1, f"{found} for {part}")

    def edited(self, name, old, new):
        self.assertIn(old, SOUND[name])
        return {name: SOUND[name].replace(old, new, 1)}

    def test_a_sound_tree_passes_and_has_every_keyword(self):
        self.passes({})
        words = " ".join(text for name, text in SOUND.items() if name.endswith("CMakeLists.txt")).split()
        for keyword in rooms.KEYWORDS:
            self.assertIn(keyword, words)

    def test_every_area_is_in_the_sound_tree(self):
        folders = [name.removeprefix("src/") for name in SOUND if name.startswith("src/")]
        for area in room_rules.ALLOWED:
            self.assertTrue(any(folder.startswith(area + "/") for folder in folders), area)

    def test_a_folder_of_sources_without_its_call(self):
        says = "src/net/tcp/CMakeLists.txt:1: holds no tevanto_room"
        used = 'uses "net/tcp", which is no room'
        for text in (None, "# tevanto_room(net/tcp SOURCES AsioSocket.cpp)\n"):
            found = self.check({"src/net/tcp/CMakeLists.txt": text})
            self.assertEqual(len([line for line in found if says in line]), 1, found)
            self.assertEqual(len([line for line in found if used in line]), 2, found)
            self.assertEqual(len(found), 3, found)

    def test_a_call_of_another_path(self):
        found = self.check(self.edited("src/core/CMakeLists.txt", "tevanto_room(core ", "tevanto_room(kern "))
        self.assertIn('src/core/CMakeLists.txt:1: the room of this folder is "core", not "kern"', found)

    def test_two_calls_and_a_call_without_sources(self):
        self.offends(self.edited("src/core/CMakeLists.txt", "*)", "*)\n\ntevanto_room(core)"),
                     "CMakeLists.txt:3: a folder has one")
        self.offends({"src/net/CMakeLists.txt": "tevanto_room(net)\n"},
                     "src/net/CMakeLists.txt:1: a folder without sources")
        self.passes({"src/net/CMakeLists.txt": "add_subdirectory(tcp)\n"})

    def test_words_that_no_keyword_takes(self):
        cmake = "src/screen/CMakeLists.txt"
        self.offends(self.edited(cmake, " PUBLIC_HEADERS", " WIN32 WINDOWS PUBLIC_HEADERS"), "lists the source WIN32",
                     '"WINDOWS" stands under no keyword')
        self.offends(self.edited(cmake, "(screen ", "(screen STATIC "), '"STATIC" stands under no keyword')
        self.offends(self.edited(cmake, "USES", "USES USES"), "screen/CMakeLists.txt:3: names USES twice")

    def test_sources_and_their_list(self):
        cmake = "src/core/CMakeLists.txt"
        self.offends({"src/core/Text.cpp": "", "src/core/Text.h": "#pragma once\n",
                      "src/core/queue/EventLoop.cpp": SOUND["src/core/queue/EventLoop.cpp"] + '#include "core/Text.h"\n'},
                     "src/core/CMakeLists.txt:1: does not list the source Text.cpp")
        self.offends(self.edited(cmake, "Result.cpp", "Result.cpp Text.cpp"),
                     "lists the source Text.cpp, which this folder")
        self.offends(self.edited(cmake, "Result.cpp", "queue/EventLoop.cpp Result.cpp"),
                     "lists the source queue/EventLoop.cpp")
        self.offends(self.edited(cmake, "Result.cpp", "Result.cpp LINUX Result.cpp"), "lists the source Result.cpp twice")

    def test_a_separate_source_that_no_target_names(self):
        found = self.check(self.edited("src/relay/CMakeLists.txt", "SOURCES main.cpp", "SOURCES other.cpp"))
        self.assertEqual(len(found), 1, found)
        self.assertIn("no other target of this file names main.cpp", found[0])

    def test_public_headers_and_their_list(self):
        cmake = "src/net/tcp/CMakeLists.txt"
        self.offends(self.edited(cmake, "TcpConnection.h", "TcpConnection.h Lost.h"), "lists the header Lost.h, which")
        self.offends(self.edited(cmake, "TcpConnection.h", "TcpConnection.h TcpConnection.h"),
                     "lists the header TcpConnection.h twice")
        self.offends(self.edited(cmake, "TcpConnection.h", "* TcpConnection.h"), '"*" stands alone')

    def test_an_include_of_a_room_that_is_not_used(self):
        says = 'src/relay/RelayHub.h:2: includes "net/tcp/TcpConnection.h", and its room does not use "net/tcp"'
        changed = {"src/relay/RelayHub.h": '#pragma once\n#include "net/tcp/TcpConnection.h"\n#include "core/Result.h"\nclass RelayHub {};\n'}
        self.offends(changed, says)
        # The rooms that a used room uses do not count.
        self.offends({"src/remote/MacRemoteServer.h": '#pragma once\n#include "net/tcp/TcpConnection.h"\n'
                      '#include "remote/message/RemoteMessage.h"\nclass MacRemoteServer {};\n'},
                     'its room does not use "remote/message"')

    def test_an_include_of_a_private_header(self):
        self.offends({"src/screen/PixelRowsAvx2.cpp": '#include "net/tcp/AsioSocket.h"\n'},
                     'PixelRowsAvx2.cpp:1: "net/tcp/AsioSocket.h" is private to its room')
        self.offends(self.edited("src/platform/macos/values/CMakeLists.txt", " PUBLIC_HEADERS MediaTime.h", ""),
                     '"platform/macos/values/MediaTime.h" is private to its room')

    def test_a_source_of_every_system_does_not_include_what_one_system_links(self):
        for header, room in (("core/Result.h", "core"), ("core/queue/EventLoop.h", "core/queue")):
            self.offends({"src/control/Facts.cpp": f'#include "control/Facts.h"\n#include "{header}"\n'},
                         f'its room does not use "{room}" on each system')
        self.offends({"src/control/LinuxFacts.cpp": SOUND["src/control/LinuxFacts.cpp"] + '#include "core/queue/EventLoop.h"\n'},
                     'its room does not use "core/queue" on each system')

    def test_a_separate_source_includes_what_its_own_target_links(self):
        self.offends(self.edited("src/app/linux/CMakeLists.txt", " tevanto_core ", " "), 'its room does not use "core"')
        # That target does not speak for the sources of the room.
        self.offends({"src/app/linux/LinuxServices.h": '#pragma once\n#include "core/Result.h"\nclass LinuxServices {};\n'},
                     'its room does not use "core"')

    def test_uses_that_nothing_needs_or_that_name_no_room(self):
        cmake = "src/screen/CMakeLists.txt"
        self.offends(self.edited(cmake, "USES net/tcp", "USES net/tcp\n core"),
                     'src/screen/CMakeLists.txt:4: uses "core" and includes nothing')
        self.offends(self.edited(cmake, "USES net/tcp", "USES net/tcp net"), 'uses "net", which is no room')
        self.offends(self.edited(cmake, "USES net/tcp", "USES net/tcp USES_LINUX net/tcp"), 'uses "net/tcp" twice')
        self.offends(self.edited("src/control/CMakeLists.txt", "USES_LINUX core", "USES_LINUX core net/tcp"),
                     '"control" may not use "net/tcp"')
        # The sources for the other system need it, and these do not have it.
        self.offends(self.edited("src/control/CMakeLists.txt", "USES_LINUX core USES_MACOS core/queue", "USES_LINUX core/queue USES_MACOS core"),
                     'LinuxFacts.cpp:2: includes "core/Result.h", and', 'MacFacts.mm:2: includes "core/queue/EventLoop.h", and',
                     'uses "core/queue" and includes nothing of it', 'uses "core" and includes nothing of it')

    def test_a_public_header_that_no_other_room_includes(self):
        says = "opens Private.h, which no other room includes"
        self.offends(self.edited("src/core/queue/CMakeLists.txt", "EventLoop.h ", "EventLoop.h Private.h "), says)
        self.offends({"src/core/Alone.h": "#pragma once\n"}, "src/core/CMakeLists.txt:1: opens Alone.h")
        for outside in ("tests/core/a.cpp", "bench/a.cpp", "fuzz/a.h", "src/core/Result.cpp"):
            text = '#pragma once\n#include "core/Result.h"\n#include "core/Alone.h"\n'
            self.offends({"src/core/Alone.h": "#pragma once\n", outside: text}, "src/core/CMakeLists.txt:1: opens Alone.h")

    def test_headers_that_are_not_there_or_not_rooted_at_src(self):
        self.offends({"src/core/Result.cpp": '#include "Result.h"\n'}, '"Result.h" is not a header under src/')

    def test_rooms_that_use_one_another(self):
        changed = {
            **self.edited("src/core/CMakeLists.txt", "*)", "*\n USES core/text)"),
            **self.edited("src/core/Result.h", "#include <string>", '#include "core/text/Text.h"'),
            "src/core/text/CMakeLists.txt": "tevanto_room(core/text PUBLIC_HEADERS Text.h USES core/queue)\n",
            "src/core/text/Text.h": '#pragma once\n#include "core/queue/EventLoop.h"\n',
        }
        self.offends(changed, "src/core/CMakeLists.txt:2: rooms use one another: core > core/text > core/queue > core")
        self.offends(self.edited("src/screen/CMakeLists.txt", "USES net/tcp", "USES net/tcp screen"),
                     "one another: screen > screen")

    def test_the_direction_of_includes(self):
        for name, target in [
            ("core/queue/A.h", "net/tcp/TcpConnection.h"),
            ("core/queue/A.h", "remote/message/RemoteMessage.h"),
            ("net/tcp/A.h", "remote/message/RemoteMessage.h"),
            ("remote/message/A.h", "net/tcp/TcpConnection.h"),
            ("remote/message/A.h", "remote/MacRemoteServer.h"),
            ("control/A.h", "net/tcp/TcpConnection.h"),
            ("control/A.h", "remote/MacRemoteServer.h"),
            ("screen/A.h", "control/InputEvents.h"),
            ("screen/A.h", "remote/message/RemoteMessage.h"),
            ("p2p/cloud/A.h", "control/InputEvents.h"),
            ("p2p/cloud/A.h", "remote/MacRemoteServer.h"),
            ("remote/A.h", "platform/linux/x11/XTestInputEvents.h"),
            ("remote/A.h", "p2p/cloud/CloudPairingInvites.h"),
            ("remote/A.h", "phone/terminal/Touchpad.h"),
            ("platform/linux/x11/A.h", "remote/MacRemoteServer.h"),
            ("platform/linux/x11/A.h", "platform/macos/values/MediaTime.h"),
            ("platform/macos/values/A.h", "platform/linux/x11/XTestInputEvents.h"),
            ("platform/macos/values/A.h", "app/linux/LinuxServices.h"),
            ("app/ui/A.h", "platform/linux/x11/XTestInputEvents.h"),
            ("app/ui/A.h", "platform/macos/values/MediaTime.h"),
            ("app/ui/A.h", "phone/terminal/Touchpad.h"),
            ("app/ui/A.h", "relay/RelayHub.h"),
            ("app/linux/A.h", "platform/macos/values/MediaTime.h"),
            ("app/ui/macos/A.h", "platform/linux/x11/XTestInputEvents.h"),
            ("phone/terminal/A.h", "remote/MacRemoteServer.h"),
            ("phone/terminal/A.h", "control/InputEvents.h"),
            ("phone/terminal/A.h", "platform/linux/x11/XTestInputEvents.h"),
            ("relay/A.h", "remote/message/RemoteMessage.h"),
            ("relay/A.h", "platform/linux/x11/XTestInputEvents.h"),
        ]:
            with self.subTest(name=name, target=target):
                folder = name.rpartition("/")[0]
                self.offends({f"src/{name}": f'#pragma once\n#include "{target}"\n'},
                             f'src/{name}:2: {folder} may not include "{target}"')

    def test_what_stands_before_the_display_servers(self):
        x11 = {
            "src/platform/linux/x11/backend/CMakeLists.txt":
                "tevanto_room(platform/linux/x11/backend PUBLIC_HEADERS X11Backend.h)\n",
            "src/platform/linux/x11/backend/X11Backend.h": "#pragma once\nclass X11Backend {};\n",
            "src/platform/linux/x11/capture/CMakeLists.txt":
                "tevanto_room(platform/linux/x11/capture PUBLIC_HEADERS X11Capture.h)\n",
            "src/platform/linux/x11/capture/X11Capture.h": "#pragma once\nclass X11Capture {};\n",
            # Other composition roots may.
            **self.edited("src/app/ui/linux/CMakeLists.txt", "linux/x11 ", "linux/x11 platform/linux/x11/backend platform/linux/x11/capture "),
            "src/app/ui/linux/Activation.cpp": SOUND["src/app/ui/linux/Activation.cpp"]
                + '#include "platform/linux/x11/backend/X11Backend.h"\n#include "platform/linux/x11/capture/X11Capture.h"\n',
        }
        self.passes(x11)

        def app(room, header, source="LinuxServices.cpp"):
            cmake = self.edited("src/app/linux/CMakeLists.txt", "linux/x11 remote", f"linux/x11 {room} remote" if room else "linux/x11 remote")
            return {**x11, **cmake, f"src/app/linux/{source}": SOUND[f"src/app/linux/{source}"] + f'#include "{header}"\n'}

        self.passes(app("platform/linux/x11/backend", "platform/linux/x11/backend/X11Backend.h"))
        capture = "platform/linux/x11/capture"
        for source in ("LinuxServices.cpp", "main.cpp"):
            found = self.check(app(capture, f"{capture}/X11Capture.h", source))
            self.assertIn(f'src/app/linux/CMakeLists.txt:1: "app/linux" may not use "{capture}"', found)
            self.assertTrue([line for line in found if f'app/linux may not include "{capture}/X11Capture.h"' in line], found)
        header = "platform/linux/x11/XTestInputEvents.h"
        self.offends(app(None, header), f'app/linux may not include "{header}"')

        display = "platform/linux/display"
        for room, header in [("platform/linux/x11", "XServerReach.h"), ("platform/linux/x11/backend", "X11Backend.h")]:
            self.offends({**x11, f"src/{display}/CMakeLists.txt": f"tevanto_room({display} USES {room})\n",
                          f"src/{display}/DisplayBackend.h": f'#pragma once\n#include "{room}/{header}"\nclass DisplayBackend {{}};\n'},
                         f'src/{display}/CMakeLists.txt:1: "{display}" may not use "{room}"',
                         f'src/{display}/DisplayBackend.h:2: {display} may not include "{room}/{header}"')

    def main_function(self, folder):
        return {
            f"src/{folder}/CMakeLists.txt": f"tevanto_room({folder} SEPARATE main.cpp)\n"
                                            "tevanto_program(t SOURCES main.cpp LINK tevanto_platform_linux_x11)\n",
            f"src/{folder}/main.cpp": '#include "platform/linux/x11/XTestInputEvents.h"\n',
        }

    def test_which_main_functions_may_include_adapters(self):
        self.passes(self.main_function("app/cli"))
        self.offends(self.main_function("phone/mirror"), "src/phone/mirror/main.cpp:1: phone/mirror may not include")
        self.offends(self.main_function("screen/wire"), "src/screen/wire/main.cpp:1: screen/wire may not include")

    def test_what_only_a_main_function_may_include_is_not_linked_to_its_room(self):
        self.offends(self.edited("src/relay/CMakeLists.txt", "USES core", "USES core platform/linux/x11"),
                     '"relay" may not use "platform/linux/x11"')

    def test_a_folder_of_no_area(self):
        self.offends({"src/misc/Text.h": "#pragma once\n", "src/misc/CMakeLists.txt": "tevanto_room(misc)\n"},
                     "src/misc/Text.h:1: stands in a folder that the table of areas does not have")
        found = self.check({"src/platform/Text.h": "#pragma once\n", "src/platform/CMakeLists.txt": "tevanto_room(platform)\n"})
        self.assertEqual(len(found), 1, found)

    def test_a_library_that_the_room_does_not_link(self):
        for include, says in [
            ("boost/json/parse.hpp", "Boost::json"),
            ("boost/beast/http/read.hpp", "Boost::headers"),
            ("openssl/ssl.h", "OpenSSL::SSL"),
            ("openssl/evp.h", "OpenSSL::Crypto or OpenSSL::SSL"),
            ("boost/asio/ssl/context.hpp", "OpenSSL::SSL"),
            ("QString", "Qt6::Core or "),
            ("QtQml/qqmlregistration.h", "Qt6::Qml or Qt6::Quick"),
            ("QMenu", "Qt6::Widgets"),
            ("xcb/xcb.h", "PkgConfig::XCB or PkgConfig::XCB_CAPTURE"),
            ("xcb/damage.h", "PkgConfig::XCB_CAPTURE"),
            ("net/dcsctp/public/dcsctp_socket_factory.h", "tg_owt::tg_owt"),
            ("WebRTC/WebRTC.h", "${TEVANTO_LKRTC}"),
        ]:
            with self.subTest(include=include):
                self.offends({"src/screen/PixelRows.cpp": f'#include "screen/PixelRows.h"\n#include <{include}>\n'},
                             f"src/screen/PixelRows.cpp:2: includes <{include}>, and its room does not link {says}")

    def test_libraries_of_one_system_and_of_used_rooms(self):
        self.offends({"src/control/Facts.cpp": '#include "control/Facts.h"\n#include <systemd/sd-bus.h>\n'},
                     "does not link PkgConfig::SYSTEMD")
        self.offends({"src/control/LinuxFacts.cpp": SOUND["src/control/LinuxFacts.cpp"] + "#include <unicode/coll.h>\n"},
                     "does not link PkgConfig::ICU")
        # A library that a used room links for itself alone does not count, nor one of a room behind it.
        self.offends({"src/control/InputEvents.h": SOUND["src/control/InputEvents.h"], "src/control/Facts.cpp":
                      '#include "control/Facts.h"\n#include <boost/json.hpp>\n'}, "does not link Boost::json")
        self.offends({"src/screen/PixelRows.cpp": '#include "screen/PixelRows.h"\n#include <boost/asio/post.hpp>\n'},
                     "does not link Boost::headers")
        self.offends(self.edited("src/app/linux/CMakeLists.txt", " Qt6::Core", ""),
                     "src/app/linux/main.cpp:2: includes <QString>")

    def test_an_include_that_is_in_no_table(self):
        for include in ("zlib.h", "uv.h", "fmt/format.h", "eigen", "boost/regex.hpp", "sys/unknown.hpp"):
            self.offends({"src/core/Result.cpp": f'#include "core/Result.h"\n#include <{include}>\n'},
                         f"src/core/Result.cpp:2: <{include}> is not in the table of libraries")
        for include in ("vector", "sys/socket.h", "net/if.h", "dispatch/dispatch.h", "IOKit/ps/IOPSKeys.h", "malloc.h"):
            self.passes({"src/core/Result.cpp": f'#include "core/Result.h"\n#include <{include}>\n'})

    def test_a_library_in_a_header(self):
        for header in ["boost/json.hpp", "openssl/ssl.h", "plist/plist.h", "uv.h", "QString", "AppKit/AppKit.h"]:
            self.offends({"src/core/queue/Private.h": f"#pragma once\n#include <{header}>\n"},
                         f"Private.h:2: <{header}> shows a library's types")

    def test_which_headers_of_a_wrapping_area_may_show_a_library(self):
        header, private = "platform/linux/x11/XTestInputEvents.h", "platform/linux/x11/XImage.h"
        says = f"src/{header}:2: <xcb/xcb.h> shows a library's types"
        self.offends({}, says, wrappers=WRAPPERS - {header})
        text = "#pragma once\n#include <xcb/xcb.h>\nclass XImage {\n};\n"
        self.passes({f"src/{private}": text})
        self.offends({f"src/{private}": text}, f"src/{private}:1: need not be listed as a wrapper",
                     wrappers=WRAPPERS | {private})
        self.offends({"src/app/ui/Activation.h": "#pragma once\n#include <QString>\nvoid activate();\n",
                      **self.edited("src/app/ui/CMakeLists.txt", "Activation.h", "Activation.h LIBRARIES Qt6::Core")},
                     "src/app/ui/Activation.h:2: <QString> shows a library's types")

    def test_a_wrapper_that_wraps_nothing_or_is_not_there(self):
        self.offends({}, "src/net/tcp/BeastLink.h:1: is listed as a wrapper of a library, and is not there",
                     wrappers=WRAPPERS | {"net/tcp/BeastLink.h"})
        self.offends({}, "src/core/Result.h:1: need not be listed as a wrapper", wrappers=WRAPPERS | {"core/Result.h"})

    def test_a_folder_of_too_many_files(self):
        many = {f"src/screen/{kind}{number}.{suffix}": "#pragma once\n" for number in range(11) for kind, suffix in (("A", "h"), ("B", "qml"))}
        self.passes(many)
        many["src/screen/C.h"] = "#pragma once\n"
        says = "src/screen:1: holds 26 files; more than 25 are several rooms"
        self.offends(many, says)
        self.passes(many, LARGE_FOLDERS={"screen": "planted"})
        self.offends({}, "src/screen:1: needs no exception for more than 25 files", LARGE_FOLDERS={"screen": "planted"})

    def test_a_header_without_its_guard(self):
        self.offends({"src/core/queue/Private.h": "#include <string>\n"},
                     "src/core/queue/Private.h:1: a header begins with #pragma once")
        self.offends({"tests/support/Other.h": "\n// nothing\n"},
                     "tests/support/Other.h:1: a header begins with #pragma once")

    def test_names_of_files(self):
        self.offends({"src/core/queue/text_tools.h": "#pragma once\n"}, "files are named like types")

    def test_the_name_of_the_main_type(self):
        for type_ in [
            "class Wrong { void doIt(); };",
            "class Wrong {\n public:\n  void doIt();\n  int count() const { return count_; }\n};",
            "namespace tevanto {\nclass Paper final {\n};\n}",
            "namespace tevanto {\nclass Paper final : public Sheet {\n  std::string text();\n};\n}",
            "template <class Record>\nstruct Field {\n};",
            "enum class Side { left, right };\nstruct Area {\n  int width() const;\n};",
            "/// free(); is a function\nstruct Wrong {\n  bool operator==(const Wrong&) const;\n};\nbool operator<(const Wrong&, const Wrong&);",
            "struct Wrong {\n};\ninline void Wrong::doIt() {\n}",
            "class Wrong {\n};\nvoid doIt();",
            "struct Detail {\n};\nclass Wrong final {\n};\nDetail detailOf(std::string_view text);",
            "template <class T>\nclass Wrong {\n};\ntemplate <class T>\nWrong<T> wrongOf(T value);",
            "// void free();\nstruct Wrong {\n};",
            "@interface Wrong : NSObject\n- (void)go;\n@end",
            'struct Wrong {\n};\ninline const std::string kName("x");',
        ]:
            with self.subTest(type=type_):
                self.offends({"src/core/queue/Right.h": f"#pragma once\n{type_}\n"}, "and is not named after it")
                self.passes({"src/core/queue/Right.h": f"#pragma once\n{type_}\n"},
                            OTHER_TYPES={"core/queue/Right.h": "planted"})

    def test_headers_that_are_named_well(self):
        for text in [
            "class Wrong;\nclass Right { void doIt(); };\nstruct Detail {\n};",
            "struct Detail {\n};\nusing Right = std::vector<Detail>;",
            "struct Detail {\n};\nstd::vector<Detail> detailsOf(std::string_view text);",
            "class Detail;\nenum class Side { left };\nSide sideOf(const Detail& detail);",
            "struct Detail {\n};\ntemplate <class T>\n[[nodiscard]] T read(int);",
            "struct Detail {\n};\nextern \"C\" std::uint8_t* entry(\n    int first);",
            "struct Ri::ght {\n};",
            "inline constexpr int kMost = 3;",
        ]:
            with self.subTest(text=text):
                self.passes({"src/core/queue/Right.h": f"#pragma once\n{text}\n"})

    def source_in_core(self, name, text, keyword="SOURCES"):
        listed = f"Result.cpp {name}" if keyword == "SOURCES" else f"Result.cpp {keyword} {name}"
        return {**self.edited("src/core/CMakeLists.txt", "Result.cpp", listed), f"src/core/{name}": text}

    def test_a_source_without_its_header(self):
        says = "has no header of its name"
        include = '#include "core/Result.h"\n'
        for name, text, keyword in [
            ("Other.cpp", include, "SOURCES"),
            ("LinuxResult.cpp", include, "SOURCES"),  # built everywhere
            ("LinuxResult.cpp", "", "LINUX"),  # of a header that it does not include
            ("LinuxOther.cpp", include, "LINUX"),
            ("MacOther.mm", include, "MACOS"),
            ("ResultNoAvx2.cpp", "", "SOURCES"),
            ("ResultFast.cpp", include, "SOURCES"),
        ]:
            with self.subTest(name=name, keyword=keyword):
                self.offends(self.source_in_core(name, text, keyword), f"src/core/{name}:1: {says}")
        for name, keyword in [("LinuxResult.cpp", "LINUX"), ("MacResult.mm", "MACOS"), ("ResultAvx2.cpp", "SOURCES"), ("ResultNoAvx2.cpp", "SOURCES")]:
            self.passes(self.source_in_core(name, include, keyword))
        self.passes(self.source_in_core("Other.cpp", include), OTHER_HEADERS={"core/Other.cpp": "planted"})
        self.offends({"src/app/ui/linux/Activation.cpp": SOUND["src/app/ui/linux/Activation.cpp"].replace("ui/Act", "ui/linux/Act"),
                      **self.edited("src/app/ui/linux/CMakeLists.txt", "USES app/ui ", "USES ")}, says, "is not a header under src/")

    def test_an_exception_of_a_file_that_is_not_there(self):
        self.offends({}, "src/core/Lost.h:1: has an exception of its name, and is not there",
                     OTHER_TYPES={"core/Lost.h": "planted"})

    def test_an_exception_that_is_not_needed(self):
        says = "needs no exception of its name"
        self.offends({}, f"src/core/Result.h:1: {says}", OTHER_TYPES={"core/Result.h": "planted"})
        self.offends({}, f"src/control/Facts.h:1: {says}", OTHER_TYPES={"control/Facts.h": "planted"})
        self.offends({}, f"src/app/ui/macos/MacActivation.cpp:1: {says}",
                     OTHER_HEADERS={"app/ui/macos/MacActivation.cpp": "planted"})

    def test_the_system_in_shared_code(self):
        for line in ("#ifdef __linux__", "#if defined(__APPLE__)", "#  ifndef _WIN32", "#elif defined(__linux__)"):
            self.offends({"src/core/Result.cpp": f'#include "core/Result.h"\n{line}\n#endif\n'},
                         "src/core/Result.cpp:2: shared code does not ask")

    def test_where_tests_stand(self):
        for place in ("net", "core", "platform/linux/x11"):
            for name in ("TcpConnectionTest", "TcpConnectionLifeTest", "TcpConnection2Test"):
                self.offends({f"tests/{place}/{name}.cpp": ""},
                             f"tests/{place}/{name}.cpp:1: belongs in tests/net/tcp, for its name begins with that of TcpConnection.h")
        self.offends({"tests/net/tcp/deeper/TcpConnectionTest.cpp": ""}, "belongs in tests/net/tcp",
                     "stands in a folder that src/ does not have")
        self.offends({"tests/elsewhere/OtherTest.cpp": ""},
                     "tests/elsewhere/OtherTest.cpp:1: stands in a folder that src/ does not have")
        self.offends({"tests/control/XTestInputEventsTest.mm": ""}, "belongs in tests/platform/linux/x11")
        # The longest name counts, and whole words of it.
        self.offends({"tests/core/EventLoopCoreLifeTest.cpp": ""}, "belongs in tests/core/queue, for its name begins with that of EventLoopCore.h")
        self.passes({"src/core/queue/Touch.h": "#pragma once\n", "tests/phone/terminal/TouchpadLifeTest.cpp": "",
                     "tests/net/tcp/TouchyTest.cpp": "", "tests/net/tcp/ResultsTest.cpp": ""})
        self.offends({"src/relay/Touchpad.h": "#pragma once\n", "tests/core/TouchpadTest.cpp": ""},
                     "belongs in tests/phone/terminal or tests/relay")
        self.passes({"tests/platform/linux/x11/InputEventsContractTest.cpp": ""})
        self.passes({"src/app/ui/qml/PixelRowsView.qml": "", "tests/app/ui/PixelRowsViewTest.cpp": ""})
        self.offends({"tests/app/ui/PixelRowsViewTest.cpp": ""}, "belongs in tests/screen")
        for place in ("net/tcp", "packaging", "structure", "macos", "vectors/json"):
            self.passes({f"tests/{place}/TcpConnectionTest.cpp": ""})

    def test_the_table_in_the_documentation(self):
        table = room_rules.markdown(rooms.Tree(self.root))
        self.assertIn("| Room | May include |\n", table)
        self.assertIn("| `core` | nothing |\n", table)
        self.assertIn("| `control` | `core` (Linux), `core/queue` (macOS), `remote/message` |\n", table)
        self.assertEqual(table.count("\n"), 2 + len([name for name in SOUND if name.endswith("CMakeLists.txt")]))
        page = "docs/architecture.md"
        self.passes({page: f"# Rooms\n<!-- rooms -->\n{table}<!-- /rooms -->\nEnd.\n"})
        self.offends({page: f"# Rooms\n\n<!-- rooms -->\n{table.replace('nothing', 'net/tcp', 1)}<!-- /rooms -->\n"},
                     f"{page}:3: the table of rooms")
        self.offends({page: "<!-- rooms -->\n<!-- /rooms -->\n"}, f"{page}:1: the table of rooms is not")
        self.offends({page: f"<!-- rooms -->\n{table}"}, "lacks one of its two markers")

    def run_main(self, changed, *options):
        """The program's exit status, or its last words, and what it printed."""
        arguments, output = ["check_structure.py", str(self.root), *options], io.StringIO()
        with self.planted(changed), mock.patch.object(sys, "argv", arguments), contextlib.redirect_stdout(output):
            try:
                check_structure.main()
                return 0, output.getvalue()
            except SystemExit as end:
                return end.code, output.getvalue()

    def test_the_program_fails_when_it_finds_something(self):
        self.assertEqual(self.run_main({}), (0, ""))
        self.assertEqual(self.run_main({"src/core/Result.h": ""})[0], 1)
        self.assertEqual(self.run_main({"src/core/Result.cpp": '#include "Lost.h"\n'}),
                         (1, 'src/core/Result.cpp:1: "Lost.h" is not a header under src/\n'))
        status, table = self.run_main({}, "--markdown")
        self.assertEqual(status, 0)
        self.assertTrue(table.startswith("| Room |"))
        self.assertIn("usage:", self.run_main({}, "--wrong")[0])

    def test_the_program_fails_when_it_finds_no_sources(self):
        with tempfile.TemporaryDirectory() as folder:
            ended = subprocess.run([sys.executable, CHECK, folder], stdout=subprocess.PIPE, text=True)
        self.assertEqual(ended.returncode, 1)
        self.assertIn("holds no sources to look at", ended.stdout)


if __name__ == "__main__":
    unittest.main()

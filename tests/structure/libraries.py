"""The rules about third-party libraries: a room links what it includes, and only wrappers show a library's types."""
import re

from rooms import Offence, folder_of, is_in, name_of

# Beginning of an include -> the CMake targets that bring it; one of them has to be linked. The longest beginning counts.
TARGETS = {
    "CLI/": ["CLI11::CLI11"],
    "LiveKitWebRTC/": ["${TEVANTO_LKRTC}"],
    "SDL2/": ["PkgConfig::SDL"],
    "WebRTC/": ["${TEVANTO_LKRTC}"],
    "api/": ["tg_owt::tg_owt"],
    "avahi-client/": ["PkgConfig::AVAHI"],
    "avahi-common/": ["PkgConfig::AVAHI"],
    "boost/archive/": ["Boost::headers"],
    "boost/asio/": ["Boost::headers"],
    "boost/asio/ssl/": ["OpenSSL::SSL"],
    "boost/beast/": ["Boost::headers"],
    "boost/json/": ["Boost::json"],
    "boost/json.hpp": ["Boost::json"],
    "boost/uuid/": ["Boost::headers"],
    "fontconfig/": ["PkgConfig::FONTCONFIG"],
    "gdk-pixbuf/": ["PkgConfig::GDK_PIXBUF"],
    "gio/": ["PkgConfig::GIO"],
    "glib.h": ["PkgConfig::GIO"],
    "libavcodec/": ["PkgConfig::LIBAV"],
    "libavformat/": ["PkgConfig::LIBAVFORMAT"],
    "libavutil/": ["PkgConfig::LIBAV"],
    "libswscale/": ["PkgConfig::SWSCALE"],
    "media/": ["tg_owt::tg_owt"],
    "net/dcsctp/": ["tg_owt::tg_owt"],
    "openssl/": ["OpenSSL::Crypto", "OpenSSL::SSL"],
    "openssl/ssl.h": ["OpenSSL::SSL"],
    "p2p/base/": ["tg_owt::tg_owt"],
    "pc/": ["tg_owt::tg_owt"],
    "plist/": ["PkgConfig::PLIST"],
    "png.h": ["PNG::PNG"],
    "pulse/": ["PkgConfig::PULSE"],
    "qrencode.h": ["PkgConfig::QRENCODE"],
    "rtc_base/": ["tg_owt::tg_owt"],
    "system_wrappers/": ["tg_owt::tg_owt"],
    "systemd/": ["PkgConfig::SYSTEMD"],
    "unicode/": ["PkgConfig::ICU"],
    "x264.h": ["PkgConfig::X264"],
    "xcb/": ["PkgConfig::XCB", "PkgConfig::XCB_CAPTURE"],
    "xcb/damage.h": ["PkgConfig::XCB_CAPTURE"],
    "xcb/randr.h": ["PkgConfig::XCB_CAPTURE"],
    "xcb/shm.h": ["PkgConfig::XCB_CAPTURE"],
    "xcb/xfixes.h": ["PkgConfig::XCB_CAPTURE"],
    "xcb/xkb.h": ["PkgConfig::XCB"],
    "xcb/xtest.h": ["PkgConfig::XCB"],
    "xkbcommon/": ["PkgConfig::XKBCOMMON"],
}
# Qt's headers bear the names of classes. Quick brings Qml and Gui, Widgets and Svg bring Gui, and all of them bring Core.
QT = [
    (r"QDBus\w+", ["Qt6::DBus"]),
    (r"QSvg\w+", ["Qt6::Svg"]),
    (r"Q(Application|Menu|MenuBar|SystemTrayIcon|Widget|ToolTip|Style)", ["Qt6::Widgets"]),
    (r"Q(Quick|SG)\w+", ["Qt6::Quick"]),
    (r"QQml\w+|QtQml/\w+\.h|QJS\w+", ["Qt6::Qml", "Qt6::Quick"]),
    (r"Q(Action|Clipboard|Color|Cursor|DesktopServices|Font\w*|GuiApplication|Icon|Image|Painter|Palette|Pixmap|Screen|Window)",
     ["Qt6::Gui", "Qt6::Quick", "Qt6::Svg", "Qt6::Widgets"]),
    (r"Q[A-Z]\w+", ["Qt6::Core", "Qt6::Gui", "Qt6::Qml", "Qt6::Quick", "Qt6::Svg", "Qt6::Widgets", "Qt6::DBus"]),
]
# The headers of C++20's library.
CPP_HEADERS = set("""
    algorithm any array atomic barrier bit bitset cassert cctype cerrno cfenv cfloat charconv chrono cinttypes climits
    clocale cmath codecvt compare complex concepts condition_variable coroutine csetjmp csignal cstdarg cstddef cstdint
    cstdio cstdlib cstring ctime cuchar cwchar cwctype deque exception execution filesystem format forward_list fstream
    functional future initializer_list iomanip ios iosfwd iostream istream iterator latch limits list locale map memory
    memory_resource mutex new numbers numeric optional ostream queue random ranges ratio regex scoped_allocator
    semaphore set shared_mutex source_location span sstream stack stdexcept stop_token streambuf string string_view
    syncstream system_error thread tuple type_traits typeindex typeinfo unordered_map unordered_set utility valarray
    variant vector version
""".split())
# Headers of C and POSIX that any header may include.
C_HEADERS = re.compile(r"(sys|netinet|arpa|linux)/[a-z_]+\.h|net/if\.h"
                       r"|(unistd|fcntl|poll|signal|errno|termios|pwd|spawn|dlfcn|ifaddrs|netdb|stdint|stddef|stdlib|string|time)\.h")
# Headers of one system or compiler, which only sources and wrappers include.
SYSTEM_HEADERS = re.compile(
    r"(dirent|dns_sd|immintrin|locale|malloc|pthread|strings|xlocale)\.h|(dispatch|mach|mach-o|objc|os)/\w+\.h"
    r"|(AppKit|ApplicationServices|CloudKit|CoreFoundation|CoreGraphics|CoreMedia|CoreVideo|Foundation|IOKit"
    r"|ScreenCaptureKit|Security|ServiceManagement|SystemConfiguration|VideoToolbox)/[\w/]+\.h")
# Headers that wrap a library for the sources beside them and so may name its types.
WRAPPERS = {
    "app/ipc/CompanionStatusJson.h",
    "app/ui/CompanionModel.h",
    "app/ui/DesktopAppearance.h",
    "app/ui/MenuBarLabel.h",
    "app/ui/PanelWindow.h",
    "app/ui/QtSetupWindow.h",
    "app/ui/ViewEngine.h",
    "core/queue/EventLoopCore.h",
    "core/settings/DefaultsJson.h",
    "core/text/ExactJson.h",
    "net/tcp/AsioSocket.h",
    "net/tcp/TcpStream.h",
    "net/web/AsioClientStream.h",
    "net/web/AsioDialer.h",
    "net/web/AsioTlsContext.h",
    "net/web/BeastWebSocketCore.h",
    "platform/linux/desktop/GlibOwned.h",
    "platform/linux/x11/XInputConnection.h",
    "platform/linux/x11/XcbOwned.h",
    "platform/linux/x11/XcbServer.h",
    "platform/linux/x11/XcbXkb.h",
    "platform/macos/foundation/CfOwned.h",
    "platform/macos/foundation/Entitlements.h",
    "relay/AsioRelayConnection.h",
    "relay/AsioRelayListener.h",
    "relay/AsioRelayStream.h",
    "relay/TlsSocket.h",
}
# Areas that consist of wrappers: their private headers need no entry above.
WRAPPING_AREAS = ("app/ui", "platform")


def targets_of(include):
    """The CMake targets of which one brings the include, or None for what is in no table."""
    begins = [start for start in TARGETS if (include.startswith(start) if start.endswith("/") else include == start)]
    if begins:
        return TARGETS[max(begins, key=len)]
    return next((targets for pattern, targets in QT if re.fullmatch(pattern, include)), None)


def is_of_the_language(include):
    return include in CPP_HEADERS or bool(C_HEADERS.fullmatch(include))


def offences(tree):
    for source, includes in sorted(tree.includes.items()):
        room = tree.rooms.get(folder_of(source))
        for include in includes:
            if include.quoted or is_of_the_language(include.target):
                continue
            what = link_offence(tree, room, name_of(source), include.target)
            if source.endswith(".h") and not may_show_libraries(tree, source):
                what = f"<{include.target}> shows a library's types to everybody who includes this header"
            if what:
                yield Offence("src/" + source, include.line, what)
    yield from wrapper_offences(tree)


def is_private_in_a_wrapping_area(tree, header):
    room = tree.rooms.get(folder_of(header))
    return room is not None and not room.publishes(name_of(header)) and any(is_in(header, area) for area in WRAPPING_AREAS)


def may_show_libraries(tree, header):
    return header in WRAPPERS or is_private_in_a_wrapping_area(tree, header)


def wrapper_offences(tree):
    for header in sorted(WRAPPERS):
        includes = tree.includes.get(header, [])
        if header not in tree.headers:
            yield Offence("src/" + header, 1, "is listed as a wrapper of a library, and is not there")
        elif (is_private_in_a_wrapping_area(tree, header)
              or all(include.quoted or is_of_the_language(include.target) for include in includes)):
            yield Offence("src/" + header, 1, "need not be listed as a wrapper of a library")


def link_offence(tree, room, name, include):
    targets = targets_of(include)
    if targets is None:
        return None if SYSTEM_HEADERS.fullmatch(include) else f"<{include}> is not in the table of libraries"
    if room is None:
        return None  # The missing call is an offence of its own.
    linked = set(room.libraries(name))
    for path, used in tree.rooms.items():
        if room.uses(name, path):
            linked |= used.names("PUBLIC_LIBRARIES")
    if room.keyword_of(name) == "SEPARATE":
        linked |= room.names("PUBLIC_LIBRARIES")
    return None if linked & set(targets) else f"includes <{include}>, and its room does not link {' or '.join(targets)}"

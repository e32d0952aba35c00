"""A small tree that keeps every rule, for tests to plant offences in."""

# Small, and yet with each keyword of tevanto_room, each area and each exception to the direction.
SOUND = {
    "src/core/CMakeLists.txt": "tevanto_room(core SOURCES Result.cpp PUBLIC_HEADERS *)\n",
    "src/core/Result.h": "#pragma once\n\n#include <string>\n#include <sys/stat.h>\n\nnamespace tevanto {\nclass Result {};\n}\n",
    "src/core/Result.cpp": '#include "core/Result.h"\n#include <cerrno>\n#include <unistd.h>\n#include <pthread.h>\n',
    "src/core/queue/CMakeLists.txt": """
        # tevanto_room(core/elsewhere SOURCES "Lost.cpp") is a comment, and so is a lone ) here.
        tevanto_room(core/queue  # the folder
          SOURCES EventLoop.cpp
          PUBLIC_HEADERS EventLoop.h EventLoopCore.h
          USES core
          PUBLIC_LIBRARIES Boost::headers "-framework Foundation"
          LIBRARIES ${CMAKE_DL_LIBS})
        if((CMAKE_SYSTEM_NAME STREQUAL "Linux") AND TEVANTO_TESTS)
          target_compile_options(tevanto_core_queue PRIVATE -O2)
        endif()
        """,
    "src/core/queue/EventLoop.h": '#pragma once\n#include "core/Result.h"\nclass EventLoop { struct Core; };\n',
    "src/core/queue/EventLoop.cpp": '#include "core/queue/EventLoopCore.h"\n#include "core/queue/Private.h"\n',
    "src/core/queue/EventLoopCore.h": '#pragma once\n#include <boost/asio/io_context.hpp>\n#include "core/queue/EventLoop.h"\n'
                                      "struct EventLoop::Core {\n};\nclass EventLoopQueue final : public SerialQueue {\n};\n",
    "src/core/queue/Private.h": "#pragma once\nusing Private = int;\n",
    "src/net/tcp/CMakeLists.txt": "tevanto_room(net/tcp SOURCES AsioSocket.cpp PUBLIC_HEADERS TcpConnection.h USES core/queue)\n",
    "src/net/tcp/TcpConnection.h": "#pragma once\nclass TcpConnection {\n public:\n  void close();\n};\n",
    "src/net/tcp/AsioSocket.h": "#pragma once\n#include <boost/asio/ip/tcp.hpp>\nclass AsioSocket {\n};\n",
    "src/net/tcp/AsioSocket.cpp": '#include "net/tcp/AsioSocket.h"\n#include "core/queue/EventLoopCore.h"\n',
    "src/remote/message/CMakeLists.txt":
        "tevanto_room(remote/message SOURCES RemoteMessage.cpp PUBLIC_HEADERS RemoteMessage.h LIBRARIES Boost::json)\n",
    "src/remote/message/RemoteMessage.h": "#pragma once\nstruct RemoteMessage {\n  int type() const;\n};\n",
    "src/remote/message/RemoteMessage.cpp": '#include "remote/message/RemoteMessage.h"\n#include <boost/json.hpp>\n',
    "src/control/CMakeLists.txt":
        "tevanto_room(control SOURCES Facts.cpp LINUX LinuxFacts.cpp MACOS MacFacts.mm\n"
        " PUBLIC_HEADERS InputEvents.h USES remote/message USES_LINUX core USES_MACOS core/queue\n"
        " LIBRARIES_LINUX PkgConfig::SYSTEMD LIBRARIES_MACOS PkgConfig::ICU)\n",
    "src/control/InputEvents.h": '#pragma once\n#include "remote/message/RemoteMessage.h"\nclass InputEvents {};\n',
    "src/control/Facts.h": "#pragma once\nstd::string userName();\nstruct Fact {\n};\n",
    "src/control/Facts.cpp": '#include "control/Facts.h"\n',
    "src/control/LinuxFacts.cpp": '#include "control/Facts.h"\n#include "core/Result.h"\n#include <systemd/sd-bus.h>\n',
    "src/control/MacFacts.mm":
        '#include "control/Facts.h"\n#include "core/queue/EventLoop.h"\n#import <AppKit/AppKit.h>\n#include <unicode/coll.h>\n',
    "src/screen/CMakeLists.txt":
        "set(rows PixelRowsAvx2.cpp)\ntevanto_room(screen SOURCES PixelRows.cpp SEPARATE PixelRowsAvx2.cpp\n"
        " PUBLIC_HEADERS PixelRows.h USES net/tcp)\n",
    "src/screen/PixelRows.h": '#pragma once\n#include "net/tcp/TcpConnection.h"\nclass PixelRows {};\n',
    "src/screen/PixelRows.cpp": '#include "screen/PixelRows.h"\n#include <immintrin.h>\n',
    "src/screen/PixelRowsAvx2.cpp": '#include "screen/PixelRows.h"\n',
    "src/remote/CMakeLists.txt": "tevanto_room(remote SOURCES MacRemoteServer.cpp PUBLIC_HEADERS MacRemoteServer.h\n"
                                 " USES net/tcp control screen)\n",
    "src/remote/MacRemoteServer.h": '#pragma once\n#include "net/tcp/TcpConnection.h"\nclass MacRemoteServer {};\n',
    "src/remote/MacRemoteServer.cpp": '#include "remote/MacRemoteServer.h"\n#include "control/InputEvents.h"\n'
                                      '#include "screen/PixelRows.h"\n',
    "src/remote/invites/CMakeLists.txt": "tevanto_room(remote/invites PUBLIC_HEADERS PairingInvites.h)\n",
    "src/remote/invites/PairingInvites.h": "#pragma once\nclass PairingInvites {};\n",
    "src/p2p/cloud/CMakeLists.txt": "tevanto_room(p2p/cloud USES remote/invites)\n",
    "src/p2p/cloud/CloudPairingInvites.h": '#pragma once\n#include "remote/invites/PairingInvites.h"\nclass CloudPairingInvites {};\n',
    "src/platform/linux/x11/CMakeLists.txt":
        "tevanto_room(platform/linux/x11 PUBLIC_HEADERS XServerReach.h XTestInputEvents.h USES control"
        " PUBLIC_LIBRARIES PkgConfig::XCB)\n",
    "src/platform/linux/x11/XServerReach.h": "#pragma once\nbool isReachable();\n",
    "src/platform/linux/x11/XTestInputEvents.h":
        '#pragma once\n#include <xcb/xcb.h>\n#ifdef __linux__\n#endif\n#include "control/InputEvents.h"\nclass XTestInputEvents {};\n',
    "src/platform/macos/values/CMakeLists.txt": "tevanto_room(platform/macos/values PUBLIC_HEADERS MediaTime.h)\n",
    "src/platform/macos/values/MediaTime.h": "#pragma once\nclass MediaTime {};\n",
    "src/app/linux/CMakeLists.txt":
        "tevanto_room(app/linux SOURCES LinuxServices.cpp SEPARATE main.cpp USES platform/linux/x11 remote)\n"
        "tevanto_program(tevanto SOURCES main.cpp LINK tevanto_app_linux tevanto_core Qt6::Core)\n",
    "src/app/linux/LinuxServices.h": "#pragma once\nclass LinuxServices {};\n",
    "src/app/linux/LinuxServices.cpp": '#include "app/linux/LinuxServices.h"\n#include "platform/linux/x11/XServerReach.h"\n'
                                       '#include "remote/MacRemoteServer.h"\n#include <xcb/xproto.h>\n',
    "src/app/linux/main.cpp": '#include "core/Result.h"\n#include <QString>\n',
    "src/app/ui/CMakeLists.txt": "tevanto_room(app/ui PUBLIC_HEADERS Activation.h)\n",
    "src/app/ui/Activation.h": "#pragma once\nvoid activate();\n",
    "src/app/ui/linux/CMakeLists.txt":
        "tevanto_room(app/ui/linux SOURCES Activation.cpp USES app/ui platform/linux/x11 LIBRARIES Qt6::Widgets)\n",
    "src/app/ui/linux/Activation.cpp": '#include "app/ui/Activation.h"\n#include "platform/linux/x11/XTestInputEvents.h"\n#include <QMenu>\n',
    "src/app/ui/macos/CMakeLists.txt": "tevanto_room(app/ui/macos SOURCES MacActivation.cpp USES app/ui platform/macos/values)\n",
    "src/app/ui/macos/MacActivation.cpp": '#include "app/ui/Activation.h"\n#include "platform/macos/values/MediaTime.h"\n',
    "src/phone/terminal/CMakeLists.txt":
        "tevanto_room(phone/terminal SEPARATE main.cpp USES remote/message)\n"
        "tevanto_program(tevanto-phone SOURCES main.cpp LINK tevanto_phone_terminal tevanto_platform_linux_x11)\n",
    "src/phone/terminal/main.cpp": '#include "platform/linux/x11/XTestInputEvents.h"\n#include "phone/terminal/Touchpad.h"\n',
    "src/phone/terminal/Touchpad.h": '#pragma once\n#include "remote/message/RemoteMessage.h"\nvoid drawTouchpad();\n',
    "src/relay/CMakeLists.txt": "tevanto_room(relay SEPARATE main.cpp USES core)\n"
                                "tevanto_program(tevanto-relay SOURCES main.cpp LINK tevanto_relay tevanto_platform_linux_x11)\n",
    "src/relay/RelayHub.h": '#pragma once\n#include "core/Result.h"\nclass RelayHub {};\n',
    "src/relay/main.cpp": '#include "platform/linux/x11/XTestInputEvents.h"\n',
    "docs/architecture.md": "# Architecture\n",
    "tests/support/ManualQueue.h": '#pragma once\n#include "screen/PixelRows.h"\n',
    "tests/support/TcpConnectionTest.cpp": "",
    "tests/e2e/PixelRowsTest.cpp": "",
    "tests/platform/contracts/InputEventsTest.mm": "",
    "tests/screen/PixelRowsTest.cpp": "",
    "tests/net/NothingOfThatNameTest.cpp": "",
}

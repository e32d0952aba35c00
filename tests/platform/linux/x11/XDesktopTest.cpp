#include "platform/linux/x11/XDesktop.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <string>
#include <string_view>

#include "platform/linux/x11/XcbOwned.h"
#include "platform/linux/x11/XcbServer.h"
#include "tests/support/desktop/XvfbServer.h"

namespace tevanto {
namespace {

/// A program that stays on the desktop, and says things of its screens.
class Resident {
 public:
  explicit Resident(const std::string& display)
      : connection_(XcbServer::connect(display).value().connection) {}

  void own(std::string_view selection) {
    const auto window = xcb_generate_id(connection_.get());
    xcb_create_window(connection_.get(), XCB_COPY_FROM_PARENT, window, rootOf(0), 0, 0, 1, 1, 0,
                      XCB_WINDOW_CLASS_INPUT_ONLY, XCB_COPY_FROM_PARENT, 0, nullptr);
    const auto atom = atomNamed(selection, connection_.get());
    xcb_set_selection_owner(connection_.get(), window, atom, XCB_CURRENT_TIME);
    finish();
  }
  void setResources(int screen, std::string_view lines) {
    xcb_change_property(connection_.get(), XCB_PROP_MODE_REPLACE, rootOf(screen), XCB_ATOM_RESOURCE_MANAGER,
                        XCB_ATOM_STRING, 8, static_cast<std::uint32_t>(lines.size()), lines.data());
    finish();
  }

 private:
  xcb_window_t rootOf(int screen) const {
    auto roots = xcb_setup_roots_iterator(xcb_get_setup(connection_.get()));
    for (; screen > 0; --screen) xcb_screen_next(&roots);
    return roots.data->root;
  }
  /// Until the server has done all that was asked.
  void finish() const {
    const auto cookie = xcb_get_input_focus(connection_.get());
    const XcbOwned<xcb_get_input_focus_reply_t> reply(
        xcb_get_input_focus_reply(connection_.get(), cookie, nullptr));
    ASSERT_TRUE(reply);
  }

  const XcbConnection connection_;
};

class XDesktopTest : public ::testing::Test {
 protected:
  static std::optional<XDesktop> seenFrom(const std::string& display) {
    ::setenv("DISPLAY", display.c_str(), 1);
    return XDesktop::current();
  }
  std::optional<double> dotsPerInchWith(std::string_view resources) {
    Resident(server_.display()).setResources(0, resources);
    return seenFrom(server_.display()).value().dotsPerInch;
  }

  test::XvfbServer server_{"640x480x24", {"-screen", "1", "640x480x24"}};
};

TEST_F(XDesktopTest, hasNothingOfItsOwn) {
  const auto desktop = seenFrom(server_.display());
  ASSERT_TRUE(desktop);
  EXPECT_FALSE(desktop->hasXembedTray);
  EXPECT_FALSE(desktop->isComposited);
  EXPECT_EQ(desktop->dotsPerInch, std::nullopt);
}

TEST_F(XDesktopTest, isNothingWithoutAServer) {
  server_.kill();
  EXPECT_FALSE(seenFrom(server_.display()));
}

TEST_F(XDesktopTest, hasATrayOrACompositorWhileSomebodyIsOne) {
  struct Role {
    std::string_view selection;
    bool XDesktop::*isHeld;
    bool XDesktop::*other;
  };
  for (const auto& role : {Role{"_NET_SYSTEM_TRAY_S0", &XDesktop::hasXembedTray, &XDesktop::isComposited},
                           Role{"_NET_WM_CM_S0", &XDesktop::isComposited, &XDesktop::hasXembedTray}}) {
    SCOPED_TRACE(role.selection);
    {
      Resident resident(server_.display());
      resident.own(role.selection);
      const auto desktop = seenFrom(server_.display()).value();
      EXPECT_TRUE(desktop.*role.isHeld);
      EXPECT_FALSE(desktop.*role.other);
    }
    EXPECT_FALSE(seenFrom(server_.display()).value().*role.isHeld);
  }
}

TEST_F(XDesktopTest, hasTheResolutionOfItsResources) {
  EXPECT_EQ(dotsPerInchWith("Xft.dpi:\t144\n"), 144);
  EXPECT_EQ(dotsPerInchWith("Xcursor.size:\t24\nXft.dpi:\t120.5\nXft.hinting:\t1\n"), 120.5);
}

TEST_F(XDesktopTest, hasNoResolutionWhereTheResourcesHaveNone) {
  for (const auto* none : {"", "Xft.dpi:\t\n", "Xft.dpi:\tlarge\n", "Xft.dpi:\t0\n", "Xft.dpi:\t-96\n",
                           "Other.Xft.dpi:\t144\n", "Xft.dpi"})
    EXPECT_EQ(dotsPerInchWith(none), std::nullopt) << none;
}

TEST_F(XDesktopTest, hasTheResourcesOfTheFirstScreenWhicheverItIsSeenFrom) {
  Resident session(server_.display());
  session.setResources(0, "Xft.dpi:\t144\n");
  session.setResources(1, "Xft.dpi:\t72\n");
  EXPECT_EQ(seenFrom(server_.display() + ".0")->dotsPerInch, 144);
  EXPECT_EQ(seenFrom(server_.display() + ".1")->dotsPerInch, 144);
}

}  // namespace
}  // namespace tevanto

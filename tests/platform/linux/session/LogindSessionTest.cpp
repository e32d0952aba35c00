#include "platform/linux/session/LogindSession.h"

#include <gtest/gtest.h>

#include "tests/support/desktop/DBusMock.h"

namespace tevanto {
namespace {

constexpr std::uint32_t kUser = 1000;
constexpr std::uint32_t kProcess = 4321;
const std::string kOwn = "/org/freedesktop/login1/session/c7";
const std::string kDesktop = "/org/freedesktop/login1/session/c1";

bool contains(const std::string& text, const std::string& part) {
  return text.find(part) != std::string::npos;
}

class LogindSessionTest : public testing::Test {
 protected:
  void startLogind() {
    logind_ = test::DBusMock::ofTemplate(system_, "logind");
    // The template's own one fails, as it adds a number to a text.
    logind_->addMethod({"org.freedesktop.login1.Manager", "GetUser", "u", "o",
                        "ret = dbus.ObjectPath('/org/freedesktop/login1/user/%d' % args[0])"});
    addSession("c7");
    addSession("c1");
  }
  void addSession(const std::string& id) {
    logind_->call("org.freedesktop.DBus.Mock.AddSession", {id, "seat0", "1000", "ada", "true"});
  }
  void setProperty(const std::string& path, const std::string& interface, const std::string& name,
                   const std::string& value) {
    logind_->callAt(path, "org.freedesktop.DBus.Properties.Set", {interface, name, value});
  }
  void makeGraphical(const std::string& session) {
    setProperty(session, "org.freedesktop.login1.Session", "Type", "<'x11'>");
  }
  void setDisplay(const std::string& session) {
    setProperty("/org/freedesktop/login1/user/1000", "org.freedesktop.login1.User", "Display",
                "<('c1', objectpath '" + session + "')>");
  }
  LogindSession session(std::string id = "c7") {
    return LogindSession(BusAddress::system(system_.address()), BusAddress::session(desktop_.address()),
                         {std::move(id), kProcess, kUser});
  }
  std::unique_ptr<test::DBusMock> service(const std::string& name, const std::string& path,
                                          const std::string& interface, const std::string& method,
                                          const std::string& in) {
    auto mock = std::make_unique<test::DBusMock>(desktop_, name, path, interface);
    mock->addMethod({interface, method, in, "", ""});
    return mock;
  }
  bool called(const std::string& session, const std::string& method) {
    return contains(logind_->callsAt(session), "'" + method + "'");
  }

  test::PrivateBus system_;
  test::PrivateBus desktop_;
  std::unique_ptr<test::DBusMock> logind_;
};

TEST_F(LogindSessionTest, locksTheSessionThatTheEnvironmentNames) {
  startLogind();
  const auto locked = session().lockSession();
  EXPECT_TRUE(locked) << (locked ? "" : locked.error());
  EXPECT_TRUE(called(kOwn, "Lock"));
  EXPECT_FALSE(called(kDesktop, "Lock"));
  EXPECT_FALSE(called(kOwn, "Terminate"));
}

TEST_F(LogindSessionTest, findsItsSessionByItsProcessWithoutAName) {
  startLogind();
  logind_->addMethod({"org.freedesktop.login1.Manager", "GetSessionByPID", "u", "o",
                      "ret = dbus.ObjectPath('/org/freedesktop/login1/session/c7')"});
  EXPECT_TRUE(session("").lockSession());
  EXPECT_TRUE(called(kOwn, "Lock"));
  EXPECT_TRUE(contains(logind_->calls(), "'GetSessionByPID', [<uint32 4321>]"));
}

TEST_F(LogindSessionTest, takesTheUsersDesktopWhenItBelongsToNoSession) {
  startLogind();
  setDisplay(kDesktop);
  EXPECT_TRUE(session("").lockSession());
  EXPECT_TRUE(called(kDesktop, "Lock"));
}

TEST_F(LogindSessionTest, prefersTheUsersDesktopToTheTerminalThatStartedIt) {
  startLogind();
  setDisplay(kDesktop);
  EXPECT_TRUE(session("c7").lockSession());
  EXPECT_TRUE(called(kDesktop, "Lock"));
  EXPECT_FALSE(called(kOwn, "Lock"));
}

TEST_F(LogindSessionTest, staysWithItsOwnDesktopWhenTheUserHasTwo) {
  startLogind();
  setDisplay(kDesktop);
  makeGraphical(kOwn);
  EXPECT_TRUE(session("c7").lockSession());
  EXPECT_TRUE(called(kOwn, "Lock"));
  EXPECT_FALSE(called(kDesktop, "Lock"));
}

TEST_F(LogindSessionTest, locksByTheScreenSaverWhereLogindKnowsNoSession) {
  startLogind();
  auto saver = service("org.freedesktop.ScreenSaver", "/org/freedesktop/ScreenSaver",
                       "org.freedesktop.ScreenSaver", "Lock", "");
  EXPECT_TRUE(session("").lockSession());
  EXPECT_TRUE(contains(saver->calls(), "'Lock'"));
}

TEST_F(LogindSessionTest, locksByADesktopsOwnScreenSaver) {
  struct Case {
    std::string name;
    std::string path;
    std::string in;
  };
  const Case cases[] = {{"org.gnome.ScreenSaver", "/org/gnome/ScreenSaver", ""},
                        {"org.xfce.ScreenSaver", "/org/xfce/ScreenSaver", ""},
                        {"org.mate.ScreenSaver", "/org/mate/ScreenSaver", ""},
                        {"org.cinnamon.ScreenSaver", "/org/cinnamon/ScreenSaver", "s"}};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    auto saver = service(c.name, c.path, c.name, "Lock", c.in);
    EXPECT_TRUE(session().lockSession()) << "no logind here";
    EXPECT_TRUE(contains(saver->calls(), "'Lock'"));
  }
}

TEST_F(LogindSessionTest, cannotLockWithoutAnyService) {
  const auto noLogind = session().lockSession();
  ASSERT_FALSE(noLogind);
  EXPECT_EQ(noLogind.error(), "no login session");
  system_.stop();
  desktop_.stop();
  const auto noBus = session().lockSession();
  ASSERT_FALSE(noBus);
  EXPECT_EQ(noBus.error(), "login service unavailable");
}

TEST_F(LogindSessionTest, restartsAndShutsDownWithoutAskingOnTheScreen) {
  startLogind();
  EXPECT_TRUE(session().restart());
  EXPECT_TRUE(contains(logind_->calls(), "'Reboot', [<false>]")) << logind_->calls();
  EXPECT_FALSE(contains(logind_->calls(), "'PowerOff'"));
  EXPECT_TRUE(session().shutDown());
  EXPECT_TRUE(contains(logind_->calls(), "'PowerOff', [<false>]")) << logind_->calls();
}

TEST_F(LogindSessionTest, tellsWhyTheSystemRefuses) {
  startLogind();
  logind_->addMethod({"org.freedesktop.login1.Manager", "Reboot", "b", "",
                      "raise dbus.exceptions.DBusException('Interactive authentication required.', "
                      "name='org.freedesktop.DBus.Error.InteractiveAuthorizationRequired')"});
  const auto refused = session().restart();
  ASSERT_FALSE(refused);
  EXPECT_EQ(refused.error(), "Interactive authentication required.");
}

TEST_F(LogindSessionTest, aLogindThatHangsOrIsMissingIsAFailure) {
  const auto missing = session().shutDown();
  ASSERT_FALSE(missing);
  EXPECT_EQ(missing.error(), "login service unavailable");
  startLogind();
  logind_->hang();
  const auto hung = session().shutDown();
  ASSERT_FALSE(hung);
  EXPECT_EQ(hung.error(), "login service does not answer");
}

TEST_F(LogindSessionTest, asksALogindThatHangsNothingMoreWhenLocking) {
  startLogind();
  logind_->hang();
  const auto hung = session().lockSession();
  ASSERT_FALSE(hung);
  EXPECT_EQ(hung.error(), "login service does not answer");
  auto saver = service("org.freedesktop.ScreenSaver", "/org/freedesktop/ScreenSaver",
                       "org.freedesktop.ScreenSaver", "Lock", "");
  EXPECT_TRUE(session().lockSession()) << "the screen saver still does";
  logind_->resume();
  const auto calls = logind_->calls();
  EXPECT_TRUE(contains(calls, "'GetSession'"));
  EXPECT_FALSE(contains(calls, "'GetSessionByPID'")) << calls;
  EXPECT_FALSE(contains(calls, "'GetUser'")) << calls;
}

TEST_F(LogindSessionTest, logsOutThroughTheDesktopsSessionManager) {
  startLogind();
  struct Case {
    std::string name;
    std::string path;
    std::string interface;
    std::string method;
    std::string in;
    std::string arguments;
  };
  const Case cases[] = {{"org.gnome.SessionManager", "/org/gnome/SessionManager", "org.gnome.SessionManager",
                         "Logout", "u", "'Logout', [<uint32 1>]"},
                        {"org.xfce.SessionManager", "/org/xfce/SessionManager", "org.xfce.Session.Manager",
                         "Logout", "bb", "'Logout', [<false>, <true>]"},
                        {"org.kde.ksmserver", "/KSMServer", "org.kde.KSMServerInterface", "logout", "iii",
                         "'logout', [<0>, <0>, <1>]"}};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    auto manager = service(c.name, c.path, c.interface, c.method, c.in);
    EXPECT_TRUE(session().logOut());
    EXPECT_TRUE(contains(manager->calls(), c.arguments)) << manager->calls();
  }
  EXPECT_FALSE(called(kOwn, "Terminate"));
}

TEST_F(LogindSessionTest, aSessionManagerThatRefusesOrHangsKeepsTheSession) {
  startLogind();
  test::DBusMock manager(desktop_, "org.gnome.SessionManager", "/org/gnome/SessionManager",
                         "org.gnome.SessionManager");
  manager.addMethod({"org.gnome.SessionManager", "Logout", "u", "",
                     "raise dbus.exceptions.DBusException('unsaved work', name='org.gnome.Busy')"});
  const auto refused = session().logOut();
  ASSERT_FALSE(refused);
  EXPECT_EQ(refused.error(), "unsaved work");
  manager.hang();
  const auto hung = session().logOut();
  ASSERT_FALSE(hung);
  EXPECT_EQ(hung.error(), "session service does not answer");
  EXPECT_FALSE(called(kOwn, "Terminate"));
}

TEST_F(LogindSessionTest, endsItsSessionThroughLogindWithoutASessionManager) {
  startLogind();
  EXPECT_TRUE(session().logOut());
  EXPECT_TRUE(called(kOwn, "Terminate"));
  EXPECT_FALSE(called(kDesktop, "Terminate"));
}

}  // namespace
}  // namespace tevanto

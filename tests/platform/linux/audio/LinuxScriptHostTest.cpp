#include "platform/linux/audio/LinuxScriptHost.h"

#include <gtest/gtest.h>

#include "platform/linux/audio/PulseAudioOutput.h"
#include "platform/linux/session/LogindSession.h"
#include "tests/support/desktop/DBusMock.h"
#include "tests/support/desktop/PulseServer.h"

namespace tevanto {
namespace {

bool contains(const std::string& text, const std::string& part) {
  return text.find(part) != std::string::npos;
}

class LinuxScriptHostTest : public testing::Test {
 protected:
  static std::int32_t integer(const ScriptResult& result) {
    return result.value ? std::get<std::int32_t>(*result.value) : -1;
  }
  bool logindGot(const std::string& call) { return contains(logind_->calls(), call); }

  test::PulseServer pulse_;
  test::PrivateBus bus_;
  std::unique_ptr<test::DBusMock> logind_ = test::DBusMock::ofTemplate(bus_, "logind");
  PulseAudioOutput audio_{pulse_.address()};
  LogindSession session_{
      BusAddress::system(bus_.address()), BusAddress::session(bus_.address()), {"c1", 1, 1000}};
  LinuxScriptHost host_{audio_, session_};
};

TEST_F(LinuxScriptHostTest, setsAndReadsTheVolume) {
  for (const int percent : {0, 56, 100}) {
    const auto set = host_.run("set volume output volume " + std::to_string(percent));
    EXPECT_TRUE(set.success) << set.errorMessage;
    EXPECT_EQ(pulse_.volumes(), (std::vector<int>{percent, percent}));
    const auto read = host_.run("output volume of (get volume settings)");
    EXPECT_TRUE(read.success) << read.errorMessage;
    EXPECT_EQ(integer(read), percent);
  }
}

TEST_F(LinuxScriptHostTest, mutesAndReadsIt) {
  EXPECT_TRUE(host_.run("set volume output muted true").success);
  EXPECT_TRUE(pulse_.isMuted());
  auto read = host_.run("output muted of (get volume settings)");
  ASSERT_TRUE(read.success && read.value) << read.errorMessage;
  EXPECT_TRUE(std::get<bool>(*read.value));
  EXPECT_TRUE(host_.run("set volume output muted false").success);
  EXPECT_FALSE(pulse_.isMuted());
  read = host_.run("output muted of (get volume settings)");
  ASSERT_TRUE(read.success && read.value);
  EXPECT_FALSE(std::get<bool>(*read.value));
}

TEST_F(LinuxScriptHostTest, restartsShutsDownAndLogsOut) {
  logind_->call("org.freedesktop.DBus.Mock.AddSession", {"c1", "seat0", "1000", "ada", "true"});
  EXPECT_TRUE(host_.run("tell application \"System Events\" to restart").success);
  EXPECT_TRUE(logindGot("'Reboot'"));
  EXPECT_FALSE(logindGot("'PowerOff'"));
  EXPECT_TRUE(host_.run("tell application \"System Events\" to shut down").success);
  EXPECT_TRUE(logindGot("'PowerOff'"));
  EXPECT_TRUE(host_.run("tell application \"System Events\" to log out").success);
  EXPECT_TRUE(contains(logind_->callsAt("/org/freedesktop/login1/session/c1"), "'Terminate'"));
}

TEST_F(LinuxScriptHostTest, everyOtherTextIsABadScriptAndDoesNothing) {
  ASSERT_TRUE(host_.run("set volume output volume 40").success);
  for (const char* source : {"",
                             " ",
                             "output volume",
                             "output volume of (get volume settings) ",
                             "set volume output volume ",
                             "set volume output volume 101",
                             "set volume output volume -1",
                             "set volume output volume +5",
                             "set volume output volume 007",
                             "set volume output volume 5.5",
                             "set volume output volume 5 ",
                             "set volume output volume 99999999999999999999",
                             "set volume output muted ",
                             "set volume output muted yes",
                             "set volume output muted TRUE",
                             "tell application \"System Events\" to ",
                             "tell application \"System Events\" to sleep",
                             "tell application \"System Events\" to restart now",
                             "tell application \"Finder\" to restart",
                             "Tell application \"System Events\" to restart",
                             "do shell script \"true\""}) {
    SCOPED_TRACE(source);
    const auto result = host_.run(source);
    EXPECT_FALSE(result.success);
    EXPECT_EQ(result.errorMessage, "bad script");
    EXPECT_FALSE(result.value);
  }
  EXPECT_EQ(host_.run(std::string_view("set volume output volume 5\0", 27)).errorMessage, "bad script");
  EXPECT_EQ(pulse_.volumes(), (std::vector<int>{40, 40}));
  EXPECT_FALSE(pulse_.isMuted());
  EXPECT_FALSE(logindGot("'Reboot'"));
}

TEST_F(LinuxScriptHostTest, aScriptThatFailsSaysWhy) {
  pulse_.kill();
  for (const char* source :
       {"output volume of (get volume settings)", "output muted of (get volume settings)",
        "set volume output volume 5", "set volume output muted true"}) {
    SCOPED_TRACE(source);
    const auto result = host_.run(source);
    EXPECT_FALSE(result.success);
    EXPECT_EQ(result.errorMessage, "no audio server");
    EXPECT_FALSE(result.value);
  }
  bus_.stop();
  EXPECT_EQ(host_.run("tell application \"System Events\" to restart").errorMessage,
            "login service unavailable");
}

TEST_F(LinuxScriptHostTest, aRefusalWithoutAWordGivesTheNameOfTheError) {
  logind_->addMethod({"org.freedesktop.login1.Manager", "Reboot", "b", "",
                      "raise dbus.exceptions.DBusException('', name='org.example.Silent')"});
  const auto result = host_.run("tell application \"System Events\" to restart");
  EXPECT_FALSE(result.success);
  EXPECT_EQ(result.errorMessage, "org.example.Silent");
}

}  // namespace
}  // namespace tevanto

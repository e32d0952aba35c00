#include <gmock/gmock.h>

#include <boost/json.hpp>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "tests/support/network/TurnServer.h"
#include "tests/support/peers/UdpServer.h"
#include "tests/support/programs/ChildProcess.h"
#include "tests/support/programs/TemporaryFolder.h"

namespace tevanto {
namespace {

using testing::HasSubstr;

/// The program alone, without a desktop: what it would look for on this one is kept from it.
class AwayDoctorProgram : public testing::Test {
 protected:
  test::ProgramResult tevanto(std::vector<std::string> arguments) const {
    arguments.insert(arguments.begin(), TEVANTO_PROGRAM);
    const auto folder = folder_.path().string();
    const std::string nowhere = "unix:path=" + folder + "/no-bus";
    return test::runProgram(std::move(arguments),
                            {.environment = {{"HOME", folder},
                                             {"XDG_CONFIG_HOME", folder},
                                             {"XDG_RUNTIME_DIR", folder},
                                             {"DISPLAY", ":no"},
                                             {"PULSE_SERVER", "unix:" + folder + "/no-pulse"},
                                             {"DBUS_SESSION_BUS_ADDRESS", nowhere},
                                             {"DBUS_SYSTEM_BUS_ADDRESS", nowhere}}});
  }

  test::TemporaryFolder folder_;
};

TEST_F(AwayDoctorProgram, triesWhatTheSettingsName) {
  const test::TurnServer server;
  test::UdpServer silent([](auto) { return std::vector<test::UdpServer::Datagram>(); });
  const auto turn = server.iceServer("udp");
  const auto stun = "127.0.0.1:" + std::to_string(silent.port());
  for (const auto& [key, value] : std::vector<std::pair<std::string, std::string>>{
           {"tevanto.turn.urls", "[\"" + server.url("udp") + "\"]"},
           {"tevanto.turn.username", *turn.username},
           {"tevanto.turn.credential", *turn.credential},
           {"tevanto.stun.hosts", "[\"" + stun + "\"]"}})
    ASSERT_EQ(tevanto({"defaults", "set", key, value}).exitStatus, 0) << key;
  const auto result = tevanto({"doctor", "--json", "--remote-port", "0", "--screen-port", "0"});
  EXPECT_EQ(result.exitStatus, 1);
  std::map<std::string, std::pair<bool, std::string>> found;
  const auto report = boost::json::parse(result.output);
  for (const auto& each : report.at("checks").as_array()) {
    found[each.at("name").as_string().c_str()] = {each.at("ok").as_bool(),
                                                  each.at("text").as_string().c_str()};
  }
  EXPECT_EQ(found["TURN"], std::pair(true, server.url("udp") + " allocated"));
  EXPECT_FALSE(found["STUN"].first);
  EXPECT_THAT(found["STUN"].second, HasSubstr(stun + " does not tell our address"));
  EXPECT_TRUE(found["relay"].first);
  EXPECT_THAT(found["relay"].second, HasSubstr("tevanto defaults set tevanto.relay.urls"));
  EXPECT_TRUE(found.contains("credentials") && found.contains("cloud") && found.contains("pointer"));
  EXPECT_EQ(result.output.find(*turn.credential), std::string::npos);
}

}  // namespace
}  // namespace tevanto

#pragma once

#include <gtest/gtest.h>

#include <chrono>
#include <fstream>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "tests/e2e/Programs.h"
#include "tests/support/companion/CompanionProcess.h"
#include "tests/support/network/AwayWorld.h"
#include "tests/support/programs/Eventually.h"
#include "tests/support/programs/TemporaryFolder.h"
#include "tests/support/web/CloudKitTestService.h"
#include "tests/support/web/TestHttpServer.h"

namespace tevanto {

using test::kPhone;
using test::kProgram;
using test::kRelay;

/// The real companion at home, and the real phone's program in a network that cannot see it.
class Away : public ::testing::Test {
 protected:
  void SetUp() override {
    if (!test::AwayWorld::permitted()) GTEST_SKIP() << "networks of its own need root";
    world = std::make_unique<test::AwayWorld>();
  }

  using Environment = std::vector<std::pair<std::string, std::string>>;

  void startServers() {
    world->startServers(kRelay);
    deploy({{"TEVANTO_RELAY_URLS", test::AwayWorld::kRelayURL}});
  }
  /// Sets the deployment settings of the away connection for companion and phone.
  void deploy(const Environment& values) {
    desktop.environment.insert(desktop.environment.end(), values.begin(), values.end());
    phoneEnvironment.insert(phoneEnvironment.end(), values.begin(), values.end());
  }

  /// Starts the companion and pairs the phone with it, over the away connection.
  void startCompanion() {
    companion = std::make_unique<test::CompanionProcess>(
        desktop, kProgram, std::vector<std::string>{"--no-discovery"}, &world->home());
    room = now().deviceID;
    const auto paired = phone({"--verbose", "pair", now().pairingCode});
    if (paired.exitStatus != 0) companion->process().terminate();
    ASSERT_EQ(paired.exitStatus, 0) << "phone:\n"
                                    << paired.output << "companion:\n"
                                    << companion->process().readAll();
  }

  CompanionStatus now() const { return companion->status().value_or(CompanionStatus()); }

  std::vector<std::string> phoneCommand(std::vector<std::string> arguments) const {
    arguments.insert(arguments.begin(), {kPhone, "--away", room, "--timeout", "120"});
    return (phoneIsAt ? *phoneIsAt : world->away()).inside(std::move(arguments));
  }
  test::ProgramResult phone(std::vector<std::string> arguments) const {
    return test::runProgram(phoneCommand(std::move(arguments)),
                            {.environment = phoneEnvironment, .mergeErrors = true});
  }
  /// Whether a session of the phone's has this route; it may take a second to be known.
  bool goesBy(const std::string& route) const {
    return test::eventually(
        [&] { return phone({"hello"}).output.find("Route:        " + route) != std::string::npos; },
        std::chrono::minutes(2));
  }
  /// A phone that stays, and sends what is written to it.
  std::unique_ptr<test::ChildProcess> livePhone() const {
    return std::make_unique<test::ChildProcess>(phoneCommand({"raw", "--token"}),
                                                test::ChildProcess::Options{.environment = phoneEnvironment});
  }
  static bool moves(test::ChildProcess& live, int dx) {
    live.write(R"({"type":"command","command":{"type":"movePointer","dx":)" + std::to_string(dx) +
               R"(,"dy":0}})" + "\n");
    return isAnswered(live);
  }
  static constexpr const char* kAnswer = R"("type":"ack")";
  /// Whether the next answer comes, and says that all is well.
  static bool isAnswered(test::ChildProcess& live) {
    for (auto line = live.readLine(std::chrono::seconds(60)); line;
         line = live.readLine(std::chrono::seconds(60))) {
      if (line->find(kAnswer) != std::string::npos) return line->find(R"("ok":true)") != std::string::npos;
    }
    return false;
  }
  /// Whether it says a line with this text, from now on.
  static bool saysSoon(test::ChildProcess& program, const std::string& text) {
    for (auto line = program.readLine(std::chrono::seconds(60)); line;
         line = program.readLine(std::chrono::seconds(60)))
      if (line->find(text) != std::string::npos) return true;
    return false;
  }
  bool pointerIsAt(int x) {
    return test::eventually([&] { return desktop.pointer().first == x; }, std::chrono::minutes(1));
  }

  /// Starts records in the cloud, on the internet.
  void startCloud() {
    world->internet().enter([this] {
      cloudServer = std::make_unique<test::TestHttpServer>(
          [this](const test::TestHttpRequest& request) { return cloud.answer(request); }, std::nullopt,
          test::AwayWorld::kServerAddress);
    });
    std::ofstream(folder.path() / "key.pem") << cloud.privateKeyPem();
    deploy({{"TEVANTO_CLOUDKIT_CONTAINER", test::CloudKitTestService::kContainer},
            {"TEVANTO_CLOUDKIT_ENVIRONMENT", "development"},
            {"TEVANTO_CLOUDKIT_KEY_ID", test::CloudKitTestService::kKeyID},
            {"TEVANTO_CLOUDKIT_KEY_FILE", (folder.path() / "key.pem").string()},
            {"TEVANTO_CLOUDKIT_SERVICE_URL", "http://" + cloudServer->authority()}});
  }

  test::TemporaryFolder folder;
  test::CloudKitTestService cloud;
  std::unique_ptr<test::TestHttpServer> cloudServer;
  test::CompanionDesktop desktop;
  Environment phoneEnvironment{{"XDG_CONFIG_HOME", (folder.path() / "phone").string()},
                               {"HOME", folder.path().string()}};
  std::unique_ptr<test::AwayWorld> world;
  const test::NetworkNamespace* phoneIsAt = nullptr;  // elsewhere than away
  std::unique_ptr<test::CompanionProcess> companion;
  std::string room;
};

}  // namespace tevanto

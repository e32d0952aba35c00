#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <string>
#include <thread>
#include <utility>

#include "tests/e2e/AwayFixture.h"
#include "tests/support/desktop/TextXClient.h"
#include "tests/support/programs/TestFiles.h"
#include "tests/support/web/TestAuthority.h"

// The away connection from end to end: the real companion at home, the real phone's program in a network
// that cannot see it, a real relay and a real TURN server between them. Where time passes for real, it is the
// outage that is tested.
namespace tevanto {
namespace {

using namespace std::chrono_literals;
using test::AwayWorld;
using test::ChildProcess;
using test::eventually;
using ::testing::HasSubstr;
using ::testing::Not;

TEST_F(Away, goesThroughTURNOverTCPWhereUDPIsDropped) {
  startServers();
  world->line().set({.dropsUDP = true});
  startCompanion();
  const auto x = desktop.pointer().first;
  EXPECT_EQ(phone({"move", "30", "0"}).exitStatus, 0);
  EXPECT_TRUE(pointerIsAt(x + 30));
  EXPECT_TRUE(goesBy("TURN relay"));
  EXPECT_THAT(world->turn().log(), HasSubstr("TCP"));
}

TEST_F(Away, worksOnTheSameNetworkToo) {
  startServers();
  startCompanion();
  const auto x = desktop.pointer().first;
  phoneIsAt = &world->home();
  EXPECT_EQ(phone({"move", "30", "0"}).exitStatus, 0);
  EXPECT_TRUE(pointerIsAt(x + 30));
  EXPECT_TRUE(goesBy("direct"));
}

TEST_F(Away, goesByARelayThatServesTls) {
  const test::TestAuthority authority;
  const auto identity = authority.issue({"IP:" + std::string(AwayWorld::kServerAddress)});
  const auto write = [this](const char* name, const std::string& text) {
    const auto path = (folder / name).string();
    test::fill(path, text);
    return path;
  };
  world->startServers(kRelay, {"--certificate", write("relay.pem", identity.certificatePem), "--private-key",
                               write("relay.key", identity.keyPem)});
  deploy({{"TEVANTO_RELAY_URLS", "wss://" + std::string(AwayWorld::kServerAddress) + ":8787"},
          {"SSL_CERT_FILE", write("authorities.pem", authority.certificatePem())}});
  startCompanion();
  const auto x = desktop.pointer().first;
  EXPECT_EQ(phone({"move", "30", "0"}).exitStatus, 0);
  EXPECT_TRUE(pointerIsAt(x + 30));
  EXPECT_TRUE(goesBy("TURN relay")) << "with credentials that came over TLS too";
}

TEST_F(Away, comesBackToARelayThatWasGone) {
  startServers();
  startCompanion();
  world->killRelay();
  world->startRelay(kRelay);
  const auto x = desktop.pointer().first;
  EXPECT_EQ(phone({"move", "30", "0"}).exitStatus, 0);
  EXPECT_TRUE(pointerIsAt(x + 30));
}

TEST_F(Away, aConnectedPhoneOutlivesTheRelay) {
  startServers();
  world->setRoute(true);
  startCompanion();
  const auto live = livePhone();
  const auto x = desktop.pointer().first;
  ASSERT_TRUE(moves(*live, 10));
  world->killRelay();
  EXPECT_TRUE(moves(*live, 10));
  EXPECT_TRUE(pointerIsAt(x + 20));
}

TEST_F(Away, goesOnAfterFiveSecondsWithoutALine) {
  startServers();
  world->setRoute(true);
  startCompanion();
  const auto live = livePhone();
  const auto x = desktop.pointer().first;
  ASSERT_TRUE(moves(*live, 10));
  world->line().set({.isCut = true});
  std::this_thread::sleep_for(5s);
  world->line().set({});
  EXPECT_TRUE(moves(*live, 10)) << "in the same session";
  EXPECT_TRUE(live->isRunning());
  EXPECT_TRUE(pointerIsAt(x + 20));
}

TEST_F(Away, comesBackAfterTwentySecondsWithoutALine) {
  startServers();
  world->setRoute(true);
  startCompanion();
  ChildProcess mirror(phoneCommand({"--verbose", "mirror", "--stats", "--seconds", "75"}),
                      {.environment = phoneEnvironment, .mergeErrors = true});
  ASSERT_TRUE(saysSoon(mirror, "frames/s"));
  world->line().set({.isCut = true});
  std::this_thread::sleep_for(20s);
  world->line().set({});
  EXPECT_TRUE(saysSoon(mirror, "The connection is lost; calling again."));
  EXPECT_TRUE(saysSoon(mirror, "data channel ready"));
  EXPECT_TRUE(saysSoon(mirror, "2 key frames")) << "one for each session";
  mirror.signal(SIGINT);
  EXPECT_EQ(mirror.wait(), 0);
}

// Over a line on which the offer is ready before the relay is open.
TEST_F(Away, aPhoneThatWasKilledIsMetAgainByItsNextCall) {
  startServers();
  world->setRoute(true);
  world->line().set({.delay = 300ms});
  startCompanion();
  const auto live = livePhone();
  ASSERT_TRUE(moves(*live, 10));
  live->kill();
  const auto said = phone({"--verbose", "move", "30", "0"});
  EXPECT_EQ(said.exitStatus, 0) << said.output;
  const std::string call = "connecting role=phone";
  const auto first = said.output.find(call);
  ASSERT_NE(first, std::string::npos) << said.output;
  EXPECT_EQ(said.output.find(call, first + 1), std::string::npos) << "it called twice\n" << said.output;
}

TEST_F(Away, followsTheCompanionToAnotherAddress) {
  startServers();
  world->setRoute(true);
  startCompanion();
  const auto live = livePhone();
  const auto x = desktop.pointer().first;
  ASSERT_TRUE(moves(*live, 10));
  world->moveHome("10.8.1.77");
  EXPECT_TRUE(moves(*live, 10)) << "in the same session";
  EXPECT_TRUE(pointerIsAt(x + 20));
  live->closeInput();
  EXPECT_EQ(live->wait(), 0);
}

TEST_F(Away, aCompanionThatEndsTellsItsPhone) {
  startServers();
  world->setRoute(true);
  startCompanion();
  ChildProcess live(phoneCommand({"--verbose", "raw", "--token"}),
                    {.environment = phoneEnvironment, .mergeErrors = true});
  ASSERT_TRUE(moves(live, 10));
  companion->process().signal(SIGTERM);
  EXPECT_EQ(companion->process().wait(), 0);
  const auto rest = live.readAll();
  EXPECT_THAT(rest, HasSubstr("transport failed"));
  EXPECT_THAT(rest, Not(HasSubstr("transport interrupted"))) << "it had to find out by itself";
}

TEST_F(Away, typesExactlyOnceAndInOrderOnABadLine) {
  startServers();
  world->setRoute(true);
  startCompanion();
  test::TextXClient field(desktop.display().display());
  for (const double loss : {0.0, 0.01, 0.05, 0.25}) {
    for (const auto delay : {0ms, 50ms, 200ms}) {
      SCOPED_TRACE("loss " + std::to_string(loss) + ", delay " + std::to_string(delay.count()) + " ms");
      field.clear();
      const auto live = livePhone();
      ASSERT_TRUE(moves(*live, 1));
      world->line().set({.loss = loss, .delay = delay, .reorder = 0.1});
      std::string wanted;
      constexpr int kWords = 40;
      for (int i = 0; i < kWords; ++i) {
        const auto word = std::to_string(i) + ",";
        live->write(R"({"type":"command","command":{"type":"insertText","text":")" + word + "\"}}\n");
        wanted += word;
      }
      EXPECT_TRUE(eventually([&] { return field.text().size() >= wanted.size(); }, 120s)) << field.text();
      EXPECT_EQ(field.textOf(wanted.size()), wanted);
      for (int i = 0; i < kWords; ++i) ASSERT_TRUE(isAnswered(*live)) << i;
      world->line().set({});
      live->closeInput();
      EXPECT_THAT(live->readAll(), Not(HasSubstr(kAnswer))) << "each once";
      EXPECT_EQ(field.text(), wanted);
    }
  }
}

}  // namespace
}  // namespace tevanto

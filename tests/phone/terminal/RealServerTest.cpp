// The phone's program against the companion's own server, over sockets on loopback.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include "control/MacInputController.h"
#include "control/MacPowerManager.h"
#include "control/MacShortcutRunner.h"
#include "core/queue/EventLoop.h"
#include "core/queue/SerialQueue.h"
#include "net/tcp/AsioTcpListenerFactory.h"
#include "phone/terminal/CommandLine.h"
#include "remote/MacRemoteServer.h"
#include "remote/access/CompatibleAccess.h"
#include "tests/support/fakes/FakeAccessibilityPermission.h"
#include "tests/support/fakes/FakePowerSources.h"
#include "tests/support/fakes/FakeScriptHost.h"
#include "tests/support/fakes/FakeServiceAdvertiser.h"
#include "tests/support/fakes/FakeServiceBrowser.h"
#include "tests/support/fakes/FakeSleepAssertions.h"
#include "tests/support/fakes/FakeUserDefaults.h"
#include "tests/support/fakes/FakeUserPreferences.h"
#include "tests/support/fakes/FakeWorkspace.h"
#include "tests/support/fakes/RecordingInputEvents.h"
#include "tests/support/programs/Eventually.h"

namespace tevanto::phone {
namespace {

using testing::HasSubstr;

class RealServerTest : public testing::Test {
 protected:
  RealServerTest() {
    scripts_.results["output volume of (get volume settings)"] = {true, "", 42};
    scripts_.results["output muted of (get volume settings)"] = {true, "", false};
    scripts_.results["set volume output volume 40"] = {true, "", {}};
    scripts_.results["tell application \"System Events\" to restart"] = {true, "", {}};
    ApplicationBundle editor;
    editor.location = "/apps/editor";
    editor.identifier = "org.example.Editor";
    editor.displayName = "Editor";
    workspace_.folders = {{"/apps", {editor}}};
    workspace_.locations["org.example.Editor"] = "/apps/editor";
    server_->setPower(power_);
    server_->start();
  }
  ~RealServerTest() override {
    server_->stop();
    queue_->sync([] {});
    loop_->stop();
  }
  void SetUp() override {
    ASSERT_TRUE(test::eventually([&] { return server_->port.get() != 0; }));
  }

  int run(std::vector<std::string> arguments) {
    arguments.insert(arguments.begin(), {"--host", "127.0.0.1:" + std::to_string(server_->port.get())});
    out_.str("");
    err_.str("");
    return runPhone(std::move(arguments), {&browser_, phoneDefaults_, out_, err_, -1, -1});
  }
  void pair() { ASSERT_EQ(run({"pair", server_->pairingCode.get()}), 0) << err_.str(); }
  template <class Kind>
  std::vector<Kind> posted() {
    std::vector<Kind> found;
    mainQueue_->sync([&] { found = events_.only<Kind>(); });
    return found;
  }

  std::shared_ptr<EventLoop> loop_ = EventLoop::background(2);
  std::shared_ptr<SerialQueue> queue_ = loop_->makeQueue("tevanto.remote.server");
  std::shared_ptr<SerialQueue> mainQueue_ = loop_->makeQueue("main");
  AsioTcpListenerFactory listeners_{loop_, ListenScope::loopback};
  test::FakeServiceAdvertiser advertiser_;
  test::FakeUserDefaults companionDefaults_;
  test::FakeUserDefaults phoneDefaults_;
  test::FakeServiceBrowser browser_;
  test::RecordingInputEvents events_;
  test::FakeUserPreferences preferences_;
  test::FakeWorkspace workspace_;
  test::FakeScriptHost scripts_;
  test::FakeAccessibilityPermission permission_;
  test::FakeSleepAssertions assertions_;
  test::FakePowerSources sources_;
  std::shared_ptr<MacPowerManager> power_ =
      std::make_shared<MacPowerManager>(mainQueue_, assertions_, sources_);
  std::shared_ptr<MacRemoteServer> server_ = MacRemoteServer::create(
      {.queue = queue_,
       .mainQueue = mainQueue_,
       .shortcutQueue = loop_->makeQueue("tevanto.shortcuts"),
       .backgroundQueue = loop_->makeQueue("background"),
       .listeners = listeners_,
       .advertiser = advertiser_,
       .defaults = companionDefaults_,
       .access = std::make_shared<CompatibleAccess>(companionDefaults_),
       .computerName = "Studio",
       .port = 0},
      {std::make_shared<MacInputController>(events_, events_, preferences_, workspace_),
       std::make_shared<MacShortcutRunner>(mainQueue_, scripts_, workspace_, events_, permission_),
       permission_});
  std::ostringstream out_;
  std::ostringstream err_;
};

TEST_F(RealServerTest, pairsAndIsKnown) {
  EXPECT_EQ(run({"hello"}), 4);
  pair();
  EXPECT_EQ(out_.str(), "Paired with Studio.\n");
  EXPECT_EQ(run({"hello"}), 0) << err_.str();
  EXPECT_THAT(out_.str(), HasSubstr("Studio is ready."));
}

TEST_F(RealServerTest, refusesAWrongCode) {
  EXPECT_EQ(run({"pair", server_->pairingCode.get() + "0"}), 4);
  EXPECT_THAT(err_.str(), HasSubstr("wrong code"));
}

TEST_F(RealServerTest, carriesInputOut) {
  pair();
  EXPECT_EQ(run({"move", "10", "-4"}), 0) << err_.str();
  EXPECT_EQ(run({"click", "-n", "2"}), 0) << err_.str();
  EXPECT_EQ(run({"drag", "20", "10"}), 0) << err_.str();
  EXPECT_EQ(run({"scroll", "0", "5"}), 0) << err_.str();
  EXPECT_EQ(run({"key", "A"}), 0) << err_.str();
  EXPECT_EQ(run({"type", "Grüße 👋"}), 0) << err_.str();
  EXPECT_EQ(run({"gesture", "showDesktop"}), 0) << err_.str();
  EXPECT_EQ(run({"select-all"}), 0) << err_.str();
  const auto mouse = posted<test::RecordedMouse>();
  ASSERT_EQ(mouse.size(), 1u + 4u + 12u);
  EXPECT_EQ(mouse[0].location, (PointerLocation{10, -4}));
  EXPECT_EQ(mouse.back().location, (PointerLocation{30, 6}));
  EXPECT_EQ(posted<test::RecordedScroll>(), (std::vector<test::RecordedScroll>{{5, 0}}));
  const auto keys = posted<test::RecordedKey>();
  ASSERT_EQ(keys.size(), 8u);
  EXPECT_EQ(keys[0], (test::RecordedKey{0, KeyDirection::down, 0x20000}));
  EXPECT_EQ(keys[2].text, u"Grüße 👋");
  EXPECT_EQ(keys[4].keyCode, 103);
  EXPECT_EQ(keys[6].flags, 0x100000u);
}

TEST_F(RealServerTest, passesOnAMissingPermission) {
  pair();
  permission_.trusted = false;
  EXPECT_EQ(run({"move", "1", "1"}), 4);
  EXPECT_THAT(err_.str(), HasSubstr("accessibility required"));
  permission_.trusted = true;
  EXPECT_EQ(run({"move", "1", "1"}), 0);
}

TEST_F(RealServerTest, setsTheVolumeAndShowsTheState) {
  pair();
  EXPECT_EQ(run({"volume", "40"}), 0) << err_.str();
  EXPECT_EQ(out_.str(), "volume 40\n");
  EXPECT_EQ(run({"state"}), 0) << err_.str();
  EXPECT_THAT(out_.str(),
              HasSubstr("Volume:      42 %\nMuted:       no\nKeep awake:  off (Keep Awake off)\n"));
}

TEST_F(RealServerTest, switchesKeepAwake) {
  pair();
  EXPECT_EQ(run({"keep-awake", "on"}), 0) << err_.str();
  EXPECT_THAT(out_.str(), HasSubstr("Keep awake:  on (Keeps running after screen lock)"));
  EXPECT_TRUE(power_->isKeepAwakeOn.get());
  EXPECT_EQ(run({"keep-awake", "off"}), 0) << err_.str();
  EXPECT_FALSE(power_->isKeepAwakeOn.get());
}

TEST_F(RealServerTest, listsAndOpensApplications) {
  pair();
  EXPECT_EQ(run({"apps"}), 0) << err_.str();
  EXPECT_THAT(out_.str(), HasSubstr("org.example.Editor"));
  EXPECT_EQ(run({"open", "org.example.Editor"}), 0) << err_.str();
  EXPECT_EQ(out_.str(), "opening\n");
  EXPECT_EQ(run({"open", "org.example.Missing"}), 4);
  EXPECT_THAT(err_.str(), HasSubstr("app not found"));
}

TEST_F(RealServerTest, performsShortcuts) {
  pair();
  EXPECT_EQ(run({"lock"}), 0) << err_.str();
  EXPECT_EQ(out_.str(), "locking\n");
  EXPECT_EQ(run({"play-pause"}), 0) << err_.str();
  EXPECT_EQ(run({"restart", "--yes"}), 0) << err_.str();  // a script of the fake host, nothing else
  EXPECT_EQ(out_.str(), "restart\n");
  EXPECT_EQ(run({"logout", "--yes"}), 4);
  EXPECT_THAT(err_.str(), HasSubstr("bad script"));
}

}  // namespace
}  // namespace tevanto::phone

#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <ostream>
#include <string>
#include <vector>

#include "control/MacInputController.h"
#include "control/MacPowerManager.h"
#include "control/MacShortcutRunner.h"
#include "core/settings/DeviceIdentity.h"
#include "remote/MacRemoteServer.h"
#include "remote/access/CompatibleAccess.h"
#include "remote/message/RemoteMessageCodec.h"
#include "tests/support/fakes/FakeAccessibilityPermission.h"
#include "tests/support/fakes/FakeAwayTransport.h"
#include "tests/support/fakes/FakeListenerFactory.h"
#include "tests/support/fakes/FakePowerSources.h"
#include "tests/support/fakes/FakeScriptHost.h"
#include "tests/support/fakes/FakeServiceAdvertiser.h"
#include "tests/support/fakes/FakeSleepAssertions.h"
#include "tests/support/fakes/FakeUserDefaults.h"
#include "tests/support/fakes/FakeUserPreferences.h"
#include "tests/support/fakes/FakeWorkspace.h"
#include "tests/support/fakes/ManualQueue.h"
#include "tests/support/fakes/RecordingInputEvents.h"

namespace tevanto {

/// So that a failing comparison shows the JSON.
inline void PrintTo(const RemoteMessage& message, std::ostream* out) {
  std::string json;
  *out << (encodeRemoteMessage(message, json) ? json : "a message that cannot be encoded");
}

}  // namespace tevanto

namespace tevanto::test {

/// A phone's end of a control connection.
class Phone {
 public:
  Phone() = default;
  Phone(std::shared_ptr<FakeTcpPeer> peer, std::shared_ptr<ManualQueue> queue)
      : peer_(std::move(peer)), queue_(std::move(queue)) {}

  void send(const RemoteMessage& message) {
    std::string line;
    ASSERT_TRUE(encodeRemoteMessage(message, line));
    sendLine(line);
  }
  void sendLine(const std::string& line) {
    peer_->send(line + "\n");
    queue_->runPending();
  }

  /// What has come since the last call.
  std::vector<RemoteMessage> replies() {
    queue_->runPending();
    std::vector<RemoteMessage> messages;
    auto text = std::exchange(peer_->received, {});
    for (std::size_t end = 0; (end = text.find('\n')) != std::string::npos; text.erase(0, end + 1)) {
      const auto message = decodeRemoteMessage(text.substr(0, end));
      EXPECT_TRUE(message) << text;
      if (message) messages.push_back(*message);
    }
    EXPECT_EQ(text, "");
    return messages;
  }
  std::vector<std::string> replyTypes() {
    std::vector<std::string> types;
    for (const auto& message : replies()) types.push_back(message.type);
    return types;
  }

  FakeTcpPeer& peer() { return *peer_; }

 private:
  std::shared_ptr<FakeTcpPeer> peer_;
  std::shared_ptr<ManualQueue> queue_;
};

/// A server on virtual time, with the real controllers over fakes of the system.
class RemoteServerTest : public testing::Test {
 protected:
  static constexpr auto* kToken = "01234567-89AB-CDEF-0123-456789ABCDEF";

  void SetUp() override {
    scripts_.results[std::string(script::kOutputVolume)] = {true, "", 25};
    scripts_.results[std::string(script::kOutputMuted)] = {true, "", false};
    makeServer();
  }

  void makeServer(std::optional<std::string> computerName = "Studio") {
    server_ = MacRemoteServer::create({.queue = queue_,
                                       .mainQueue = main_,
                                       .shortcutQueue = shortcut_,
                                       .backgroundQueue = background_,
                                       .listeners = listeners_,
                                       .advertiser = advertiser_,
                                       .defaults = defaults_,
                                       .access = access_,
                                       .computerName = std::move(computerName)},
                                      {.input = input_, .shortcuts = shortcuts_, .permission = permission_});
    server_->setAwayAccess({answerers_.factory(), invites_});
  }

  void start() {
    server_->start();
    run();
  }
  void run() { queue_->runPending(); }
  Phone connect() {
    Phone phone(listeners_.last->connect(), queue_);
    run();
    return phone;
  }
  std::string storedToken() { return defaults_.string(kPairingTokenKey).value_or(""); }
  std::string deviceID() { return defaults_.string(kDeviceIDKey).value_or(""); }
  RemoteMessage pairRequest() { return {.type = "pairRequest", .code = server_->pairingCode.get()}; }
  std::string statusText() { return server_->statusText.get(); }
  void storeToken(const std::string& token = kToken) {
    ASSERT_TRUE(defaults_.set(kPairingTokenKey, token).ok());
  }
  /// A phone that is connected and may send commands.
  Phone pairedPhone() {
    storeToken();
    start();
    return connect();
  }
  RemoteMessage command(RemoteCommand inner) {
    return {.type = "command", .token = kToken, .command = std::move(inner)};
  }

  std::shared_ptr<ManualClock> clock_ = std::make_shared<ManualClock>();
  std::shared_ptr<ManualQueue> queue_ = std::make_shared<ManualQueue>("tevanto.remote.server", clock_);
  std::shared_ptr<ManualQueue> main_ = std::make_shared<ManualQueue>("main", clock_);
  std::shared_ptr<ManualQueue> shortcut_ = std::make_shared<ManualQueue>("tevanto.shortcuts", clock_);
  std::shared_ptr<ManualQueue> background_ = std::make_shared<ManualQueue>("background", clock_);
  FakeListenerFactory listeners_;
  FakeServiceAdvertiser advertiser_;
  FakeUserDefaults defaults_;
  std::shared_ptr<AccessPolicy> access_ = std::make_shared<CompatibleAccess>(defaults_);
  RecordingInputEvents events_;
  FakeUserPreferences preferences_;
  FakeWorkspace workspace_;
  FakeScriptHost scripts_;
  FakeAccessibilityPermission permission_;
  FakeSleepAssertions assertions_;
  FakePowerSources sources_;
  FakeAnswerers answerers_;
  std::shared_ptr<RecordingPairingInvites> invites_ = std::make_shared<RecordingPairingInvites>();
  std::shared_ptr<MacInputController> input_ =
      std::make_shared<MacInputController>(events_, events_, preferences_, workspace_);
  std::shared_ptr<MacShortcutRunner> shortcuts_ =
      std::make_shared<MacShortcutRunner>(main_, scripts_, workspace_, events_, permission_);
  std::shared_ptr<MacPowerManager> power_ = std::make_shared<MacPowerManager>(main_, assertions_, sources_);
  std::shared_ptr<MacRemoteServer> server_;
};

}  // namespace tevanto::test

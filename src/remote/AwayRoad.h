#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "remote/MessageChannel.h"

namespace tevanto {

class ScreenService;

/// The road by which a phone away from the local network reaches this computer: a peer-to-peer answerer and
/// the invite that leads a phone to it. The remote server drives it; all calls come on the server's queue.
class AwayRoad {
 public:
  /// What an invite tells a phone.
  struct Invite {
    std::string pairingCode;
    std::string deviceID;
    std::string name;
  };

  virtual ~AwayRoad() = default;
  /// Who mirrors the screen over this road too. Before the first `startAnswerer`.
  virtual void setScreen(std::weak_ptr<ScreenService> screen) { (void)screen; }
  /// Starts the answerer unless one runs. Called when the listener starts and whenever a local connection
  /// ends.
  virtual void startAnswerer() = 0;
  /// Publishes the invite, and again every 240 seconds, until another one takes its place.
  virtual void publishInvite(const Invite& invite) = 0;
  /// A phone has just paired.
  virtual void phonePaired(const std::optional<std::string>& phoneDeviceID) = 0;
};

/// For a build or a system that has no such road.
class NoAwayRoad final : public AwayRoad {
 public:
  void startAnswerer() override {}
  void publishInvite(const Invite&) override {}
  void phonePaired(const std::optional<std::string>&) override {}
};

}  // namespace tevanto

#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <iostream>
#include <memory>
#include <optional>
#include <utility>

#include "core/Log.h"
#include "core/queue/EventLoop.h"
#include "core/settings/JsonUserDefaults.h"
#include "p2p/transport/DeployedTransports.h"
#include "phone/terminal/CommandLine.h"
#include "platform/linux/avahi/AvahiServiceBrowser.h"
#include "platform/linux/process/LoadedModule.h"
#include "platform/linux/webrtc/LinuxPeers.h"

namespace {

using tevanto::Failure;
using tevanto::Result;
using tevanto::phone::AwayChannel;
using tevanto::phone::AwayTransport;
using tevanto::phone::MirrorMedia;

constexpr tevanto::ModuleEntry<MirrorMedia*()> kMakeMirrorMedia{"phone-media", "tevantoMakeMirrorMedia"};

Result<std::shared_ptr<MirrorMedia>> loadMirrorMedia() {
  auto made = tevanto::makeFromModule(kMakeMirrorMedia);
  if (!made) return Failure{made.error()};
  return std::shared_ptr<MirrorMedia>(std::move(made).value());
}

/// Away owns the peers and transports for calls to other networks, and the loop that they run on.
class Away {
 public:
  Away(tevanto::UserDefaults& defaults, const std::shared_ptr<tevanto::LogSink>& log)
      : peers_(tevanto::linuxPeers(log, true, loop_->makeQueue("peer-signaling"))),
        transports_({.loop = loop_, .mainQueue = mainQueue_, .defaults = defaults, .log = log},
                    {.settings = tevanto::linuxDeployment(defaults, log), .peers = peers_}) {}
  ~Away() { loop_->stop(); }
  Away(const Away&) = delete;
  Away& operator=(const Away&) = delete;

  /// When all its links are gone, and so that the companion hears of that.
  void release() { peers_->release(); }

  Result<AwayChannel::Environment> environment() {
    if (!tevanto::DeployedTransports::canMeet(transports_.settings())) {
      return Failure{
          "No relay is known at which to meet the companion. Name the one that it waits at: "
          "TEVANTO_RELAY_URLS=wss://relay.example.org"};
    }
    // The call waits for it, and it would wait for whatever else is loaded at that moment.
    const auto loaded = peers_->load();
    if (!loaded.ok()) return Failure{loaded.error()};
    return AwayChannel::Environment{
        mainQueue_, [this](const std::string& room) {
          auto made = transports_.factory().makeOfferer(room);
          const std::weak_ptr<tevanto::WebRTCTransport> weak = made.transport;
          AwayTransport transport{made.transport, made.transport, std::move(made.start)};
          transport.isRelayed = [weak] {
            const auto alive = weak.lock();
            return alive ? alive->isRelayed() : std::nullopt;
          };
          transport.goesByRecords = [weak] {
            const auto alive = weak.lock();
            return alive && alive->cloudSignalingEverOpened() && !alive->signalingEverOpened();
          };
          return transport;
        }};
  }

 private:
  const std::shared_ptr<tevanto::EventLoop> loop_ = tevanto::EventLoop::background(1);
  const std::shared_ptr<tevanto::SerialQueue> mainQueue_ = loop_->makeQueue("main");
  const std::shared_ptr<tevanto::LoadedPeers> peers_;
  tevanto::DeployedTransports transports_;
};

}  // namespace

int main(int argc, char** argv) {
  std::signal(SIGPIPE, SIG_IGN);  // a reader that leaves is no reason to die in the middle of a command
  tevanto::JsonUserDefaults defaults(tevanto::JsonUserDefaults::standardFile("phone.json"),
                                     tevanto::Logger(tevanto::LogSink::standardError(), "phone"));
  const auto browser = tevanto::makeAvahiServiceBrowser();
  std::unique_ptr<Away> away;
  const auto callAway = [&](bool verbose) {
    const auto log = verbose ? tevanto::LogSink::standardError() : tevanto::LogSink::none();
    away = std::make_unique<Away>(defaults, log);
    return away->environment();
  };
  const int status = tevanto::phone::runPhone(
      {argv + 1, argv + argc}, {browser.get(), defaults, std::cout, std::cerr, STDIN_FILENO, STDOUT_FILENO,
                                loadMirrorMedia, callAway});
  if (!away) return status;
  away->release();
  // The engine's threads may still be closing peers, and must not meet the libraries' cleanup at the exit.
  std::cout.flush();
  std::cerr.flush();
  std::_Exit(status);
}

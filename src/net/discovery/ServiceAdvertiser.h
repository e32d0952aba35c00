#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace tevanto {

/// ServiceDescription is one service in DNS-Based Service Discovery (RFC 6763), in the default domain.
struct ServiceDescription {
  std::string name;
  std::string type;  // "_service._tcp"
  std::uint16_t port = 0;
  std::vector<std::pair<std::string, std::string>> txt;

  bool operator==(const ServiceDescription&) const = default;
};

/// AdvertisingState tells how far a service is visible on the local network.
enum class AdvertisingState {
  pending,      // asked for, not yet visible on the network
  advertised,   // visible, under `name`
  unavailable,  // there is no discovery service on this machine; published as soon as there is one
};

/// AdvertisingStatus is the state of one registration, with its name and the reason of a failure.
struct AdvertisingStatus {
  AdvertisingState state = AdvertisingState::pending;
  std::string name;     // the name in use: a collision on the network may have changed it
  std::string message;  // for a person, when not advertised

  bool operator==(const AdvertisingStatus&) const = default;
};

/// ServiceAdvertiser keeps services visible on the local network, each for as long as its registration is
/// held. The status callback comes on an arbitrary thread.
class ServiceAdvertiser {
 public:
  using Registration = std::shared_ptr<void>;
  using StatusHandler = std::function<void(const AdvertisingStatus&)>;

  virtual ~ServiceAdvertiser() = default;
  [[nodiscard]] virtual Registration advertise(const ServiceDescription& service, StatusHandler onStatus) = 0;
};

}  // namespace tevanto

#pragma once

#include <chrono>
#include <cstdint>
#include <memory>
#include <set>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "platform/linux/dbus/BusReply.h"

struct sd_bus;

namespace tevanto {

/// BusAddress names a bus: the system's, or that of the user's session. An empty `address` means the one that
/// the environment names.
struct BusAddress {
  /// Kind is the kind of a bus.
  enum class Kind { system, session };

  static BusAddress system(std::string address = {}) { return {Kind::system, std::move(address)}; }
  static BusAddress session(std::string address = {}) { return {Kind::session, std::move(address)}; }

  Kind kind;
  std::string address;
};

/// BusVariant is a variant that holds a boolean, as the Set method of properties takes it.
struct BusVariant {
  bool value = false;
};
/// BusArgument is an argument of a method, of one of the types that are used here.
using BusArgument = std::variant<bool, std::int32_t, std::uint32_t, std::string, BusVariant>;

/// BusCall is one method call. Only services that already run are called. This program asks about the
/// present session, and a service that had to be started would know nothing about it.
struct BusCall {
  std::string service;
  std::string path;
  std::string interface;
  std::string method;
  std::vector<BusArgument> arguments = {};
};

/// BusConnection is a connection to a D-Bus bus. The timeout bounds every operation. A service that did not
/// answer is not asked again on the same connection, so one that hangs costs its caller the timeout once.
///
/// The connection takes no part in an event loop: it costs nothing while unused and notices its end only
/// when it is used. Callers therefore open one when they need it, which takes about a millisecond, and keep
/// it only while it holds something. One thread at a time.
class BusConnection {
 public:
  static constexpr std::chrono::milliseconds kTimeout{2000};

  /// An error when there is no such bus, or it does not accept the connection within the timeout.
  static std::variant<BusConnection, BusError> open(const BusAddress& address,
                                                    std::chrono::milliseconds timeout = kTimeout);

  BusReply call(const BusCall& call);
  /// All at once, each with its own reply, in the order of the calls; the timeout is that of the whole.
  std::vector<BusReply> callAll(const std::vector<BusCall>& calls);

  /// Returns true when the service was given up because it did not answer.
  bool isHung(std::string_view service) const;

  /// org.freedesktop.DBus.Properties
  BusReply property(const std::string& service, const std::string& path, const std::string& interface,
                    const std::string& name);
  static BusCall getAll(std::string service, std::string path, std::string interface);

 private:
  struct Close {
    void operator()(sd_bus* bus) const;
  };
  using Owner = std::unique_ptr<sd_bus, Close>;
  BusConnection(Owner bus, std::chrono::milliseconds timeout) : bus_(std::move(bus)), timeout_(timeout) {}
  /// Runs the connection until `done`, its end or the deadline: 0, or a negative errno.
  template <class Done>
  static int runUntil(sd_bus* bus, std::chrono::steady_clock::time_point deadline, Done done);

  Owner bus_;
  std::chrono::milliseconds timeout_;
  std::set<std::string, std::less<>> hung_;  // services that did not answer
};

/// Opens a connection, makes one call and closes it again.
BusReply callOnce(const BusAddress& address, const BusCall& call,
                  std::chrono::milliseconds timeout = BusConnection::kTimeout);

}  // namespace tevanto

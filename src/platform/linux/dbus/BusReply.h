#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

#include "core/Descriptor.h"

struct sd_bus_message;

namespace tevanto {

/// BusError is the reason why a D-Bus call has no reply.
struct BusError {
  int code = 0;      // errno of this failure; of a service's answer, the one closest to its name
  std::string name;  // of the D-Bus error, when a service or the bus answered with one
  std::string text;

  /// Nobody on the bus has the name that was called, or nobody can be started under it.
  bool isNoService() const;
  bool isTimeout() const;
};

/// A value of a basic D-Bus type; object paths are strings, and all integers are 64 bits wide.
using BusValue = std::variant<bool, std::int64_t, std::uint64_t, double, std::string>;
using BusProperties = std::map<std::string, BusValue, std::less<>>;

/// The property under `name`, when it is there and of this type; a number converts between the integer types.
std::optional<std::string> stringProperty(const BusProperties& properties, std::string_view name);
std::optional<double> doubleProperty(const BusProperties& properties, std::string_view name);
std::optional<std::uint64_t> unsignedProperty(const BusProperties& properties, std::string_view name);
std::optional<bool> boolProperty(const BusProperties& properties, std::string_view name);

/// BusReply is the result of a D-Bus call: a reply, or the reason why there is none. It owns the message. The
/// readers look at the reply's first value and return nothing when it is of another type.
class BusReply {
 public:
  BusReply(BusError error) : error_(std::move(error)) {}  // NOLINT(google-explicit-constructor)
  /// Takes a reference of its own.
  explicit BusReply(sd_bus_message* message);

  bool ok() const { return message_ != nullptr; }
  explicit operator bool() const { return ok(); }
  const BusError& error() const { return error_; }

  std::optional<std::uint32_t> uint32() const;
  std::optional<std::string> string() const;
  std::optional<std::vector<std::string>> strings() const;
  /// A duplicate that outlives this reply; the message closes its own.
  Descriptor descriptor() const;
  /// The basic members of an a{sv}; members of other types are left out.
  std::optional<BusProperties> properties() const;
  /// The content of a variant; of a structure in it, such as logind's (id, path), the last text.
  std::optional<BusValue> variant() const;

 private:
  struct Unref {
    void operator()(sd_bus_message* message) const;
  };
  sd_bus_message* rewound() const;

  BusError error_;
  std::unique_ptr<sd_bus_message, Unref> message_;
};

}  // namespace tevanto

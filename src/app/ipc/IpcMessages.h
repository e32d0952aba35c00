#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "app/ipc/CompanionStatus.h"
#include "core/Result.h"

namespace tevanto {

/// ControlRequest is what another program of the same user may ask of a running companion, one JSON object
/// per line:
///
///     {"request":"status"}
///     {"request":"keepAwake","on":true}
///     {"request":"tevantoOpenSetup","activationToken":"..."}
///     {"request":"reloadDefaults"}
///     {"request":"giveWay"}
///
/// The token is the desktop's permission to bring a window forward, where the asking program was given one. A
/// companion gives way, and ends, when it has lost its display and the asking program has one.
///
/// Each is answered with one line: {"ok":true,"status":{...}}, or {"ok":false,"error":"...","status":{...}},
/// without "status" when the request was not understood.
struct ControlRequest {
  enum class Kind { status, keepAwake, showSetupWindow, reloadDefaults, giveWay };
  Kind kind = Kind::status;
  bool on = false;                   // keepAwake
  std::string activationToken = {};  // showSetupWindow; empty when there is none

  bool operator==(const ControlRequest&) const = default;
};

struct ControlReply {
  bool ok = false;
  std::string error;  // when not ok, one sentence for a person
  std::optional<CompanionStatus> status;

  bool operator==(const ControlReply&) const = default;
};

/// The line without its line feed. A request that cannot be used fails with a sentence that tells why.
Result<ControlRequest> decodeControlRequest(std::string_view line);
std::string encodeControlRequest(const ControlRequest& request);

std::optional<ControlReply> decodeControlReply(std::string_view line);
std::string encodeControlReply(const ControlReply& reply);

}  // namespace tevanto

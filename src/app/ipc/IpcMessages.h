#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "app/ipc/CompanionStatus.h"
#include "core/Result.h"

namespace tevanto {

/// IpcRequest is what another program of the same user may ask of a running companion, one JSON object
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
struct IpcRequest {
  enum class Kind { status, keepAwake, showSetupWindow, reloadDefaults, giveWay };
  Kind kind = Kind::status;
  bool on = false;                   // keepAwake
  std::string activationToken = {};  // showSetupWindow; empty when there is none

  bool operator==(const IpcRequest&) const = default;
};

/// IpcReply is the answer of the companion to one request.
struct IpcReply {
  bool ok = false;
  std::string error;  // when not ok, one sentence for a person
  std::optional<CompanionStatus> status;

  bool operator==(const IpcReply&) const = default;
};

/// The line without its line feed. A request that cannot be used fails with a sentence that tells why.
Result<IpcRequest> decodeIpcRequest(std::string_view line);
std::string encodeIpcRequest(const IpcRequest& request);

std::optional<IpcReply> decodeIpcReply(std::string_view line);
std::string encodeIpcReply(const IpcReply& reply);

}  // namespace tevanto

#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "remote/message/RemoteMessage.h"

namespace tevanto {

/// JSON to message. Format: docs/protocol.md, sections 2 and 5.1. Nothing when the text is anything else.
/// Never throws, and its stack does not grow with the text.
std::optional<RemoteMessage> decodeRemoteMessage(std::string_view json);

/// Message to JSON, on one line, without a line feed, appended to `out`. False, and `out` as it was, when a
/// member cannot be written (a number that is not finite, a string that is not UTF-8).
bool encodeRemoteMessage(const RemoteMessage& message, std::string& out);

}  // namespace tevanto

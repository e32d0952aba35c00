#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "remote/message/RemoteMessage.h"

namespace tevanto {

/// JSON (RFC 8259) to message. Strict: UTF-8 and types are checked, `type` is required, null counts as
/// absent, unknown members are ignored, integers must be integral numbers, lists have no more than 65,536
/// elements. Nothing when the text is anything else; never throws, and its stack does not grow with the text.
std::optional<RemoteMessage> decodeRemoteMessage(std::string_view json);

/// Message to JSON, on one line, without a line feed, appended to `out`. Absent members are left out. False,
/// and `out` as it was, when a member cannot be written (a number that is not finite, a string that is not
/// UTF-8).
bool encodeRemoteMessage(const RemoteMessage& message, std::string& out);

}  // namespace tevanto

#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "relay/RelayTypes.h"

namespace tevanto::relay {

/// RelayTarget is the target of a request line: a path and the two query items that the relay knows
/// (docs/protocol.md, section 9.2). Percent escapes are decoded; a plus sign stands for itself (RFC 3986). Of
/// an item that is given twice the first counts.
struct RelayTarget {
  std::string path;
  std::optional<std::string> room;
  std::optional<std::string> role;

  static constexpr std::size_t kMaxRoomCharacters = 128;

  /// The room when it is well-formed UTF-8 of 1 to 128 characters (code points).
  std::optional<std::string> validRoom() const;
  std::optional<RoomRole> validRole() const;
};

/// Nothing when the target does not begin with a slash or an escape is broken.
std::optional<RelayTarget> parseRelayTarget(std::string_view target);

}  // namespace tevanto::relay

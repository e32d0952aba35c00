#pragma once

#include <chrono>
#include <string>

#include "core/Result.h"
#include "net/IceUrl.h"

namespace tevanto {

/// Asks a STUN server over UDP for the address that it sees us at: "203.0.113.7:4711". Sends to all addresses
/// of its host at once. Retransmits after 0.5 s, then after twice as long each time (RFC 8489,
/// section 6.2.1). Blocks for `timeout` at most, in addition to the look-up of the name.
Result<std::string> askStun(const IceUrl& server,
                            std::chrono::milliseconds timeout = std::chrono::seconds(3));

}  // namespace tevanto

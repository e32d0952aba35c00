#pragma once

#include <chrono>
#include <string>

#include "core/Result.h"
#include "net/IceUrl.h"

namespace tevanto {

/// Asks a STUN server over UDP which address it sees us at: "203.0.113.7:4711". Asks again after 0.5 s and
/// then twice as long each time (RFC 8489, section 6.2.1), all addresses of its host at once. Blocks, until
/// `timeout` is over at the latest, besides what the look-up of its name takes.
Result<std::string> askStun(const IceUrl& server,
                            std::chrono::milliseconds timeout = std::chrono::seconds(3));

}  // namespace tevanto

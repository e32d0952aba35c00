#pragma once

#include <string>

#include "remote/invites/CloudPairingInvite.h"

namespace tevanto {

/// PairingInvites stores invites where a phone away from the local network finds them. Failures are logged
/// and not returned. A code that does not have exactly six digits is ignored. Thread-safe.
class PairingInvites {
 public:
  virtual ~PairingInvites() = default;
  /// Writes the invite of `code`, in place of an earlier one; `room` is where the phone meets the computer.
  virtual void publishPairInvite(const std::string& code, const std::string& room,
                                 const CloudPairingInvite& invite) = 0;
  /// A phone has paired with `code`, which leads nowhere any more.
  virtual void deletePairInvite(const std::string& code) = 0;
};

}  // namespace tevanto

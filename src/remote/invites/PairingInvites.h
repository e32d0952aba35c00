#pragma once

#include <string>

#include "remote/invites/CloudPairingInvite.h"

namespace tevanto {

/// Where invites lie until a phone away from the local network finds them. Calls may come from any thread;
/// failures are logged, not told. A code that has not exactly six digits is ignored.
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

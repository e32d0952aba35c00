#pragma once

#include <chrono>

namespace tevanto {

/// When the system asks whether the other side of a silent connection is still there: a phone whose battery
/// is empty, or that has left the house, says no goodbye. Without an answer the connection fails. Bytes
/// under way are asked for by TCP itself.
struct KeepAlive {
  std::chrono::seconds silence{30};   // before the first question
  std::chrono::seconds interval{10};  // from one to the next
  int questions = 3;                  // that may go without an answer
};

/// Sets it for a socket; what the system does not know stays as it is.
void setKeepAlive(int descriptor, const KeepAlive& keepAlive);

}  // namespace tevanto

#pragma once

#include <chrono>

namespace tevanto {

/// KeepAlive holds the times of TCP keep-alive: the system probes a silent connection and fails it without an
/// answer. A phone with an empty battery, or out of range, does not close its connection. While bytes are
/// under way, TCP's own retransmission notices.
struct KeepAlive {
  std::chrono::seconds silence{30};   // before the first question
  std::chrono::seconds interval{10};  // from one to the next
  int questions = 3;                  // that may go without an answer
};

/// Sets it for a socket; what the system does not know stays as it is.
void setKeepAlive(int descriptor, const KeepAlive& keepAlive);

}  // namespace tevanto

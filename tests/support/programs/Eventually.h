#pragma once

#include <chrono>
#include <thread>

namespace tevanto::test {

/// Waits until another process or thread has made `condition` true; false when it did not within the
/// deadline, which is generous, because it only decides how long a failing test takes.
template <class Condition>
bool eventually(Condition condition, std::chrono::milliseconds deadline = std::chrono::seconds(30)) {
  const auto end = std::chrono::steady_clock::now() + deadline;
  while (!condition()) {
    if (std::chrono::steady_clock::now() >= end) return false;
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
  }
  return true;
}

}  // namespace tevanto::test

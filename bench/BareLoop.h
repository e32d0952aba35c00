#pragma once

#include <cstdint>
#include <string>

namespace tevanto::bench {

/// What the control channel costs at the very least: one thread that receives, finds two numbers in each
/// line, injects the motion through XTest and flushes. No queues, no tokens, no answers, no JSON. The rival
/// of the pointer benchmarks.
class BareLoop {
 public:
  /// Whether each command is answered with a fixed line, as the companion answers with an acknowledgement.
  enum class Answers { none, fixedLine };

  /// Listens on loopback in a child process that injects into `display`. Port of the listener, pid of the
  /// child.
  static BareLoop start(const std::string& display, Answers answers);
  BareLoop(BareLoop&& other) noexcept;
  BareLoop& operator=(BareLoop&&) = delete;
  ~BareLoop();

  std::uint16_t port() const { return port_; }

 private:
  BareLoop(std::uint16_t port, int pid) : port_(port), pid_(pid) {}

  std::uint16_t port_;
  int pid_;
};

}  // namespace tevanto::bench

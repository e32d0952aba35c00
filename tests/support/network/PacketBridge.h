#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <thread>

#include "tests/support/network/NetworkNamespace.h"

namespace tevanto::test {

/// What a bad line does to packets. Each packet is looked at on its own, by a generator with a fixed seed.
struct LineConditions {
  double loss = 0;                     // 0 to 1
  std::chrono::milliseconds delay{0};  // one way
  double reorder = 0;                  // 0 to 1: how many are held back by another `reorderDelay`
  std::chrono::milliseconds reorderDelay{5};
  bool isCut = false;        // nothing passes
  bool dropsUDP = false;     // as many an office does
  double bitsPerSecond = 0;  // 0: as fast as it goes; packets beyond 200 ms of it are dropped
};

/// Carries Ethernet frames between two interfaces of one network in user space, under conditions that may
/// change at any time: for kernels without netem.
class PacketBridge {
 public:
  PacketBridge(const NetworkNamespace& network, const std::string& one, const std::string& other);
  ~PacketBridge();
  PacketBridge(const PacketBridge&) = delete;
  PacketBridge& operator=(const PacketBridge&) = delete;

  void set(const LineConditions& conditions);
  std::uint64_t carried() const { return carried_; }
  std::uint64_t dropped() const { return dropped_; }

 private:
  class Direction;

  void work();
  LineConditions conditions() const;

  std::unique_ptr<Direction> forth_;
  std::unique_ptr<Direction> back_;
  mutable std::mutex mutex_;  // guards conditions_
  LineConditions conditions_;
  std::atomic<std::uint64_t> carried_ = 0;
  std::atomic<std::uint64_t> dropped_ = 0;
  std::atomic<bool> stopping_ = false;
  std::thread thread_;
};

}  // namespace tevanto::test

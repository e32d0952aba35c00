#pragma once

#include <cstdint>
#include <string>

namespace tevanto::relay {

/// RelayMetrics holds the counters of the relay since its start.
struct RelayMetrics {
  std::uint64_t connections = 0;  // open now, requests included
  std::uint64_t macMembers = 0;   // in a room now
  std::uint64_t phoneMembers = 0;
  std::uint64_t rooms = 0;

  std::uint64_t acceptedConnections = 0;
  std::uint64_t refusedConnections = 0;
  std::uint64_t joins = 0;
  std::uint64_t forwardedMessages = 0;
  std::uint64_t forwardedBytes = 0;
  std::uint64_t messagesToNobody = 0;
  std::uint64_t replacedMembers = 0;
  std::uint64_t rateLimitedMembers = 0;
  std::uint64_t slowReaders = 0;
  std::uint64_t silentMembers = 0;
  std::uint64_t failedRequests = 0;
  std::uint64_t turnCredentials = 0;

  /// The Prometheus text format, version 0.0.4.
  std::string text() const;

  static constexpr const char* kContentType = "text/plain; version=0.0.4; charset=utf-8";
};

}  // namespace tevanto::relay

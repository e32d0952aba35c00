#pragma once

#include <string>
#include <utility>
#include <vector>

#include "screen/ScreenTransport.h"
#include "tests/support/peers/ScreenBytes.h"

namespace tevanto::test {

/// A transport that records what it is asked to send, and accepts what the test lets it.
class FakeScreenTransport final : public ScreenTransport {
 public:
  bool sendScreenPayload(std::span<const std::byte> message) override {
    payloads.push_back(textOf(message));
    return true;
  }
  bool sendScreenFrame(std::span<const std::byte> message, bool isKeyFrame) override {
    frames.emplace_back(textOf(message), isKeyFrame);
    return accepts;
  }
  bool takesKeyFrame(std::size_t) const override { return accepts; }

  std::vector<std::string> payloads;
  std::vector<std::pair<std::string, bool>> frames;
  bool accepts = true;
};

}  // namespace tevanto::test

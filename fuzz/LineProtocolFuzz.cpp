#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "remote/LineProtocolConnection.h"
#include "tests/support/fakes/FakeTcpConnection.h"
#include "tests/support/fakes/ManualQueue.h"

namespace {

using tevanto::RemoteMessage;

/// What a connection delivers when the bytes come in pieces of these sizes, one after the other, again and
/// again; in one piece when there are none.
std::vector<RemoteMessage> deliver(std::string_view bytes, std::string_view sizes) {
  auto queue = std::make_shared<tevanto::test::ManualQueue>("line");
  auto peer = std::make_shared<tevanto::test::FakeTcpPeer>();
  auto line = std::make_shared<tevanto::LineProtocolConnection>(
      std::make_unique<tevanto::test::FakeTcpConnection>(peer));
  std::vector<RemoteMessage> messages;
  line->onMessage = [&](RemoteMessage message) { messages.push_back(std::move(message)); };
  queue->sync([&] { line->start(queue); });
  queue->runPending();
  for (std::size_t i = 0; !bytes.empty(); ++i) {
    const std::size_t wanted =
        sizes.empty() ? bytes.size() : 1 + static_cast<unsigned char>(sizes[i % sizes.size()]) % 64;
    const auto piece = bytes.substr(0, wanted);
    peer->send(piece);
    queue->runPending();
    bytes.remove_prefix(piece.size());
  }
  return messages;
}

}  // namespace

/// However the stream is cut, the same messages come. The first byte says how many of the next ones are the
/// sizes of the pieces.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size == 0) return 0;
  std::string_view input(reinterpret_cast<const char*>(data), size);
  const std::size_t count = 1 + static_cast<unsigned char>(input[0]) % 8;
  input.remove_prefix(1);
  const auto sizes = input.substr(0, count);
  input.remove_prefix(sizes.size());
  if (deliver(input, {}) != deliver(input, sizes)) std::abort();
  return 0;
}

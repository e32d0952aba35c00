#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <span>

#include "p2p/ice/StunMessage.h"

/// Whatever comes back from the network is an address or an error in its range, and never both, or it is
/// nothing; in an answer to another request it is always nothing.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const auto datagram = std::as_bytes(std::span(data, size));
  const tevanto::StunTransaction transaction{};
  if (const auto answer = tevanto::readStunAnswer(datagram, transaction)) {
    const bool isError = answer->error >= 300 && answer->error <= 699;
    if (answer->address.empty() ? !isError : answer->error != 0) std::abort();
    auto other = transaction;
    other.back() = std::byte{1};
    if (tevanto::readStunAnswer(datagram, other)) std::abort();
  }
  return 0;
}

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <span>

#include "phone/mirror/ByteStream.h"
#include "phone/mirror/MirrorStream.h"
#include "screen/wire/FrameExtractor.h"

using namespace tevanto;
using namespace tevanto::phone;

namespace {

/// Takes everything; what it is given must have a start code in front.
class AnyDecoder final : public VideoDecoder {
 public:
  Result<std::optional<DecodedPicture>> decode(std::span<const std::byte> accessUnit) override {
    if (accessUnit.size() < 5 || accessUnit[3] != std::byte{1}) std::abort();
    if (accessUnit.back() == std::byte{0}) return Failure{"damaged"};
    return std::optional(DecodedPicture{});
  }
  void flush() override {}
};

}  // namespace

/// The phone's end of the screen connection: nothing is shown before a key frame behind its parameter sets.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  AnyDecoder decoder;
  bool hasKeyframe = false;
  MirrorStream stream(decoder, {[] {},
                                [&](const ReceivedFrame& frame, const auto&) {
                                  hasKeyframe = hasKeyframe || frame.isKeyframe;
                                  if (!hasKeyframe || frame.sps.empty() || frame.data.empty()) std::abort();
                                },
                                [] {}});
  FrameExtractor frames;
  frames.feed(std::as_bytes(std::span(data, size)), [&](std::span<const std::byte> message) {
    stream.onMessage(message, {});
    return true;
  });
  return 0;
}

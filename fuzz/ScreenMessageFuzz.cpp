#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <span>

#include "screen/wire/ScreenStreamHello.h"
#include "screen/wire/ScreenStreamMessage.h"

using namespace tevanto;

/// Whatever decodes must encode, and decode again to the same.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const auto message = std::as_bytes(std::span(data, size));
  if (screenMessageType(message) && message.empty()) std::abort();
  if (message.empty()) return 0;
  const auto body = message.subspan(1);

  if (const auto hello = decodeHello(body)) {
    const auto again = helloMessage(*hello);
    if (decodeHello(std::span(again).subspan(1)) != hello) std::abort();
  }
  if (const auto sets = decodeParameterSets(body)) {
    const auto again = parameterSetMessage(sets->sps, sets->pps);
    if (again.size() > message.size()) std::abort();
    const auto twice = decodeParameterSets(std::span(again).subspan(1));
    if (!twice || twice->sps.size() != sets->sps.size() || twice->pps.size() != sets->pps.size())
      std::abort();
  }
  if (const auto frame = decodeVideoFrame(body)) {
    if (videoFrameMessage(frame->data, frame->isKeyframe).size() != message.size()) std::abort();
  }
  return 0;
}

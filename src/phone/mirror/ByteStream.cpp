#include "phone/mirror/ByteStream.h"

#include <array>

#include "screen/wire/BigEndian.h"

namespace tevanto::phone {
namespace {

constexpr std::size_t kLengthBytes = 4;

}  // namespace

void appendNalUnit(std::vector<std::byte>& stream, std::span<const std::byte> nalUnit) {
  constexpr std::array kStartCode = {std::byte{0}, std::byte{0}, std::byte{0}, std::byte{1}};
  stream.insert(stream.end(), kStartCode.begin(), kStartCode.end());
  stream.insert(stream.end(), nalUnit.begin(), nalUnit.end());
}

bool appendNalUnits(std::vector<std::byte>& stream, std::span<const std::byte> data) {
  const auto before = stream.size();
  bool isWhole = !data.empty();
  while (isWhole && !data.empty()) {
    const auto length = data.size() < kLengthBytes ? 0 : readBigEndian<std::uint32_t>(data);
    isWhole = length > 0 && length <= data.size() - kLengthBytes;
    if (!isWhole) break;
    appendNalUnit(stream, data.subspan(kLengthBytes, length));
    data = data.subspan(kLengthBytes + length);
  }
  if (!isWhole) stream.resize(before);
  return isWhole;
}

}  // namespace tevanto::phone

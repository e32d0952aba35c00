#include "screen/encode/AccessUnit.h"

#include <algorithm>
#include <cstring>

#include "screen/wire/BigEndian.h"

namespace tevanto {
namespace {

constexpr std::size_t kStartCodeBytes = 3;  // 00 00 01; a zero byte more in front belongs to what precedes it

/// Where the next start code is at or behind `from`, or the end. Looks for the rare byte, the 1.
std::size_t findStartCode(std::span<const std::byte> stream, std::size_t from) {
  const auto* bytes = reinterpret_cast<const unsigned char*>(stream.data());
  for (std::size_t i = from + 2; i < stream.size(); ++i) {
    const auto* one = static_cast<const unsigned char*>(std::memchr(bytes + i, 1, stream.size() - i));
    if (!one) break;
    i = static_cast<std::size_t>(one - bytes);
    if (bytes[i - 1] == 0 && bytes[i - 2] == 0) return i - 2;
  }
  return stream.size();
}

std::span<const std::byte> withoutTrailingZeros(std::span<const std::byte> nalUnit) {
  while (!nalUnit.empty() && nalUnit.back() == std::byte{0}) nalUnit = nalUnit.first(nalUnit.size() - 1);
  return nalUnit;
}

void append(std::vector<std::byte>& data, std::span<const std::byte> nalUnit) {
  const auto length = bigEndian(static_cast<std::uint32_t>(nalUnit.size()));
  data.insert(data.end(), length.begin(), length.end());
  data.insert(data.end(), nalUnit.begin(), nalUnit.end());
}

}  // namespace

NalUnitType nalUnitType(std::span<const std::byte> nalUnit) {
  if (nalUnit.empty()) return NalUnitType{};
  return static_cast<NalUnitType>(std::to_integer<std::uint8_t>(nalUnit.front()) & 0x1F);
}

std::vector<std::span<const std::byte>> annexBNalUnits(std::span<const std::byte> stream) {
  std::vector<std::span<const std::byte>> units;
  for (auto start = findStartCode(stream, 0); start < stream.size();) {
    const auto begin = start + kStartCodeBytes;
    start = findStartCode(stream, begin);
    const auto unit = withoutTrailingZeros(stream.subspan(begin, start - begin));
    if (!unit.empty()) units.push_back(unit);
  }
  return units;
}

AccessUnit AccessUnit::ofAnnexB(std::span<const std::byte> stream) {
  AccessUnit result;
  result.data.reserve(stream.size() + 16);
  for (const auto unit : annexBNalUnits(stream)) {
    switch (nalUnitType(unit)) {
      case NalUnitType::idrSlice:
        result.isIdr = true;
        [[fallthrough]];
      case NalUnitType::slice:
      case NalUnitType::sei:
        append(result.data, unit);
        break;
      case NalUnitType::sps:
        result.sps.emplace(unit.begin(), unit.end());
        break;
      case NalUnitType::pps:
        result.pps.emplace(unit.begin(), unit.end());
        break;
      default:
        break;
    }
  }
  return result;
}

}  // namespace tevanto

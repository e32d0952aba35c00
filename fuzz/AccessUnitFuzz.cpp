#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <span>

#include "screen/encode/AccessUnit.h"
#include "screen/encode/IdrPictureId.h"
#include "screen/wire/BigEndian.h"

using namespace tevanto;

namespace {

/// The NAL units behind their lengths; ends the process when the lengths do not add up.
std::size_t countUnits(std::span<const std::byte> data) {
  std::size_t count = 0;
  for (; !data.empty(); ++count) {
    if (data.size() < 4) std::abort();
    const std::size_t length = readBigEndian<std::uint32_t>(data);
    if (length == 0 || length > data.size() - 4) std::abort();
    data = data.subspan(4 + length);
  }
  return count;
}

}  // namespace

/// What an encoder puts out, of which the drivers of hardware are the ones that nobody knows: it is cut into
/// NAL units, and the parameter sets and slices of key frames are read and written anew. The first two bytes
/// are the number that the key frame gets.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size < 2) return 0;
  const auto id = static_cast<std::uint16_t>(data[0] << 8 | data[1]);
  auto unit = AccessUnit::ofAnnexB(std::as_bytes(std::span(data + 2, size - 2)));
  const auto units = countUnits(unit.data);
  const auto before = unit.data;
  if (!setIdrPictureId(unit, id)) {
    if (unit.data != before) std::abort();
    return 0;
  }
  if (countUnits(unit.data) != units) std::abort();
  // What was written reads as it was meant: to write the same again changes nothing.
  auto again = unit;
  if (!setIdrPictureId(again, id) || again.data != unit.data) std::abort();
  return 0;
}

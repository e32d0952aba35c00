#pragma once

#include <cstddef>
#include <optional>
#include <span>
#include <vector>

namespace tevanto::phone {

/// Appends a NAL unit with a start code in front (ITU-T H.264, Annex B).
void appendNalUnit(std::vector<std::byte>& stream, std::span<const std::byte> nalUnit);
/// Appends NAL units that each come behind their length, a 4-byte big-endian integer. False, and nothing
/// appended, when there are none, one is empty, or the lengths do not fit the data.
bool appendNalUnits(std::vector<std::byte>& stream, std::span<const std::byte> data);

}  // namespace tevanto::phone

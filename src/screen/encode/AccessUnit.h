#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

namespace tevanto {

/// ITU-T H.264, table 7-1; those that the stream deals with.
enum class NalUnitType : std::uint8_t {
  slice = 1,
  idrSlice = 5,
  sei = 6,
  sps = 7,
  pps = 8,
  accessUnitDelimiter = 9,
};

/// Of a NAL unit without start code or length; empty ones have type 0.
NalUnitType nalUnitType(std::span<const std::byte> nalUnit);

/// The NAL units between the start codes of a byte stream (H.264, Annex B), in their order, without the zero
/// bytes that may follow one. Bytes before the first start code are left out.
std::vector<std::span<const std::byte>> annexBNalUnits(std::span<const std::byte> stream);

/// AccessUnit is the output of an encoder for one picture, taken apart.
struct AccessUnit {
  bool isIdr = false;
  std::optional<std::vector<std::byte>> sps;  // where the stream holds them
  std::optional<std::vector<std::byte>> pps;
  std::vector<std::byte> data;  // slices and SEI, each behind its length as a 4-byte big-endian integer

  static AccessUnit ofAnnexB(std::span<const std::byte> stream);
};

}  // namespace tevanto

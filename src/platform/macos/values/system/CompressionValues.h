#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <span>
#include <variant>

#include "core/Result.h"
#include "screen/encode/EncoderSession.h"

namespace tevanto {

/// CompressionValue is the value of a compression session's property, in the types of a property list. The
/// two numbers are the highest count of bytes, and the seconds that it is counted over.
using CompressionValue = std::variant<bool, std::int64_t, std::array<std::int64_t, 2>, EncoderProfileLevel>;

/// Fails for a value that is not of the property's type.
Result<CompressionValue> compressionValue(EncoderProperty property, const EncoderPropertyValue& value);

/// ParameterSets holds those of a sample's format: SPS at index 0, PPS at index 1 of its list. Either may be
/// missing.
struct ParameterSets {
  std::optional<std::span<const std::byte>> sps;
  std::optional<std::span<const std::byte>> pps;
};
using ParameterSetAt = std::function<std::optional<std::span<const std::byte>>(std::size_t index)>;
ParameterSets parameterSetsOf(const ParameterSetAt& at);

}  // namespace tevanto

#include "platform/macos/values/system/CompressionValues.h"

namespace tevanto {
namespace {

template <class T>
Result<CompressionValue> only(const EncoderPropertyValue& value) {
  const auto* typed = std::get_if<T>(&value);
  if (!typed) return Failure{"The value is not of the property's type."};
  return CompressionValue(*typed);
}

Result<CompressionValue> limit(const EncoderPropertyValue& value) {
  const auto* typed = std::get_if<DataRateLimit>(&value);
  if (!typed) return Failure{"The value is not of the property's type."};
  return CompressionValue(std::array<std::int64_t, 2>{typed->bytes, typed->window.count()});
}

}  // namespace

Result<CompressionValue> compressionValue(EncoderProperty property, const EncoderPropertyValue& value) {
  switch (property) {
    case EncoderProperty::realTime:
    case EncoderProperty::allowFrameReordering:
      return only<bool>(value);
    case EncoderProperty::profileLevel:
      return only<EncoderProfileLevel>(value);
    case EncoderProperty::maxKeyFrameInterval:
    case EncoderProperty::maxKeyFrameIntervalDuration:
    case EncoderProperty::averageBitRate:
    case EncoderProperty::expectedFrameRate:
      return only<std::int64_t>(value);
    case EncoderProperty::dataRateLimits:
      return limit(value);
  }
  return Failure{"There is no such property."};
}

ParameterSets parameterSetsOf(const ParameterSetAt& at) { return {at(0), at(1)}; }

}  // namespace tevanto

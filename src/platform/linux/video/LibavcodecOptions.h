#pragma once

#include <string>
#include <utility>
#include <vector>

#include "screen/encode/EncoderSettings.h"

struct AVCodecContext;

namespace tevanto {

/// Sets what all encoders have in common: size, rates, colors, key frames.
void applySettings(AVCodecContext& context, const EncoderSettings& settings);

/// The private options of an encoder for low latency: nothing held back, key frames only where they are asked
/// for, Main profile.
std::vector<std::pair<std::string, std::string>> privateOptions(const std::string& encoder);

}  // namespace tevanto

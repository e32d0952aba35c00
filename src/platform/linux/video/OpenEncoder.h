#pragma once

#include <memory>
#include <string>

#include "core/Result.h"
#include "screen/encode/EncoderSettings.h"
#include "screen/encode/PictureEncoder.h"

namespace tevanto {

/// Opens libx264 by its own name and every other encoder by libavcodec. The failure is a reason for a person.
Result<std::unique_ptr<PictureEncoder>> openEncoder(const std::string& name, const EncoderSettings& settings);

}  // namespace tevanto

#pragma once

#include <filesystem>

#include "core/Result.h"
#include "phone/mirror/DecodedPicture.h"

namespace tevanto::phone {

/// Writes the picture as an sRGB image of 8 bits a channel.
Result<void> writePngFile(const DecodedPicture& picture, const std::filesystem::path& path);

}  // namespace tevanto::phone

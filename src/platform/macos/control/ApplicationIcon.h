#pragma once

#include <cstddef>
#include <optional>
#include <vector>

@class NSImage;

namespace tevanto {

/// Draws the icon into a bitmap of `pixels` squared and encodes it as PNG; empty when that fails. Any thread.
/// For Objective-C++ sources.
std::optional<std::vector<std::byte>> pngOfIcon(NSImage* icon, int pixels);

}  // namespace tevanto

#pragma once

#include <cstddef>
#include <optional>
#include <vector>

@class NSImage;

namespace tevanto {

/// The icon, drawn into a bitmap of `pixels` squared and encoded as PNG; nothing when that fails. Any thread;
/// for Objective-C++ sources.
std::optional<std::vector<std::byte>> pngOfIcon(NSImage* icon, int pixels);

}  // namespace tevanto

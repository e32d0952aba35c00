#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

namespace tevanto {

/// The image file `path` (PNG, SVG and what else gdk-pixbuf has loaders for) as a PNG image of `pixels`
/// squared: its proportions kept, centered, transparent around it. Nothing when it cannot be read, or when it
/// is larger than any icon (16 MiB, or 4096 pixels on a side), so that no file can take the memory.
std::optional<std::vector<std::byte>> renderIcon(const std::string& path, int pixels);

}  // namespace tevanto

#pragma once

#include <array>
#include <cstddef>
#include <memory>

namespace tevanto::phone {

/// DecodedPicture is one decoded picture: Y, U and V, the latter two at half the width and height; ITU-R
/// BT.709, limited range. Copies are cheap: they share the pixels, which never change.
struct DecodedPicture {
  /// Plane is one plane of the picture, 1 byte a sample.
  struct Plane {
    const std::byte* data = nullptr;
    std::size_t stride = 0;  // bytes from one row to the next
  };

  int width = 0;
  int height = 0;
  std::array<Plane, 3> planes;
  std::shared_ptr<const void> owner;
};

}  // namespace tevanto::phone

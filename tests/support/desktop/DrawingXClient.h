#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "screen/picture/PixelBuffer.h"

namespace tevanto::test {

/// A picture of 32-bit pixels: red in the third byte, green in the second, blue in the lowest.
struct RgbPicture {
  int width = 0;
  int height = 0;
  std::vector<std::uint32_t> pixels;

  std::uint32_t at(int x, int y) const {
    return pixels[static_cast<std::size_t>(y) * static_cast<std::size_t>(width) +
                  static_cast<std::size_t>(x)];
  }
};

/// An application that paints onto the root window and moves the pointer as a device does. Each call returns
/// when the server has carried it out. One thread.
class DrawingXClient {
 public:
  explicit DrawingXClient(const std::string& display);
  ~DrawingXClient();
  DrawingXClient(const DrawingXClient&) = delete;
  DrawingXClient& operator=(const DrawingXClient&) = delete;

  void fill(const PixelRect& area, std::uint32_t color);
  void draw(const RgbPicture& picture, int x = 0, int y = 0);
  void movePointer(int x, int y);
  /// The pointer becomes a filled square of `side` pixels, its tip at the upper left corner.
  void setSquarePointer(int side, std::uint32_t color);

 private:
  struct Connection;
  std::unique_ptr<Connection> connection_;
};

}  // namespace tevanto::test

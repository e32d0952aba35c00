#include "platform/linux/x11/capture/XPointerImage.h"

#include <xcb/xfixes.h>

#include <cstring>

#include "platform/linux/x11/capture/XCaptureConnection.h"

namespace tevanto {
namespace {

std::uint32_t over(std::uint32_t top, std::uint32_t below) {
  const auto alpha = top >> 24;
  if (alpha == 0xFF) return top;
  std::uint32_t result = 0;
  for (int shift = 0; shift < 24; shift += 8) {
    const auto channel = ((below >> shift) & 0xFF) * (0xFF - alpha);
    const auto sum = ((top >> shift) & 0xFF) + (channel + 127) / 255;
    result |= (sum > 0xFF ? 0xFF : sum) << shift;
  }
  return result;
}

std::byte* at(std::byte* pixels, std::size_t stride, int x, int y) {
  return pixels + static_cast<std::size_t>(y) * stride + static_cast<std::size_t>(x) * 4;
}

}  // namespace

std::optional<XPointerImage> XPointerImage::fetch(const XCaptureConnection& screen) {
  const auto cookie = xcb_xfixes_get_cursor_image(screen.xcb());
  const XcbOwned<xcb_xfixes_get_cursor_image_reply_t> reply(
      xcb_xfixes_get_cursor_image_reply(screen.xcb(), cookie, nullptr));
  if (!reply) return std::nullopt;
  XPointerImage image;
  image.width_ = reply->width;
  image.height_ = reply->height;
  image.hotX_ = reply->xhot;
  image.hotY_ = reply->yhot;
  const auto* pixels = xcb_xfixes_get_cursor_image_cursor_image(reply.get());
  image.pixels_.assign(pixels, pixels + xcb_xfixes_get_cursor_image_cursor_image_length(reply.get()));
  return image;
}

void XPointerImage::draw(std::byte* pixels, std::size_t stride, const PixelRect& bounds, int x, int y) {
  const auto whole = area(x, y);
  covered_ = intersection(whole, bounds);
  under_.clear();
  for (int row = covered_.y; row < covered_.y + covered_.height; ++row) {
    const auto* own = pixels_.data() + static_cast<std::ptrdiff_t>(row - whole.y) * width_ - whole.x;
    for (int column = covered_.x; column < covered_.x + covered_.width; ++column) {
      auto* pixel = at(pixels, stride, column, row);
      std::uint32_t below = 0;
      std::memcpy(&below, pixel, sizeof below);
      under_.push_back(below);
      const auto result = over(own[column], below);
      std::memcpy(pixel, &result, sizeof result);
    }
  }
}

void XPointerImage::erase(std::byte* pixels, std::size_t stride) {
  const auto rowPixels = static_cast<std::size_t>(covered_.width);
  for (int row = 0; row < covered_.height; ++row) {
    std::memcpy(at(pixels, stride, covered_.x, covered_.y + row),
                under_.data() + static_cast<std::size_t>(row) * rowPixels, rowPixels * sizeof under_.front());
  }
  covered_ = {};
}

}  // namespace tevanto

#include "tests/support/desktop/DrawingXClient.h"

#include <xcb/xcb.h>
#include <xcb/xtest.h>

#include <algorithm>
#include <cstdlib>
#include <stdexcept>

namespace tevanto::test {

struct DrawingXClient::Connection {
  explicit Connection(const std::string& display) : xcb(xcb_connect(display.c_str(), nullptr)) {
    if (xcb_connection_has_error(xcb)) throw std::runtime_error("no X server on " + display);
    const auto* screen = xcb_setup_roots_iterator(xcb_get_setup(xcb)).data;
    root = screen->root;
    depth = screen->root_depth;
    context = xcb_generate_id(xcb);
    xcb_create_gc(xcb, context, root, 0, nullptr);
  }
  ~Connection() { xcb_disconnect(xcb); }

  void settle() const { std::free(xcb_get_input_focus_reply(xcb, xcb_get_input_focus(xcb), nullptr)); }
  void useColor(std::uint32_t color) const { xcb_change_gc(xcb, context, XCB_GC_FOREGROUND, &color); }

  xcb_connection_t* xcb;
  xcb_window_t root = 0;
  std::uint8_t depth = 24;
  xcb_gcontext_t context = 0;
};

DrawingXClient::DrawingXClient(const std::string& display)
    : connection_(std::make_unique<Connection>(display)) {}

DrawingXClient::~DrawingXClient() = default;

void DrawingXClient::fill(const PixelRect& area, std::uint32_t color) {
  const xcb_rectangle_t rectangle{static_cast<std::int16_t>(area.x), static_cast<std::int16_t>(area.y),
                                  static_cast<std::uint16_t>(area.width),
                                  static_cast<std::uint16_t>(area.height)};
  connection_->useColor(color);
  xcb_poly_fill_rectangle(connection_->xcb, connection_->root, connection_->context, 1, &rectangle);
  connection_->settle();
}

void DrawingXClient::draw(const RgbPicture& picture, int x, int y) {
  // All in one request where the server takes it, so that nobody sees half of it.
  const auto mostBytes = std::size_t{xcb_get_maximum_request_length(connection_->xcb)} * 4 - 64;
  const int rowsAtATime = static_cast<int>(mostBytes / (static_cast<std::size_t>(picture.width) * 4));
  for (int top = 0; top < picture.height; top += rowsAtATime) {
    const int rows = std::min(rowsAtATime, picture.height - top);
    const auto offset = static_cast<std::size_t>(top) * static_cast<std::size_t>(picture.width);
    xcb_put_image(connection_->xcb, XCB_IMAGE_FORMAT_Z_PIXMAP, connection_->root, connection_->context,
                  static_cast<std::uint16_t>(picture.width), static_cast<std::uint16_t>(rows),
                  static_cast<std::int16_t>(x), static_cast<std::int16_t>(y + top), 0, connection_->depth,
                  static_cast<std::uint32_t>(picture.width * rows * 4),
                  reinterpret_cast<const std::uint8_t*>(picture.pixels.data() + offset));
  }
  connection_->settle();
}

void DrawingXClient::movePointer(int x, int y) {
  xcb_test_fake_input(connection_->xcb, XCB_MOTION_NOTIFY, 0, XCB_CURRENT_TIME, connection_->root,
                      static_cast<std::int16_t>(x), static_cast<std::int16_t>(y), 0);
  connection_->settle();
}

void DrawingXClient::setSquarePointer(int side, std::uint32_t color) {
  auto* xcb = connection_->xcb;
  const auto length = static_cast<std::uint16_t>(side);
  const auto shape = xcb_generate_id(xcb);
  xcb_create_pixmap(xcb, 1, shape, connection_->root, length, length);
  const auto context = xcb_generate_id(xcb);
  const std::uint32_t one = 1;
  xcb_create_gc(xcb, context, shape, XCB_GC_FOREGROUND, &one);
  const xcb_rectangle_t all{0, 0, length, length};
  xcb_poly_fill_rectangle(xcb, shape, context, 1, &all);
  const auto channel = [color](int shift) {
    return static_cast<std::uint16_t>(((color >> shift) & 0xFF) * 257);
  };
  const auto cursor = xcb_generate_id(xcb);
  xcb_create_cursor(xcb, cursor, shape, shape, channel(16), channel(8), channel(0), 0, 0, 0, 0, 0);
  xcb_change_window_attributes(xcb, connection_->root, XCB_CW_CURSOR, &cursor);
  xcb_free_cursor(xcb, cursor);
  xcb_free_gc(xcb, context);
  xcb_free_pixmap(xcb, shape);
  connection_->settle();
}

}  // namespace tevanto::test

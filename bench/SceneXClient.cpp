#include "bench/SceneXClient.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>

namespace tevanto::bench {
namespace {

constexpr int kLineHeight = 16;
constexpr int kBaseline = 12;
constexpr int kGlyphWidth = 6;  // of the X server's built-in font "fixed"
constexpr std::size_t kLongestText = 255;

constexpr std::array<const char*, 16> kWords = {
    "while", "(!ready", "(socket))", "{",     "return", "picture->", "width",  "const",
    "auto&", "frame",   "=",         "next;", "}",      "//",        "always", "0x1F40"};

xcb_connection_t* connect(const std::string& display) {
  auto* connection = xcb_connect(display.c_str(), nullptr);
  if (xcb_connection_has_error(connection)) {
    std::fprintf(stderr, "cannot open the display %s\n", display.c_str());
    std::exit(1);
  }
  return connection;
}

const xcb_screen_t& screenOf(xcb_connection_t* x) { return *xcb_setup_roots_iterator(xcb_get_setup(x)).data; }

xcb_window_t makeWindow(xcb_connection_t* x, int width, int height) {
  const auto& screen = screenOf(x);
  const auto window = xcb_generate_id(x);
  const std::uint32_t values[] = {screen.white_pixel, 1};
  xcb_create_window(x, XCB_COPY_FROM_PARENT, window, screen.root, 0, 0, static_cast<std::uint16_t>(width),
                    static_cast<std::uint16_t>(height), 0, XCB_WINDOW_CLASS_INPUT_OUTPUT, screen.root_visual,
                    XCB_CW_BACK_PIXEL | XCB_CW_OVERRIDE_REDIRECT, values);
  xcb_map_window(x, window);
  const std::uint32_t above = XCB_STACK_MODE_ABOVE;
  xcb_configure_window(x, window, XCB_CONFIG_WINDOW_STACK_MODE, &above);
  return window;
}

xcb_gcontext_t makeContext(xcb_connection_t* x, xcb_window_t window, std::uint32_t color) {
  const auto context = xcb_generate_id(x);
  const std::uint32_t values[] = {color, screenOf(x).white_pixel, 0};
  xcb_create_gc(x, context, window, XCB_GC_FOREGROUND | XCB_GC_BACKGROUND | XCB_GC_GRAPHICS_EXPOSURES,
                values);
  return context;
}

void waitForServer(xcb_connection_t* x) {
  std::free(xcb_get_input_focus_reply(x, xcb_get_input_focus(x), nullptr));
}

std::string textOf(unsigned line, std::size_t length) {
  std::string text = std::to_string(line) + std::string(2 + line * 7 % 12, ' ');
  for (unsigned word = 0; text.size() < length; ++word) {
    text += kWords[(line * 5 + word * 3 + line * word) % kWords.size()];
    text += ' ';
  }
  return text.substr(0, length);
}

}  // namespace

SceneXClient::SceneXClient(const std::string& display) : x_(connect(display)) {
  width_ = screenOf(x_).width_in_pixels;
  height_ = screenOf(x_).height_in_pixels;
  window_ = makeWindow(x_, width_, height_);
  text_ = makeContext(x_, window_, screenOf(x_).black_pixel);
  paper_ = makeContext(x_, window_, screenOf(x_).white_pixel);
  const auto font = xcb_generate_id(x_);
  xcb_open_font(x_, font, 5, "fixed");
  xcb_change_gc(x_, text_, XCB_GC_FONT, &font);
  for (int y = 0; y + kLineHeight <= height_; y += kLineHeight) drawLine(y, lines_++);
  settle();
}

SceneXClient::~SceneXClient() { xcb_disconnect(x_); }

void SceneXClient::drawLine(int y, unsigned line) {
  const auto columns = static_cast<std::size_t>(width_ / kGlyphWidth);
  // Most lines of a text are not full.
  const auto text = textOf(line, columns * (4 + line % 7) / 10);
  for (std::size_t at = 0; at < text.size(); at += kLongestText) {
    const auto part = std::min(kLongestText, text.size() - at);
    xcb_image_text_8(x_, static_cast<std::uint8_t>(part), window_, text_,
                     static_cast<std::int16_t>(at * kGlyphWidth), static_cast<std::int16_t>(y + kBaseline),
                     text.data() + at);
  }
}

void SceneXClient::clear(int y, int height) {
  const xcb_rectangle_t area{0, static_cast<std::int16_t>(y), static_cast<std::uint16_t>(width_),
                             static_cast<std::uint16_t>(height)};
  xcb_poly_fill_rectangle(x_, window_, paper_, 1, &area);
}

void SceneXClient::scroll() {
  const int rows = height_ / kLineHeight * kLineHeight;
  xcb_copy_area(x_, window_, window_, text_, 0, kLineHeight, 0, 0, static_cast<std::uint16_t>(width_),
                static_cast<std::uint16_t>(rows - kLineHeight));
  clear(rows - kLineHeight, kLineHeight);
  drawLine(rows - kLineHeight, lines_++);
  settle();
}

void SceneXClient::type() {
  const int columns = width_ / kGlyphWidth;
  const int column = static_cast<int>(typed_) % columns;
  const int y = height_ / 2 / kLineHeight * kLineHeight;
  if (column == 0) clear(y, kLineHeight);
  const char letter = static_cast<char>('a' + typed_++ * 7 % 26);
  xcb_image_text_8(x_, 1, window_, text_, static_cast<std::int16_t>(column * kGlyphWidth),
                   static_cast<std::int16_t>(y + kBaseline), &letter);
  settle();
}

void SceneXClient::settle() const { waitForServer(x_); }

MarkerXClient::MarkerXClient(const std::string& display) : x_(connect(display)) {
  displayWidth_ = screenOf(x_).width_in_pixels;
  window_ = makeWindow(x_, kSide, kSide);
  black_ = makeContext(x_, window_, screenOf(x_).black_pixel);
  white_ = makeContext(x_, window_, screenOf(x_).white_pixel);
  waitForServer(x_);
}

MarkerXClient::~MarkerXClient() { xcb_disconnect(x_); }

void MarkerXClient::show(bool white) {
  const xcb_rectangle_t all{0, 0, kSide, kSide};
  xcb_poly_fill_rectangle(x_, window_, white ? white_ : black_, 1, &all);
  waitForServer(x_);
}

}  // namespace tevanto::bench

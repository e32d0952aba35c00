#include "phone/media/SdlMirrorWindow.h"

#include <SDL2/SDL.h>

#include <cstdint>
#include <optional>
#include <string_view>
#include <utility>

namespace tevanto::phone {
namespace {

constexpr int kFirstWidth = 1280;  // until the first picture tells its size
constexpr int kFirstHeight = 720;

struct DestroyWindow {
  void operator()(SDL_Window* window) const { SDL_DestroyWindow(window); }
};
struct DestroyRenderer {
  void operator()(SDL_Renderer* renderer) const { SDL_DestroyRenderer(renderer); }
};
struct DestroyTexture {
  void operator()(SDL_Texture* texture) const { SDL_DestroyTexture(texture); }
};

/// SDL's video part; holding it means that it runs.
struct Video {
  ~Video() { SDL_QuitSubSystem(SDL_INIT_VIDEO); }
};

std::string_view nameOfSpecialKey(SDL_Keycode key) {
  switch (key) {
    case SDLK_ESCAPE:
      return "escape";
    case SDLK_TAB:
      return "tab";
    case SDLK_RETURN:
    case SDLK_KP_ENTER:
      return "return";
    case SDLK_BACKSPACE:
      return "delete";
    case SDLK_LEFT:
      return "left";
    case SDLK_RIGHT:
      return "right";
    case SDLK_UP:
      return "up";
    case SDLK_DOWN:
      return "down";
    default:
      return "";
  }
}

/// Text comes as text; only what stands for none, or is a shortcut, is a key.
std::optional<WindowEvent> keyOf(const SDL_Keysym& pressed) {
  WindowKey key;
  key.shift = (pressed.mod & KMOD_SHIFT) != 0;
  key.option = (pressed.mod & KMOD_LALT) != 0;  // the right one writes characters on many layouts
  key.control = (pressed.mod & KMOD_CTRL) != 0;
  key.command = (pressed.mod & KMOD_GUI) != 0;
  key.key = nameOfSpecialKey(pressed.sym);
  if (!key.key.empty()) return key;
  const bool isShortcut = key.option || key.control || key.command;
  const bool isAscii = pressed.sym >= 0x20 && pressed.sym < 0x7F;
  if (!isShortcut || !isAscii) return std::nullopt;
  key.key = std::string(1, static_cast<char>(pressed.sym));
  return key;
}

std::optional<WindowEvent> buttonOf(const SDL_MouseButtonEvent& event) {
  const bool isDown = event.type == SDL_MOUSEBUTTONDOWN;
  if (event.button == SDL_BUTTON_LEFT) return WindowButton{WindowButton::Button::left, isDown};
  if (event.button == SDL_BUTTON_RIGHT) return WindowButton{WindowButton::Button::right, isDown};
  return std::nullopt;
}

}  // namespace

struct SdlMirrorWindow::Screen {
  Video video;
  std::unique_ptr<SDL_Window, DestroyWindow> window;
  std::unique_ptr<SDL_Renderer, DestroyRenderer> renderer;
  std::unique_ptr<SDL_Texture, DestroyTexture> texture;
  int width = 0;  // of the texture
  int height = 0;
  std::optional<SDL_Point> mouse;  // where it was last, in pixels of the picture; nothing while it is outside

  bool fit(int pictureWidth, int pictureHeight);
  void draw();
  std::optional<WindowEvent> translate(const SDL_Event& event);
  std::optional<WindowEvent> moveTo(SDL_Point now);
  void changed(std::uint8_t what);
};

bool SdlMirrorWindow::Screen::fit(int pictureWidth, int pictureHeight) {
  if (texture && width == pictureWidth && height == pictureHeight) return true;
  texture.reset(SDL_CreateTexture(renderer.get(), SDL_PIXELFORMAT_IYUV, SDL_TEXTUREACCESS_STREAMING,
                                  pictureWidth, pictureHeight));
  if (!texture) return false;
  width = pictureWidth;
  height = pictureHeight;
  SDL_SetWindowSize(window.get(), width, height);
  SDL_RenderSetLogicalSize(renderer.get(), width, height);  // keeps the picture's shape, and scales the mouse
  return true;
}

void SdlMirrorWindow::Screen::draw() {
  SDL_RenderClear(renderer.get());
  if (texture) SDL_RenderCopy(renderer.get(), texture.get(), nullptr, nullptr);
  SDL_RenderPresent(renderer.get());
}

/// The way from the edge where the mouse came in counts, the jump to that edge does not.
std::optional<WindowEvent> SdlMirrorWindow::Screen::moveTo(SDL_Point now) {
  const auto before = std::exchange(mouse, now);
  if (!before) return std::nullopt;
  return WindowMotion{static_cast<double>(now.x - before->x), static_cast<double>(now.y - before->y)};
}

void SdlMirrorWindow::Screen::changed(std::uint8_t what) {
  if (what == SDL_WINDOWEVENT_EXPOSED) draw();
  if (what == SDL_WINDOWEVENT_ENTER || what == SDL_WINDOWEVENT_LEAVE ||
      what == SDL_WINDOWEVENT_SIZE_CHANGED) {
    mouse.reset();
  }
}

std::optional<WindowEvent> SdlMirrorWindow::Screen::translate(const SDL_Event& event) {
  switch (event.type) {
    case SDL_QUIT:
      return WindowClosed{};
    case SDL_MOUSEMOTION:
      return moveTo({event.motion.x, event.motion.y});
    case SDL_MOUSEBUTTONDOWN:
    case SDL_MOUSEBUTTONUP:
      return buttonOf(event.button);
    case SDL_MOUSEWHEEL:
      return WindowScroll{-static_cast<double>(event.wheel.preciseX),
                          static_cast<double>(event.wheel.preciseY)};
    case SDL_KEYDOWN:
      return keyOf(event.key.keysym);
    case SDL_TEXTINPUT:
      if (SDL_GetModState() & (KMOD_CTRL | KMOD_LALT | KMOD_GUI)) return std::nullopt;
      return WindowText{event.text.text};
    case SDL_WINDOWEVENT:
      changed(event.window.event);
      return std::nullopt;
    default:
      return std::nullopt;
  }
}

Result<std::unique_ptr<MirrorWindow>> SdlMirrorWindow::open(const std::string& title) {
  SDL_SetHint(SDL_HINT_NO_SIGNAL_HANDLERS, "1");  // the program ends in its own way
  SDL_SetHint(SDL_HINT_RENDER_SCALE_QUALITY, "linear");
  if (SDL_InitSubSystem(SDL_INIT_VIDEO) != 0) {
    return Failure{std::string("No window can be shown here: ") + SDL_GetError() + "."};
  }
  auto screen = std::make_unique<Screen>();
  SDL_SetYUVConversionMode(SDL_YUV_CONVERSION_BT709);
  screen->window.reset(SDL_CreateWindow(title.c_str(), SDL_WINDOWPOS_UNDEFINED, SDL_WINDOWPOS_UNDEFINED,
                                        kFirstWidth, kFirstHeight, SDL_WINDOW_RESIZABLE));
  if (screen->window) screen->renderer.reset(SDL_CreateRenderer(screen->window.get(), -1, 0));
  if (!screen->renderer) return Failure{std::string("No window can be shown here: ") + SDL_GetError() + "."};
  SDL_StartTextInput();
  SDL_ShowCursor(SDL_DISABLE);  // the picture has the computer's
  return std::unique_ptr<MirrorWindow>(new SdlMirrorWindow(std::move(screen)));
}

SdlMirrorWindow::SdlMirrorWindow(std::unique_ptr<Screen> screen) : screen_(std::move(screen)) {}
SdlMirrorWindow::~SdlMirrorWindow() = default;

void SdlMirrorWindow::show(const DecodedPicture& picture) {
  if (!screen_->fit(picture.width, picture.height)) return;
  const auto plane = [&](std::size_t i) {
    return reinterpret_cast<const std::uint8_t*>(picture.planes[i].data);
  };
  const auto stride = [&](std::size_t i) { return static_cast<int>(picture.planes[i].stride); };
  SDL_UpdateYUVTexture(screen_->texture.get(), nullptr, plane(0), stride(0), plane(1), stride(1), plane(2),
                       stride(2));
  screen_->draw();
}

std::vector<WindowEvent> SdlMirrorWindow::takeEvents() {
  std::vector<WindowEvent> events;
  SDL_Event event;
  while (SDL_PollEvent(&event)) {
    if (auto translated = screen_->translate(event)) events.push_back(*std::move(translated));
  }
  return events;
}

}  // namespace tevanto::phone

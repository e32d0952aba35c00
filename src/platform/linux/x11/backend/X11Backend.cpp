#include "platform/linux/x11/backend/X11Backend.h"

#include <cstdlib>
#include <utility>

#include "platform/linux/x11/ReconnectingXServer.h"
#include "platform/linux/x11/XDesktop.h"
#include "platform/linux/x11/capture/X11DisplayCapture.h"
#include "platform/linux/x11/capture/X11ScreenCapturePermission.h"
#include "platform/linux/x11/input/XPointerWindow.h"
#include "platform/linux/x11/input/XTestInputEvents.h"
#include "platform/linux/x11/input/XTestPermission.h"
#include "platform/linux/x11/windows/EwmhWindows.h"

namespace tevanto {

struct X11Backend::Core {
  explicit Core(Environment of)
      : environment(std::move(of)),
        server(std::make_shared<ReconnectingXServer>(std::string(), environment.mainQueue, environment.log)),
        accessibility(server) {}

  const Environment environment;
  const std::shared_ptr<ReconnectingXServer> server;
  XTestPermission accessibility;
  std::shared_ptr<XTestInputEvents> input;  // null until it is asked for
  X11DisplayCapture capture;
  X11ScreenCapturePermission screenCapture;
};

X11Backend::X11Backend(Environment environment) : core_(std::make_unique<Core>(std::move(environment))) {}

X11Backend::~X11Backend() = default;

std::shared_ptr<InputEvents> X11Backend::input() {
  if (!core_->input) {
    const auto& with = core_->environment;
    core_->input = XTestInputEvents::open(core_->server, with.mainQueue, with.commandModifier, with.log);
  }
  return core_->input;
}

DisplayCapture& X11Backend::capture() { return core_->capture; }

AccessibilityPermission& X11Backend::accessibility() { return core_->accessibility; }

ScreenCapturePermission& X11Backend::screenCapture() { return core_->screenCapture; }

bool X11Backend::raiseWindow(const WindowIdentity& application) { return raiseWindowOf(application); }

std::string X11Backend::describe() const {
  const char* display = std::getenv("DISPLAY");
  return display && *display ? "DISPLAY is " + std::string(display) : "DISPLAY is not set";
}

Result<std::unique_ptr<PointerProof>> X11Backend::openPointerProof() {
  auto window = XPointerWindow::open({});
  if (!window) return Failure{window.error()};
  return std::unique_ptr<PointerProof>(std::move(window).value());
}

std::optional<DisplayDiagnosis::Desktop> X11Backend::desktop() {
  const auto found = XDesktop::current();
  if (!found) return std::nullopt;
  return Desktop{found->hasXembedTray, found->dotsPerInch};
}

}  // namespace tevanto

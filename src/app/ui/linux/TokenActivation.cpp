#include "app/ui/linux/TokenActivation.h"

#include <QGuiApplication>
#include <QWindow>
#include <utility>

#include "platform/linux/x11/windows/XWindowActivation.h"

namespace tevanto {
namespace {

bool isOnX11() { return qGuiApp->nativeInterface<QNativeInterface::QX11Application>() != nullptr; }

void bringForwardOnX11(QWindow& window, std::string token) {
  const XWindowActivation activation(std::move(token));
  const auto identifier = static_cast<std::uint32_t>(window.winId());
  if (window.isVisible() && !(window.windowStates() & Qt::WindowMinimized)) {
    window.raise();
    return activation.activate(identifier);
  }
  activation.prepare(identifier);
  // Also out of the minimized state.
  window.setWindowStates(window.windowStates() & ~Qt::WindowMinimized);
  window.show();
  window.raise();
  window.requestActivate();
}

}  // namespace

void TokenActivation::bringForward(QWindow& window) {
  auto token = std::exchange(token_, {});
  if (isOnX11()) return bringForwardOnX11(window, std::move(token));
  window.setWindowStates(window.windowStates() & ~Qt::WindowMinimized);
  window.show();
  // Qt's plugin for Wayland takes it from there.
  if (!token.empty()) qputenv("XDG_ACTIVATION_TOKEN", QByteArray::fromStdString(token));
  window.requestActivate();
  qunsetenv("XDG_ACTIVATION_TOKEN");
}

}  // namespace tevanto

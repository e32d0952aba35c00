#pragma once

#include <QQmlComponent>
#include <QQmlEngine>
#include <QUrl>

namespace tevanto {

/// The engine that runs the views, with their types and images. Begins to load the setup window's view on the
/// engine's own thread, while the main thread makes what that shows. On the thread of the QGuiApplication.
class ViewEngine {
 public:
  ViewEngine();
  ViewEngine(const ViewEngine&) = delete;
  ViewEngine& operator=(const ViewEngine&) = delete;

  QQmlEngine& engine() { return engine_; }
  /// Gives an engine the views' types and images.
  static void prepare(QQmlEngine& engine);
  /// Where a view lies: `name` without its ending.
  static QUrl sourceOf(const char* name);

 private:
  QQmlEngine engine_;
  QQmlComponent setupWindow_;
};

}  // namespace tevanto

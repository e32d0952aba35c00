#pragma once

#include <QQmlComponent>
#include <QQmlEngine>
#include <QUrl>

namespace tevanto {

/// ViewEngine is the QML engine of the views, with their types and images. It begins to load the setup
/// window's view on the engine's own thread, while the main thread makes the model for it. On the thread of
/// the QGuiApplication.
class ViewEngine {
 public:
  ViewEngine();
  ViewEngine(const ViewEngine&) = delete;
  ViewEngine& operator=(const ViewEngine&) = delete;

  QQmlEngine& engine() { return engine_; }
  /// Gives an engine the views' types and images.
  static void prepare(QQmlEngine& engine);
  /// The URL of a view; `name` is without its extension.
  static QUrl sourceOf(const char* name);

 private:
  QQmlEngine engine_;
  QQmlComponent setupWindow_;
};

}  // namespace tevanto

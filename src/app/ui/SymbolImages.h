#pragma once

#include <QImage>
#include <QQuickImageProvider>

namespace tevanto {

/// The interface's images, drawn at the size that is asked for, symbols in one colour:
/// "image://symbols/<name>/<colour>", the colour as "#rrggbb" or with alpha as "#aarrggbb" (the '#' escaped),
/// or "image://symbols/<name>" for an image in its own colours. As files, Qt would look for who can read them
/// among all its plugins and load those.
class SymbolImages : public QQuickImageProvider {
 public:
  static constexpr const char* kName = "symbols";

  SymbolImages();
  QImage requestImage(const QString& id, QSize* size, const QSize& requestedSize) override;

  /// `name` without folder and ending; null when there is no such image. `size` in pixels. In its own colours
  /// without a valid one.
  static QImage draw(const QString& name, const QColor& colour, const QSize& size);
};

}  // namespace tevanto

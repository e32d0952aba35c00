#pragma once

#include <QImage>
#include <QQuickImageProvider>

namespace tevanto {

/// SymbolImages draws the interface's images at the requested size, symbols in one color:
/// "image://symbols/<name>/<color>", the color as "#rrggbb" or with alpha as "#aarrggbb" (the '#' escaped),
/// or "image://symbols/<name>" for an image in its own colors. For image files, Qt would load all of its
/// plugins in search of a reader.
class SymbolImages : public QQuickImageProvider {
 public:
  static constexpr const char* kName = "symbols";

  SymbolImages();
  QImage requestImage(const QString& id, QSize* size, const QSize& requestedSize) override;

  /// `name` without folder and ending; null when there is no such image. `size` in pixels. In its own colors
  /// without a valid one.
  static QImage draw(const QString& name, const QColor& color, const QSize& size);
};

}  // namespace tevanto

#pragma once

#include <QImage>
#include <QQuickImageProvider>

namespace tevanto {

/// The interface's symbols, drawn at the size that is asked for and in one colour:
/// "image://symbols/<name>/<colour>", the colour as "#rrggbb" or with alpha as "#aarrggbb" (the '#' escaped).
class SymbolImages : public QQuickImageProvider {
 public:
  static constexpr const char* kName = "symbols";

  SymbolImages();
  QImage requestImage(const QString& id, QSize* size, const QSize& requestedSize) override;

  /// `name` without folder and ending; null when there is no such symbol. `size` in pixels.
  static QImage draw(const QString& name, const QColor& colour, const QSize& size);
};

}  // namespace tevanto

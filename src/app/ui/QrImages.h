#pragma once

#include <QImage>
#include <QQuickImageProvider>
#include <QString>

namespace tevanto {

/// QrImages provides QR codes of correction level M for the UTF-8 bytes of a text: "image://qr/<text>",
/// percent-encoded. The modules are black on transparent ground, so that a view chooses the white shape
/// below.
class QrImages : public QQuickImageProvider {
 public:
  static constexpr const char* kName = "qr";
  /// Around the code, in modules, as ISO/IEC 18004 wants it.
  static constexpr int kQuietZone = 4;

  QrImages();
  /// Scaled to `requestedSize` in each direction, each module's edges on whole pixels.
  QImage requestImage(const QString& id, QSize* size, const QSize& requestedSize) override;

  /// One pixel a module, with the quiet zone; null when the text is empty or too long for a code.
  static QImage encode(const QString& text);
};

}  // namespace tevanto

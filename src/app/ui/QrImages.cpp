#include "app/ui/QrImages.h"

#include <qrencode.h>

#include <memory>

#include <QByteArray>
#include <QColor>
#include <QUrl>

namespace tevanto {
namespace {

struct FreeCode {
  void operator()(QRcode* code) const { QRcode_free(code); }
};

/// Of libqrencode's byte for a module.
constexpr unsigned char kIsBlack = 1;

}  // namespace

QrImages::QrImages() : QQuickImageProvider(QQuickImageProvider::Image) {}

QImage QrImages::requestImage(const QString& id, QSize* size, const QSize& requestedSize) {
  auto image = encode(QUrl::fromPercentEncoding(id.toUtf8()));
  if (!image.isNull() && !requestedSize.isEmpty())
    image = image.scaled(requestedSize, Qt::IgnoreAspectRatio, Qt::FastTransformation);
  if (size) *size = image.size();
  return image;
}

QImage QrImages::encode(const QString& text) {
  const auto bytes = text.toUtf8();
  if (bytes.isEmpty()) return {};
  const std::unique_ptr<QRcode, FreeCode> code(
      QRcode_encodeData(static_cast<int>(bytes.size()),
                        reinterpret_cast<const unsigned char*>(bytes.constData()), 0, QR_ECLEVEL_M));
  if (!code) return {};
  const int extent = code->width + 2 * kQuietZone;
  QImage image(extent, extent, QImage::Format_ARGB32_Premultiplied);
  image.fill(Qt::transparent);
  for (int row = 0; row < code->width; ++row) {
    for (int column = 0; column < code->width; ++column) {
      if (code->data[row * code->width + column] & kIsBlack)
        image.setPixelColor(column + kQuietZone, row + kQuietZone, Qt::black);
    }
  }
  return image;
}

}  // namespace tevanto

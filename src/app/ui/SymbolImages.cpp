#include "app/ui/SymbolImages.h"

#include <QColor>
#include <QFile>
#include <QPainter>
#include <QSvgRenderer>
#include <QUrl>

namespace tevanto {
namespace {

constexpr auto* kFolder = ":/qt-project.org/imports/Tevanto/images/";
constexpr QSize kOrdinarySize(24, 24);

}  // namespace

SymbolImages::SymbolImages() : QQuickImageProvider(QQuickImageProvider::Image) {}

QImage SymbolImages::requestImage(const QString& id, QSize* size, const QSize& requestedSize) {
  const auto wanted = requestedSize.isEmpty() ? kOrdinarySize : requestedSize;
  const auto color = QUrl::fromPercentEncoding(id.section('/', 1).toUtf8());
  auto image = draw(id.section('/', 0, 0), QColor(color), wanted);
  if (size) *size = image.size();
  return image;
}

QImage SymbolImages::draw(const QString& name, const QColor& color, const QSize& size) {
  const auto file = kFolder + name + ".svg";
  if (!QFile::exists(file)) return {};
  QSvgRenderer renderer(file);
  QImage image(size, QImage::Format_ARGB32_Premultiplied);
  image.fill(Qt::transparent);
  QPainter painter(&image);
  renderer.setAspectRatioMode(Qt::KeepAspectRatio);
  renderer.render(&painter, QRectF(QPointF(0, 0), QSizeF(size)));
  if (color.isValid()) {
    painter.setCompositionMode(QPainter::CompositionMode_SourceIn);
    painter.fillRect(image.rect(), color);
  }
  return image;
}

}  // namespace tevanto

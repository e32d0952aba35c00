#include "app/ui/MenuBarLabel.h"

#include <QColor>
#include <QPixmap>

#include "app/ui/SymbolImages.h"

namespace tevanto {
namespace {

const QColor kIdle(0x80, 0x88, 0x96);
const QColor kConnected(0x4f, 0x7d, 0xf3);
/// The sizes that trays request, in pixels. Qt scales down for sizes in between.
constexpr int kSizes[] = {16, 22, 24, 32, 44, 48, 64, 96};

}  // namespace

const char* MenuBarLabel::imageName(bool isClientConnected) {
  return isClientConnected ? "iphone.radiowaves.left.and.right" : "iphone";
}

QIcon MenuBarLabel::mark() {
  QIcon icon;
  for (const int size : {16, 32, 64})
    icon.addPixmap(QPixmap::fromImage(SymbolImages::draw("TevantoLogoMark", {}, {size, size})));
  return icon;
}

QIcon MenuBarLabel::icon(bool isClientConnected) {
  QIcon icon;
  for (const int size : kSizes) {
    const auto image = SymbolImages::draw(imageName(isClientConnected),
                                          isClientConnected ? kConnected : kIdle, {size, size});
    icon.addPixmap(QPixmap::fromImage(image));
  }
  return icon;
}

}  // namespace tevanto

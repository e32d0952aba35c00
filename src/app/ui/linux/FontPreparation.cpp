#include "app/ui/linux/FontPreparation.h"

#include <fontconfig/fontconfig.h>

#include <QFont>
#include <QFontDatabase>
#include <QFontMetricsF>
#include <QStringList>

namespace tevanto {
namespace {

struct FontStyle {
  int size;  // pixels
  QFont::Weight weight;
};

/// The styles of the system's font in Theme.qml. One that is missing here is opened when it is first shown.
constexpr FontStyle kStyles[] = {{11, QFont::Medium},   {12, QFont::Normal},  {12, QFont::Medium},
                                 {12, QFont::DemiBold}, {13, QFont::Normal},  {13, QFont::Medium},
                                 {13, QFont::DemiBold}, {16, QFont::DemiBold}};
constexpr int kCodeSize = 26;

void open(QFont font, int size, QFont::Weight weight) {
  font.setPixelSize(size);
  font.setWeight(weight);
  static_cast<void>(QFontMetricsF(font).height());
}

}  // namespace

FontPreparation::FontPreparation()
    : thread_([this] {
        // Qt itself reports that there are none.
        FcInit();
        application_.wait();
        static_cast<void>(QFontDatabase::families());
      }) {}

FontPreparation::~FontPreparation() { wait(); }

void FontPreparation::finish() {
  wait();
  for (const auto& style : kStyles) open({}, style.size, style.weight);
  open(QFontDatabase::systemFont(QFontDatabase::FixedFont).family(), kCodeSize, QFont::Normal);
}

void FontPreparation::wait() {
  if (thread_.joinable()) thread_.join();
}

}  // namespace tevanto

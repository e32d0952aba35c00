#include "tests/app/ui/Screenshots.h"

#include <QDir>
#include <QFile>

#include <algorithm>
#include <cstdlib>

namespace tevanto::test {
namespace {

/// Few colors make a small file; nobody sees the difference.
QImage withFewColors(const QImage& picture) {
  auto few = picture.convertToFormat(QImage::Format_RGB888);
  for (int y = 0; y < few.height(); ++y) {
    auto* const line = few.scanLine(y);
    // To the middle of steps of eight.
    for (int i = 0; i < 3 * few.width(); ++i) line[i] = static_cast<uchar>((line[i] & 0xf8) | 4);
  }
  return few;
}

bool differs(QRgb a, QRgb b, int more) {
  const auto far = [more](int x, int y) { return std::abs(x - y) > more; };
  return far(qRed(a), qRed(b)) || far(qGreen(a), qGreen(b)) || far(qBlue(a), qBlue(b));
}

}  // namespace

double differingShare(const QImage& first, const QImage& second, int more) {
  if (first.size() != second.size() || first.isNull()) return 1;
  const auto a = first.convertToFormat(QImage::Format_RGB32);
  const auto b = second.convertToFormat(QImage::Format_RGB32);
  qint64 count = 0;
  for (int y = 0; y < a.height(); ++y) {
    for (int x = 0; x < a.width(); ++x) count += differs(a.pixel(x, y), b.pixel(x, y), more) ? 1 : 0;
  }
  return static_cast<double>(count) / (static_cast<double>(a.width()) * a.height());
}

QString compareWithReference(const QString& name, const QImage& picture) {
  const QString shown = QStringLiteral(TEVANTO_SCREENSHOTS "/") + name + ".png";
  const QString reference = QStringLiteral(TEVANTO_REFERENCES "/") + name + ".png";
  QDir().mkpath(QStringLiteral(TEVANTO_SCREENSHOTS));
  if (!picture.save(shown)) return "cannot write " + shown;
  if (qEnvironmentVariableIsSet("TEVANTO_UPDATE_REFERENCES")) {
    return withFewColors(picture).save(reference, "PNG", 0) ? QString() : "cannot write " + reference;
  }
  const QImage expected(reference);
  if (expected.isNull()) return "there is no reference " + reference;
  const double share = differingShare(picture, expected);
  if (share <= kToleratedShare) return {};
  return shown + " differs from its reference in " + QString::number(share * 100, 'f', 3) +
         " % of the pixels";
}

}  // namespace tevanto::test

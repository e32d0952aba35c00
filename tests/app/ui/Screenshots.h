#pragma once

#include <QImage>
#include <QString>

namespace tevanto::test {

/// How many of a picture's pixels may differ from its reference: rounding of another version of the font's or
/// the drawing's library, less than a word.
constexpr double kToleratedShare = 0.0004;
/// From which on two pixels differ, in any channel, of 255.
constexpr int kToleratedDifference = 24;

/// The share of pixels that differ, by `more` than this; 1 where the sizes do.
double differingShare(const QImage& a, const QImage& b, int more = kToleratedDifference);

/// Writes `picture` to build/screenshots/<name>.png and compares it with its reference. With the variable
/// TEVANTO_UPDATE_REFERENCES in the environment the reference is replaced instead. Empty when they agree,
/// else what is wrong.
QString compareWithReference(const QString& name, const QImage& picture);

}  // namespace tevanto::test

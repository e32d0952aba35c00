#pragma once

#include <QIcon>

namespace tevanto {

/// MenuBarLabel draws the icon in the tray: a phone, with radio waves while one is connected. Its colors
/// stand out against light and dark panels alike, since no desktop reports the color of its panel.
class MenuBarLabel {
 public:
  /// The name of the image, as the file under images/.
  static const char* imageName(bool isClientConnected);
  static QIcon icon(bool isClientConnected);
  /// The product's mark, as an application's icon.
  static QIcon mark();
};

}  // namespace tevanto

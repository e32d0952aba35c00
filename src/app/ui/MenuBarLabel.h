#pragma once

#include <QIcon>

namespace tevanto {

/// The icon in the tray: a phone, with radio waves while one is connected. Its colours can be told from light
/// and from dark panels, as no desktop says which it has.
class MenuBarLabel {
 public:
  /// The name of the image, as the file under images/.
  static const char* imageName(bool isClientConnected);
  static QIcon icon(bool isClientConnected);
  /// The product's mark, as an application's icon.
  static QIcon mark();
};

}  // namespace tevanto

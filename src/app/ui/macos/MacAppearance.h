#pragma once

#include <memory>

class QObject;

namespace tevanto {

class DesktopAppearance;

/// Makes a follower of the palette, which is the system's, and of the setting for reduced motion.
std::unique_ptr<QObject> followAppKit(DesktopAppearance& appearance);

}  // namespace tevanto

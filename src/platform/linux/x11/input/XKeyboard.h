#pragma once

#include <cstdint>
#include <memory>

#include "platform/linux/x11/XInputConnection.h"
#include "platform/linux/x11/input/SpareKeyPool.h"
#include "platform/linux/x11/input/XKeymap.h"

namespace tevanto {

/// The keyboard of one connection, kept up to date: the keymap, and the key codes that it leaves unused. Main
/// queue.
class XKeyboard {
 public:
  explicit XKeyboard(std::shared_ptr<XInputConnection> x);

  /// Takes in what has changed since; loads the keymap anew only when somebody else has changed it. False
  /// when the server is gone.
  bool refresh();
  /// After a successful `refresh`.
  XKeymap& keymap() { return *keymap_; }
  SpareKeyPool& spares() { return spares_; }
  /// The present state of the keyboard. A round trip.
  KeyboardState state() const;
  /// The key with this keysym, or the one that has it on most keyboards.
  std::uint8_t keyOf(std::uint32_t keysym, std::uint8_t usual) const;

 private:
  bool isOurs(const XInputConnection::KeyRange& range) const;
  bool load();

  const std::shared_ptr<XInputConnection> x_;
  std::unique_ptr<XKeymap> keymap_;
  SpareKeyPool spares_;
};

}  // namespace tevanto

#pragma once

#include <cstdint>
#include <memory>
#include <set>
#include <span>
#include <utility>
#include <vector>

#include "core/Log.h"
#include "platform/linux/x11/XInputConnection.h"

namespace tevanto {

/// HeldInput releases keys, buttons and borrowed key codes that a dead process has left. Those that XTEST
/// holds down stay down when their client dies. Each process therefore records its own on the root window
/// before it presses them, in the same stream of requests. The record lives and dies with the server that
/// holds the keys, and the next process releases the input of a dead owner. Main queue; ends before its
/// connection.
///
/// The property _TEVANTO_HELD_INPUT_<slot>, CARDINAL of 32 bits: [owner's window, owner's nonce,
/// (what << 8 | code)...]. The owner lives as long as that window exists and carries the same nonce: window
/// numbers are given out again, nonces are not.
class HeldInput {
 public:
  enum class What : std::uint32_t { key = 1, button = 2, borrowedKeycode = 3 };
  using Entry = std::pair<What, std::uint8_t>;

  /// Releases what dead owners left behind, and takes a slot.
  HeldInput(std::shared_ptr<XInputConnection> x, Logger log);
  /// Releases everything that is still held, and waits until the server has done it.
  ~HeldInput();
  HeldInput(const HeldInput&) = delete;
  HeldInput& operator=(const HeldInput&) = delete;

  bool holds(What what, std::uint8_t code) const { return entries_.contains({what, code}); }
  /// Records all, then presses the keys and buttons among them, in this order.
  void press(std::span<const Entry> entries);
  /// Releases, the last one first, then takes them off the record. A borrowed key code is not released by
  /// this, only taken off the record.
  void release(std::span<const Entry> entries);

 private:
  using Record = std::vector<std::uint32_t>;

  void claimSlot();
  bool recover(xcb_atom_t slot);
  bool ownerLives(const Record& record) const;
  Record read(xcb_window_t window, xcb_atom_t property) const;
  void write();
  void fake(const Entry& entry, bool down) const;
  void releaseEntry(const Entry& entry) const;

  const std::shared_ptr<XInputConnection> x_;
  const Logger log_;
  const xcb_window_t window_;
  const std::uint32_t nonce_;
  xcb_atom_t nonceProperty_;
  xcb_atom_t slot_ = XCB_ATOM_NONE;
  std::set<Entry> entries_;
};

}  // namespace tevanto

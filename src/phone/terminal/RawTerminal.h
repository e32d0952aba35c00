#pragma once

#include <termios.h>

#include <memory>

namespace tevanto::phone {

/// RawTerminal makes a terminal report every key and every motion of the mouse, on its alternate screen, for
/// as long as it lives. Its destruction restores the former state.
class RawTerminal {
 public:
  /// Nothing when `input` is no terminal.
  static std::unique_ptr<RawTerminal> open(int input, int output);
  ~RawTerminal();
  RawTerminal(const RawTerminal&) = delete;
  RawTerminal& operator=(const RawTerminal&) = delete;

 private:
  RawTerminal(int input, int output, const termios& before);

  int input_;
  int output_;
  termios before_;
};

/// While held, the signals that would end the process are turned into a readable descriptor, so that the
/// terminal can be restored first. Only one may be held at a time.
class EndSignals {
 public:
  EndSignals();
  ~EndSignals();
  EndSignals(const EndSignals&) = delete;
  EndSignals& operator=(const EndSignals&) = delete;

  int descriptor() const;

 private:
  struct Saved;
  std::unique_ptr<Saved> saved_;
};

}  // namespace tevanto::phone

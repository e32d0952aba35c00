#pragma once

#include <string>

#include "phone/connection/Answer.h"
#include "phone/connection/PhoneSession.h"
#include "phone/terminal/TerminalEvents.h"
#include "phone/terminal/TouchpadGestures.h"

namespace tevanto::phone {

/// The terminal as a touchpad, live, until the user quits.
class Touchpad {
 public:
  Touchpad(PhoneSession& session, int input, int output)
      : session_(session), input_(input), output_(output) {}

  Answer<bool> run();

 private:
  Answer<bool> loop(int signals);
  Answer<bool> readTerminal(bool& ended);
  Answer<bool> readReplies();
  Answer<bool> sendAll(const std::vector<RemoteCommand>& commands);
  void show(const std::string& status);

  PhoneSession& session_;
  int input_;
  int output_;
  TerminalEvents events_;
  TouchpadGestures gestures_;
  std::string shown_;
};

}  // namespace tevanto::phone

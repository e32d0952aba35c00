#pragma once

#include <string>

#include "phone/Answer.h"
#include "phone/PhoneSession.h"
#include "phone/TerminalEvents.h"
#include "phone/TouchpadGestures.h"

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

#pragma once

#include <string>
#include <vector>

#include "app/ipc/CompanionStatus.h"

namespace tevanto {

/// TextStyle tells how a text may look on its output.
struct TextStyle {
  bool picture = false;  // a terminal: frames and alignment; else plain lines
  bool color = false;
  /// The standard output of this process.
  static TextStyle forStandardOutput();
};

/// Formats what a person needs who has just started the companion: code, name, addresses, and the command for
/// a second terminal. `phoneProgram` is the phone's program as this user can call it.
std::string companionPanel(const CompanionStatus& status, const std::string& phoneProgram, TextStyle style);
/// The whole status, one "name: value" a line.
std::string statusLines(const CompanionStatus& status);
/// One line for each thing of interest to a person that differs.
std::vector<std::string> changesBetween(const CompanionStatus& before, const CompanionStatus& after);
/// The command that pairs with this companion. It names the port where discovery does not lead to it.
std::string pairCommand(const CompanionStatus& status, const std::string& phoneProgram);

/// The phone's program beside this one, as it can be called from the present folder; its bare name where it
/// is not installed beside this one.
std::string phoneProgramForUser();

}  // namespace tevanto

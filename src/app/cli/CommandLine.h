#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <variant>

namespace tevanto {

/// ExitCode is the exit status of a program of this suite.
enum class ExitCode { done = 0, failed = 1, usage = 2, notRunning = 3 };

/// CompanionOptions starts the companion.
struct CompanionOptions {
  bool headless = false;
  bool lostDisplay = false;                 // headless because the display of its windows is gone
  std::optional<std::uint16_t> remotePort;  // 0: any free one; absent: the usual one
  std::optional<std::uint16_t> screenPort;
  bool loopbackOnly = false;
  bool noDiscovery = false;
};
/// StatusOptions prints the state of the running companion.
struct StatusOptions {
  bool json = false;
};
/// KeepAwakeOptions switches keep-awake on or off.
struct KeepAwakeOptions {
  bool on = false;
};
/// DefaultsOptions lists, reads, stores or removes user defaults.
struct DefaultsOptions {
  enum class Action { list, get, set, remove };
  enum class Type { automatic, string, boolean, integer, real, array };
  Action action = Action::list;
  std::string key;
  std::string value;
  Type type = Type::automatic;
};
/// DoctorOptions checks this computer for everything that the companion needs.
struct DoctorOptions {
  bool json = false;
  std::optional<std::uint16_t> remotePort;
  std::optional<std::uint16_t> screenPort;
};
/// EndNow ends the program: help, version or an error has been printed.
struct EndNow {
  int exitStatus = 0;
};

/// Invocation is one call of the program, with its options.
using Invocation =
    std::variant<CompanionOptions, StatusOptions, KeepAwakeOptions, DefaultsOptions, DoctorOptions, EndNow>;

/// Reads the arguments of `tevanto`. Help, version and errors are printed here.
Invocation parseCommandLine(int argc, const char* const* argv);

}  // namespace tevanto

#include "app/cli/CompanionText.h"

#include <unistd.h>

#include <array>
#include <cstdlib>
#include <filesystem>
#include <string_view>
#include <system_error>
#include <utility>

#include "app/ipc/ProcessFacts.h"

namespace tevanto {
namespace {

using Row = std::pair<std::string, std::string>;

constexpr std::string_view kPhoneProgram = "tevanto-phone";

std::string joined(const std::vector<std::string>& parts, std::string_view separator) {
  std::string text;
  for (const auto& part : parts) text += (text.empty() ? "" : std::string(separator)) + part;
  return text;
}

std::string withPort(const std::string& address, std::int64_t port) {
  const bool version6 = address.find(':') != std::string::npos;
  return (version6 ? "[" + address + "]" : address) + ":" + std::to_string(port);
}

std::string addressText(const CompanionStatus& status) {
  if (status.remotePort == 0) return "none: it does not listen";
  std::vector<std::string> parts;
  for (const auto& address : status.addresses) parts.push_back(withPort(address, status.remotePort));
  if (parts.empty()) parts.push_back(withPort("127.0.0.1", status.remotePort) + " (this computer only)");
  return joined(parts, ", ");
}

/// The advertiser's sentences stand alone; here they follow the word "Discovery".
std::string withoutLead(const std::string& message) {
  constexpr std::string_view kLead = "Discovery is off: ";
  return message.starts_with(kLead) ? message.substr(kLead.size()) : message;
}

std::string discoveryText(const AdvertisingStatus& discovery) {
  switch (discovery.state) {
    case AdvertisingState::advertised:
      return "visible on the local network as \"" + discovery.name + "\"";
    case AdvertisingState::unavailable:
      return "off" + (discovery.message.empty() ? "" : ": " + withoutLead(discovery.message));
    case AdvertisingState::pending:
      return discovery.message.empty() ? "starting" : discovery.message;
  }
  return {};
}

std::string keepAwakeText(const CompanionStatus& status) {
  const auto battery = status.batteryPercent ? " · " + std::to_string(*status.batteryPercent) + "%" : "";
  return status.keepAwakeStatusText + battery;
}

std::string inputText(const CompanionStatus& status) {
  return status.isAccessibilityTrusted ? "ready" : "not possible: tevanto doctor tells why";
}

std::string bold(const std::string& text, TextStyle style) {
  return style.color ? "\x1b[1m" + text + "\x1b[0m" : text;
}
std::string faint(const std::string& text, TextStyle style) {
  return style.color ? "\x1b[2m" + text + "\x1b[0m" : text;
}

std::vector<Row> panelRows(const CompanionStatus& status) {
  return {{"Name", status.hostName},
          {"Address", addressText(status)},
          {"Discovery", discoveryText(status.discovery)},
          {"Pointer, keys", inputText(status)},
          {"Keep awake", keepAwakeText(status)}};
}

std::string picturePanel(const CompanionStatus& status, const std::string& command, TextStyle style) {
  const auto rows = panelRows(status);
  const std::array<std::string, 5> box = {"╭────────────────╮", "│  PAIRING CODE  │", "│                │",
                                          "│     " + bold(status.pairingCode, style) + "     │",
                                          "╰────────────────╯"};
  std::string text = "\n  " + bold("Tevanto", style) + " " + status.version + "  " +
                     faint(status.statusText, style) + "\n\n";
  for (std::size_t i = 0; i < box.size(); ++i) {
    auto name = rows[i].first;
    name.resize(15, ' ');
    text += "  " + box[i] + "   " + faint(name, style) + rows[i].second + "\n";
  }
  text += "\n  In a second terminal:\n\n    " + bold(command, style) + "\n\n";
  return text + "  " + faint("Ctrl+C ends the companion.", style) + "\n\n";
}

std::string plainPanel(const CompanionStatus& status, const std::string& command) {
  std::string text = "Tevanto " + status.version + ": " + status.statusText + "\n";
  text += "Pairing code: " + status.pairingCode + "\n";
  for (const auto& [name, value] : panelRows(status)) text += name + ": " + value + "\n";
  return text + "In a second terminal: " + command + "\n";
}

std::string mirroringText(const CompanionStatus& status) {
  const auto encoder = status.encoder.empty() ? "" : " (" + status.encoder + ")";
  if (!status.screenStatusText.empty()) return status.screenStatusText + encoder;
  return status.isScreenRecordingTrusted ? "ready" + encoder : "The display cannot be captured";
}

}  // namespace

TextStyle TextStyle::forStandardOutput() {
  const char* terminal = std::getenv("TERM");
  const bool capable = ::isatty(STDOUT_FILENO) == 1 && terminal && std::string_view(terminal) != "dumb";
  const char* noColor = std::getenv("NO_COLOR");  // https://no-color.org
  return {capable, capable && (!noColor || *noColor == '\0')};
}

std::string companionPanel(const CompanionStatus& status, const std::string& phoneProgram, TextStyle style) {
  const auto command = pairCommand(status, phoneProgram);
  return style.picture ? picturePanel(status, command, style) : plainPanel(status, command);
}

std::string statusLines(const CompanionStatus& status) {
  const std::vector<Row> rows = {
      {"Pairing code", status.pairingCode},
      {"Status", status.statusText},
      {"Phone", std::string(status.isClientConnected ? "connected" : "not connected") +
                    (status.isPaired ? ", paired" : ", none paired yet")},
      {"Name", status.hostName},
      {"Device", status.deviceID},
      {"Address", addressText(status)},
      {"Discovery", discoveryText(status.discovery)},
      {"Pointer, keys", inputText(status)},
      {"Mirroring", mirroringText(status)},
      {"Keep awake", keepAwakeText(status)},
      {"Launch at login", status.launchAtLoginStatusText},
      {"Process", std::to_string(status.processID) + ", version " + status.version}};
  std::string text;
  for (const auto& [name, value] : rows) {
    auto padded = name + ":";
    padded.resize(17, ' ');
    text += padded + value + "\n";
  }
  return text;
}

std::vector<std::string> changesBetween(const CompanionStatus& before, const CompanionStatus& after) {
  std::vector<std::string> lines;
  if (before.statusText != after.statusText) lines.push_back(after.statusText);
  if (before.pairingCode != after.pairingCode) lines.push_back("New pairing code: " + after.pairingCode);
  if (before.discovery != after.discovery) lines.push_back("Discovery: " + discoveryText(after.discovery));
  if (before.isAccessibilityTrusted != after.isAccessibilityTrusted) {
    lines.push_back("Pointer and keys: " + inputText(after));
  }
  if (before.keepAwakeStatusText != after.keepAwakeStatusText) lines.push_back(after.keepAwakeStatusText);
  if (before.launchAtLoginStatusText != after.launchAtLoginStatusText) {
    lines.push_back("Launch at login: " + after.launchAtLoginStatusText);
  }
  return lines;
}

std::string pairCommand(const CompanionStatus& status, const std::string& phoneProgram) {
  auto command = phoneProgram + " pair " + status.pairingCode;
  if (status.discovery.state != AdvertisingState::advertised && status.remotePort != 0) {
    command += " --host 127.0.0.1:" + std::to_string(status.remotePort);
  }
  return command;
}

std::string phoneProgramForUser() {
  const auto own = ownExecutable();
  if (!own) return std::string(kPhoneProgram);
  std::error_code error;
  const auto beside = own->parent_path() / kPhoneProgram;
  if (!std::filesystem::exists(beside, error)) return std::string(kPhoneProgram);
  const auto here = std::filesystem::current_path(error);
  const auto relative = error ? std::filesystem::path() : beside.lexically_relative(here);
  const bool below = !relative.empty() && *relative.begin() != "..";
  if (!below) return beside.string();
  // A bare name would be looked up in PATH.
  return relative.has_parent_path() ? relative.string() : "./" + relative.string();
}

}  // namespace tevanto

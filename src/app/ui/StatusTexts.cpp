#include "app/ui/StatusTexts.h"

#include <QCoreApplication>

#include <algorithm>

namespace tevanto {
namespace {

constexpr auto* kDigits = "0123456789";

// The status texts of the services, for the translators; %1 is a number.
[[maybe_unused]] constexpr const char* kTexts[] = {
    QT_TRANSLATE_NOOP("Status", "Starting"),
    QT_TRANSLATE_NOOP("Status", "Waiting for iPhone"),
    QT_TRANSLATE_NOOP("Status", "Pair from iPhone"),
    QT_TRANSLATE_NOOP("Status", "Authenticating iPhone"),
    QT_TRANSLATE_NOOP("Status", "iPhone connected"),
    QT_TRANSLATE_NOOP("Status", "iPhone reconnecting"),
    QT_TRANSLATE_NOOP("Status", "Paired"),
    QT_TRANSLATE_NOOP("Status", "Accessibility required"),
    QT_TRANSLATE_NOOP("Status", "Stopped"),
    QT_TRANSLATE_NOOP("Status", "Server failed"),
    QT_TRANSLATE_NOOP("Status", "Cannot start server"),
    QT_TRANSLATE_NOOP("Status", "Sharing screen…"),
    QT_TRANSLATE_NOOP("Status", "Mirroring to iPhone"),
    QT_TRANSLATE_NOOP("Status", "Screen server failed"),
    QT_TRANSLATE_NOOP("Status", "Rejected an unpaired iPhone"),
    QT_TRANSLATE_NOOP("Status", "Screen recording permission needed"),
    QT_TRANSLATE_NOOP("Status", "No display to capture"),
    QT_TRANSLATE_NOOP("Status", "Screen capture stopped"),
    QT_TRANSLATE_NOOP("Status", "Keep Awake off"),
    QT_TRANSLATE_NOOP("Status", "Keeps running after screen lock"),
    QT_TRANSLATE_NOOP("Status", "Battery too low (%1%) to keep awake"),
    QT_TRANSLATE_NOOP("Status", "Battery floor hit (%1%), turning off"),
    QT_TRANSLATE_NOOP("Status", "Auto-off after %1h"),
    QT_TRANSLATE_NOOP("Status", "Couldn't enable Keep Awake (%1)"),
    QT_TRANSLATE_NOOP("Status", "Couldn't disable Keep Awake (%1)"),
    QT_TRANSLATE_NOOP("Status", "Off"),
    QT_TRANSLATE_NOOP("Status", "Starts after login"),
    QT_TRANSLATE_NOOP("Status", "Approval required"),
    QT_TRANSLATE_NOOP("Status", "Install in Applications"),
    QT_TRANSLATE_NOOP("Status", "Unavailable"),
};

}  // namespace

QString translatedStatus(const std::string& text) {
  if (text.empty()) return {};
  const auto digit = text.find_first_of(kDigits);
  if (digit == std::string::npos) return QCoreApplication::translate("Status", text.c_str());
  const auto from = digit > 0 && text[digit - 1] == '-' ? digit - 1 : digit;
  const auto to = std::min(text.find_first_not_of(kDigits, digit), text.size());
  const auto pattern = text.substr(0, from) + "%1" + text.substr(to);
  return QCoreApplication::translate("Status", pattern.c_str())
      .replace("%1", QString::fromStdString(text.substr(from, to - from)));
}

}  // namespace tevanto

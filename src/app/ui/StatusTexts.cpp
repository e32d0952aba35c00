#include "app/ui/StatusTexts.h"

#include <QCoreApplication>

namespace tevanto {
namespace {

// What the services say, for the translators.
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
    QT_TRANSLATE_NOOP("Status", "Off"),
    QT_TRANSLATE_NOOP("Status", "Starts after login"),
    QT_TRANSLATE_NOOP("Status", "Approval required"),
    QT_TRANSLATE_NOOP("Status", "Install in Applications"),
    QT_TRANSLATE_NOOP("Status", "Unavailable"),
};

}  // namespace

QString translatedStatus(const std::string& text) {
  if (text.empty()) return {};
  return QCoreApplication::translate("Status", text.c_str());
}

}  // namespace tevanto

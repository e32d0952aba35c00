#include "app/ui/linux/ToolkitMotion.h"

#include <utility>

#include "platform/linux/desktop/GSettingsBoolean.h"
#include "platform/linux/x11/windows/XSettings.h"

namespace tevanto {
namespace {

constexpr auto kXSetting = "Gtk/EnableAnimations";

bool isReducedByGnome() {
  return !gsettingsBoolean("org.gnome.desktop.interface", "enable-animations").value_or(true);
}

}  // namespace

ToolkitMotion::ToolkitMotion(std::function<void(bool)> changed)
    : changed_(std::move(changed)), settings_(XSettings::connect()) {
  if (settings_) {
    news_ = std::make_unique<QSocketNotifier>(settings_->descriptor(), QSocketNotifier::Read);
    QObject::connect(news_.get(), &QSocketNotifier::activated, news_.get(), [this] {
      if (settings_->readEvents()) return notify();
      news_->setEnabled(false);
    });
  }
  notify();
}

ToolkitMotion::~ToolkitMotion() = default;

void ToolkitMotion::notify() {
  const auto animations = settings_ ? settings_->integer(kXSetting) : std::nullopt;
  changed_(animations ? *animations == 0 : isReducedByGnome());
}

}  // namespace tevanto

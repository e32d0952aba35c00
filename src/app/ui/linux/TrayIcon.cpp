#include "app/ui/linux/TrayIcon.h"

#include <QCoreApplication>
#include <utility>

#include "app/ui/CompanionModel.h"
#include "app/ui/MenuBarLabel.h"
#include "app/ui/linux/TrayToolTip.h"

namespace tevanto {
namespace {

QString translated(const char* text) { return QCoreApplication::translate("TrayIcon", text); }

}  // namespace

TrayIcon::TrayIcon(CompanionModel& model, std::function<void(const QRect&)> clicked)
    : model_(model), clicked_(std::move(clicked)) {
  fillMenu();
  availability_.await([this](TrayAvailability::Kind) { appear(); });
}

TrayIcon::~TrayIcon() = default;

void TrayIcon::fillMenu() {
  disconnect_ = menu_.addAction(translated(QT_TRANSLATE_NOOP("TrayIcon", "Disconnect phone")));
  QObject::connect(disconnect_, &QAction::triggered, &context_, [this] { model_.disconnectPhone(); });
  auto* open = menu_.addAction(translated(QT_TRANSLATE_NOOP("TrayIcon", "Open setup window")));
  QObject::connect(open, &QAction::triggered, &context_, [this] { model_.openSetupWindow(); });
  menu_.addSeparator();
  auto* quit = menu_.addAction(translated(QT_TRANSLATE_NOOP("TrayIcon", "Quit")));
  QObject::connect(quit, &QAction::triggered, &context_, [this] { model_.quit(); });
}

void TrayIcon::appear() {
  icon_ = std::make_unique<QSystemTrayIcon>();
  icon_->setIcon(MenuBarLabel::icon(showsConnected_));
  icon_->setContextMenu(&menu_);
  QObject::connect(icon_.get(), &QSystemTrayIcon::activated, &context_,
                   [this](QSystemTrayIcon::ActivationReason reason) {
                     if (reason == QSystemTrayIcon::Trigger) clicked_(icon_->geometry());
                   });
  QObject::connect(&model_, &CompanionModel::serverChanged, &context_, [this] { show(); });
  QObject::connect(&model_, &CompanionModel::screenChanged, &context_, [this] { show(); });
  show();
  icon_->show();
}

void TrayIcon::show() {
  const bool connected = model_.isClientConnected();
  if (std::exchange(showsConnected_, connected) != connected) icon_->setIcon(MenuBarLabel::icon(connected));
  disconnect_->setEnabled(connected);
  icon_->setToolTip(trayToolTip(connected, model_.isMirroring()));
}

}  // namespace tevanto

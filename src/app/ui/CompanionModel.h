#pragma once

#include <QtQml/qqmlregistration.h>
#include <QObject>
#include <QString>

#include <functional>
#include <vector>

#include "app/runtime/PublicLinks.h"
#include "app/runtime/ScreenService.h"
#include "app/runtime/UiActions.h"
#include "core/queue/Published.h"

namespace tevanto {

class MacLaunchAtLoginController;
class MacPowerManager;
class MacRemoteServer;
class UserDefaults;

/// CompanionModel is the model of all views: it has the published state of the services as properties, and
/// the operations that the views call. Lives on the main queue, which is the thread of the views.
class CompanionModel : public QObject {
  Q_OBJECT
  QML_ELEMENT
  QML_UNCREATABLE("There is one, made with the services that it shows.")

  // the remote server
  Q_PROPERTY(QString pairingCode READ pairingCode NOTIFY serverChanged FINAL)
  Q_PROPERTY(QString statusText READ statusText NOTIFY serverChanged FINAL)
  Q_PROPERTY(bool isClientConnected READ isClientConnected NOTIFY serverChanged FINAL)
  Q_PROPERTY(bool isAccessibilityTrusted READ isAccessibilityTrusted NOTIFY serverChanged FINAL)
  // the screen's service
  Q_PROPERTY(bool isScreenRecordingTrusted READ isScreenRecordingTrusted NOTIFY screenChanged FINAL)
  Q_PROPERTY(bool isMirroring READ isMirroring NOTIFY screenChanged FINAL)
  Q_PROPERTY(QString screenStatusText READ screenStatusText NOTIFY screenChanged FINAL)
  // the power manager
  Q_PROPERTY(bool isKeepAwakeOn READ isKeepAwakeOn NOTIFY powerChanged FINAL)
  Q_PROPERTY(QString keepAwakeStatusText READ keepAwakeStatusText NOTIFY powerChanged FINAL)
  Q_PROPERTY(int batteryPercent READ batteryPercent NOTIFY powerChanged FINAL)
  // launch at login
  Q_PROPERTY(bool isLaunchAtLoginOn READ isLaunchAtLoginOn NOTIFY launchAtLoginChanged FINAL)
  Q_PROPERTY(QString launchAtLoginStatusText READ launchAtLoginStatusText NOTIFY launchAtLoginChanged FINAL)
  // the first-run guide
  Q_PROPERTY(bool hasCompletedGuide READ hasCompletedGuide NOTIFY guideChanged FINAL)
  Q_PROPERTY(QString appStoreURL READ appStoreURL CONSTANT FINAL)

 public:
  /// Services holds the services whose published state is shown. All of them outlive the model.
  struct Services {
    MacRemoteServer& server;
    ScreenService& screen;
    MacPowerManager& power;
    MacLaunchAtLoginController& launchAtLogin;
    UserDefaults& defaults;
  };

  static constexpr const char* kGuideKey = "hasCompletedMacFirstRunGuide";

  CompanionModel(Services services, UiActions operations, PublicLinks links);
  ~CompanionModel() override;

  QString pairingCode() const;
  QString statusText() const;
  bool isClientConnected() const;
  bool isAccessibilityTrusted() const;
  bool isScreenRecordingTrusted() const;
  bool isMirroring() const;
  /// Empty when there is nothing to report.
  QString screenStatusText() const;
  bool isKeepAwakeOn() const;
  QString keepAwakeStatusText() const;
  /// -1 where there is no battery.
  int batteryPercent() const;
  bool isLaunchAtLoginOn() const;
  QString launchAtLoginStatusText() const;
  /// True when the guide was completed, now or at an earlier start.
  bool hasCompletedGuide() const;
  QString appStoreURL() const;

  Q_INVOKABLE void copyCode();
  Q_INVOKABLE void openAccessibilitySettings();
  Q_INVOKABLE void openScreenRecordingSettings();
  /// When the system refuses, the property keeps its value and the status text names the reason.
  Q_INVOKABLE void setKeepAwake(bool on);
  Q_INVOKABLE void setLaunchAtLogin(bool on);
  Q_INVOKABLE void openSetupWindow();
  Q_INVOKABLE void disconnectPhone();
  Q_INVOKABLE void quit();
  Q_INVOKABLE void completeGuide();
  Q_INVOKABLE void copyLink();
  Q_INVOKABLE void openWebsite();
  Q_INVOKABLE void openSupport();
  Q_INVOKABLE void openPrivacy();
  Q_INVOKABLE void openTerms();
  /// Reads the state again that changes without notice. A view calls this when it appears.
  Q_INVOKABLE void refresh();

 Q_SIGNALS:
  void serverChanged();
  void screenChanged();
  void powerChanged();
  void launchAtLoginChanged();
  void guideChanged();

 private:
  using Signal = void (CompanionModel::*)();

  template <class T>
  void follow(Published<T>& value, Signal changed);
  void readScreen();

  const Services services_;
  const UiActions operations_;
  const PublicLinks links_;
  ScreenServiceState screenState_;
  bool completedGuideInSession_ = false;
  std::vector<Subscription> subscriptions_;
};

}  // namespace tevanto

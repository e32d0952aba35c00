#pragma once

#include <QtQml/qqmlregistration.h>
#include <QObject>
#include <QString>
#include <memory>

namespace tevanto {

/// DesktopAppearance holds the desktop's preferences for looks: dark or light, with motion or without.
/// Follows changes. Main thread.
class DesktopAppearance : public QObject {
  Q_OBJECT
  QML_ELEMENT
  QML_SINGLETON
  Q_PROPERTY(bool isDark READ isDark NOTIFY changed FINAL)
  Q_PROPERTY(bool isMotionReduced READ isMotionReduced NOTIFY changed FINAL)
  Q_PROPERTY(bool isRightToLeft READ isRightToLeft NOTIFY changed FINAL)
  Q_PROPERTY(QString monospacedFamily READ monospacedFamily CONSTANT FINAL)

 public:
  /// Follow keeps an appearance up to date with the system's desktop for as long as the result lives.
  using Follow = std::unique_ptr<QObject> (*)(DesktopAppearance&);
  /// Makes every appearance that is constructed from now on follow the desktop. Without a call they keep the
  /// palette's value.
  static void followBy(Follow follow) { follow_ = follow; }

  explicit DesktopAppearance(QObject* parent = nullptr);
  ~DesktopAppearance() override;

  bool isDark() const { return isDark_; }
  bool isMotionReduced() const { return isMotionReduced_; }
  /// True when the interface runs from right to left. It is a property of this class because the first use of
  /// `Qt.RightToLeft` in QML makes the engine load all of Qt's enumerations, a tenth of a start.
  bool isRightToLeft() const;
  QString monospacedFamily() const;

  /// Replaces the desktop's value.
  void setDark(bool dark);
  void setMotionReduced(bool reduced);
  void setMotionReducedByPortal(bool reduced);
  /// Sets the toolkit's value, which counts until a portal has reported one.
  void setMotionReducedByToolkit(bool reduced);

  /// True when the application's palette is dark.
  static bool isPaletteDark();

 Q_SIGNALS:
  void changed();

 private:
  bool isDark_;
  bool isMotionReduced_ = false;
  bool isMotionThePortals_ = false;
  std::unique_ptr<QObject> source_;
  static inline Follow follow_ = nullptr;  // the engine makes appearances by itself, with no argument
};

}  // namespace tevanto

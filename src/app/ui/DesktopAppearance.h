#pragma once

#include <QtQml/qqmlregistration.h>
#include <QObject>
#include <QString>
#include <memory>

namespace tevanto {

/// How the desktop wants to be looked at: dark or light, with motion or without. Follows changes.
class DesktopAppearance : public QObject {
  Q_OBJECT
  QML_ELEMENT
  QML_SINGLETON
  Q_PROPERTY(bool isDark READ isDark NOTIFY changed FINAL)
  Q_PROPERTY(bool isMotionReduced READ isMotionReduced NOTIFY changed FINAL)
  Q_PROPERTY(bool isRightToLeft READ isRightToLeft NOTIFY changed FINAL)
  Q_PROPERTY(QString monospacedFamily READ monospacedFamily CONSTANT FINAL)

 public:
  /// Tells an appearance what the system's desktop wants, now and when that changes, for as long as the
  /// result lives.
  using Follow = std::unique_ptr<QObject> (*)(DesktopAppearance&);
  /// Has every appearance that is made from now on follow the desktop. Without it they keep the palette's
  /// value.
  static void followBy(Follow follow) { follow_ = follow; }

  explicit DesktopAppearance(QObject* parent = nullptr);
  ~DesktopAppearance() override;

  bool isDark() const { return isDark_; }
  bool isMotionReduced() const { return isMotionReduced_; }
  /// Whether the interface runs from right to left. Here because the first look at `Qt.RightToLeft` in QML
  /// has the engine take in all of Qt's enumerations, which takes a tenth of a start.
  bool isRightToLeft() const;
  QString monospacedFamily() const;

  /// Takes the place of what the desktop says.
  void setDark(bool dark);
  void setMotionReduced(bool reduced);
  void setMotionReducedByPortal(bool reduced);
  /// What a desktop says otherwise, which counts for as long as no portal has said anything about it.
  void setMotionReducedByToolkit(bool reduced);

  /// By the application's palette.
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

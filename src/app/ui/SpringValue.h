#pragma once

#include <QtQml/qqmlregistration.h>
#include <QAbstractAnimation>

#include "app/ui/Spring.h"

namespace tevanto {

/// SpringValue is a number that follows its target on a spring, frame by frame. It keeps its velocity when
/// the target changes meanwhile. With reduced motion it jumps.
class SpringValue : public QAbstractAnimation {
  Q_OBJECT
  QML_ELEMENT
  Q_PROPERTY(qreal target READ target WRITE setTarget NOTIFY targetChanged FINAL)
  Q_PROPERTY(qreal value READ value NOTIFY valueChanged FINAL)
  Q_PROPERTY(bool jumps READ jumps WRITE setJumps NOTIFY jumpsChanged FINAL)

 public:
  using QAbstractAnimation::QAbstractAnimation;

  qreal target() const { return target_; }
  /// The first target is where it starts.
  void setTarget(qreal target);
  qreal value() const { return value_; }
  bool jumps() const { return jumps_; }
  void setJumps(bool jumps);
  /// Milliseconds until it rests.
  int duration() const override;

 Q_SIGNALS:
  void targetChanged();
  void valueChanged();
  void jumpsChanged();

 protected:
  void updateCurrentTime(int milliseconds) override;

 private:
  void rest();
  void setValue(qreal value);

  const Spring spring_;
  bool hasTarget_ = false;
  bool jumps_ = false;
  qreal target_ = 0;
  qreal value_ = 0;
  Spring::Motion start_;  // relative to the target, when it was set
  double velocity_ = 0;
};

}  // namespace tevanto

#pragma once

#include <QObject>

class QQmlEngine;

namespace tevanto::test {

/// What the tests under quick/ run on; Qt Quick Test calls it by the names of its slots.
class QuickGround final : public QObject {
  Q_OBJECT

 public Q_SLOTS:
  void applicationAvailable();
  void qmlEngineAvailable(QQmlEngine* engine);
};

}  // namespace tevanto::test

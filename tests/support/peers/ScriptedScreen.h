#pragma once

#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "screen/wire/ScreenStreamMessage.h"
#include "tests/support/peers/ScreenBytes.h"

namespace tevanto::test {

/// The computer's end of the screen connection on a loopback port of its own, answering from a script. One
/// phone at a time.
class ScriptedScreen {
 public:
  ScriptedScreen();
  ~ScriptedScreen();
  ScriptedScreen(const ScriptedScreen&) = delete;
  ScriptedScreen& operator=(const ScriptedScreen&) = delete;

  std::string host() const { return "127.0.0.1:" + std::to_string(port_); }

  /// Set these before the phone connects. The messages that answer one of the phone's; an empty one closes
  /// the connection.
  std::function<std::vector<Bytes>(ScreenMessageType type)> answer;
  std::string token = "T";  // a hello with another one closes the connection

  /// The messages so far.
  std::vector<Bytes> received();
  /// How many messages of this kind came.
  int count(ScreenMessageType type);
  /// Waits until so many came; false when they did not in a generous time.
  bool waitFor(ScreenMessageType type, int count = 1);
  /// Waits until the phone has gone.
  bool waitForEnd();

 private:
  void serve();
  void converse(int phone);
  std::vector<Bytes> replies(const Bytes& message);

  int listener_ = -1;
  std::uint16_t port_ = 0;
  std::mutex mutex_;
  std::condition_variable changed_;
  std::vector<Bytes> received_;
  int phone_ = -1;
  int ended_ = 0;
  bool isEnding_ = false;
  std::thread thread_;
};

}  // namespace tevanto::test

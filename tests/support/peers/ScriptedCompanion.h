#pragma once

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "remote/message/RemoteMessage.h"

namespace tevanto::test {

/// The companion's end of the control channel on a loopback port of its own, answering from a script: by
/// default as a companion does that knows the token "T" and shows the code "012345". One phone at a time.
class ScriptedCompanion {
 public:
  enum class Family { ipv4, ipv6 };

  explicit ScriptedCompanion(Family family = Family::ipv4);
  ~ScriptedCompanion();
  ScriptedCompanion(const ScriptedCompanion&) = delete;
  ScriptedCompanion& operator=(const ScriptedCompanion&) = delete;

  std::uint16_t port() const { return port_; }
  /// "127.0.0.1:port" or "[::1]:port".
  std::string host() const;

  struct Script {
    /// The replies to one message, in order; a reply whose type is "close" closes the connection. Runs with
    /// the script held, on the companion's own thread.
    std::function<std::vector<RemoteMessage>(const RemoteMessage&)> answer;
    std::optional<std::string> token = "T";
    RemoteMessage ack;          // to every command that is not a query
    RemoteMessage systemState;  // to "querySystemState"
    RemoteMessage powerState;   // to keep-awake commands
    std::vector<RemoteAppInfo> apps;
  };

  /// The script, held for as long as the value lives: `companion.script()->token = "U";`
  class HeldScript {
   public:
    Script* operator->() const { return &script_; }

   private:
    friend class ScriptedCompanion;
    HeldScript(std::mutex& mutex, Script& script) : lock_(mutex), script_(script) {}
    std::unique_lock<std::mutex> lock_;
    Script& script_;
  };
  HeldScript script() { return {scriptMutex_, script_}; }

  /// The messages so far.
  std::vector<RemoteMessage> received();
  /// The commands so far.
  std::vector<RemoteCommand> commands();
  /// The lines so far, as they came.
  std::vector<std::string> lines();
  /// Waits until `count` commands came; false when they did not in a generous time.
  bool waitForCommands(std::size_t count);
  /// Closes the phone's connection.
  void dropPhone();

  /// What it answers by default; for an `answer` of a test's own.
  std::vector<RemoteMessage> defaultAnswer(const RemoteMessage& message) const;

 private:
  void serve();
  void converse(int phone);
  bool handleLine(int phone, const std::string& line);
  std::vector<RemoteMessage> answerCommand(const RemoteMessage& message) const;

  int listener_ = -1;
  std::uint16_t port_ = 0;
  Family family_;
  std::mutex scriptMutex_;  // guards script_
  Script script_;
  std::mutex mutex_;  // guards what follows
  std::condition_variable changed_;
  std::vector<std::string> lines_;
  std::vector<RemoteMessage> received_;
  int phone_ = -1;
  std::atomic<bool> ending_ = false;
  std::thread thread_;
};

}  // namespace tevanto::test

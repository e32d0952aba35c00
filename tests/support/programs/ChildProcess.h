#pragma once

#include <sys/types.h>

#include <chrono>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace tevanto::test {

/// A real program that a test runs. It ends with this object at the latest, and with the thread that started
/// it, so that a test that is killed leaves nothing behind. Use it on one thread.
class ChildProcess {
 public:
  struct Options {
    /// Set in addition to the test's own environment; an empty value removes the variable.
    std::vector<std::pair<std::string, std::string>> environment = {};
    /// Standard error joins standard output; otherwise it goes where the test's goes.
    bool mergeErrors = false;
  };

  /// Throws when the program cannot be started. A name without a slash is looked up in PATH.
  explicit ChildProcess(std::vector<std::string> command) : ChildProcess(std::move(command), Options()) {}
  ChildProcess(std::vector<std::string> command, Options options);
  ~ChildProcess();
  ChildProcess(const ChildProcess&) = delete;
  ChildProcess& operator=(const ChildProcess&) = delete;

  pid_t pid() const { return pid_; }
  bool isRunning();
  void signal(int number);
  /// Asks it to end, insists after a while, and waits.
  void terminate();
  /// SIGKILL, and waits.
  void kill();

  void write(const std::string& text);
  void closeInput();
  /// The next line of its output without the line feed; nothing at the end of it or after the deadline.
  std::optional<std::string> readLine(std::chrono::milliseconds deadline = std::chrono::seconds(30));
  /// Everything that it still writes, until it closes its output.
  std::string readAll();
  /// Waits for its end. The exit status, or 128 + the signal that ended it.
  int wait();

 private:
  bool fill(std::chrono::milliseconds deadline);
  void reap(int status);

  pid_t pid_ = -1;
  int input_ = -1;
  int output_ = -1;
  std::string buffered_;
  std::optional<int> exitStatus_;
};

struct ProgramResult {
  int exitStatus = 0;
  std::string output;
};

/// Runs a program to its end.
ProgramResult runProgram(std::vector<std::string> command, ChildProcess::Options options = {});

}  // namespace tevanto::test

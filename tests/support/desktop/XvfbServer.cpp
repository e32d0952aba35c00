#include "tests/support/desktop/XvfbServer.h"

#include <unistd.h>

#include <atomic>
#include <stdexcept>
#include <utility>

namespace tevanto::test {
namespace {

constexpr int kFirstNumber = 100;   // below are those that a server looks for by itself
constexpr int kLastNumber = 59000;  // what the protocol's TCP ports leave room for
constexpr int kServersOfAProcess = 8;
constexpr int kAttempts = 20;

/// A display number that no other test takes while the server is down.
std::string numberOfOurOwn() {
  static std::atomic<int> count = 0;
  return ":" + std::to_string(kFirstNumber +
                              (::getpid() * kServersOfAProcess + count++) % (kLastNumber - kFirstNumber));
}

}  // namespace

XvfbServer::XvfbServer(std::string geometry, std::vector<std::string> options)
    : geometry_(std::move(geometry)), options_(std::move(options)) {
  for (int attempt = 0; attempt < kAttempts; ++attempt) {
    display_ = numberOfOurOwn();
    if (start()) return;
  }
  throw std::runtime_error("Xvfb did not start");
}

bool XvfbServer::start() {
  // The shell keeps the keyboard compiler's warnings away from the test's output, and is then the server.
  std::vector<std::string> command{"sh", "-c", "exec Xvfb \"$@\" 2>/dev/null", "Xvfb", display_};
  for (const char* option : {"-nolisten", "tcp", "-noreset", "-displayfd", "1", "-screen", "0"})
    command.emplace_back(option);
  command.push_back(geometry_);
  command.insert(command.end(), options_.begin(), options_.end());
  process_ = std::make_unique<ChildProcess>(std::move(command));
  return process_->readLine().has_value();
}

void XvfbServer::restart() {
  kill();
  if (!start()) throw std::runtime_error("Xvfb did not start again");
}

void XvfbServer::setLayout(const std::string& layout) {
  const auto result = runProgram({"setxkbmap", "-display", display_, "-layout", layout});
  if (result.exitStatus != 0) throw std::runtime_error("setxkbmap failed");
}

}  // namespace tevanto::test

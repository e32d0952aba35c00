#include "tests/support/XvfbServer.h"

#include <stdexcept>
#include <utility>

namespace tevanto::test {

XvfbServer::XvfbServer(std::string geometry, std::vector<std::string> options)
    : geometry_(std::move(geometry)), options_(std::move(options)) {
  start();
}

void XvfbServer::start() {
  // The shell keeps the keyboard compiler's warnings away from the test's output, and is then the server.
  std::vector<std::string> command{"sh", "-c", "exec Xvfb \"$@\" 2>/dev/null", "Xvfb"};
  if (!display_.empty()) command.push_back(display_);
  const std::vector<std::string> options{"-screen", "0",        geometry_,    "-nolisten",
                                         "tcp",     "-noreset", "-displayfd", "1"};
  command.insert(command.end(), options.begin(), options.end());
  command.insert(command.end(), options_.begin(), options_.end());
  process_ = std::make_unique<ChildProcess>(std::move(command));
  const auto number = process_->readLine();
  if (!number) throw std::runtime_error("Xvfb did not start");
  display_ = ":" + *number;
}

void XvfbServer::restart() {
  kill();
  start();
}

void XvfbServer::setLayout(const std::string& layout) {
  const auto result = runProgram({"setxkbmap", "-display", display_, "-layout", layout});
  if (result.exitStatus != 0) throw std::runtime_error("setxkbmap failed");
}

}  // namespace tevanto::test

#pragma once

#include <chrono>
#include <optional>
#include <string>

#include "phone/connection/Answer.h"
#include "phone/connection/PhoneSession.h"
#include "phone/terminal/PhoneOutput.h"

namespace tevanto::phone {

/// Lines from a descriptor to the companion, and its lines to standard output, as they come.
class StdioBridge {
 public:
  struct Options {
    /// How long to wait for a further reply once the input has ended.
    std::chrono::milliseconds linger{1000};
    /// Given to commands that carry none.
    std::optional<std::string> token;
  };

  StdioBridge(PhoneSession& session, PhoneOutput& output, int input, Options options)
      : session_(session), output_(output), input_(input), options_(std::move(options)) {}

  Answer<bool> run();

 private:
  Answer<bool> readInput();
  Answer<bool> sendLines();
  bool printReplies();
  std::string prepared(std::string line) const;

  PhoneSession& session_;
  PhoneOutput& output_;
  int input_;
  Options options_;
  std::string pending_;
  bool inputEnded_ = false;
};

}  // namespace tevanto::phone

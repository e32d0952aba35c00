#pragma once

#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "tests/phone/terminal/PhoneFixture.h"

namespace tevanto::phone {

/// The program's commands before a companion that notes what reaches it.
class CommandLineFixture : public PhoneFixture {
 protected:
  RemoteCommand expected(std::string type) {
    RemoteCommand made;
    made.type = std::move(type);
    return made;
  }
  RemoteCommand expectedMotion(std::string type, double dx, double dy) {
    auto made = expected(std::move(type));
    made.dx = dx;
    made.dy = dy;
    return made;
  }
  /// The command that reached the companion, after a run that must have succeeded.
  RemoteCommand sent(std::vector<std::string> arguments) {
    const auto before = companion_.commands().size();
    EXPECT_EQ(run(arguments), 0) << arguments[0] << ": " << err();
    const auto commands = companion_.commands();
    EXPECT_EQ(commands.size(), before + 1) << arguments[0];
    return commands.size() > before ? commands.back() : RemoteCommand();
  }
  /// The companion answers `count` messages and hangs up.
  void closeAfter(std::size_t count) {
    companion_.script()->answer = [this, count](const RemoteMessage& given) {
      auto replies = companion_.defaultAnswer(given);
      if (companion_.received().size() >= count) replies.push_back(hangUp());
      return replies;
    };
  }
  static RemoteMessage hangUp() {
    RemoteMessage close;
    close.type = "close";
    return close;
  }
  void expectKey(std::vector<std::string> arguments, const std::string& key,
                 std::optional<std::vector<RemoteModifier>> modifiers) {
    arguments.insert(arguments.begin(), "key");
    auto command = expected("keyPress");
    command.key = key;
    command.modifiers = std::move(modifiers);
    EXPECT_EQ(sent(arguments), command) << key;
  }
};

}  // namespace tevanto::phone

#pragma once

#include <gtest/gtest.h>
#include <unistd.h>

#include <array>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "phone/terminal/CommandLine.h"
#include "tests/support/fakes/FakeServiceBrowser.h"
#include "tests/support/fakes/FakeUserDefaults.h"
#include "tests/support/peers/ScriptedCompanion.h"

namespace tevanto::phone {

/// The program in this process, paired with a scripted companion.
class PhoneFixture : public testing::Test {
 protected:
  PhoneFixture() {
    if (::pipe(input_.data()) != 0) throw std::runtime_error("no pipe");
    (void)defaults_.set("companion.DESK-ID.token", std::string("T"));
    (void)defaults_.set("lastCompanion", std::string("DESK-ID"));
    (void)defaults_.set("address." + companion_.host(), std::string("DESK-ID"));
  }
  ~PhoneFixture() override {
    ::close(input_[0]);
    closeInput();
  }

  /// Runs the program against the companion and returns its exit status.
  int run(std::vector<std::string> arguments) {
    arguments.insert(arguments.begin(), {"--host", companion_.host()});
    return runAnywhere(std::move(arguments));
  }
  int runAnywhere(std::vector<std::string> arguments) {
    out_.str("");
    err_.str("");
    return runPhone(std::move(arguments),
                    {&browser_, defaults_, out_, err_, inputDescriptor_, inputDescriptor_});
  }
  void giveInput(std::string_view text) {
    ASSERT_EQ(::write(input_[1], text.data(), text.size()), static_cast<ssize_t>(text.size()));
  }
  void closeInput() {
    if (input_[1] >= 0) ::close(std::exchange(input_[1], -1));
  }
  std::string out() const { return out_.str(); }
  std::string err() const { return err_.str(); }
  RemoteCommand onlyCommand() {
    const auto commands = companion_.commands();
    EXPECT_EQ(commands.size(), 1u);
    return commands.empty() ? RemoteCommand() : commands.front();
  }

  std::array<int, 2> input_{-1, -1};
  int& inputDescriptor_ = input_[0];
  test::ScriptedCompanion companion_;
  test::FakeServiceBrowser browser_;
  test::FakeUserDefaults defaults_;
  std::ostringstream out_;
  std::ostringstream err_;
};

}  // namespace tevanto::phone

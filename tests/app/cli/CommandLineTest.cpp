#include "app/cli/CommandLine.h"

#include <gtest/gtest.h>

#include <vector>

namespace tevanto {
namespace {

Invocation parse(std::vector<const char*> arguments) {
  arguments.insert(arguments.begin(), "tevanto");
  return parseCommandLine(static_cast<int>(arguments.size()), arguments.data());
}

template <class T>
T parsed(std::vector<const char*> arguments) {
  const auto invocation = parse(std::move(arguments));
  EXPECT_TRUE(std::holds_alternative<T>(invocation));
  return std::holds_alternative<T>(invocation) ? std::get<T>(invocation) : T();
}

TEST(CommandLine, withoutACommandTheCompanionStarts) {
  const auto options = parsed<CompanionOptions>({});
  EXPECT_FALSE(options.headless);
  EXPECT_FALSE(options.remotePort);
  EXPECT_FALSE(options.screenPort);
  EXPECT_FALSE(options.loopbackOnly);
}

TEST(CommandLine, takesPorts) {
  const auto options = parsed<CompanionOptions>(
      {"--headless", "--remote-port", "0", "--screen-port", "65535", "--loopback-only"});
  EXPECT_TRUE(options.headless);
  EXPECT_EQ(options.remotePort, 0);
  EXPECT_EQ(options.screenPort, 65535);
  EXPECT_TRUE(options.loopbackOnly);
}

TEST(CommandLine, readsTheCommands) {
  EXPECT_FALSE(parsed<StatusOptions>({"status"}).json);
  EXPECT_TRUE(parsed<StatusOptions>({"status", "--json"}).json);
  EXPECT_TRUE(parsed<KeepAwakeOptions>({"keep-awake", "on"}).on);
  EXPECT_FALSE(parsed<KeepAwakeOptions>({"keep-awake", "off"}).on);
  EXPECT_TRUE(parsed<DoctorOptions>({"doctor", "--json"}).json);
}

TEST(CommandLine, readsTheDefaultsCommands) {
  using Action = DefaultsOptions::Action;
  EXPECT_EQ(parsed<DefaultsOptions>({"defaults", "list"}).action, Action::list);
  const auto get = parsed<DefaultsOptions>({"defaults", "get", "a.b"});
  EXPECT_EQ(get.action, Action::get);
  EXPECT_EQ(get.key, "a.b");
  const auto set = parsed<DefaultsOptions>({"defaults", "set", "a", "-1", "--type", "int"});
  EXPECT_EQ(set.action, Action::set);
  EXPECT_EQ(set.key, "a");
  EXPECT_EQ(set.value, "-1");
  EXPECT_EQ(set.type, DefaultsOptions::Type::integer);
  EXPECT_EQ(parsed<DefaultsOptions>({"defaults", "remove", "a"}).action, Action::remove);
}

TEST(CommandLine, wrongUsageEndsWithTwo) {
  for (const auto& arguments :
       std::vector<std::vector<const char*>>{{"nonsense"},
                                             {"--nonsense"},
                                             {"--remote-port", "65536"},
                                             {"--remote-port", "-1"},
                                             {"--remote-port", "x"},
                                             {"keep-awake"},
                                             {"keep-awake", "maybe"},
                                             {"defaults"},
                                             {"defaults", "get"},
                                             {"defaults", "set", "a"},
                                             {"defaults", "set", "a", "1", "--type", "date"},
                                             {"status", "doctor"}}) {
    EXPECT_EQ(parsed<EndNow>(arguments).exitStatus, 2) << arguments.front();
  }
}

TEST(CommandLine, helpAndVersionEndWell) {
  EXPECT_EQ(parsed<EndNow>({"--help"}).exitStatus, 0);
  EXPECT_EQ(parsed<EndNow>({"--version"}).exitStatus, 0);
  EXPECT_EQ(parsed<EndNow>({"defaults", "set", "--help"}).exitStatus, 0);
}

}  // namespace
}  // namespace tevanto

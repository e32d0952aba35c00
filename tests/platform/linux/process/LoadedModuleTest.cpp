#include "platform/linux/process/LoadedModule.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/platform/linux/process/TestModule.h"

namespace tevanto {
namespace {

using test::Greeting;
using test::GreetingName;
using testing::HasSubstr;

constexpr auto kModule = "test-module";
using MakeGreeting = ModuleEntry<Greeting*(const GreetingName&, int)>;

TEST(LoadedModule, makesWhatItsFunctionMakesOfTheArguments) {
  constexpr MakeGreeting kEntry{kModule, "tevantoMakeGreeting"};
  const auto made = makeFromModule(kEntry, GreetingName("hello"), 3);
  ASSERT_TRUE(made) << made.error();
  ASSERT_TRUE(made.value());
  EXPECT_EQ(made.value()->text(), "hello x3, copied 0");
}

TEST(LoadedModule, makesNothingWhereItsFunctionMakesNothing) {
  constexpr MakeGreeting kEntry{kModule, "tevantoMakeGreeting", Binding::onCall};
  const auto made = makeFromModule(kEntry, GreetingName("hello"), 0);
  ASSERT_TRUE(made) << made.error();
  EXPECT_FALSE(made.value());
}

TEST(LoadedModule, hasFunctionsOfAnySignature) {
  const auto addUp = functionOfModule(ModuleEntry<int(int, int)>{kModule, "tevantoAddUp"});
  ASSERT_TRUE(addUp) << addUp.error();
  EXPECT_EQ(addUp.value()(40, 2), 42);
}

TEST(LoadedModule, isNamedWhereItIsMissing) {
  constexpr MakeGreeting kEntry{"no-such-module", "tevantoMakeGreeting"};
  const auto made = makeFromModule(kEntry, GreetingName("hello"), 1);
  ASSERT_FALSE(made);
  EXPECT_THAT(made.error(), HasSubstr("A part of this program cannot be loaded: no-such-module ("));
  EXPECT_THAT(made.error(), HasSubstr("no-such-module.so"));
}

TEST(LoadedModule, isNamedWhereItLacksTheFunction) {
  constexpr MakeGreeting kEntry{kModule, "tevantoMakeNothing"};
  const auto made = makeFromModule(kEntry, GreetingName("hello"), 1);
  ASSERT_FALSE(made);
  EXPECT_THAT(made.error(), HasSubstr("A part of this program cannot be loaded: test-module ("));
  EXPECT_THAT(made.error(), HasSubstr("tevantoMakeNothing"));
}

}  // namespace
}  // namespace tevanto

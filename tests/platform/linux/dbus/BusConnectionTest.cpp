#include "platform/linux/dbus/BusConnection.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <csignal>

#include "tests/support/desktop/DBusMock.h"

namespace tevanto {
namespace {

using namespace std::chrono_literals;

constexpr auto kShort = 100ms;  // for a peer that never answers

class BusConnectionTest : public testing::Test {
 protected:
  BusConnectionTest() : mock_(bus_, "org.example.Lamp", "/Lamp", "org.example.Lamp") {}

  BusConnection open(std::chrono::milliseconds timeout = BusConnection::kTimeout) {
    return std::get<BusConnection>(BusConnection::open(address(), timeout));
  }
  BusAddress address() const { return BusAddress::session(bus_.address()); }
  static BusCall lamp(std::string method, std::vector<BusArgument> arguments = {}) {
    return {"org.example.Lamp", "/Lamp", "org.example.Lamp", std::move(method), std::move(arguments)};
  }

  test::PrivateBus bus_;
  test::DBusMock mock_;
};

TEST_F(BusConnectionTest, carriesArgumentsAndReplies) {
  mock_.addMethod({"org.example.Lamp", "Describe", "sbui", "s",
                   "ret = repr([str(args[0]), bool(args[1]), "
                   "int(args[2]), int(args[3])])"});
  mock_.addMethod({"org.example.Lamp", "Names", "", "as", "ret = ['a', 'b']"});
  mock_.addMethod({"org.example.Lamp", "Count", "", "u", "ret = 4000000000"});
  auto bus = open();
  EXPECT_EQ(bus.call(lamp("Describe", {"näme", true, 7u, -3})).string(), "['näme', True, 7, -3]");
  EXPECT_EQ(bus.call(lamp("Names")).strings(), (std::vector<std::string>{"a", "b"}));
  EXPECT_EQ(bus.call(lamp("Count")).uint32(), 4000000000u);
}

TEST_F(BusConnectionTest, readsNothingFromAValueOfAnotherType) {
  mock_.addMethod({"org.example.Lamp", "Count", "", "u", "ret = 5"});
  mock_.addMethod({"org.example.Lamp", "Nothing", "", "", ""});
  auto bus = open();
  const auto count = bus.call(lamp("Count"));
  EXPECT_EQ(count.string(), std::nullopt);
  EXPECT_EQ(count.strings(), std::nullopt);
  EXPECT_EQ(count.properties(), std::nullopt);
  EXPECT_EQ(count.variant(), std::nullopt);
  EXPECT_FALSE(count.descriptor());
  EXPECT_EQ(count.uint32(), 5u) << "a failed read leaves the reply as it was";
  const auto nothing = bus.call(lamp("Nothing"));
  EXPECT_TRUE(nothing.ok());
  EXPECT_EQ(nothing.uint32(), std::nullopt);
}

TEST_F(BusConnectionTest, readsPropertiesOfBasicTypesAndLeavesOutOthers) {
  mock_.addProperties(
      "org.example.Lamp",
      "{'Name': <'desk'>, 'On': <true>, 'Level': <0.5>, 'Watts': <uint32 7>, 'Offset': <int64 -2>, "
      "'Path': <objectpath '/a'>, 'Tags': <['x']>, 'Pair': <('id', objectpath '/pair')>, "
      "'Zone': <byte 0x03>}");
  auto bus = open();
  const auto members =
      bus.call(BusConnection::getAll("org.example.Lamp", "/Lamp", "org.example.Lamp")).properties();
  ASSERT_TRUE(members);
  EXPECT_EQ(stringProperty(*members, "Name"), "desk");
  EXPECT_EQ(boolProperty(*members, "On"), true);
  EXPECT_EQ(doubleProperty(*members, "Level"), 0.5);
  EXPECT_EQ(unsignedProperty(*members, "Watts"), 7u);
  EXPECT_EQ(unsignedProperty(*members, "Zone"), 3u);
  EXPECT_EQ(unsignedProperty(*members, "Offset"), std::nullopt) << "negative";
  EXPECT_EQ(stringProperty(*members, "Path"), "/a");
  EXPECT_EQ(stringProperty(*members, "On"), std::nullopt) << "of another type";
  EXPECT_EQ(members->count("Tags"), 0u);
  EXPECT_EQ(members->count("Pair"), 0u);
  const auto pair = bus.property("org.example.Lamp", "/Lamp", "org.example.Lamp", "Pair").variant();
  EXPECT_EQ(pair, BusValue("/pair"));
}

TEST_F(BusConnectionTest, tellsWhyACallFailed) {
  mock_.addMethod({"org.example.Lamp", "Refuse", "", "",
                   "raise dbus.exceptions.DBusException('not now', name='org.example.Busy')"});
  auto bus = open();
  const auto refused = bus.call(lamp("Refuse"));
  ASSERT_FALSE(refused.ok());
  EXPECT_EQ(refused.error().name, "org.example.Busy");
  EXPECT_EQ(refused.error().text, "not now");
  EXPECT_GT(refused.error().code, 0);
  EXPECT_FALSE(refused.error().isNoService());
  EXPECT_FALSE(refused.error().isTimeout());

  const auto missing = bus.call({"org.example.Nobody", "/", "org.example.Nobody", "Do"});
  ASSERT_FALSE(missing.ok());
  EXPECT_TRUE(missing.error().isNoService());
  EXPECT_GT(missing.error().code, 0);
}

TEST_F(BusConnectionTest, givesUpAServiceThatDoesNotAnswerAndStillHearsTheOthers) {
  mock_.addMethod({"org.example.Lamp", "Count", "", "u", "ret = 5"});
  test::DBusMock other(bus_, "org.example.Fan", "/Fan", "org.example.Fan");
  other.addMethod({"org.example.Fan", "Count", "", "u", "ret = 6"});
  mock_.hang();
  auto bus = open(kShort);
  EXPECT_TRUE(bus.call(lamp("Count")).error().isTimeout());
  const auto replies = bus.callAll({lamp("Count"), {"org.example.Fan", "/Fan", "org.example.Fan", "Count"}});
  ASSERT_EQ(replies.size(), 2u);
  EXPECT_TRUE(replies[0].error().isTimeout());
  EXPECT_EQ(replies[1].uint32(), 6u);

  mock_.resume();
  auto patient = open();
  EXPECT_EQ(patient.call(lamp("Count")).uint32(), 5u);
}

TEST_F(BusConnectionTest, failsWhenTheBusHangsDiesOrIsNotThere) {
  auto bus = open(kShort);
  bus_.daemon().signal(SIGSTOP);
  auto hung = BusConnection::open(address(), kShort);
  ASSERT_TRUE(std::holds_alternative<BusError>(hung));
  EXPECT_TRUE(std::get<BusError>(hung).isTimeout());

  bus_.daemon().kill();
  const auto dead = bus.call(lamp("Count"));
  ASSERT_FALSE(dead.ok());
  EXPECT_FALSE(dead.error().isTimeout());
  EXPECT_FALSE(bus.call(lamp("Count")).ok());

  const auto none = callOnce(BusAddress::system("unix:path=/nonexistent/bus"), lamp("Count"));
  ASSERT_FALSE(none.ok());
  EXPECT_EQ(none.error().code, ENOENT);
  EXPECT_FALSE(none.error().text.empty());

  bus_.start();
  EXPECT_TRUE(std::holds_alternative<BusConnection>(BusConnection::open(address())))
      << "a new one after that";
}

TEST_F(BusConnectionTest, aDescriptorOutlivesItsReplyAndIsNotInherited) {
  auto logind = test::DBusMock::ofTemplate(bus_, "logind");
  auto bus = open();
  Descriptor descriptor;
  {
    const auto reply = bus.call({"org.freedesktop.login1",
                                 "/org/freedesktop/login1",
                                 "org.freedesktop.login1.Manager",
                                 "Inhibit",
                                 {"idle", "who", "why", "block"}});
    ASSERT_TRUE(reply.ok()) << reply.error().text;
    descriptor = reply.descriptor();
  }
  struct stat status {};
  ASSERT_EQ(::fstat(descriptor.get(), &status), 0);
  EXPECT_TRUE(S_ISFIFO(status.st_mode));
  EXPECT_EQ(::fcntl(descriptor.get(), F_GETFD), FD_CLOEXEC);
}

}  // namespace
}  // namespace tevanto

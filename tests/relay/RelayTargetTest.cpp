#include "relay/RelayTarget.h"

#include <gtest/gtest.h>

namespace tevanto::relay {
namespace {

TEST(RelayTarget, takesPathRoomAndRole) {
  const auto target = parseRelayTarget("/connect?room=6F1C&role=phone");
  ASSERT_TRUE(target);
  EXPECT_EQ(target->path, "/connect");
  EXPECT_EQ(target->validRoom(), "6F1C");
  EXPECT_EQ(target->validRole(), RoomRole::phone);
}

TEST(RelayTarget, takesItemsInAnyOrderAmongOthers) {
  const auto target = parseRelayTarget("/connect?x=1&role=mac&&y&room=a");
  ASSERT_TRUE(target);
  EXPECT_EQ(target->validRoom(), "a");
  EXPECT_EQ(target->validRole(), RoomRole::mac);
}

TEST(RelayTarget, decodesEscapesAndLeavesThePlusSign) {
  const auto target = parseRelayTarget("/conn%65ct?r%6Fom=a%20b%26c+d%3D&role=m%61c");
  ASSERT_TRUE(target);
  EXPECT_EQ(target->path, "/connect");
  EXPECT_EQ(target->room, "a b&c+d=");
  EXPECT_EQ(target->validRole(), RoomRole::mac);
}

TEST(RelayTarget, countsTheFirstOfTwo) {
  const auto target = parseRelayTarget("/connect?room=a&room=b&role=mac&role=phone");
  ASSERT_TRUE(target);
  EXPECT_EQ(target->room, "a");
  EXPECT_EQ(target->validRole(), RoomRole::mac);
}

TEST(RelayTarget, endsTheQueryAtAFragment) { EXPECT_EQ(parseRelayTarget("/connect?room=a#b")->room, "a"); }

TEST(RelayTarget, refusesBrokenEscapesAndTargetsWithoutASlash) {
  for (const auto* text : {"", "connect", "*", "http://host/connect", "/conn%zz", "/connect?room=%",
                           "/connect?room=%4", "/connect?room=%4g", "/connect?%g4=1"}) {
    EXPECT_FALSE(parseRelayTarget(text)) << text;
  }
}

TEST(RelayTarget, allowsRoomsOfOneTo128Characters) {
  RelayTarget target;
  EXPECT_FALSE(target.validRoom());
  target.room = "";
  EXPECT_FALSE(target.validRoom());
  target.room = std::string(1, 'r');
  EXPECT_TRUE(target.validRoom());
  target.room = std::string(128, 'r');
  EXPECT_TRUE(target.validRoom());
  target.room = std::string(129, 'r');
  EXPECT_FALSE(target.validRoom());
}

TEST(RelayTarget, countsCharactersAndNotBytes) {
  RelayTarget target;
  std::string room;
  for (int i = 0; i < 128; ++i) room += "\xF0\x9F\x98\x80";
  target.room = room;
  EXPECT_EQ(target.validRoom(), room);
  target.room = room + "\xC3\xA9";
  EXPECT_FALSE(target.validRoom());
}

TEST(RelayTarget, refusesRoomsThatAreNoText) {
  RelayTarget target;
  target.room = "a\xFF";
  EXPECT_FALSE(target.validRoom());
  target.room = "\xC3";
  EXPECT_FALSE(target.validRoom());
}

TEST(RelayTarget, knowsTwoRoles) {
  RelayTarget target;
  EXPECT_FALSE(target.validRole());
  for (const auto* role : {"", "Mac", "mac ", "PHONE", "tablet"}) {
    target.role = role;
    EXPECT_FALSE(target.validRole()) << role;
  }
}

}  // namespace
}  // namespace tevanto::relay

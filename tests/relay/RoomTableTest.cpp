#include "relay/RoomTable.h"

#include <gtest/gtest.h>

#include "tests/relay/RecordingMember.h"

namespace tevanto::relay {
namespace {

TEST(RoomTable, seatsTheTwoRolesOppositeEachOther) {
  RoomTable rooms;
  test::RecordingMember mac;
  test::RecordingMember phone;
  const auto macSeat = rooms.join("a", RoomRole::mac, mac).seat;
  EXPECT_EQ(rooms.opposite(macSeat), nullptr);
  const auto phoneSeat = rooms.join("a", RoomRole::phone, phone).seat;
  EXPECT_EQ(rooms.opposite(macSeat), &phone);
  EXPECT_EQ(rooms.opposite(phoneSeat), &mac);
  EXPECT_EQ(rooms.size(), 1u);
}

TEST(RoomTable, keepsRoomsApart) {
  RoomTable rooms;
  test::RecordingMember mac;
  test::RecordingMember phone;
  const auto seat = rooms.join("a", RoomRole::mac, mac).seat;
  (void)rooms.join("b", RoomRole::phone, phone);
  EXPECT_EQ(rooms.opposite(seat), nullptr);
  EXPECT_EQ(rooms.size(), 2u);
}

TEST(RoomTable, saysWhoWasReplaced) {
  RoomTable rooms;
  test::RecordingMember older;
  test::RecordingMember newer;
  test::RecordingMember phone;
  EXPECT_EQ(rooms.join("a", RoomRole::mac, older).replaced, nullptr);
  const auto phoneSeat = rooms.join("a", RoomRole::phone, phone).seat;
  EXPECT_EQ(rooms.join("a", RoomRole::mac, newer).replaced, &older);
  EXPECT_EQ(rooms.opposite(phoneSeat), &newer);
}

TEST(RoomTable, forgetsARoomWithItsLastMember) {
  RoomTable rooms;
  test::RecordingMember mac;
  test::RecordingMember phone;
  auto macSeat = rooms.join("a", RoomRole::mac, mac).seat;
  auto phoneSeat = rooms.join("a", RoomRole::phone, phone).seat;
  rooms.leave(macSeat);
  EXPECT_FALSE(macSeat);
  EXPECT_EQ(rooms.size(), 1u);
  EXPECT_EQ(rooms.opposite(phoneSeat), nullptr);
  rooms.leave(phoneSeat);
  rooms.leave(phoneSeat);
  EXPECT_EQ(rooms.size(), 0u);
}

TEST(RoomTable, keepsSeatsValidWhileItGrows) {
  RoomTable rooms;
  test::RecordingMember mac;
  test::RecordingMember phone;
  auto seat = rooms.join("a", RoomRole::mac, mac).seat;
  for (int i = 0; i < 5000; ++i) (void)rooms.join("room" + std::to_string(i), RoomRole::mac, mac);
  (void)rooms.join("a", RoomRole::phone, phone);
  EXPECT_EQ(rooms.opposite(seat), &phone);
}

}  // namespace
}  // namespace tevanto::relay

#include "screen/ScreenFrameDelivery.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/support/peers/ScreenBytes.h"

namespace tevanto {
namespace {

using Outcome = ScreenFrameDelivery::Outcome;
using test::bytesOf;

class ScreenFrameDeliveryTest : public ::testing::Test {
 protected:
  ScreenRoute route() {
    return {[this](auto message) {
              sent_.push_back(test::textOf(*message));
              return accepts_;
            },
            [this](auto message, bool) {
              if (accepts_) sent_.push_back(test::textOf(*message));
              return accepts_;
            },
            [this](std::size_t bytes) { return bytes <= room_; }};
  }
  void refuseKeyframe() {
    accepts_ = false;
    EXPECT_EQ(delivery_.deliver(data_, true), Outcome::keyframeNeeded);
  }

  const test::Bytes data_ = bytesOf("data");
  std::vector<std::string> sent_;
  bool accepts_ = true;
  std::size_t room_ = 0;
  ScreenFrameDelivery delivery_{route()};
};

TEST_F(ScreenFrameDeliveryTest, sendsMessagesAndSaysWhichWereKeyFrames) {
  delivery_.announce(bytesOf("s"), bytesOf("pp"));
  EXPECT_EQ(delivery_.deliver(data_, true), Outcome::sentKeyframe);
  EXPECT_EQ(delivery_.deliver(data_, false), Outcome::sent);
  using namespace std::string_literals;
  EXPECT_EQ(sent_, (std::vector<std::string>{"\1\0\1s\0\2pp"s, "\2\1data"s, "\2\0data"s}));
}

TEST_F(ScreenFrameDeliveryTest, isBlockedWhileTheRouteHasNoRoomForAKeyFrameLikeTheLast) {
  EXPECT_FALSE(delivery_.isBlocked()) << "nothing was refused";
  refuseKeyframe();
  EXPECT_TRUE(delivery_.isBlocked());
  room_ = data_.size() + 1;
  EXPECT_TRUE(delivery_.isBlocked()) << "the message is two bytes longer than its data";
  room_ = data_.size() + 2;
  EXPECT_FALSE(delivery_.isBlocked());
  EXPECT_TRUE(delivery_.isAwaitingKeyframe());
}

TEST_F(ScreenFrameDeliveryTest, isFreeOnceAKeyFrameWasAccepted) {
  refuseKeyframe();
  accepts_ = true;
  EXPECT_EQ(delivery_.deliver(data_, true), Outcome::sentKeyframe);
  EXPECT_FALSE(delivery_.isBlocked()) << "the phone lacks nothing";
  EXPECT_FALSE(delivery_.isAwaitingKeyframe());
}

TEST_F(ScreenFrameDeliveryTest, aRefusedDeltaFrameAsksForAKeyFrameOfUnknownSize) {
  accepts_ = false;
  EXPECT_EQ(delivery_.deliver(data_, false), Outcome::keyframeNeeded);
  EXPECT_TRUE(delivery_.isAwaitingKeyframe());
  EXPECT_FALSE(delivery_.isBlocked()) << "there is room for nothing at least";
}

TEST_F(ScreenFrameDeliveryTest, aRouteThatCannotTellIsNeverBlocked) {
  auto silent = route();
  silent.takesKeyframe = nullptr;
  ScreenFrameDelivery delivery(std::move(silent));
  accepts_ = false;
  for (int i = 0; i < 10; ++i) EXPECT_EQ(delivery.deliver(data_, true), Outcome::keyframeNeeded);
  EXPECT_FALSE(delivery.isBlocked());
}

}  // namespace
}  // namespace tevanto

#include "remote/PairingInvitePublisher.h"

#include <gtest/gtest.h>

#include "tests/support/fakes/FakeAwayTransport.h"
#include "tests/support/fakes/ManualQueue.h"

namespace tevanto {
namespace {

using namespace std::chrono_literals;
using Published = test::RecordingPairingInvites::Published;
using Steps = std::vector<std::string>;

class PairingInvitePublisherTest : public testing::Test {
 protected:
  std::shared_ptr<test::ManualQueue> main = std::make_shared<test::ManualQueue>("main");
  std::shared_ptr<test::RecordingPairingInvites> invites = std::make_shared<test::RecordingPairingInvites>();
  std::shared_ptr<PairingInvitePublisher> publisher = std::make_shared<PairingInvitePublisher>(main, invites);
};

TEST_F(PairingInvitePublisherTest, publishesUnderTheCodeWithTheDeviceAsTheRoom) {
  publisher->publish({"012345", "DEVICE", "Studio"});
  EXPECT_EQ(invites->published, (std::vector<Published>{{"012345", "DEVICE", {"DEVICE", "Studio"}}}));
}

TEST_F(PairingInvitePublisherTest, renewsTheInviteEvery240Seconds) {
  publisher->publish({"012345", "DEVICE", "Studio"});
  for (std::size_t renewals = 0; renewals < 3; ++renewals) {
    main->advance(240s - 1ms);
    EXPECT_EQ(invites->published.size(), renewals + 1);
    main->advance(1ms);
    EXPECT_EQ(invites->published.size(), renewals + 2);
  }
  EXPECT_EQ(invites->published.back(), invites->published.front());
}

TEST_F(PairingInvitePublisherTest, anotherInviteTakesThePlaceOfTheOneBefore) {
  publisher->publish({"111111", "DEVICE", "Studio"});
  main->advance(200s);
  publisher->publish({"222222", "DEVICE", "Studio"});
  main->advance(240s - 1ms);
  EXPECT_EQ(invites->steps, (Steps{"publish 111111", "publish 222222"}));
  main->advance(1ms);
  EXPECT_EQ(invites->steps.back(), "publish 222222");
  EXPECT_EQ(invites->steps.size(), 3u);
}

TEST_F(PairingInvitePublisherTest, withdrawsTheInviteOfAUsedCode) {
  publisher->withdraw("111111");
  EXPECT_EQ(invites->steps, Steps{"delete 111111"});
}

TEST_F(PairingInvitePublisherTest, publishesNothingOnceItIsStoppedOrGone) {
  publisher->publish({"111111", "DEVICE", "Studio"});
  publisher->stop();
  publisher->stop();
  main->advance(1h);
  EXPECT_EQ(invites->steps.size(), 1u);
  publisher->publish({"222222", "DEVICE", "Studio"});
  publisher.reset();
  main->advance(1h);
  EXPECT_EQ(invites->steps.size(), 2u);
}

TEST_F(PairingInvitePublisherTest, hasNothingToDoWhereThereAreNoInvites) {
  publisher = std::make_shared<PairingInvitePublisher>(main, nullptr);
  publisher->publish({"111111", "DEVICE", "Studio"});
  publisher->withdraw("111111");
  EXPECT_EQ(main->pendingCount(), 0u);
}

}  // namespace
}  // namespace tevanto

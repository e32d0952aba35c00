#include "screen/encode/PictureRefinement.h"

#include <gtest/gtest.h>

#include "tests/support/fakes/FakeDisplayCapture.h"
#include "tests/support/fakes/ManualQueue.h"

namespace tevanto {
namespace {

using namespace std::chrono_literals;

constexpr auto kInterval = 100ms;
constexpr auto kPause = PictureRefinement::kPauseIntervals * kInterval;
constexpr auto kNextPause = PictureRefinement::kNextPauseIntervals * kInterval;

class PictureRefinementTest : public ::testing::Test {
 protected:
  PictureRefinementTest() {
    PictureRefinement::Steps steps;
    steps.again = [this] {
      ++again_;
      if (onAgain_) onAgain_();
      refinement_->onPicture(latest_);
    };
    steps.isFinest = [this] { return isFinest_; };
    steps.isMissing = [this] { return isMissing_; };
    steps.isBlocked = [this] { return isBlocked_; };
    refinement_ = std::make_shared<PictureRefinement>(queue_, kInterval, std::move(steps));
  }

  void come(const std::shared_ptr<const PixelBuffer>& picture) {
    latest_ = picture.get();
    refinement_->onPicture(latest_);
  }

  std::shared_ptr<test::ManualQueue> queue_ = std::make_shared<test::ManualQueue>("capture");
  std::shared_ptr<const PixelBuffer> one_ = test::fakePicture();
  std::shared_ptr<const PixelBuffer> other_ = test::fakePicture();
  std::shared_ptr<PictureRefinement> refinement_;
  std::function<void()> onAgain_;
  const PixelBuffer* latest_ = nullptr;
  bool isFinest_ = false;
  bool isMissing_ = false;
  bool isBlocked_ = false;
  int again_ = 0;
};

TEST_F(PictureRefinementTest, encodesAStillPictureAFewTimesMoreAndIsSilentThen) {
  come(one_);
  queue_->advance(kPause - 1ms);
  EXPECT_EQ(again_, 0);
  queue_->advance(1ms);
  EXPECT_EQ(again_, 1);
  queue_->advance(kNextPause - 1ms);
  EXPECT_EQ(again_, 1);
  queue_->advance(1ms);
  EXPECT_EQ(again_, 2);
  queue_->advance(1h);
  EXPECT_EQ(again_, PictureRefinement::kMostRefinements);
  EXPECT_EQ(queue_->pendingCount(), 0u);
}

TEST_F(PictureRefinementTest, endsWhenTheEncoderDidItsBest) {
  onAgain_ = [this] { isFinest_ = again_ == 2; };
  come(one_);
  queue_->advance(1h);
  EXPECT_EQ(again_, 2);
  EXPECT_EQ(queue_->pendingCount(), 0u);
}

TEST_F(PictureRefinementTest, aPictureThatCameOutFinestNeedsNothing) {
  isFinest_ = true;
  come(one_);
  queue_->advance(1h);
  EXPECT_EQ(again_, 0);
}

TEST_F(PictureRefinementTest, leavesMovingPicturesAlone) {
  for (int i = 0; i < 50; ++i) {
    come(i % 2 ? one_ : other_);
    queue_->advance(kPause - 1ms);
  }
  EXPECT_EQ(again_, 0);
}

TEST_F(PictureRefinementTest, theNextChangeBeginsAnew) {
  come(one_);
  queue_->advance(1h);
  come(other_);
  queue_->advance(1h);
  EXPECT_EQ(again_, 2 * PictureRefinement::kMostRefinements);
}

TEST_F(PictureRefinementTest, aKeyFrameOfTheStillPictureBeginsAnew) {
  come(one_);
  queue_->advance(1h);
  refinement_->keyframeWasSent();
  come(one_);
  queue_->advance(1h);
  EXPECT_EQ(again_, 2 * PictureRefinement::kMostRefinements);
}

TEST_F(PictureRefinementTest, anotherDeliveryOfTheSamePictureDoesNot) {
  come(one_);
  queue_->advance(1h);
  come(one_);
  queue_->advance(1h);
  EXPECT_EQ(again_, PictureRefinement::kMostRefinements);
}

TEST_F(PictureRefinementTest, goesOnForAPhoneThatLacksTheLastPicture) {
  isFinest_ = true;
  isMissing_ = true;
  onAgain_ = [this] { isMissing_ = again_ < 2; };
  come(one_);
  queue_->advance(1h);
  EXPECT_EQ(again_, 2);
}

TEST_F(PictureRefinementTest, goesOnUntilAPhoneThatLacksTheLastPictureHasIt) {
  isMissing_ = true;
  isFinest_ = true;
  come(one_);
  queue_->advance(60s);
  EXPECT_GT(again_, 50);
  EXPECT_LT(again_, 65 + PictureRefinement::kMostRefinements) << "once a second, after the first few";
  onAgain_ = [this] { isMissing_ = false; };
  const int before = again_;
  queue_->advance(1h);
  EXPECT_EQ(again_, before + 1);
  EXPECT_EQ(queue_->pendingCount(), 0u);
}

TEST_F(PictureRefinementTest, aKeyFrameThatIsRefusedWhenAllWasRefinedComesAgain) {
  come(one_);
  queue_->advance(1h);
  ASSERT_EQ(again_, PictureRefinement::kMostRefinements);
  isMissing_ = true;  // one that the phone asked for
  come(one_);
  onAgain_ = [this] { isMissing_ = again_ < PictureRefinement::kMostRefinements + 2; };
  queue_->advance(1h);
  EXPECT_EQ(again_, PictureRefinement::kMostRefinements + 2);
}

TEST_F(PictureRefinementTest, encodesNothingForABlockedRouteAndOnceItIsFree) {
  come(one_);
  queue_->advance(1h);
  isMissing_ = true;
  isBlocked_ = true;
  come(one_);
  queue_->advance(60s);
  EXPECT_EQ(again_, PictureRefinement::kMostRefinements);
  isBlocked_ = false;
  onAgain_ = [this] { isMissing_ = false; };
  isFinest_ = true;
  queue_->advance(PictureRefinement::kLongPause);
  EXPECT_EQ(again_, PictureRefinement::kMostRefinements + 1);
  queue_->advance(1h);
  EXPECT_EQ(again_, PictureRefinement::kMostRefinements + 1);
  EXPECT_EQ(queue_->pendingCount(), 0u);
}

TEST_F(PictureRefinementTest, nothingComesOnceItIsGone) {
  come(one_);
  refinement_.reset();
  queue_->advance(1h);
  EXPECT_EQ(again_, 0);
}

}  // namespace
}  // namespace tevanto

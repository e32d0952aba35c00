#include "screen/encode/EncoderState.h"

#include <gtest/gtest.h>

#include <vector>

#include "screen/picture/PixelBufferPool.h"

namespace tevanto {
namespace {

using namespace std::chrono_literals;

/// Encoders that put out what the test says, and what became of them.
class EncoderStateTest : public ::testing::Test {
 protected:
  struct Opened {
    std::string name;
    bool isOpen = true;
    bool isFailing = false;
    std::vector<bool> forced;  // of each picture
  };

  class ScriptedEncoder final : public PictureEncoder {
   public:
    explicit ScriptedEncoder(std::shared_ptr<Opened> opened) : opened_(std::move(opened)) {}
    ~ScriptedEncoder() override { opened_->isOpen = false; }

    Result<std::optional<AccessUnit>> encode(std::shared_ptr<const PixelBuffer>,
                                             bool forceKeyFrame) override {
      if (opened_->isFailing) return Failure{"broken"};
      opened_->forced.push_back(forceKeyFrame);
      AccessUnit unit;
      unit.isIdr = forceKeyFrame;
      unit.data.resize(100);
      return std::optional(std::move(unit));
    }
    std::optional<double> lastQuantizer() const override { return 20; }

   private:
    const std::shared_ptr<Opened> opened_;
  };

  EncoderState makeState(std::string name = "h264_vaapi") {
    return {std::move(name),
            64,
            64,
            {Logger(), [this] { return now_; },
             [this](const std::string& encoder,
                    const EncoderSettings&) -> Result<std::unique_ptr<PictureEncoder>> {
               if (encoder == refused_) return Failure{"refused"};
               opened_.push_back(std::make_shared<Opened>(Opened{.name = encoder, .forced = {}}));
               return std::unique_ptr<PictureEncoder>(std::make_unique<ScriptedEncoder>(opened_.back()));
             },
             nullptr}};
  }
  /// The next picture, a frame interval later.
  Result<std::optional<AccessUnit>> encode(EncoderState& state, bool forceKeyFrame = false) {
    now_ += 66ms;
    EXPECT_TRUE(state.enter());
    auto encoded = state.encode(pool_.acquire(), forceKeyFrame);
    state.leave();
    return encoded;
  }

  std::chrono::nanoseconds now_ = 100s;
  std::string refused_;
  std::vector<std::shared_ptr<Opened>> opened_;
  PixelBufferPool pool_{PixelFormat::i420, 64, 64, 1};
};

TEST_F(EncoderStateTest, opensTheEncoderWithTheFirstPicture) {
  auto state = makeState();
  state.prepare();
  EXPECT_TRUE(opened_.empty());
  const auto encoded = encode(state);
  ASSERT_TRUE(encoded && encoded.value());
  ASSERT_EQ(opened_.size(), 1u);
  EXPECT_EQ(opened_[0]->name, "h264_vaapi");
  EXPECT_EQ(opened_[0]->forced, std::vector{true});
  EXPECT_EQ(state.lastQuantizer(), 20);
}

TEST_F(EncoderStateTest, takesPropertiesUntilItIsPrepared) {
  auto state = makeState();
  EXPECT_TRUE(state.set(EncoderProperty::averageBitRate, std::int64_t{1'000'000}));
  EXPECT_FALSE(state.set(EncoderProperty::averageBitRate, std::int64_t{0}));
  EXPECT_FALSE(state.set(EncoderProperty::averageBitRate, true));
  state.prepare();
  EXPECT_FALSE(state.set(EncoderProperty::averageBitRate, std::int64_t{1'000'000}));
}

TEST_F(EncoderStateTest, theSoftwareEncoderTakesThePlaceOfOneThatCannotBeOpened) {
  refused_ = "h264_vaapi";
  auto state = makeState();
  ASSERT_TRUE(encode(state));
  ASSERT_EQ(opened_.size(), 1u);
  EXPECT_EQ(opened_[0]->name, kSoftwareEncoder);
}

TEST_F(EncoderStateTest, theSoftwareEncoderTakesThePlaceOfOneThatFailed) {
  auto state = makeState();
  ASSERT_TRUE(encode(state));
  opened_[0]->isFailing = true;
  EXPECT_FALSE(encode(state));
  EXPECT_FALSE(opened_[0]->isOpen);
  ASSERT_TRUE(encode(state));
  ASSERT_EQ(opened_.size(), 2u);
  EXPECT_EQ(opened_[1]->name, kSoftwareEncoder);
  EXPECT_EQ(opened_[1]->forced, std::vector{true});
}

TEST_F(EncoderStateTest, aKeyFrameThatIsLeftOutComesWithALaterPicture) {
  auto state = makeState();
  ASSERT_TRUE(encode(state));
  const auto leftOut = encode(state, true);
  ASSERT_TRUE(leftOut);
  EXPECT_FALSE(leftOut.value());
  now_ += KeyFrameRequests::kFirstPause;
  const auto later = encode(state);
  ASSERT_TRUE(later && later.value());
  EXPECT_TRUE(later.value()->isIdr);
}

TEST_F(EncoderStateTest, invalidatedAtRestItClosesTheEncoderAtOnce) {
  auto state = makeState();
  ASSERT_TRUE(encode(state));
  state.invalidate();
  EXPECT_FALSE(opened_[0]->isOpen);
  EXPECT_FALSE(state.enter());
}

TEST_F(EncoderStateTest, invalidatedDuringAFrameItClosesTheEncoderBehindIt) {
  auto state = makeState();
  ASSERT_TRUE(state.enter());
  ASSERT_TRUE(state.encode(pool_.acquire(), false));
  state.invalidate();
  EXPECT_TRUE(opened_[0]->isOpen);
  state.leave();
  EXPECT_FALSE(opened_[0]->isOpen);
  EXPECT_FALSE(state.enter());
}

TEST_F(EncoderStateTest, refusesPicturesOfAnotherSizeOrFormat) {
  auto state = makeState();
  PixelBufferPool larger(PixelFormat::i420, 128, 64, 1);
  PixelBufferPool color(PixelFormat::bgra, 64, 64, 1);
  ASSERT_TRUE(state.enter());
  EXPECT_FALSE(state.encode(larger.acquire(), false));
  EXPECT_FALSE(state.encode(color.acquire(), false));
  EXPECT_FALSE(state.encode(nullptr, false));
  EXPECT_TRUE(opened_.empty());
  state.leave();
}

}  // namespace
}  // namespace tevanto

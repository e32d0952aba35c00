#include "phone/mirror/MirrorStream.h"

#include <gtest/gtest.h>

#include <deque>

#include "screen/wire/ScreenStreamMessage.h"
#include "tests/support/peers/ScreenBytes.h"

namespace tevanto::phone {
namespace {

using std::chrono::milliseconds;
using test::bytesOf;

/// Decodes whatever it is given, or as it is told.
class ScriptedDecoder final : public VideoDecoder {
 public:
  enum class Says { picture, nothing, damaged };

  Result<std::optional<DecodedPicture>> decode(std::span<const std::byte> accessUnit) override {
    units.push_back(test::copyOf(accessUnit));
    const auto says = script.empty() ? Says::picture : script.front();
    if (!script.empty()) script.pop_front();
    if (says == Says::damaged) return Failure{"damaged"};
    if (says == Says::nothing) return std::optional<DecodedPicture>();
    return std::optional(DecodedPicture{});
  }
  void flush() override { ++flushes; }

  std::deque<Says> script;
  std::vector<test::Bytes> units;
  int flushes = 0;
};

class MirrorStreamTest : public testing::Test {
 protected:
  using Says = ScriptedDecoder::Says;

  void takeSets() { stream_.onMessage(parameterSetMessage(bytesOf({0x67, 1}), bytesOf({0x68, 2})), now_); }
  void takeFrame(bool isKeyframe) {
    const auto unit = isKeyframe ? bytesOf({0, 0, 0, 2, 0x65, 3}) : bytesOf({0, 0, 0, 2, 0x41, 4});
    stream_.onMessage(videoFrameMessage(unit, isKeyframe), now_);
  }
  void start() {
    takeSets();
    takeFrame(true);
    ASSERT_EQ(shown_, 1);
  }

  ScriptedDecoder decoder_;
  MirrorStream::Time now_{std::chrono::hours(1)};
  int asked_ = 0;
  int shown_ = 0;
  int frames_ = 0;
  int dropped_ = 0;
  MirrorStream stream_{decoder_,
                       {[this] { ++asked_; },
                        [this](const ReceivedFrame&, const auto& picture) {
                          ++frames_;
                          shown_ += picture ? 1 : 0;
                        },
                        [this] { ++dropped_; }}};
};

TEST_F(MirrorStreamTest, beginsWithAKeyFrameBehindItsParameterSets) {
  takeFrame(false);
  takeFrame(true);
  EXPECT_EQ(shown_, 0);
  EXPECT_EQ(dropped_, 2);
  takeSets();
  takeFrame(false);
  EXPECT_EQ(shown_, 0);
  EXPECT_TRUE(decoder_.units.empty());
  takeFrame(true);
  takeFrame(false);
  EXPECT_EQ(shown_, 2);
  ASSERT_EQ(decoder_.units.size(), 2u);
  EXPECT_EQ(decoder_.units[0], bytesOf({0, 0, 0, 1, 0x67, 1, 0, 0, 0, 1, 0x68, 2, 0, 0, 0, 1, 0x65, 3}));
  EXPECT_EQ(decoder_.units[1], bytesOf({0, 0, 0, 1, 0x41, 4}));
}

TEST_F(MirrorStreamTest, asksForAKeyFrameWhenItCannotDecode) {
  start();
  decoder_.script = {Says::damaged};
  takeFrame(false);
  EXPECT_EQ(asked_, 1);
  EXPECT_EQ(dropped_, 1);
  EXPECT_EQ(decoder_.flushes, 1);
  takeFrame(false);  // its reference is missing
  EXPECT_EQ(shown_, 1);
  EXPECT_EQ(dropped_, 2);
  EXPECT_EQ(asked_, 1);
  takeFrame(true);
  takeFrame(false);
  EXPECT_EQ(shown_, 3);
}

TEST_F(MirrorStreamTest, asksAgainAfterASecondWithoutAnAnswer) {
  start();
  decoder_.script = {Says::damaged};
  takeFrame(false);
  now_ += milliseconds(999);
  takeFrame(false);
  EXPECT_EQ(asked_, 1);
  now_ += milliseconds(1);
  takeFrame(false);
  EXPECT_EQ(asked_, 2);
}

TEST_F(MirrorStreamTest, tellsANewLossAtOnce) {
  start();
  decoder_.script = {Says::damaged, Says::picture, Says::damaged};
  takeFrame(false);
  takeFrame(true);
  takeFrame(false);
  EXPECT_EQ(asked_, 2);
}

TEST_F(MirrorStreamTest, damagedKeyFramesDoNotMakeItAskWithoutEnd) {
  takeSets();
  decoder_.script = {Says::damaged, Says::damaged, Says::damaged};
  takeFrame(true);
  takeFrame(true);
  takeFrame(true);
  EXPECT_EQ(asked_, 1);
  EXPECT_EQ(shown_, 0);
}

TEST_F(MirrorStreamTest, lengthsThatDoNotFitAreDamageToo) {
  start();
  stream_.onMessage(videoFrameMessage(bytesOf({0, 0, 0, 9, 0x41}), false), now_);
  EXPECT_EQ(asked_, 1);
  EXPECT_EQ(decoder_.units.size(), 1u);
}

TEST_F(MirrorStreamTest, aDecoderThatGivesNoPictureIsStuck) {
  start();
  decoder_.script = {Says::nothing, Says::nothing, Says::nothing, Says::picture,
                     Says::nothing, Says::nothing, Says::nothing, Says::nothing};
  for (int i = 0; i < 7; ++i) takeFrame(false);
  EXPECT_EQ(asked_, 0);
  EXPECT_EQ(frames_, 8);
  EXPECT_EQ(shown_, 2);
  takeFrame(false);
  EXPECT_EQ(asked_, 1);
}

TEST_F(MirrorStreamTest, whatItDoesNotKnowChangesNothing) {
  start();
  stream_.onMessage({}, now_);
  stream_.onMessage(bytesOf({0x33, 1, 2}), now_);
  stream_.onMessage(bytesOf({0x01, 0, 9, 1}), now_);  // parameter sets that end too early
  stream_.onMessage(screenMessage(ScreenMessageType::stop), now_);
  takeFrame(false);
  EXPECT_EQ(shown_, 2);
  EXPECT_EQ(asked_, 0);
  EXPECT_EQ(dropped_, 0);
}

TEST_F(MirrorStreamTest, emptyParameterSetsDoNotReplaceThoseThatAreThere) {
  start();
  stream_.onMessage(bytesOf({0x01, 0, 0, 0, 0}), now_);
  takeFrame(true);
  ASSERT_EQ(decoder_.units.size(), 2u);
  EXPECT_EQ(decoder_.units[1], decoder_.units[0]);
}

TEST_F(MirrorStreamTest, aFrameWithoutItsFlagIsDropped) {
  start();
  stream_.onMessage(bytesOf({0x02}), now_);
  EXPECT_EQ(dropped_, 1);
}

}  // namespace
}  // namespace tevanto::phone

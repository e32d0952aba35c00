#pragma once

#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "screen/encode/EncoderSession.h"
#include "tests/support/peers/ScreenBytes.h"

namespace tevanto::test {

/// A compression session that records what it is asked, and puts out what the test says.
class FakeEncoderSession final : public EncoderSession {
 public:
  struct Frame {
    std::shared_ptr<const PixelBuffer> picture;
    PresentationTime time;
    EncodeFrameProperties properties;
    OutputHandler output;
  };

  Result<void> setProperty(EncoderProperty property, const EncoderPropertyValue& value) override {
    properties.emplace_back(property, value);
    if (refusesProperties) return Failure{"There is no such property."};
    return {};
  }
  void prepareToEncodeFrames() override { propertiesWhenPrepared = properties.size(); }
  void encodeFrame(std::shared_ptr<const PixelBuffer> picture, PresentationTime time,
                   const EncodeFrameProperties& frameProperties, OutputHandler output) override {
    if (invalidations > 0) return;
    frames.push_back({std::move(picture), time, frameProperties, std::move(output)});
    if (answers) putOut(frames.back(), frameProperties.forceKeyFrame);
  }
  void invalidate() override { ++invalidations; }

  /// What a well-behaved encoder puts out for a frame.
  static void putOut(const Frame& frame, bool isKeyframe) {
    const auto sps = bytesOf("sps");
    const auto pps = bytesOf("pps");
    const auto data = bytesOf(isKeyframe ? "key" : "delta");
    EncodedSample sample;
    sample.attachments = EncodedSample::Attachments{!isKeyframe};
    if (isKeyframe) {
      sample.sps = sps;
      sample.pps = pps;
    }
    sample.data = data;
    frame.output(EncodeStatus::success, &sample);
  }

  const EncodeFrameProperties& lastProperties() const { return frames.back().properties; }

  std::vector<std::pair<EncoderProperty, EncoderPropertyValue>> properties;
  std::optional<std::size_t> propertiesWhenPrepared;
  std::vector<Frame> frames;
  bool refusesProperties = false;
  bool answers = false;
  int invalidations = 0;
};

class FakeEncoderSessionFactory final : public EncoderSessionFactory {
 public:
  struct Made {
    std::int32_t width;
    std::int32_t height;
    VideoCodec codec;
    std::shared_ptr<FakeEncoderSession> session;
  };

  Result<std::shared_ptr<EncoderSession>> create(std::int32_t width, std::int32_t height,
                                                 VideoCodec codec) override {
    ++attempts;
    if (fails) return Failure{"no encoder"};
    made.push_back({width, height, codec, std::make_shared<FakeEncoderSession>()});
    made.back().session->answers = answers;
    made.back().session->refusesProperties = refusesProperties;
    return std::shared_ptr<EncoderSession>(made.back().session);
  }
  std::string encoderName() const override { return "fake"; }

  FakeEncoderSession& last() const { return *made.back().session; }

  std::vector<Made> made;
  int attempts = 0;
  bool fails = false;
  bool answers = false;  // the sessions put out every frame at once
  bool refusesProperties = false;
};

}  // namespace tevanto::test

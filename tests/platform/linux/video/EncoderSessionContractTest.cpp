// Every encoder that this machine has, and the fake.

#include "platform/linux/video/ProbingEncoderFactory.h"
#include "tests/platform/contracts/EncoderSessionContract.h"
#include "tests/support/fakes/FakeEncoderSession.h"
#include "tests/support/video/EncoderPictures.h"

namespace tevanto::test {
namespace {

class PlanarInput final : public EncoderInput {
 public:
  PlanarInput(int width, int height) : pictures_(PixelFormat::i420, width, height) {}
  std::shared_ptr<const PixelBuffer> text(int offset) override { return pictures_.text(offset); }

 private:
  EncoderPictures pictures_;
};

std::unique_ptr<EncoderInput> makePlanar(int width, int height) {
  return std::make_unique<PlanarInput>(width, height);
}

std::unique_ptr<EncoderSessionFactory> makeFake() {
  auto fake = std::make_unique<FakeEncoderSessionFactory>();
  fake->answers = true;
  return fake;
}

std::unique_ptr<EncoderSessionFactory> makeBest() {
  return std::make_unique<ProbingEncoderFactory>(Logger());
}

std::unique_ptr<EncoderSessionFactory> makeLibx264() {
  return std::make_unique<ProbingEncoderFactory>(Logger(), std::vector<std::string>{"libx264"});
}

INSTANTIATE_TEST_SUITE_P(EncodersOfThisMachine, EncoderSessionContract,
                         testing::Values(EncoderImplementation{"fake", makeFake, makePlanar, true},
                                         EncoderImplementation{"best", makeBest, makePlanar},
                                         EncoderImplementation{"libx264", makeLibx264, makePlanar}),
                         nameOf);

}  // namespace
}  // namespace tevanto::test

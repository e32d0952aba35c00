#include "platform/linux/video/ProbingEncoderFactory.h"

using tevanto::EncoderSessionFactory;
using tevanto::ProbingEncoderFactory;

extern "C" __attribute__((visibility("default"))) EncoderSessionFactory* tevantoMakeEncoders(
    const tevanto::Logger& log) {
  return new ProbingEncoderFactory(log);
}

extern "C" __attribute__((visibility("default"))) std::string* tevantoDescribeEncoders(
    EncoderSessionFactory& encoders) {
  return new std::string(static_cast<ProbingEncoderFactory&>(encoders).description());
}

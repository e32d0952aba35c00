#include "app/EncoderModule.h"

#include "platform/linux/LibavcodecEncoderFactory.h"

using tevanto::EncoderSessionFactory;
using tevanto::LibavcodecEncoderFactory;

extern "C" __attribute__((visibility("default"))) EncoderSessionFactory* tevantoMakeEncoders(
    const tevanto::Logger& log) {
  return new LibavcodecEncoderFactory(log);
}

extern "C" __attribute__((visibility("default"))) std::string* tevantoDescribeEncoders(
    EncoderSessionFactory& encoders) {
  return new std::string(static_cast<LibavcodecEncoderFactory&>(encoders).description());
}

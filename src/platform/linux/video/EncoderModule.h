#pragma once

#include <string>

namespace tevanto {

class EncoderSessionFactory;
class Logger;

/// The module that holds the encoders, and the functions in it. What they return the caller owns.
inline constexpr auto* kEncoderModule = "encoders";
inline constexpr auto* kMakeEncoders = "tevantoMakeEncoders";
using MakeEncoders = EncoderSessionFactory* (*)(const Logger& log);
/// Which encoder is used and why the others are not, for a person.
inline constexpr auto* kDescribeEncoders = "tevantoDescribeEncoders";
using DescribeEncoders = std::string* (*)(EncoderSessionFactory& encoders);

}  // namespace tevanto

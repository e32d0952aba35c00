#include "core/text/ClassicDecimals.h"

#include <gtest/gtest.h>

#include <array>
#include <bit>
#include <cmath>
#include <cstdint>
#include <limits>
#include <random>
#include <string>
#include <string_view>
#include <vector>

#include "core/text/Decimals.h"

namespace tevanto {
namespace {

using Write = std::to_chars_result (*)(char*, char*, double);
using Read = std::from_chars_result (*)(const char*, const char*, double&);

std::string written(Write write, double value) {
  std::array<char, 512> text;
  const auto [end, fault] = write(text.data(), text.data() + text.size(), value);
  return fault == std::errc() ? std::string(text.data(), end) : "fault";
}

/// What was read, how many characters of it, and what was wrong.
std::string reading(Read read, std::string_view text) {
  double value = -7;
  const auto [end, fault] = read(text.data(), text.data() + text.size(), value);
  return written(toChars, value) + " " + std::to_string(end - text.data()) + " " +
         std::to_string(static_cast<int>(fault));
}

std::vector<double> numbers() {
  std::vector<double> values = {0.0,
                                -0.0,
                                0.1,
                                0.5,
                                1.0,
                                -1.0,
                                64.0,
                                0.42,
                                1.0 / 3,
                                1e5,
                                1e20,
                                1e21,
                                1e23,
                                123456.789,
                                1234567890123456789.0,
                                1e-5,
                                0.0001,
                                0.00012345,
                                5.684341886080802e-14,
                                9007199254740991.0,
                                9007199254740992.0,
                                9007199254740994.0,
                                5e-324,
                                2.2250738585072014e-308,
                                1.7976931348623157e308,
                                std::numeric_limits<double>::infinity(),
                                -std::numeric_limits<double>::infinity()};
  std::mt19937_64 random(11);
  while (values.size() < 3000) {
    const double any = std::bit_cast<double>(random());
    if (std::isfinite(any)) values.push_back(any);
    values.push_back(static_cast<double>(static_cast<std::int64_t>(random() >> 20)) / 1000.0);
  }
  return values;
}

TEST(ClassicDecimals, writeWhatTheLibraryWrites) {
  for (const double value : numbers()) {
    EXPECT_EQ(written(classic::toChars, value), written(toChars, value)) << std::hexfloat << value;
    EXPECT_EQ(written(classic::toFixedChars, value), written(toFixedChars, value)) << std::hexfloat << value;
  }
}

TEST(ClassicDecimals, writeNothingThatDoesNotFit) {
  std::array<char, 4> room{};
  EXPECT_EQ(classic::toChars(room.data(), room.data() + room.size(), 0.125).ec, std::errc::value_too_large);
  EXPECT_EQ(classic::toFixedChars(room.data(), room.data() + room.size(), 1e20).ec,
            std::errc::value_too_large);
  EXPECT_EQ(classic::toChars(room.data(), room.data() + room.size(), 0.25).ec, std::errc());
}

TEST(ClassicDecimals, readWhatTheLibraryReads) {
  for (const double value : numbers()) {
    if (!std::isfinite(value)) continue;
    const auto text = written(toChars, value);
    EXPECT_EQ(reading(classic::fromChars, text), reading(fromChars, text)) << text;
  }
  for (const std::string_view text :
       {"1.5",      "-1.5e3", "1.5rest", "1e5,",   "0.1 ",   ".5",
        "1.",       "",       "-",       "+1",     " 1",     "x",
        "e5",       "--1",    "1e400",   "-1e400", "1e-400", "123456789012345678901234567890.5",
        "4.9e-324", "1e",     "1e+",     "0x10",   "1,5"})
    EXPECT_EQ(reading(classic::fromChars, text), reading(fromChars, text)) << '"' << text << '"';
}

}  // namespace
}  // namespace tevanto

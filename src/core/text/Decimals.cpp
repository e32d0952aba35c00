#include "core/text/Decimals.h"

#include <version>

#include "core/text/ClassicDecimals.h"

namespace tevanto {

#ifdef __cpp_lib_to_chars  // only where fractions are converted too

std::from_chars_result fromChars(const char* first, const char* last, double& value) {
  return std::from_chars(first, last, value);
}

std::to_chars_result toChars(char* first, char* last, double value) {
  return std::to_chars(first, last, value);
}

std::to_chars_result toFixedChars(char* first, char* last, double value) {
  return std::to_chars(first, last, value, std::chars_format::fixed);
}

#else

std::from_chars_result fromChars(const char* first, const char* last, double& value) {
  return classic::fromChars(first, last, value);
}

std::to_chars_result toChars(char* first, char* last, double value) {
  return classic::toChars(first, last, value);
}

std::to_chars_result toFixedChars(char* first, char* last, double value) {
  return classic::toFixedChars(first, last, value);
}

#endif

}  // namespace tevanto

#pragma once

#include <charconv>

namespace tevanto::classic {

// The conversions of Decimals.h for C++ libraries that lack them: the C library's conversion in its "C"
// locale, and the digits that Boost.JSON writes. They read decimal numbers only, no names.

std::from_chars_result fromChars(const char* first, const char* last, double& value);
std::to_chars_result toChars(char* first, char* last, double value);
std::to_chars_result toFixedChars(char* first, char* last, double value);

}  // namespace tevanto::classic

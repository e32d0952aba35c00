#pragma once

#include <charconv>

namespace tevanto::classic {

// What `fromChars` and its like are made of where the C++ library lacks them: the C library's conversion in
// its plainest locale, and the digits that Boost.JSON writes. Reads decimal numbers only, no names.

std::from_chars_result fromChars(const char* first, const char* last, double& value);
std::to_chars_result toChars(char* first, char* last, double value);
std::to_chars_result toFixedChars(char* first, char* last, double value);

}  // namespace tevanto::classic

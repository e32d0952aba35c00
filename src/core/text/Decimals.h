#pragma once

#include <charconv>

namespace tevanto {

/// As `std::from_chars` and `std::to_chars` of <charconv>, whatever the process' locale: the C++ libraries of
/// Macs have them for whole numbers only, or from a later macOS on.
std::from_chars_result fromChars(const char* first, const char* last, double& value);
/// The fewest digits that read back to `value`, with an exponent where that is shorter.
std::to_chars_result toChars(char* first, char* last, double value);
/// Never with an exponent.
std::to_chars_result toFixedChars(char* first, char* last, double value);

}  // namespace tevanto

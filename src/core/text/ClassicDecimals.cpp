#include "core/text/ClassicDecimals.h"

#include <locale.h>
#include <stdlib.h>

#include <algorithm>
#include <array>
#include <boost/json/serialize.hpp>
#include <boost/json/value.hpp>
#include <cerrno>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>

#if __has_include(<xlocale.h>)
#include <xlocale.h>
#endif

namespace tevanto::classic {
namespace {

/// From here on a fraction has no bits of its own: 2 to the power of 53.
constexpr double kWholeFrom = 9007199254740992.0;

/// The locale in which a number reads as in a program's source.
locale_t plainLocale() {
  static const locale_t made = ::newlocale(LC_ALL_MASK, "C", nullptr);
  return made;
}

bool isDigit(char character) { return character >= '0' && character <= '9'; }

/// How many characters at the front can belong to a decimal number.
std::size_t numberLength(std::string_view text) {
  const auto isPart = [](char character) {
    return isDigit(character) || character == '.' || character == '-' || character == '+' ||
           character == 'e' || character == 'E';
  };
  const auto end = std::find_if_not(text.begin(), text.end(), isPart);
  return static_cast<std::size_t>(end - text.begin());
}

bool startsNumber(std::string_view text) {
  const auto first = text.starts_with('-') ? text.substr(1) : text;
  return !first.empty() && (isDigit(first.front()) || first.front() == '.');
}

/// d.ddd times ten to the power of `exponent`; no zeros at the end, besides the only digit.
struct Digits {
  bool isNegative = false;
  std::string digits;
  int exponent = 0;
};

/// Of a finite number. Boost.JSON writes the shortest digits, always in the form -1.25E-7.
Digits shortestDigits(double value) {
  const std::string text = boost::json::serialize(boost::json::value(value));
  Digits result;
  result.isNegative = text.front() == '-';
  const auto mark = text.find('E');
  for (const char character : std::string_view(text).substr(0, mark)) {
    if (isDigit(character)) result.digits += character;
  }
  while (result.digits.size() > 1 && result.digits.back() == '0') result.digits.pop_back();
  if (mark != std::string::npos) result.exponent = std::atoi(text.c_str() + mark + 1);
  return result;
}

std::string fixedText(const Digits& number) {
  const auto& digits = number.digits;
  std::string text = number.isNegative ? "-" : "";
  if (number.exponent < 0) {
    return text + "0." + std::string(static_cast<std::size_t>(-number.exponent - 1), '0') + digits;
  }
  const auto whole = static_cast<std::size_t>(number.exponent) + 1;
  if (digits.size() <= whole) return text + digits + std::string(whole - digits.size(), '0');
  return text + digits.substr(0, whole) + "." + digits.substr(whole);
}

std::string scientificText(const Digits& number) {
  std::string text = number.isNegative ? "-" : "";
  text += number.digits.front();
  if (number.digits.size() > 1) text += "." + number.digits.substr(1);
  const auto size = std::to_string(std::abs(number.exponent));
  return text + (number.exponent < 0 ? "e-" : "e+") + (size.size() < 2 ? "0" : "") + size;
}

std::string nameOf(double value) {
  if (std::isnan(value)) return std::signbit(value) ? "-nan" : "nan";
  return value < 0 ? "-inf" : "inf";
}

std::to_chars_result put(std::string_view text, char* first, char* last) {
  if (last - first < static_cast<std::ptrdiff_t>(text.size())) return {last, std::errc::value_too_large};
  return {std::copy(text.begin(), text.end(), first), std::errc()};
}

}  // namespace

std::from_chars_result fromChars(const char* first, const char* last, double& value) {
  const std::string_view whole(first, static_cast<std::size_t>(last - first));
  const std::string text(whole.substr(0, numberLength(whole)));
  if (!startsNumber(text)) return {first, std::errc::invalid_argument};
  char* end = nullptr;
  errno = 0;
  const double read = ::strtod_l(text.c_str(), &end, plainLocale());
  if (end == text.c_str()) return {first, std::errc::invalid_argument};
  const char* const behind = first + (end - text.c_str());
  // Too small is out of range only where nothing is left: the smallest numbers are reported, too.
  if (errno == ERANGE && (std::isinf(read) || read == 0)) return {behind, std::errc::result_out_of_range};
  value = read;
  return {behind, std::errc()};
}

std::to_chars_result toChars(char* first, char* last, double value) {
  if (!std::isfinite(value)) return put(nameOf(value), first, last);
  const auto digits = shortestDigits(value);
  const auto scientific = scientificText(digits);
  const auto isLonger = [&](std::string_view fixed) { return fixed.size() > scientific.size(); };
  const auto fixed = fixedText(digits);
  if (isLonger(fixed)) return put(scientific, first, last);
  return toFixedChars(first, last, value);
}

std::to_chars_result toFixedChars(char* first, char* last, double value) {
  if (!std::isfinite(value)) return put(nameOf(value), first, last);
  // A whole number in all of its digits.
  if (std::abs(value) >= kWholeFrom) {
    std::array<char, 512> text;
    const int length = std::snprintf(text.data(), text.size(), "%.0f", value);
    return put({text.data(), static_cast<std::size_t>(length)}, first, last);
  }
  return put(fixedText(shortestDigits(value)), first, last);
}

}  // namespace tevanto::classic

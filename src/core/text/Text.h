#pragma once

#include <functional>
#include <string>
#include <string_view>

namespace tevanto {

/// Calls `visit` with the UTF-16 units of each extended grapheme cluster (Unicode UAX #29) of a UTF-8 text,
/// in order. Ill-formed bytes become U+FFFD.
void forEachGraphemeCluster(std::string_view utf8, const std::function<void(std::u16string_view)>& visit);

/// UTF-16 to UTF-8; unpaired surrogates become U+FFFD.
std::string toUtf8(std::u16string_view utf16);

/// The text with its letters in lower case, without regard to the locale.
std::string lowerCased(std::string_view utf8);

/// The text itself when it is well-formed, else with U+FFFD in place of what is not.
std::string wellFormedUtf8(std::string_view bytes);

/// Well-formed, and without what could steer a terminal.
std::string printable(std::string_view text);

}  // namespace tevanto

#pragma once

#include <optional>
#include <string>
#include <string_view>

@class NSString;

namespace tevanto {

/// Converts UTF-8; other text becomes an empty string. For Objective-C++ sources only.
NSString* foundationText(std::string_view text);
/// Empty for nil and for text that UTF-8 cannot express (half a surrogate pair).
std::optional<std::string> utf8Text(NSString* text);

}  // namespace tevanto

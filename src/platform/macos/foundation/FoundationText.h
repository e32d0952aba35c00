#pragma once

#include <optional>
#include <string>
#include <string_view>

@class NSString;

namespace tevanto {

/// For Objective-C++ sources only. Text that is no UTF-8 becomes an empty string.
NSString* foundationText(std::string_view text);
/// Nothing for nil and for what UTF-8 cannot say (half a surrogate pair).
std::optional<std::string> utf8Text(NSString* text);

}  // namespace tevanto

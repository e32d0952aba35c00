#pragma once

#include <cstdint>

namespace tevanto {

/// What a script's result can be read as.
enum class ScriptValueKind { boolean, number, none };

/// By the four-character code of the result's descriptor type: 'bool', 'true' and 'fals' are booleans, 'long'
/// and the other numeric types numbers. `missing value`, which has the type 'type', and everything else are
/// none: an output without a volume answers so.
ScriptValueKind scriptValueKind(std::uint32_t descriptorType);

}  // namespace tevanto

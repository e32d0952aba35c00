#pragma once

#include <cstdint>

namespace tevanto {

/// ScriptValueKind is the type that a script's result can be read as.
enum class ScriptValueKind { boolean, number, none };

/// Chooses by the four-character code of the result's descriptor type: 'bool', 'true' and 'fals' are
/// booleans, 'long' and the other numeric types are numbers. Everything else is none, `missing value` of the
/// type 'type' included, which is the result for an output without a volume.
ScriptValueKind scriptValueKind(std::uint32_t descriptorType);

}  // namespace tevanto

#include "platform/macos/values/system/ScriptValueKind.h"

#include "platform/macos/values/system/FourCharacterCode.h"

namespace tevanto {

ScriptValueKind scriptValueKind(std::uint32_t descriptorType) {
  switch (descriptorType) {
    case fourCharacterCode("bool"):
    case fourCharacterCode("true"):
    case fourCharacterCode("fals"):
      return ScriptValueKind::boolean;
    case fourCharacterCode("long"):
    case fourCharacterCode("shor"):
    case fourCharacterCode("comp"):
    case fourCharacterCode("magn"):
    case fourCharacterCode("sing"):
    case fourCharacterCode("doub"):
      return ScriptValueKind::number;
    default:
      return ScriptValueKind::none;
  }
}

}  // namespace tevanto

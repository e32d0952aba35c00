#include "platform/macos/control/AppleScriptHost.h"

#import <Foundation/Foundation.h>

#include "platform/macos/foundation/FoundationText.h"
#include "platform/macos/values/system/ScriptValueKind.h"

namespace tevanto {
namespace {

std::optional<std::variant<std::int32_t, bool>> valueOf(NSAppleEventDescriptor* result) {
  switch (scriptValueKind(result.descriptorType)) {
    case ScriptValueKind::boolean:
      return static_cast<bool>(result.booleanValue);
    case ScriptValueKind::number:
      return static_cast<std::int32_t>(result.int32Value);
    case ScriptValueKind::none:
      return std::nullopt;
  }
  return std::nullopt;
}

}  // namespace

AppleScriptHost::AppleScriptHost(std::shared_ptr<SerialQueue> mainQueue) : mainQueue_(std::move(mainQueue)) {}

ScriptResult AppleScriptHost::run(std::string_view source) {
  ScriptResult result{false, "script error", {}};  // what remains when the main queue has ended
  mainQueue_->sync([&] { result = runHere(source); });
  return result;
}

ScriptResult AppleScriptHost::runHere(std::string_view source) {
  @autoreleasepool {
    NSAppleScript* script = [[NSAppleScript alloc] initWithSource:foundationText(source)];
    if (!script) return {false, "bad script", {}};
    NSDictionary* error = nil;
    NSAppleEventDescriptor* result = [script executeAndReturnError:&error];
    if (!result) return {false, utf8Text(error[NSAppleScriptErrorMessage]).value_or("script error"), {}};
    return {true, {}, valueOf(result)};
  }
}

}  // namespace tevanto

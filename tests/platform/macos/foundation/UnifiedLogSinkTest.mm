// What this process has written to the unified log, as the log has it.

#include "platform/macos/foundation/UnifiedLogSink.h"

#import <OSLog/OSLog.h>
#include <gtest/gtest.h>

#include <string>

#include "core/text/Uuid.h"
#include "platform/macos/foundation/FoundationText.h"
#include "tests/support/programs/Eventually.h"

namespace tevanto::test {
namespace {

bool isInTheLog(const std::string& category, const std::string& message) {
  @autoreleasepool {
    OSLogStore* const store = [OSLogStore storeWithScope:OSLogStoreCurrentProcessIdentifier error:nil];
    for (OSLogEntry* entry in [store entriesEnumeratorWithOptions:0 position:nil predicate:nil error:nil]) {
      if (![entry isKindOfClass:OSLogEntryLog.class]) continue;
      OSLogEntryLog* const line = static_cast<OSLogEntryLog*>(entry);
      if (utf8Text(line.composedMessage) == message && utf8Text(line.category) == category)
        return utf8Text(line.subsystem) == "app.tevanto";
    }
    return false;
  }
}

// Those of the lower levels are not kept.
TEST(UnifiedLogSinkContract, keepsMessagesAsTheyWereWrittenUnderTheirCategories) {
  UnifiedLogSink log;
  const auto failure = "register failed, 100 % sure: " + randomUuid();
  const auto warning = "Grüße: " + randomUuid();
  log.write(LogLevel::error, "login-item", failure);
  log.write(LogLevel::warning, "webrtc", warning);
  log.write(LogLevel::info, "webrtc", "a line of the contract tests");
  log.write(LogLevel::debug, "webrtc", "a line of the contract tests");
  EXPECT_TRUE(eventually([&] { return isInTheLog("login-item", failure); }));
  EXPECT_TRUE(eventually([&] { return isInTheLog("webrtc", warning); }));
}

}  // namespace
}  // namespace tevanto::test

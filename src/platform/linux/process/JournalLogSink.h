#pragma once

#include <memory>

#include "core/Log.h"

namespace tevanto {

/// The systemd journal, in its native protocol: each line one entry with MESSAGE, PRIORITY, SYSLOG_IDENTIFIER
/// "tevanto", SUBSYSTEM "app.tevanto" and CATEGORY, so that `journalctl CATEGORY=webrtc` finds it. What the
/// journal does not take goes to standard error.
class JournalLogSink final : public LogSink {
 public:
  void write(LogLevel level, std::string_view category, std::string_view message) override;

 private:
  const std::shared_ptr<LogSink> otherwise_ = LogSink::standardError();
};

/// Where this process's log belongs: to the journal when standard error leads there, or when there is a
/// journal and nobody watches standard error on a terminal; else to standard error.
std::shared_ptr<LogSink> makeSystemLogSink();

}  // namespace tevanto

#pragma once

#include <memory>

#include "core/Log.h"

namespace tevanto {

/// JournalLogSink writes to the systemd journal in its native protocol. Each line is one entry with MESSAGE,
/// PRIORITY, SYSLOG_IDENTIFIER "tevanto", SUBSYSTEM "app.tevanto" and CATEGORY, so that
/// `journalctl CATEGORY=webrtc` finds it. Lines that the journal refuses go to standard error.
class JournalLogSink final : public LogSink {
 public:
  void write(LogLevel level, std::string_view category, std::string_view message) override;

 private:
  const std::shared_ptr<LogSink> otherwise_ = LogSink::standardError();
};

/// Makes the sink for this process: the journal when standard error leads there, or when there is a journal
/// and standard error is no terminal; else standard error.
std::shared_ptr<LogSink> makeSystemLogSink();

}  // namespace tevanto

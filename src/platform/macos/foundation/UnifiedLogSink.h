#pragma once

#include <memory>

#include "core/Log.h"

namespace tevanto {

/// The unified log, `log stream --predicate 'subsystem == "app.tevanto"'` in a terminal. Messages are public:
/// the system would otherwise show none of their text.
class UnifiedLogSink final : public LogSink {
 public:
  UnifiedLogSink();
  ~UnifiedLogSink() override;

  void write(LogLevel level, std::string_view category, std::string_view message) override;

 private:
  struct Logs;
  std::unique_ptr<Logs> logs_;
};

}  // namespace tevanto

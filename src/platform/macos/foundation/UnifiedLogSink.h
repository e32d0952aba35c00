#pragma once

#include <memory>

#include "core/Log.h"

namespace tevanto {

/// UnifiedLogSink writes to the unified log: `log stream --predicate 'subsystem == "app.tevanto"'` in a
/// terminal. Messages are public, since the system would otherwise hide their text.
class UnifiedLogSink final : public LogSink {
 public:
  UnifiedLogSink();
  ~UnifiedLogSink() override;

  void write(LogLevel level, std::string_view category, std::string_view message) override;

 private:
  struct Core;
  std::unique_ptr<Core> core_;
};

}  // namespace tevanto

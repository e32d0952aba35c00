#pragma once

#include <mutex>
#include <string>
#include <string_view>
#include <vector>

#include "core/Log.h"

namespace tevanto::test {

/// Keeps what was logged, each line as "<category>: <message>".
class RecordingLogSink final : public LogSink {
 public:
  void write(LogLevel level, std::string_view category, std::string_view message) override {
    const std::lock_guard lock(mutex_);
    lines_.push_back({level, std::string(category) + ": " + std::string(message)});
  }

  struct Line {
    LogLevel level;
    std::string text;
  };
  std::vector<Line> lines() const {
    const std::lock_guard lock(mutex_);
    return lines_;
  }

 private:
  mutable std::mutex mutex_;
  std::vector<Line> lines_;
};

}  // namespace tevanto::test

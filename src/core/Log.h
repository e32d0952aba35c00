#pragma once

#include <memory>
#include <string>
#include <string_view>

namespace tevanto {

/// LogLevel is the severity of a line, with the numbers of syslog(3), which the journal uses too.
enum class LogLevel { error = 3, warning = 4, info = 6, debug = 7 };

/// LogSink receives the log lines of all categories.
/// Thread-safe.
class LogSink {
 public:
  virtual ~LogSink() = default;
  virtual void write(LogLevel level, std::string_view category, std::string_view message) = 0;

  /// To standard error, one line each; for a terminal and for systems without a log of their own.
  static std::shared_ptr<LogSink> standardError();
  /// Drops everything.
  static std::shared_ptr<LogSink> none();
};

/// Logger writes the lines of one category under the subsystem "app.tevanto".
/// A cheap value: pass it by value, keep it as a member.
/// Thread-safe.
class Logger {
 public:
  static constexpr std::string_view kSubsystem = "app.tevanto";

  Logger() : Logger(LogSink::none(), "") {}
  Logger(std::shared_ptr<LogSink> sink, std::string category)
      : sink_(std::move(sink)), category_(std::move(category)) {}

  void error(std::string_view message) const { sink_->write(LogLevel::error, category_, message); }
  void warning(std::string_view message) const { sink_->write(LogLevel::warning, category_, message); }
  void info(std::string_view message) const { sink_->write(LogLevel::info, category_, message); }
  void debug(std::string_view message) const { sink_->write(LogLevel::debug, category_, message); }

 private:
  std::shared_ptr<LogSink> sink_;
  std::string category_;
};

}  // namespace tevanto

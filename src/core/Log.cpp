#include "core/Log.h"

#include <cstdio>

namespace tevanto {
namespace {

const char* nameOf(LogLevel level) {
  switch (level) {
    case LogLevel::error:
      return "error";
    case LogLevel::warning:
      return "warning";
    case LogLevel::info:
      return "info";
    case LogLevel::debug:
      return "debug";
  }
  return "";
}

class StandardErrorSink final : public LogSink {
 public:
  void write(LogLevel level, std::string_view category, std::string_view message) override {
    // One call, so that lines of several threads never mix.
    std::fprintf(stderr, "tevanto: %s: [%.*s] %.*s\n", nameOf(level), static_cast<int>(category.size()),
                 category.data(), static_cast<int>(message.size()), message.data());
  }
};

class NoSink final : public LogSink {
 public:
  void write(LogLevel, std::string_view, std::string_view) override {}
};

}  // namespace

std::shared_ptr<LogSink> LogSink::standardError() { return std::make_shared<StandardErrorSink>(); }
std::shared_ptr<LogSink> LogSink::none() {
  static const auto sink = std::make_shared<NoSink>();
  return sink;
}

}  // namespace tevanto

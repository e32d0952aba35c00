#include "core/Log.h"

#include <cstdio>
#include <string>

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

void appendPrintable(std::string& line, std::string_view text) {
  for (const char c : text) {
    const auto byte = static_cast<unsigned char>(c);
    // What a peer sent must neither begin a line of its own nor drive the terminal.
    line += byte < 0x20 || byte == 0x7F ? ' ' : c;
  }
}

class StandardErrorSink final : public LogSink {
 public:
  void write(LogLevel level, std::string_view category, std::string_view message) override {
    std::string line = "tevanto: ";
    line.append(nameOf(level)).append(": [");
    appendPrintable(line, category);
    line += "] ";
    appendPrintable(line, message);
    line += '\n';
    // Standard error has no buffer: one call is one write, so that lines of several threads never mix.
    std::fwrite(line.data(), 1, line.size(), stderr);
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

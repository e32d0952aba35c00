#pragma once

#include <cstdarg>
#include <string>

namespace tevanto {

/// Keeps what libavutil logs on this thread for as long as it lives; what the libraries say elsewhere is
/// dropped, so that nothing of theirs lands on standard error. Not nested.
class LibavLogCapture {
 public:
  LibavLogCapture();
  ~LibavLogCapture();
  LibavLogCapture(const LibavLogCapture&) = delete;
  LibavLogCapture& operator=(const LibavLogCapture&) = delete;

  /// The first error said, which is the cause of those behind it; empty when there was none.
  const std::string& firstError() const { return firstError_; }
  /// Makes the libraries quiet, for the whole process.
  static void install();

 private:
  static void onLog(void* source, int level, const char* format, va_list arguments);

  std::string firstError_;
};

}  // namespace tevanto

#include "platform/linux/video/LibavLogCapture.h"

#include <array>
#include <cassert>
#include <cstdio>

extern "C" {
#include <libavutil/log.h>
}

namespace tevanto {
namespace {

thread_local LibavLogCapture* current = nullptr;

std::string withoutLineEnd(std::string text) {
  while (!text.empty() && (text.back() == '\n' || text.back() == '.' || text.back() == ' ')) text.pop_back();
  return text;
}

}  // namespace

LibavLogCapture::LibavLogCapture() {
  assert(!current && "one capture a thread");
  install();
  current = this;
}

LibavLogCapture::~LibavLogCapture() { current = nullptr; }

void LibavLogCapture::install() { av_log_set_callback(&LibavLogCapture::onLog); }

void LibavLogCapture::onLog(void*, int level, const char* format, va_list arguments) {
  if (!current || level > AV_LOG_ERROR || !current->firstError_.empty()) return;
  std::array<char, 512> line{};
  std::vsnprintf(line.data(), line.size(), format, arguments);
  current->firstError_ = withoutLineEnd(line.data());
}

}  // namespace tevanto

#pragma once

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavutil/buffer.h>
#include <libavutil/dict.h>
#include <libavutil/error.h>
#include <libavutil/frame.h>
}

#include <array>
#include <memory>
#include <string>

namespace tevanto {

struct LibavFree {
  void operator()(AVCodecContext* context) const { avcodec_free_context(&context); }
  void operator()(AVFrame* frame) const { av_frame_free(&frame); }
  void operator()(AVPacket* packet) const { av_packet_free(&packet); }
  void operator()(AVBufferRef* buffer) const { av_buffer_unref(&buffer); }
};

/// Owns one of libav's objects, and frees it in its way.
template <class Object>
using LibavOwned = std::unique_ptr<Object, LibavFree>;

inline std::string libavErrorText(int code) {
  std::array<char, AV_ERROR_MAX_STRING_SIZE> text{};
  av_strerror(code, text.data(), text.size());
  return text.data();
}

}  // namespace tevanto

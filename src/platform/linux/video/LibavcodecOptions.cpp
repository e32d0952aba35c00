#include "platform/linux/video/LibavcodecOptions.h"

extern "C" {
#include <libavcodec/avcodec.h>
}

namespace tevanto {
namespace {

AVPixelFormat libavFormat(PixelFormat format) {
  return format == PixelFormat::i420 ? AV_PIX_FMT_YUV420P : AV_PIX_FMT_NV12;
}

}  // namespace

void applySettings(AVCodecContext& context, const EncoderSettings& settings) {
  context.width = settings.width;
  context.height = settings.height;
  context.pix_fmt = libavFormat(settings.format);
  context.time_base = {1, frameRate(settings)};
  context.framerate = {frameRate(settings), 1};
  context.gop_size = keyFrameInterval(settings);
  context.max_b_frames = 0;
  context.thread_count = 1;
  context.profile = FF_PROFILE_H264_MAIN;
  context.flags |= AV_CODEC_FLAG_GLOBAL_HEADER | AV_CODEC_FLAG_LOW_DELAY;
  context.color_primaries = AVCOL_PRI_BT709;
  context.color_trc = AVCOL_TRC_BT709;
  context.colorspace = AVCOL_SPC_BT709;
  context.color_range = AVCOL_RANGE_MPEG;
  context.sample_aspect_ratio = {1, 1};
  context.qmin = kFinestQuantizer;
  const auto bucket = leakyBucket(settings);
  context.bit_rate = bucket.rate;
  context.rc_max_rate = bucket.rate;
  context.rc_buffer_size = static_cast<int>(bucket.size);
  context.rc_initial_buffer_occupancy = static_cast<int>(bitsAtBeginning(settings));
}

std::vector<std::pair<std::string, std::string>> privateOptions(const std::string& encoder) {
  if (encoder == "h264_nvenc") {
    return {{"preset", "p2"},      {"tune", "ull"},      {"profile", "main"}, {"coder", "cabac"},
            {"rc", "vbr"},         {"zerolatency", "1"}, {"delay", "0"},      {"forced-idr", "1"},
            {"rc-lookahead", "0"}, {"no-scenecut", "1"}, {"aud", "0"}};
  }
  if (encoder == "h264_qsv") {
    return {{"preset", "veryfast"}, {"profile", "main"},    {"async_depth", "1"}, {"forced_idr", "1"},
            {"look_ahead", "0"},    {"low_delay_brc", "1"}, {"cavlc", "0"},       {"aud", "0"}};
  }
  return {{"async_depth", "1"}, {"coder", "cabac"}, {"rc_mode", "VBR"}, {"sei", "0"}, {"aud", "0"}};
}

}  // namespace tevanto

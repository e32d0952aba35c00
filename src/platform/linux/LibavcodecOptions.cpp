#include "platform/linux/LibavcodecOptions.h"

#include <algorithm>
#include <limits>

extern "C" {
#include <libavcodec/avcodec.h>
}

namespace tevanto {
namespace {

/// Below this an encoder of moving pictures cannot go, whatever it is asked for; bits per second.
constexpr std::int64_t kLeastBitRate = 64'000;

/// Where quality is good enough, so that bits are saved: text at rest at about 46 dB.
constexpr const char* kConstantQuality = "23";

AVPixelFormat libavFormat(PixelFormat format) {
  return format == PixelFormat::i420 ? AV_PIX_FMT_YUV420P : AV_PIX_FMT_NV12;
}

}  // namespace

LeakyBucket leakyBucket(const EncoderSettings& settings) {
  const std::int64_t most = std::numeric_limits<std::int32_t>::max();
  auto rate = std::clamp(settings.bitRate, kLeastBitRate, most);
  const auto burst = rate * 5 / std::clamp<std::int64_t>(settings.fps, 1, 1000) * 99 / 100;
  auto size = rate / 2;
  if (settings.dataRateLimit) {
    const auto seconds = std::max<std::int64_t>(settings.dataRateLimit->window.count(), 1);
    const auto limit = std::clamp<std::int64_t>(settings.dataRateLimit->bytes, 1, most) * 8 * 19 / 20;
    rate = std::clamp(limit * 2 / 3 / seconds, kLeastBitRate, rate);
    size = std::max(limit - rate * seconds, rate / 4);
  }
  return {rate, std::min(std::max(std::min(size, burst), size / 2), most)};
}

const std::vector<std::string>& encoderCandidates() {
  static const std::vector<std::string> names{"h264_nvenc", "h264_vaapi", "h264_qsv", "libx264"};
  return names;
}

void applySettings(AVCodecContext& context, const EncoderSettings& settings) {
  const int most = std::numeric_limits<int>::max();
  const int fps = static_cast<int>(std::clamp<std::int64_t>(settings.fps, 1, 1000));
  context.width = settings.width;
  context.height = settings.height;
  context.pix_fmt = libavFormat(settings.format);
  context.time_base = {1, fps};
  context.framerate = {fps, 1};
  context.gop_size = static_cast<int>(std::clamp<std::int64_t>(settings.maxKeyFrameInterval, 1, most));
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
  const auto left = std::clamp<std::int64_t>(settings.left.value_or(bucket.size), 1, bucket.size);
  context.rc_initial_buffer_occupancy = static_cast<int>(left);
}

std::vector<std::pair<std::string, std::string>> privateOptions(const std::string& encoder) {
  if (encoder == "libx264") {
    // Half-pixel search is worth its time: text scrolls by parts of the scaled pixels. What it costs is won
    // back from arithmetic coding, the loop filter and second looks at small coefficients: together they take
    // more time than encoding all the rest, for one decibel of text that scrolls. Weighted prediction finds
    // nothing on a desktop and takes no time; without arithmetic coding it alone makes the stream Main. A
    // page scrolls by 50 to 120 rows a picture: a search that is wide enough to find it once makes that
    // legible (31 dB where the preset's own has 16), and saves the time that coding it anew would take.
    return {{"preset", "superfast"},
            {"tune", "zerolatency"},
            {"profile", "main"},
            {"coder", "vlc"},
            {"forced-idr", "1"},
            {"crf", kConstantQuality},
            {"x264-params",
             "scenecut=0:sliced-threads=0:me=umh:merange=32:subme=1:weightp=1:aq-mode=0:no-deblock=1:no-dct-"
             "decimate=1"}};
  }
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

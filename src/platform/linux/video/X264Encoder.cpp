#include "platform/linux/video/X264Encoder.h"

#include <algorithm>
#include <array>
#include <cstdarg>
#include <cstdint>
#include <cstdio>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include "screen/encode/ScrollProbe.h"
#include "screen/picture/ChangedArea.h"

extern "C" {
#include <x264.h>
}

namespace tevanto {
namespace {

/// Where quality is good enough, so that bits are saved: text at rest at about 46 dB.
constexpr float kConstantQuality = 23;
constexpr int kBlockSide = 16;  // a macroblock
constexpr int kWideRange = 32;
constexpr int kNarrowRange = 16;
constexpr int kBt709 = 1;  // ITU-T H.264, tables E-3 to E-5
constexpr std::size_t kLengthBytes = 4;
/// A phone that decodes in software shares them out to its processors, and is done in half the time.
constexpr int kSlices = 2;

struct CloseEncoder {
  void operator()(x264_t* encoder) const { x264_encoder_close(encoder); }
};

/// Keeps the first error said, which is the cause of those behind it.
void onLog(void* error, int level, const char* format, va_list arguments) {
  auto& text = *static_cast<std::string*>(error);
  if (level > X264_LOG_ERROR || !text.empty()) return;
  std::array<char, 512> line{};
  std::vsnprintf(line.data(), line.size(), format, arguments);
  text = line.data();
  while (!text.empty() && (text.back() == '\n' || text.back() == '.')) text.pop_back();
}

void setRates(x264_param_t& parameters, const EncoderSettings& settings) {
  const auto bucket = leakyBucket(settings);
  auto& rates = parameters.rc;
  rates.i_rc_method = X264_RC_CRF;
  rates.f_rf_constant = kConstantQuality;
  rates.i_qp_min = kFinestQuantizer;
  rates.i_aq_mode = X264_AQ_NONE;
  rates.i_vbv_max_bitrate = static_cast<int>(bucket.rate / 1000);
  rates.i_vbv_buffer_size = static_cast<int>(std::max<std::int64_t>(bucket.size / 1000, 1));
  rates.f_vbv_buffer_init = static_cast<float>(bitsAtBeginning(settings)) / static_cast<float>(bucket.size);
}

void setStream(x264_param_t& parameters, const EncoderSettings& settings) {
  parameters.i_width = settings.width;
  parameters.i_height = settings.height;
  parameters.i_csp = settings.format == PixelFormat::i420 ? X264_CSP_I420 : X264_CSP_NV12;
  // Counted in frames: rate control then lets a second's data fall on a second's frames at the least, and a
  // pause in between never saves up for more.
  parameters.b_vfr_input = 0;
  parameters.i_fps_num = parameters.i_timebase_den = static_cast<std::uint32_t>(frameRate(settings));
  parameters.i_fps_den = parameters.i_timebase_num = 1;
  parameters.i_keyint_max = keyFrameInterval(settings);
  parameters.i_scenecut_threshold = 0;
  parameters.b_annexb = 0;
  parameters.b_repeat_headers = 0;
  parameters.vui.i_sar_width = parameters.vui.i_sar_height = 1;
  parameters.vui.i_colorprim = parameters.vui.i_transfer = parameters.vui.i_colmatrix = kBt709;
  parameters.vui.b_fullrange = 0;
}

// Half-pixel search is worth its time: text scrolls by parts of the scaled pixels. What it costs is won back
// from arithmetic coding, the loop filter and second looks at small coefficients: together they take more
// time than encoding all the rest, for one decibel of text that scrolls. Weighted prediction finds nothing on
// a desktop and takes no time; without arithmetic coding it alone makes the stream Main.
void setTools(x264_param_t& parameters) {
  parameters.i_threads = 1;
  parameters.i_slice_count = kSlices;
  parameters.b_sliced_threads = 0;
  parameters.b_cabac = 0;
  parameters.b_deblocking_filter = 0;
  auto& tools = parameters.analyse;
  tools.i_me_method = X264_ME_UMH;
  tools.i_me_range = kWideRange;
  tools.i_subpel_refine = 1;
  tools.i_weighted_pred = X264_WEIGHTP_SIMPLE;
  tools.b_dct_decimate = 0;
  tools.b_mb_info = 1;
}

x264_image_t imageOf(const PixelBuffer& picture, int format) {
  x264_image_t image{};
  image.i_csp = format;
  image.i_plane = static_cast<int>(picture.planes().size());
  for (std::size_t i = 0; i < picture.planes().size(); ++i) {
    image.plane[i] = reinterpret_cast<std::uint8_t*>(picture.planes()[i].data);
    image.i_stride[i] = static_cast<int>(picture.planes()[i].stride);
  }
  return image;
}

std::span<const std::byte> bytesOf(const x264_nal_t& unit) {
  return std::as_bytes(std::span(unit.p_payload, static_cast<std::size_t>(unit.i_payload)));
}

std::vector<std::byte> withoutLength(const x264_nal_t& unit) {
  const auto bytes = bytesOf(unit).subspan(kLengthBytes);
  return {bytes.begin(), bytes.end()};
}

}  // namespace

struct X264Encoder::Codec {
  using Encoder = std::unique_ptr<x264_t, CloseEncoder>;

  x264_param_t parameters{};
  std::string error;  // its address is the log's
  Encoder encoder;
  AccessUnit headers;  // the parameter sets
  std::int64_t frames = 0;
  std::optional<double> lastQuantizer;
  std::uint64_t lastPicture = 0;
  std::vector<std::uint8_t> standsStill;  // by macroblocks
  ScrollProbe probe;
  std::optional<int> lastShift;

  bool open();
  PixelRect changedIn(const PixelBuffer& picture) const;
  void markWhatStandsStill(const PixelRect& changed);
  void chooseSearch(const PixelBuffer& picture, const PixelRect& changed);
  void search(int method, int range);
  Failure reason() const { return {error.empty() ? "libx264 failed" : error}; }
};

bool X264Encoder::Codec::open() {
  parameters.pf_log = onLog;
  parameters.p_log_private = &error;
  parameters.i_log_level = X264_LOG_ERROR;
  if (x264_param_apply_profile(&parameters, "main") < 0) return false;
  encoder.reset(x264_encoder_open(&parameters));
  if (!encoder) return false;
  x264_encoder_parameters(encoder.get(), &parameters);
  x264_nal_t* units = nullptr;
  int count = 0;
  if (x264_encoder_headers(encoder.get(), &units, &count) < 0) return false;
  for (const auto& unit : std::span(units, static_cast<std::size_t>(count))) {
    if (unit.i_type == NAL_SPS) headers.sps = withoutLength(unit);
    if (unit.i_type == NAL_PPS) headers.pps = withoutLength(unit);
  }
  const auto blocks = [](int side) { return static_cast<std::size_t>((side + kBlockSide - 1) / kBlockSide); };
  standsStill.resize(blocks(parameters.i_width) * blocks(parameters.i_height));
  return headers.sps && headers.pps;
}

PixelRect X264Encoder::Codec::changedIn(const PixelBuffer& picture) const {
  const auto& [number, previous, region] = picture.change;
  const PixelRect all{0, 0, picture.width(), picture.height()};
  if (number == 0 || lastPicture == 0) return all;
  if (number == lastPicture) return {};
  return previous == lastPicture ? intersection(region, all) : all;
}

// Blocks that stand still are passed over, unless the last picture has them coarser than this one would.
void X264Encoder::Codec::markWhatStandsStill(const PixelRect& changed) {
  std::fill(standsStill.begin(), standsStill.end(), X264_MBINFO_CONSTANT);
  if (!hasPixels(changed)) return;
  const auto end = [](int begin, int length) { return (begin + length + kBlockSide - 1) / kBlockSide; };
  const auto across = static_cast<std::size_t>(end(0, parameters.i_width));
  for (int y = changed.y / kBlockSide; y < end(changed.y, changed.height); ++y) {
    const auto row = standsStill.begin() + static_cast<std::ptrdiff_t>(static_cast<std::size_t>(y) * across);
    std::fill(row + changed.x / kBlockSide, row + end(changed.x, changed.width), std::uint8_t{0});
  }
}

// A page scrolls by 50 to 120 rows a picture: a search that is wide enough to find that makes it legible (31
// dB where the preset's own has 16), and saves the time that coding it anew would take. But it takes half as
// long again as all the rest where it finds nothing. A page that goes on as it did needs it no more: each
// block looks first where those around it came from in the picture before.
void X264Encoder::Codec::chooseSearch(const PixelBuffer& picture, const PixelRect& changed) {
  constexpr int kSameStep = 1;  // a row: a step of so many pixels and a part of one
  const auto shift = probe.measure(picture.planes()[0], changed);
  const bool goesOn = shift && lastShift && std::abs(*shift - *lastShift) <= kSameStep;
  lastShift = shift;
  if (goesOn) return search(X264_ME_HEX, kNarrowRange);
  search(X264_ME_UMH, kWideRange);
}

void X264Encoder::Codec::search(int method, int range) {
  if (std::exchange(parameters.analyse.i_me_method, method) == method) return;
  parameters.analyse.i_me_range = range;
  x264_encoder_reconfig(encoder.get(), &parameters);
}

X264Encoder::X264Encoder(std::unique_ptr<Codec> codec) : codec_(std::move(codec)) {}
X264Encoder::~X264Encoder() = default;

std::optional<double> X264Encoder::lastQuantizer() const { return codec_->lastQuantizer; }

Result<std::unique_ptr<PictureEncoder>> X264Encoder::open(const EncoderSettings& settings) {
  auto codec = std::make_unique<Codec>();
  if (x264_param_default_preset(&codec->parameters, "superfast", "zerolatency") < 0) {
    return Failure{"this libx264 does not know the preset"};
  }
  setStream(codec->parameters, settings);
  setRates(codec->parameters, settings);
  setTools(codec->parameters);
  if (!codec->open()) return codec->reason();
  return std::unique_ptr<PictureEncoder>(new X264Encoder(std::move(codec)));
}

Result<std::optional<AccessUnit>> X264Encoder::encode(std::shared_ptr<const PixelBuffer> picture,
                                                      bool forceKeyFrame) {
  const auto changed = codec_->changedIn(*picture);
  codec_->markWhatStandsStill(changed);
  codec_->chooseSearch(*picture, changed);
  x264_picture_t in, out;
  x264_picture_init(&in);
  in.img = imageOf(*picture, codec_->parameters.i_csp);
  in.i_type = forceKeyFrame ? X264_TYPE_IDR : X264_TYPE_AUTO;
  in.i_pts = codec_->frames++;
  in.prop.mb_info = codec_->standsStill.data();
  x264_nal_t* units = nullptr;
  int count = 0;
  codec_->error.clear();
  const int size = x264_encoder_encode(codec_->encoder.get(), &units, &count, &in, &out);
  if (size < 0) return codec_->reason();
  if (size == 0) return std::optional<AccessUnit>();
  codec_->lastPicture = picture->change.picture;
  codec_->lastQuantizer = out.i_qpplus1 - 1;
  AccessUnit unit;
  unit.isIdr = out.b_keyframe != 0;
  unit.data.reserve(static_cast<std::size_t>(size));
  for (const auto& each : std::span(units, static_cast<std::size_t>(count))) {
    const auto bytes = bytesOf(each);
    unit.data.insert(unit.data.end(), bytes.begin(), bytes.end());
  }
  if (unit.isIdr) {
    codec_->lastShift.reset();  // its blocks came from nowhere
    unit.sps = codec_->headers.sps;
    unit.pps = codec_->headers.pps;
  }
  return std::optional(std::move(unit));
}

}  // namespace tevanto

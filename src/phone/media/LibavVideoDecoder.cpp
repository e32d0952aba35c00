#include "phone/media/LibavVideoDecoder.h"

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavutil/imgutils.h>
#include <libswscale/swscale.h>
}

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>
#include <utility>

namespace tevanto::phone {
namespace {

// No display comes near; a hostile parameter set must not make the decoder reserve gigabytes.
constexpr std::int64_t kMaxPixels = std::int64_t{8192} * 8192;

/// As many as the companion's pictures have slices; a picture of one slice is decoded by one thread.
constexpr int kThreads = 2;

constexpr int kMacroblock = 16;
/// Brightness that no picture has side by side. It lies in each macroblock's place beforehand: with several
/// threads the library does not tell which macroblocks were missing.
constexpr std::array<std::uint8_t, 8> kUndecoded{1, 254, 3, 252, 2, 253, 0, 255};

struct FreeFrame {
  void operator()(AVFrame* frame) const { av_frame_free(&frame); }
};
struct FreePacket {
  void operator()(AVPacket* packet) const { av_packet_free(&packet); }
};
struct FreeContext {
  void operator()(AVCodecContext* context) const { avcodec_free_context(&context); }
};
struct FreeScaler {
  void operator()(SwsContext* context) const { sws_freeContext(context); }
};
using Frame = std::unique_ptr<AVFrame, FreeFrame>;

bool hasByteLuma(const AVFrame& frame) {
  return frame.format == AV_PIX_FMT_YUV420P || frame.format == AV_PIX_FMT_YUVJ420P;
}

/// Calls `visit` with the first bytes of each macroblock's luma until it returns false; whether it never did.
template <class Visit>
bool forEachMacroblock(const AVFrame& frame, Visit visit) {
  if (!hasByteLuma(frame)) return true;
  for (int y = 0; y < frame.height; y += kMacroblock) {
    auto* row = frame.data[0] + static_cast<std::ptrdiff_t>(y) * frame.linesize[0];
    for (int x = 0; x + kMacroblock <= frame.width; x += kMacroblock) {
      if (!visit(std::span<std::uint8_t, kUndecoded.size()>(row + x, kUndecoded.size()))) return false;
    }
  }
  return true;
}

int markedBuffer(AVCodecContext* context, AVFrame* frame, int flags) {
  const int code = avcodec_default_get_buffer2(context, frame, flags);
  if (code < 0) return code;
  forEachMacroblock(*frame, [](auto pixels) {
    std::copy(kUndecoded.begin(), kUndecoded.end(), pixels.begin());
    return true;
  });
  return code;
}

bool isWhole(const AVFrame& frame) {
  return forEachMacroblock(
      frame, [](auto pixels) { return !std::equal(pixels.begin(), pixels.end(), kUndecoded.begin()); });
}

bool isPlain420(const AVFrame& frame) {
  return frame.format == AV_PIX_FMT_YUV420P && frame.color_range != AVCOL_RANGE_JPEG &&
         frame.width % 2 == 0 && frame.height % 2 == 0;
}

/// Other kinds of H.264 pictures are legal too; they cost a conversion.
Frame asPlain420(const AVFrame& from) {
  Frame to(av_frame_alloc());
  to->format = AV_PIX_FMT_YUV420P;
  to->width = from.width & ~1;
  to->height = from.height & ~1;
  if (to->width == 0 || to->height == 0 || av_frame_get_buffer(to.get(), 0) < 0) return nullptr;
  const std::unique_ptr<SwsContext, FreeScaler> scaler(
      sws_getContext(from.width, from.height, static_cast<AVPixelFormat>(from.format), to->width, to->height,
                     AV_PIX_FMT_YUV420P, SWS_BILINEAR, nullptr, nullptr, nullptr));
  if (!scaler) return nullptr;
  const auto* matrix = sws_getCoefficients(SWS_CS_ITU709);
  const int isFull = from.color_range == AVCOL_RANGE_JPEG ? 1 : 0;
  sws_setColorspaceDetails(scaler.get(), matrix, isFull, matrix, 0, 0, 1 << 16, 1 << 16);
  if (sws_scale(scaler.get(), from.data, from.linesize, 0, from.height, to->data, to->linesize) < 0)
    return nullptr;
  return to;
}

std::optional<DecodedPicture> pictureOf(Frame frame) {
  if (!isPlain420(*frame)) frame = asPlain420(*frame);
  if (!frame) return std::nullopt;
  const std::shared_ptr<AVFrame> shared = std::move(frame);
  DecodedPicture picture{shared->width, shared->height, {}, shared};
  for (std::size_t i = 0; i < picture.planes.size(); ++i) {
    picture.planes[i] = {reinterpret_cast<const std::byte*>(shared->data[i]),
                         static_cast<std::size_t>(shared->linesize[i])};
  }
  return picture;
}

}  // namespace

struct LibavVideoDecoder::Codec {
  std::unique_ptr<AVCodecContext, FreeContext> context;
  std::unique_ptr<AVPacket, FreePacket> packet;

  bool fill(std::span<const std::byte> bytes) {
    av_packet_unref(packet.get());
    if (av_new_packet(packet.get(), static_cast<int>(bytes.size())) < 0) return false;
    std::memcpy(packet->data, bytes.data(), bytes.size());
    return true;
  }
};

Result<std::unique_ptr<VideoDecoder>> LibavVideoDecoder::create() {
  av_log_set_level(AV_LOG_QUIET);  // a damaged stream is told by the phone, once
  const auto* decoder = avcodec_find_decoder(AV_CODEC_ID_H264);
  auto codec = std::make_unique<Codec>();
  codec->context.reset(decoder ? avcodec_alloc_context3(decoder) : nullptr);
  codec->packet.reset(av_packet_alloc());
  if (!codec->context || !codec->packet) return Failure{"This system's libavcodec decodes no H.264."};
  auto& context = *codec->context;
  context.flags |= AV_CODEC_FLAG_LOW_DELAY;
  context.thread_type = FF_THREAD_SLICE;  // threads by frame would each hold a picture back
  context.thread_count = kThreads;
  context.get_buffer2 = markedBuffer;
  context.max_pixels = kMaxPixels;
  context.err_recognition = AV_EF_BITSTREAM | AV_EF_BUFFER | AV_EF_EXPLODE;
  if (avcodec_open2(&context, decoder, nullptr) < 0) return Failure{"The H.264 decoder cannot be opened."};
  return std::unique_ptr<VideoDecoder>(new LibavVideoDecoder(std::move(codec)));
}

LibavVideoDecoder::LibavVideoDecoder(std::unique_ptr<Codec> codec) : codec_(std::move(codec)) {}
LibavVideoDecoder::~LibavVideoDecoder() = default;

Result<std::optional<DecodedPicture>> LibavVideoDecoder::decode(std::span<const std::byte> accessUnit) {
  if (!codec_->fill(accessUnit)) return Failure{"There is not enough memory to decode."};
  if (avcodec_send_packet(codec_->context.get(), codec_->packet.get()) < 0)
    return Failure{"The frame is damaged."};
  std::optional<DecodedPicture> latest;
  while (true) {
    Frame frame(av_frame_alloc());
    const int received = avcodec_receive_frame(codec_->context.get(), frame.get());
    if (received == AVERROR(EAGAIN)) return latest;
    // The decoder conceals what is damaged and only notes it; it would go on as a smear.
    if (received < 0 || frame->decode_error_flags || (frame->flags & AV_FRAME_FLAG_CORRUPT) ||
        !isWhole(*frame)) {
      return Failure{"The frame is damaged."};
    }
    latest = pictureOf(std::move(frame));
  }
}

void LibavVideoDecoder::flush() { avcodec_flush_buffers(codec_->context.get()); }

}  // namespace tevanto::phone

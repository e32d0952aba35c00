#include "platform/linux/video/LibavcodecEncoder.h"

#include <cerrno>
#include <utility>

#include "platform/linux/video/LibavLogCapture.h"
#include "platform/linux/video/LibavOwned.h"
#include "platform/linux/video/LibavcodecOptions.h"
#include "platform/linux/video/VaapiFrames.h"

namespace tevanto {
namespace {

using Picture = std::shared_ptr<const PixelBuffer>;

/// Holds the picture for as long as libav refers to it.
LibavOwned<AVBufferRef> bufferOf(const Picture& picture) {
  auto held = std::make_unique<Picture>(picture);
  auto* first = reinterpret_cast<std::uint8_t*>(picture->planes().front().data);
  const auto& last = picture->planes().back();
  const auto size = reinterpret_cast<std::uint8_t*>(last.data) + last.stride * last.rows - first;
  LibavOwned<AVBufferRef> buffer(av_buffer_create(
      first, static_cast<std::size_t>(size),
      [](void* opaque, std::uint8_t*) { delete static_cast<Picture*>(opaque); }, held.get(),
      AV_BUFFER_FLAG_READONLY));
  if (buffer) static_cast<void>(held.release());
  return buffer;
}

LibavOwned<AVFrame> frameOf(const Picture& picture) {
  LibavOwned<AVFrame> frame(av_frame_alloc());
  auto buffer = bufferOf(picture);
  if (!frame || !buffer) return nullptr;
  frame->buf[0] = buffer.release();
  frame->width = picture->width();
  frame->height = picture->height();
  frame->format = picture->format() == PixelFormat::i420 ? AV_PIX_FMT_YUV420P : AV_PIX_FMT_NV12;
  for (std::size_t i = 0; i < picture->planes().size(); ++i) {
    frame->data[i] = reinterpret_cast<std::uint8_t*>(picture->planes()[i].data);
    frame->linesize[i] = static_cast<int>(picture->planes()[i].stride);
  }
  frame->color_primaries = AVCOL_PRI_BT709;
  frame->color_trc = AVCOL_TRC_BT709;
  frame->colorspace = AVCOL_SPC_BT709;
  frame->color_range = AVCOL_RANGE_MPEG;
  return frame;
}

std::span<const std::byte> bytesOf(const std::uint8_t* data, int size) {
  return std::as_bytes(std::span(data, static_cast<std::size_t>(size)));
}

/// The library's own words where it said some, else what its number means.
Failure reason(const LibavLogCapture& log, int code) {
  return {log.firstError().empty() ? libavErrorText(code) : log.firstError()};
}

std::optional<double> quantizerOf(const AVPacket& packet) {
  std::size_t size = 0;
  const auto* statistics = av_packet_get_side_data(&packet, AV_PKT_DATA_QUALITY_STATS, &size);
  // In units of lambda, the lowest byte first.
  if (!statistics || size < 4) return std::nullopt;
  return 1.0 * (statistics[0] | statistics[1] << 8 | statistics[2] << 16 | statistics[3] << 24) /
         FF_QP2LAMBDA;
}

int openContext(AVCodecContext& context, const std::string& name) {
  AVDictionary* options = nullptr;
  for (const auto& [key, value] : privateOptions(name)) av_dict_set(&options, key.c_str(), value.c_str(), 0);
  const int code = avcodec_open2(&context, context.codec, &options);
  av_dict_free(&options);
  return code;
}

}  // namespace

struct LibavcodecEncoder::Codec {
  std::string name;
  LibavOwned<AVCodecContext> context;
  std::unique_ptr<VaapiFrames> device;  // for VA-API
  LibavOwned<AVPacket> packet{av_packet_alloc()};
  AccessUnit headers;  // the parameter sets that the encoder gave last
  std::int64_t frames = 0;
  std::optional<double> lastQuantizer;

  int send(const Picture& picture, bool forceKeyFrame);
  AccessUnit take();
};

int LibavcodecEncoder::Codec::send(const Picture& picture, bool forceKeyFrame) {
  auto frame = frameOf(picture);
  if (!frame) return AVERROR(ENOMEM);
  // Counted in frames: rate control then lets a second's data fall on a second's frames at the least, and a
  // pause in between never saves up for more.
  frame->pts = frames++;
  frame->pict_type = forceKeyFrame ? AV_PICTURE_TYPE_I : AV_PICTURE_TYPE_NONE;
  if (device) frame = device->upload(*frame);
  if (!frame) return AVERROR(EIO);
  return avcodec_send_frame(context.get(), frame.get());
}

AccessUnit LibavcodecEncoder::Codec::take() {
  lastQuantizer = quantizerOf(*packet);
  auto unit = AccessUnit::ofAnnexB(bytesOf(packet->data, packet->size));
  av_packet_unref(packet.get());
  if (unit.sps) headers.sps = unit.sps;
  if (unit.pps) headers.pps = unit.pps;
  if (unit.isIdr) {
    unit.sps = headers.sps;
    unit.pps = headers.pps;
  }
  return unit;
}

LibavcodecEncoder::LibavcodecEncoder(std::unique_ptr<Codec> codec) : codec_(std::move(codec)) {}
LibavcodecEncoder::~LibavcodecEncoder() = default;

std::optional<double> LibavcodecEncoder::lastQuantizer() const { return codec_->lastQuantizer; }

Result<std::unique_ptr<PictureEncoder>> LibavcodecEncoder::open(const std::string& name,
                                                                const EncoderSettings& settings) {
  const LibavLogCapture log;
  const auto* found = avcodec_find_encoder_by_name(name.c_str());
  if (!found) return Failure{"this libavcodec is built without it"};
  auto codec = std::make_unique<Codec>();
  codec->name = name;
  codec->context.reset(avcodec_alloc_context3(found));
  if (!codec->context || !codec->packet) return Failure{"out of memory"};
  applySettings(*codec->context, settings);
  if (name == "h264_vaapi") {
    auto device = VaapiFrames::attach(*codec->context);
    if (!device) return Failure{device.error()};
    codec->device = std::move(device).value();
  }
  if (const int code = openContext(*codec->context, name); code < 0) return reason(log, code);
  codec->headers = AccessUnit::ofAnnexB(bytesOf(codec->context->extradata, codec->context->extradata_size));
  return std::unique_ptr<PictureEncoder>(new LibavcodecEncoder(std::move(codec)));
}

Result<std::optional<AccessUnit>> LibavcodecEncoder::encode(std::shared_ptr<const PixelBuffer> picture,
                                                            bool forceKeyFrame) {
  const LibavLogCapture log;
  if (const int code = codec_->send(picture, forceKeyFrame); code < 0) return reason(log, code);
  const int code = avcodec_receive_packet(codec_->context.get(), codec_->packet.get());
  if (code == AVERROR(EAGAIN)) return std::optional<AccessUnit>();
  if (code < 0) return reason(log, code);
  return std::optional(codec_->take());
}

}  // namespace tevanto

#include "tests/support/video/H264TestDecoder.h"

extern "C" {
#include <libavcodec/avcodec.h>
}

#include <algorithm>
#include <cmath>
#include <cstring>
#include <utility>

namespace tevanto::test {
namespace {

constexpr std::uint8_t kStartCode[] = {0, 0, 0, 1};

void appendUnit(std::vector<std::uint8_t>& stream, std::span<const std::byte> unit) {
  stream.insert(stream.end(), std::begin(kStartCode), std::end(kStartCode));
  const auto* bytes = reinterpret_cast<const std::uint8_t*>(unit.data());
  stream.insert(stream.end(), bytes, bytes + unit.size());
}

std::vector<std::uint8_t> annexB(std::span<const std::byte> data) {
  std::vector<std::uint8_t> stream;
  while (data.size() >= 4) {
    std::size_t length = 0;
    for (int i = 0; i < 4; ++i) length = length << 8 | std::to_integer<std::size_t>(data[i]);
    data = data.subspan(4);
    length = std::min(length, data.size());
    appendUnit(stream, data.first(length));
    data = data.subspan(length);
  }
  return stream;
}

}  // namespace

double DecodedPicture::psnr(const PixelBuffer& original) const {
  if (original.width() != width || original.height() != height) return 0;
  const auto& plane = original.planes()[0];
  double squares = 0;
  for (std::size_t y = 0; y < plane.rows; ++y) {
    for (std::size_t x = 0; x < plane.rowBytes; ++x) {
      const double difference = std::to_integer<int>(plane.data[y * plane.stride + x]) -
                                static_cast<int>(luma[y * plane.rowBytes + x]);
      squares += difference * difference;
    }
  }
  if (squares == 0) return 99;
  return 10 * std::log10(255.0 * 255.0 * static_cast<double>(plane.rows * plane.rowBytes) / squares);
}

struct H264TestDecoder::Decoder {
  AVCodecContext* context = avcodec_alloc_context3(avcodec_find_decoder(AV_CODEC_ID_H264));
  AVPacket* packet = av_packet_alloc();
  AVFrame* frame = av_frame_alloc();
  std::vector<std::uint8_t> pending;  // parameter sets before the next picture
  int errors = 0;

  ~Decoder() {
    av_frame_free(&frame);
    av_packet_free(&packet);
    avcodec_free_context(&context);
  }
};

H264TestDecoder::H264TestDecoder() : decoder_(std::make_unique<Decoder>()) {
  decoder_->context->thread_count = 1;
  decoder_->context->err_recognition = AV_EF_EXPLODE;
  avcodec_open2(decoder_->context, decoder_->context->codec, nullptr);
}

H264TestDecoder::~H264TestDecoder() = default;

int H264TestDecoder::errors() const { return decoder_->errors; }

void H264TestDecoder::setParameterSets(std::span<const std::byte> sps, std::span<const std::byte> pps) {
  decoder_->pending.clear();
  appendUnit(decoder_->pending, sps);
  appendUnit(decoder_->pending, pps);
}

std::optional<DecodedPicture> H264TestDecoder::decode(std::span<const std::byte> data, std::int64_t time) {
  auto& [context, packet, frame, pending, errors] = *decoder_;
  auto stream = std::exchange(pending, {});
  const auto units = annexB(data);
  stream.insert(stream.end(), units.begin(), units.end());
  av_new_packet(packet, static_cast<int>(stream.size()));
  std::memcpy(packet->data, stream.data(), stream.size());
  packet->pts = packet->dts = time;
  if (avcodec_send_packet(context, packet) < 0) ++errors;
  av_packet_unref(packet);
  if (avcodec_receive_frame(context, frame) < 0) return std::nullopt;
  DecodedPicture picture;
  picture.width = frame->width;
  picture.height = frame->height;
  picture.isBt709Limited = frame->colorspace == AVCOL_SPC_BT709 && frame->color_range == AVCOL_RANGE_MPEG &&
                           frame->color_primaries == AVCOL_PRI_BT709 && frame->color_trc == AVCOL_TRC_BT709;
  picture.isReordered = context->has_b_frames > 0;
  picture.time = frame->pts;
  for (int y = 0; y < frame->height; ++y) {
    const auto* row = frame->data[0] + static_cast<std::ptrdiff_t>(y) * frame->linesize[0];
    picture.luma.insert(picture.luma.end(), row, row + frame->width);
  }
  av_frame_unref(frame);
  return picture;
}

}  // namespace tevanto::test

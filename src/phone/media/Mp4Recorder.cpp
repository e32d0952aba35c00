#include "phone/media/Mp4Recorder.h"

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
}

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <string>
#include <utility>
#include <vector>

namespace tevanto::phone {
namespace {

using Time = std::chrono::steady_clock::time_point;
using Bytes = std::vector<std::byte>;

constexpr int kTicksPerSecond = 90000;

struct FreeFormat {
  void operator()(AVFormatContext* context) const {
    if (context->pb) avio_closep(&context->pb);
    avformat_free_context(context);
  }
};
struct FreeOwnPacket {
  void operator()(AVPacket* packet) const { av_packet_free(&packet); }
};
struct FreeParameters {
  void operator()(AVCodecParameters* parameters) const { avcodec_parameters_free(&parameters); }
};

template <std::size_t kWidth>
void appendLengthAnd(Bytes& to, std::span<const std::byte> nalUnit) {
  for (std::size_t i = 0; i < kWidth; ++i) {
    to.push_back(static_cast<std::byte>((nalUnit.size() >> (8 * (kWidth - 1 - i))) & 0xFF));
  }
  to.insert(to.end(), nalUnit.begin(), nalUnit.end());
}

/// AVCDecoderConfigurationRecord (ISO/IEC 14496-15): profile and level from the SPS, lengths of 4 bytes.
Bytes configurationRecord(std::span<const std::byte> sps, std::span<const std::byte> pps) {
  Bytes record = {std::byte{1}, sps[1], sps[2], sps[3], std::byte{0xFF}, std::byte{0xE1}};
  appendLengthAnd<2>(record, sps);
  record.push_back(std::byte{1});
  appendLengthAnd<2>(record, pps);
  return record;
}

bool isSame(const Bytes& known, std::span<const std::byte> given) {
  return std::equal(known.begin(), known.end(), given.begin(), given.end());
}

}  // namespace

struct Mp4Recorder::File {
  struct Sample {
    Bytes data;
    bool isKeyframe = false;
    std::int64_t time = 0;  // ticks since the first
  };

  std::filesystem::path path;
  std::unique_ptr<AVFormatContext, FreeFormat> context;
  std::unique_ptr<AVPacket, FreeOwnPacket> packet{av_packet_alloc()};
  bool hasBegun = false;  // the track is there, and needs its end
  Bytes sps;
  Bytes pps;
  Time first;
  Sample pending;  // a sample is written when it is known how long it lasted

  Failure failure() const { return {path.string() + " cannot be written."}; }

  std::int64_t ticks(Time time) const {
    using Ticks = std::chrono::duration<std::int64_t, std::ratio<1, kTicksPerSecond>>;
    return std::chrono::duration_cast<Ticks>(time - first).count();
  }

  bool begin(const ReceivedFrame& frame);
  bool setParameters(AVCodecParameters& parameters, const ReceivedFrame& frame) const;
  bool writePending(std::int64_t end);
};

/// What is in the first key frame decides the track: size, profile and level.
bool Mp4Recorder::File::begin(const ReceivedFrame& frame) {
  constexpr std::size_t kSmallestSps = 4;
  if (frame.sps.size() < kSmallestSps) return false;
  sps.assign(frame.sps.begin(), frame.sps.end());
  pps.assign(frame.pps.begin(), frame.pps.end());
  first = frame.time;
  auto* stream = avformat_new_stream(context.get(), nullptr);
  if (!stream || !setParameters(*stream->codecpar, frame)) return false;
  stream->time_base = {1, kTicksPerSecond};
  hasBegun = avformat_write_header(context.get(), nullptr) >= 0;
  return hasBegun;
}

bool Mp4Recorder::File::setParameters(AVCodecParameters& parameters, const ReceivedFrame& frame) const {
  const auto record = configurationRecord(sps, pps);
  parameters.codec_type = AVMEDIA_TYPE_VIDEO;
  parameters.codec_id = AV_CODEC_ID_H264;
  parameters.width = frame.width;
  parameters.height = frame.height;
  parameters.extradata = static_cast<std::uint8_t*>(av_mallocz(record.size() + AV_INPUT_BUFFER_PADDING_SIZE));
  if (!parameters.extradata) return false;
  parameters.extradata_size = static_cast<int>(record.size());
  std::memcpy(parameters.extradata, record.data(), record.size());
  return true;
}

bool Mp4Recorder::File::writePending(std::int64_t end) {
  if (pending.data.empty()) return true;
  if (av_new_packet(packet.get(), static_cast<int>(pending.data.size())) < 0) return false;
  std::memcpy(packet->data, pending.data.data(), pending.data.size());
  packet->pts = packet->dts = pending.time;
  packet->duration = end - pending.time;
  packet->flags = pending.isKeyframe ? AV_PKT_FLAG_KEY : 0;
  av_packet_rescale_ts(packet.get(), {1, kTicksPerSecond}, context->streams[0]->time_base);
  const bool isWritten = av_write_frame(context.get(), packet.get()) >= 0;
  av_packet_unref(packet.get());
  return isWritten;
}

Result<std::unique_ptr<StreamRecorder>> Mp4Recorder::create(const std::filesystem::path& path) {
  auto file = std::make_unique<File>();
  file->path = path;
  AVFormatContext* context = nullptr;
  if (avformat_alloc_output_context2(&context, nullptr, "mp4", path.c_str()) < 0) {
    return Failure{"This system's libavformat writes no MP4."};
  }
  file->context.reset(context);
  if (avio_open(&context->pb, path.c_str(), AVIO_FLAG_WRITE) < 0) return file->failure();
  return std::unique_ptr<StreamRecorder>(new Mp4Recorder(std::move(file)));
}

Mp4Recorder::Mp4Recorder(std::unique_ptr<File> file) : file_(std::move(file)) {}
Mp4Recorder::~Mp4Recorder() = default;

Result<void> Mp4Recorder::write(const ReceivedFrame& frame) {
  auto& file = *file_;
  if (!file.hasBegun && (!frame.isKeyframe || frame.width == 0)) return {};
  if (!file.hasBegun && !file.begin(frame)) return file.failure();
  // Frames that arrive together still need times that increase.
  const auto time = file.pending.data.empty() ? 0 : std::max(file.ticks(frame.time), file.pending.time + 1);
  if (!file.writePending(time)) return file.failure();
  file.pending = {{}, frame.isKeyframe, time};
  if (frame.isKeyframe && !(isSame(file.sps, frame.sps) && isSame(file.pps, frame.pps))) {
    appendLengthAnd<4>(file.pending.data, frame.sps);  // they have changed since the track began
    appendLengthAnd<4>(file.pending.data, frame.pps);
  }
  file.pending.data.insert(file.pending.data.end(), frame.data.begin(), frame.data.end());
  return {};
}

Result<void> Mp4Recorder::finish(Time end) {
  auto& file = *file_;
  if (!file.hasBegun) return file.failure();
  const auto time = std::max(file.ticks(end), file.pending.time + 1);
  if (!file.writePending(time) || av_write_trailer(file.context.get()) < 0) return file.failure();
  if (avio_closep(&file.context->pb) < 0) return file.failure();
  return {};
}

}  // namespace tevanto::phone

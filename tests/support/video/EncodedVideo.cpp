#include "tests/support/video/EncodedVideo.h"

#include <fstream>
#include <iterator>
#include <stdexcept>

#include "screen/wire/ScreenStreamMessage.h"
#include "tests/support/programs/ChildProcess.h"
#include "tests/support/programs/TemporaryFolder.h"

namespace tevanto::test {
namespace {

std::string encode(const std::string& graph, int frames, int interval, int slices) {
  const TemporaryFolder folder;
  const auto file = (folder / "video.h264").string();
  // With delimiters, which tell where a frame begins, and which are left out of what is sent.
  const auto parameters =
      "aud=1:bframes=0:scenecut=0:threads=1:repeat-headers=1:keyint=" + std::to_string(interval) +
      ":slices=" + std::to_string(slices);
  const auto made = runProgram({"ffmpeg",
                                "-nostdin",
                                "-v",
                                "error",
                                "-f",
                                "lavfi",
                                "-i",
                                graph,
                                "-frames:v",
                                std::to_string(frames),
                                "-vf",
                                "scale=out_color_matrix=bt709:out_range=tv,format=yuv420p",
                                "-c:v",
                                "libx264",
                                "-profile:v",
                                "main",
                                "-preset",
                                "superfast",
                                "-qp",
                                "12",
                                "-x264-params",
                                parameters,
                                "-f",
                                "h264",
                                file},
                               {.mergeErrors = true});
  if (made.exitStatus != 0) throw std::runtime_error("ffmpeg: " + made.output);
  std::ifstream stream(file, std::ios::binary);
  return {std::istreambuf_iterator<char>(stream), {}};
}

std::vector<std::string> nalUnits(const std::string& stream) {
  std::vector<std::string> units;
  const std::string startCode("\0\0\1", 3);
  for (auto at = stream.find(startCode); at != std::string::npos;) {
    const auto begin = at + startCode.size();
    at = stream.find(startCode, begin);
    auto unit = stream.substr(begin, at == std::string::npos ? at : at - begin);
    while (!unit.empty() && unit.back() == 0) unit.pop_back();
    units.push_back(std::move(unit));
  }
  return units;
}

}  // namespace

EncodedVideo EncodedVideo::make(const std::string& graph, int frames, int interval, int slices) {
  constexpr int kIdr = 5, kSps = 7, kPps = 8, kDelimiter = 9;
  EncodedVideo video;
  for (const auto& unit : nalUnits(encode(graph, frames, interval, slices))) {
    const int type = unit.empty() ? 0 : unit[0] & 0x1F;
    if (type == kDelimiter) video.frames.emplace_back();
    if (type == kSps) video.sps = bytesOf(unit);
    if (type == kPps) video.pps = bytesOf(unit);
    if (type == kDelimiter || type == kSps || type == kPps || video.frames.empty()) continue;
    auto& frame = video.frames.back();
    frame.isKeyframe = frame.isKeyframe || type == kIdr;
    const auto framed = bytesOf(frameText(bytesOf(unit)));
    frame.data.insert(frame.data.end(), framed.begin(), framed.end());
  }
  if (video.frames.size() != static_cast<std::size_t>(frames))
    throw std::runtime_error("ffmpeg made too few frames");
  return video;
}

Bytes EncodedVideo::Frame::message() const { return videoFrameMessage(data, isKeyframe); }

Bytes EncodedVideo::parameterSets() const { return parameterSetMessage(sps, pps); }

std::vector<Bytes> EncodedVideo::messages(std::size_t first, std::size_t count) const {
  std::vector<Bytes> all = {parameterSets()};
  for (std::size_t i = first; i < first + count; ++i) all.push_back(frames.at(i).message());
  return all;
}

}  // namespace tevanto::test

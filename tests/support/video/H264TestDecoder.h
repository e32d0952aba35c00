#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <vector>

#include "screen/picture/PixelBuffer.h"

namespace tevanto::test {

/// A decoded picture: its planes Y, U, V without padding.
struct DecodedPicture {
  int width = 0;
  int height = 0;
  bool isBt709Limited = false;
  bool isReordered = false;  // the decoder expects pictures out of their order
  std::int64_t time = 0;     // that was given with its data
  std::vector<std::uint8_t> luma;

  /// Peak signal to noise ratio of the luma, in decibels; 99 for an exact copy.
  double psnr(const PixelBuffer& original) const;
};

/// Decodes the stream as a phone does, by libavcodec.
class H264TestDecoder {
 public:
  H264TestDecoder();
  ~H264TestDecoder();

  void setParameterSets(std::span<const std::byte> sps, std::span<const std::byte> pps);
  /// Length-prefixed NAL units of one picture; the picture that comes out for it at once.
  std::optional<DecodedPicture> decode(std::span<const std::byte> data, std::int64_t time = 0);
  /// Errors in the stream so far.
  int errors() const;

 private:
  struct Decoder;
  std::unique_ptr<Decoder> decoder_;
};

}  // namespace tevanto::test

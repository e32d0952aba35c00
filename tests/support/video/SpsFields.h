#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

namespace tevanto::test {

/// What a sequence parameter set says (H.264, 7.3.2.1.1 and E.1.1), read without the encoder's library. Only
/// for profiles without chroma_format_idc: Baseline and Main.
class SpsFields {
 public:
  int profile = 0;
  int constraints = 0;  // constraint_set0_flag is the highest of the 8 bits
  int level = 0;
  int frameNumberBits = 0;
  int pocType = 0;
  int references = 0;
  int width = 0;
  int height = 0;
  bool isFullRange = true;
  std::optional<int> primaries;
  std::optional<int> transfer;
  std::optional<int> matrix;
  std::optional<int> maxReordered;

  static SpsFields parse(std::span<const std::byte> sps) {
    SpsFields fields;
    Bits bits(sps.subspan(1));
    fields.profile = bits.take(8);
    fields.constraints = bits.take(8);
    fields.level = bits.take(8);
    bits.exponential();  // seq_parameter_set_id
    fields.frameNumberBits = bits.exponential() + 4;
    fields.parseOrderCount(bits);
    fields.parseSize(bits);
    if (bits.take(1)) fields.parseUsability(bits);
    return fields;
  }
  /// idr_pic_id of a key frame's slice (7.3.3), a stream of frames.
  int idrPictureIdIn(std::span<const std::byte> slice) const {
    Bits bits(slice.subspan(1));
    for (int field = 0; field < 3; ++field) bits.exponential();
    bits.take(frameNumberBits);
    return bits.exponential();
  }

 private:
  class Bits {
   public:
    explicit Bits(std::span<const std::byte> payload) {
      int zeros = 0;
      for (const auto byte : payload) {
        const bool isPrevention = zeros >= 2 && byte == std::byte{3};
        zeros = byte == std::byte{0} ? zeros + 1 : 0;
        if (!isPrevention) bytes_.push_back(byte);
      }
    }
    int take(int count) {
      int value = 0;
      for (; count > 0; --count, ++position_) {
        const auto byte = position_ / 8 < bytes_.size() ? std::to_integer<int>(bytes_[position_ / 8]) : 0;
        value = value << 1 | (byte >> (7 - position_ % 8) & 1);
      }
      return value;
    }
    int exponential() {
      int zeros = 0;
      while (zeros < 31 && take(1) == 0) ++zeros;
      return (1 << zeros) - 1 + take(zeros);
    }

   private:
    std::vector<std::byte> bytes_;
    std::size_t position_ = 0;
  };

  void parseOrderCount(Bits& bits) {
    pocType = bits.exponential();
    if (pocType == 0) bits.exponential();
    references = bits.exponential();
    bits.take(1);  // gaps_in_frame_num_value_allowed_flag
  }

  void parseSize(Bits& bits) {
    width = 16 * (bits.exponential() + 1);
    height = 16 * (bits.exponential() + 1);
    if (!bits.take(1)) bits.take(1);  // frame_mbs_only_flag, mb_adaptive_frame_field_flag
    bits.take(1);                     // direct_8x8_inference_flag
    if (!bits.take(1)) return;
    const int left = bits.exponential();
    const int right = bits.exponential();
    const int top = bits.exponential();
    const int bottom = bits.exponential();
    width -= 2 * (left + right);
    height -= 2 * (top + bottom);
  }

  void parseUsability(Bits& bits) {
    if (bits.take(1) && bits.take(8) == 255) bits.take(32);  // aspect ratio
    if (bits.take(1)) bits.take(1);                          // overscan
    if (bits.take(1)) parseSignal(bits);
    if (bits.take(1)) bits.exponential(), bits.exponential();  // chroma sample location
    if (bits.take(1)) bits.take(32), bits.take(32), bits.take(1);
    if (bits.take(1) || bits.take(1)) return;  // hypothetical reference decoder: not expected
    bits.take(1);                              // pic_struct_present_flag
    if (!bits.take(1)) return;
    bits.take(1);
    for (int skipped = 0; skipped < 4; ++skipped) bits.exponential();
    maxReordered = bits.exponential();
  }

  void parseSignal(Bits& bits) {
    bits.take(3);  // video_format
    isFullRange = bits.take(1) != 0;
    if (!bits.take(1)) return;
    primaries = bits.take(8);
    transfer = bits.take(8);
    matrix = bits.take(8);
  }
};

}  // namespace tevanto::test

#include "screen/encode/IdrPictureId.h"

#include <bit>
#include <cstddef>
#include <optional>
#include <span>
#include <vector>

#include "screen/wire/BigEndian.h"

namespace tevanto {
namespace {

using Bytes = std::vector<std::byte>;

constexpr std::size_t kLengthBytes = 4;
constexpr int kMainProfile = 77;
constexpr std::byte kEscape{3};

/// A NAL unit without the bytes that keep start codes out of it (7.4.1).
Bytes unescaped(std::span<const std::byte> unit) {
  Bytes bytes;
  bytes.reserve(unit.size());
  int zeros = 0;
  for (const auto byte : unit) {
    if (zeros >= 2 && byte == kEscape) {
      zeros = 0;
      continue;
    }
    zeros = byte == std::byte{0} ? zeros + 1 : 0;
    bytes.push_back(byte);
  }
  return bytes;
}

void appendEscaped(Bytes& out, std::span<const std::byte> bytes) {
  int zeros = 0;
  for (const auto byte : bytes) {
    if (zeros >= 2 && byte <= kEscape) {
      out.push_back(kEscape);
      zeros = 0;
    }
    zeros = byte == std::byte{0} ? zeros + 1 : 0;
    out.push_back(byte);
  }
}

/// Reads bits; past the end they are zero, and `isValid` tells.
class BitReader {
 public:
  explicit BitReader(std::span<const std::byte> bytes) : bytes_(bytes) {}

  std::size_t position() const { return at_; }
  std::size_t size() const { return bytes_.size() * 8; }
  bool isValid() const { return at_ <= size(); }
  std::uint32_t bit() {
    const auto at = at_++;
    if (at >= size()) return 0;
    return std::to_integer<std::uint32_t>(bytes_[at / 8]) >> (7 - at % 8) & 1U;
  }
  std::uint32_t bits(std::uint32_t count) {
    std::uint32_t value = 0;
    while (count-- > 0) value = value << 1 | bit();
    return value;
  }
  /// An unsigned Exp-Golomb code (9.1).
  std::uint32_t golomb() {
    std::uint32_t zeros = 0;
    while (zeros < 31 && isValid() && bit() == 0) ++zeros;
    return (1U << zeros) - 1 + bits(zeros);
  }

 private:
  std::span<const std::byte> bytes_;
  std::size_t at_ = 0;
};

class BitWriter {
 public:
  void bit(std::uint32_t value) {
    if (used_ == 0) bytes_.push_back(std::byte{0});
    bytes_.back() |= static_cast<std::byte>(value << (7 - used_));
    used_ = (used_ + 1) % 8;
  }
  void golomb(std::uint32_t value) {
    const auto width = static_cast<std::uint32_t>(std::bit_width(value + 1));
    for (std::uint32_t i = 1; i < width; ++i) bit(0);
    for (auto i = width; i-- > 0;) bit((value + 1) >> i & 1U);
  }
  /// All bits of `from` from `begin` on; by bytes, as there are very many.
  void rest(std::span<const std::byte> from, std::size_t begin) {
    for (; begin % 8 != 0 && begin < from.size() * 8; ++begin) {
      bit(std::to_integer<std::uint32_t>(from[begin / 8]) >> (7 - begin % 8) & 1U);
    }
    for (const auto byte : from.subspan(begin / 8)) {
      if (used_ == 0) {
        bytes_.push_back(byte);
      } else {
        bytes_.back() |= byte >> used_;
        bytes_.push_back(byte << (8 - used_));
      }
    }
  }
  /// Without the zeros behind the bit that ends a slice (7.3.2.11).
  Bytes take() {
    while (!bytes_.empty() && bytes_.back() == std::byte{0}) bytes_.pop_back();
    return std::move(bytes_);
  }

 private:
  Bytes bytes_;
  int used_ = 0;  // bits of the last byte
};

bool hasArithmeticCoding(std::span<const std::byte> pps) {
  const auto bytes = unescaped(pps.subspan(1));
  BitReader reader(bytes);
  reader.golomb();  // its own number
  reader.golomb();  // that of its sequence parameter set
  return reader.bit() != 0;
}

/// How many bits frame_num has in the slices; absent for streams of another kind.
std::optional<std::uint32_t> frameNumberBits(std::span<const std::byte> sps) {
  const auto bytes = unescaped(sps.subspan(1));
  BitReader reader(bytes);
  if (reader.bits(8) > kMainProfile) return std::nullopt;
  reader.bits(16);  // constraints, level
  reader.golomb();  // its own number
  const auto count = reader.golomb() + 4;
  const auto orderType = reader.golomb();
  if (orderType == 1) return std::nullopt;
  if (orderType == 0) reader.golomb();
  reader.golomb();  // reference frames
  reader.bit();     // gaps in frame_num
  reader.golomb();  // width
  reader.golomb();  // height
  const bool framesOnly = reader.bit() != 0;
  if (!framesOnly || !reader.isValid() || count > 16) return std::nullopt;
  return count;
}

/// Where the bit is that ends a slice's data, its last 1 (7.3.2.11); 0 when there is none.
std::size_t stopBitOf(std::span<const std::byte> bytes) {
  while (!bytes.empty() && bytes.back() == std::byte{0}) bytes = bytes.first(bytes.size() - 1);
  if (bytes.empty()) return 0;
  return bytes.size() * 8 - 1 -
         static_cast<std::size_t>(std::countr_zero(std::to_integer<unsigned>(bytes.back())));
}

/// Nothing when the slice ends within its header.
std::optional<Bytes> withId(std::span<const std::byte> slice, std::uint32_t frameNumberWidth,
                            std::uint16_t id) {
  const auto bytes = unescaped(slice.subspan(1));
  BitReader reader(bytes);
  for (int field = 0; field < 3; ++field) reader.golomb();  // first macroblock, type, picture parameter set
  reader.bits(frameNumberWidth);
  const auto before = reader.position();
  reader.golomb();
  if (reader.position() > stopBitOf(bytes)) return std::nullopt;
  BitReader copied(bytes);
  BitWriter writer;
  while (copied.position() < before) writer.bit(copied.bit());
  writer.golomb(id);
  writer.rest(bytes, reader.position());
  return writer.take();
}

void appendUnit(Bytes& out, std::byte header, std::span<const std::byte> payload) {
  const auto begin = out.size();
  out.resize(begin + kLengthBytes);
  out.push_back(header);
  appendEscaped(out, payload);
  const auto length = bigEndian(static_cast<std::uint32_t>(out.size() - begin - kLengthBytes));
  std::copy(length.begin(), length.end(), out.begin() + static_cast<std::ptrdiff_t>(begin));
}

}  // namespace

bool setIdrPictureId(AccessUnit& unit, std::uint16_t id) {
  if (!unit.isIdr || !unit.sps || !unit.pps || unit.sps->empty() || unit.pps->empty()) return false;
  const auto width = frameNumberBits(*unit.sps);
  if (!width || hasArithmeticCoding(*unit.pps)) return false;
  Bytes out;
  out.reserve(unit.data.size() + 16);
  for (std::span<const std::byte> left = unit.data; left.size() > kLengthBytes;) {
    const auto length = readBigEndian<std::uint32_t>(left);
    if (length == 0 || length > left.size() - kLengthBytes) return false;
    const auto nal = left.subspan(kLengthBytes, length);
    if (nalUnitType(nal) == NalUnitType::idrSlice) {
      const auto slice = withId(nal, *width, id);
      if (!slice) return false;
      appendUnit(out, nal.front(), *slice);
    } else {
      const auto whole = left.first(kLengthBytes + length);
      out.insert(out.end(), whole.begin(), whole.end());
    }
    left = left.subspan(kLengthBytes + length);
  }
  unit.data = std::move(out);
  return true;
}

}  // namespace tevanto

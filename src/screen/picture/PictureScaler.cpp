#include "screen/picture/PictureScaler.h"

#include <algorithm>
#include <cstring>

#include "screen/picture/PixelRows.h"

namespace tevanto {
namespace {

constexpr int kBlock = 8;  // pixels that are scaled at a time
constexpr int kBlackLuma = 16;
constexpr int kNoChroma = 128;

int even(std::int64_t length) { return static_cast<int>(length & ~std::int64_t{1}); }

// A difference of a pixel or two comes from making sides even, and is stretched away.
PixelRect fitted(std::int64_t sourceWidth, std::int64_t sourceHeight, int width, int height) {
  constexpr int kRounding = 2;
  const auto fittedHeight = (width * sourceHeight + sourceWidth / 2) / sourceWidth;
  if (fittedHeight < height - kRounding) {
    const int rows = std::max(2, even(fittedHeight));
    return {0, even((height - rows) / 2), width, rows};
  }
  const auto fittedWidth = (height * sourceWidth + sourceHeight / 2) / sourceHeight;
  if (fittedWidth < width - kRounding) {
    const int columns = std::max(2, even(fittedWidth));
    return {even((width - columns) / 2), 0, columns, height};
  }
  return {0, 0, width, height};
}

// An odd side that was made even loses its last pixel rather than its sharpness.
int covered(int source, int output) { return source == output + 1 ? output : source; }

std::size_t bytesOf(int pixels) { return static_cast<std::size_t>(pixels) * 4; }

std::uint8_t* at(const PixelPlane& plane, int x, int y) {
  return reinterpret_cast<std::uint8_t*>(plane.data) + static_cast<std::size_t>(y) * plane.stride + x;
}

void fill(const PixelPlane& plane, int value) {
  for (std::size_t y = 0; y < plane.rows; ++y)
    std::memset(plane.data + y * plane.stride, value, plane.rowBytes);
}

}  // namespace

PictureScaler::PictureScaler(int sourceWidth, int sourceHeight, int outputWidth, int outputHeight)
    : PictureScaler(sourceWidth, sourceHeight, outputWidth, outputHeight, pixelRows()) {}

PictureScaler::PictureScaler(int sourceWidth, int sourceHeight, int outputWidth, int outputHeight,
                             const PixelRows& rows)
    : rows_(rows),
      viewport_(fitted(sourceWidth, sourceHeight, outputWidth, outputHeight)),
      columns_(covered(sourceWidth, viewport_.width), viewport_.width),
      lines_(covered(sourceHeight, viewport_.height), viewport_.height),
      blended_(bytesOf(sourceWidth + columns_.taps)),
      upper_(bytesOf(viewport_.width)),
      lower_(bytesOf(viewport_.width)),
      cb_(static_cast<std::size_t>(viewport_.width)),
      cr_(static_cast<std::size_t>(viewport_.width)),
      blendFrom_(static_cast<std::size_t>(lines_.taps)) {}

PixelRect PictureScaler::outputOf(const PixelRect& source) const {
  const int left = columns_.outputBegin(source.x) & ~1;
  const int top = lines_.outputBegin(source.y) & ~1;
  const int right = std::min(viewport_.width, columns_.outputEnd(source.x + source.width) + 1) & ~1;
  const int bottom = std::min(viewport_.height, lines_.outputEnd(source.y + source.height) + 1) & ~1;
  return {viewport_.x + left, viewport_.y + top, std::max(0, right - left), std::max(0, bottom - top)};
}

void PictureScaler::draw(const std::byte* source, std::size_t stride, const PixelRect& part,
                         PixelBuffer& buffer) {
  if (part.width <= 0 || part.height <= 0) return;
  const int left = part.x - viewport_.x;
  const Pass pass{reinterpret_cast<const std::uint8_t*>(source), stride, left, left + part.width};
  const int top = part.y - viewport_.y;
  for (int y = top; y < top + part.height; y += 2) {
    const auto* upper = row(pass, y, upper_);
    write(pass, y, upper, row(pass, y + 1, lower_), buffer);
  }
}

// A row of the viewport from its column 0 on, of which only the pass's columns are filled in.
const std::uint8_t* PictureScaler::row(const Pass& pass, int y, std::vector<std::uint8_t>& scratch) {
  const auto* blended = blendedRow(pass, y);
  if (columns_.isIdentity()) {
    if (blended != blended_.data()) return blended;
    std::memcpy(scratch.data() + bytesOf(pass.begin), blended + bytesOf(pass.begin),
                bytesOf(pass.end - pass.begin));
    return scratch.data();
  }
  const int whole = (pass.end - pass.begin) / kBlock * kBlock;
  const auto scale = [&](const PixelRows& rows, int begin, int count) {
    rows.scale(blended, columns_.first.data() + begin, columns_.weightsOf(begin), columns_.taps, count,
               scratch.data() + bytesOf(begin));
  };
  scale(rows_, pass.begin, whole);
  scale(portablePixelRows(), pass.begin + whole, pass.end - pass.begin - whole);
  return scratch.data();
}

// A row of the source's width, of which only the columns that the pass needs are filled in.
const std::uint8_t* PictureScaler::blendedRow(const Pass& pass, int y) {
  const int firstLine = lines_.isIdentity() ? y : lines_.first[static_cast<std::size_t>(y)];
  const auto* source = pass.source + static_cast<std::size_t>(firstLine) * pass.stride;
  if (lines_.isIdentity() && columns_.isIdentity()) return source;
  const int begin = columns_.isIdentity() ? pass.begin : columns_.first[static_cast<std::size_t>(pass.begin)];
  const int last = columns_.isIdentity() ? pass.end : columns_.first[static_cast<std::size_t>(pass.end - 1)];
  const int end = std::min(columns_.sourceLength, last + columns_.taps);
  auto* out = blended_.data() + bytesOf(begin);
  if (lines_.isIdentity()) {
    std::memcpy(out, source + bytesOf(begin), bytesOf(end - begin));
    return blended_.data();
  }
  const auto* weights = lines_.weightsOf(y);
  int count = lines_.taps;
  while (weights[count - 1] == 0) --count;
  for (std::size_t i = 0; i < static_cast<std::size_t>(count); ++i) {
    blendFrom_[i] = source + i * pass.stride + bytesOf(begin);
  }
  rows_.blend(blendFrom_.data(), weights, count, bytesOf(end - begin), out);
  return blended_.data();
}

void PictureScaler::write(const Pass& pass, int y, const std::uint8_t* upper, const std::uint8_t* lower,
                          PixelBuffer& buffer) {
  const auto& plane = buffer.planes()[0];
  const int x = viewport_.x + pass.begin;
  const int count = pass.end - pass.begin;
  upper += bytesOf(pass.begin);
  lower += bytesOf(pass.begin);
  if (buffer.format() == PixelFormat::bgra) {
    std::memcpy(at(plane, x * 4, viewport_.y + y), upper, bytesOf(count));
    std::memcpy(at(plane, x * 4, viewport_.y + y + 1), lower, bytesOf(count));
    return;
  }
  rows_.luma(upper, count, at(plane, x, viewport_.y + y));
  rows_.luma(lower, count, at(plane, x, viewport_.y + y + 1));
  writeChroma(pass, y, upper, lower, buffer);
}

void PictureScaler::writeChroma(const Pass& pass, int y, const std::uint8_t* upper, const std::uint8_t* lower,
                                PixelBuffer& buffer) {
  const auto planes = buffer.planes();
  const int x = viewport_.x + pass.begin;
  const int line = (viewport_.y + y) / 2;
  const int count = (pass.end - pass.begin) / 2;
  if (buffer.format() == PixelFormat::i420) {
    rows_.chroma(upper, lower, count, at(planes[1], x / 2, line), at(planes[2], x / 2, line));
    return;
  }
  rows_.chroma(upper, lower, count, cb_.data(), cr_.data());
  auto* out = at(planes[1], x, line);
  for (int i = 0; i < count; ++i) {
    out[2 * i] = cb_[static_cast<std::size_t>(i)];
    out[2 * i + 1] = cr_[static_cast<std::size_t>(i)];
  }
}

void PictureScaler::clear(PixelBuffer& buffer) {
  const auto planes = buffer.planes();
  const bool rgb = buffer.format() == PixelFormat::bgra;
  for (std::size_t i = 0; i < planes.size(); ++i) fill(planes[i], rgb ? 0 : i == 0 ? kBlackLuma : kNoChroma);
}

}  // namespace tevanto

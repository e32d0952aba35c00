#include "phone/media/PngFile.h"

#include <png.h>

extern "C" {
#include <libswscale/swscale.h>
}

#include <array>
#include <cstdint>
#include <memory>
#include <vector>

namespace tevanto::phone {
namespace {

struct FreeConverter {
  void operator()(SwsContext* context) const { sws_freeContext(context); }
};

/// Rows of red, green and blue; empty when there is no conversion.
std::vector<std::uint8_t> asRgb(const DecodedPicture& picture) {
  constexpr int kAccurate = SWS_BICUBIC | SWS_ACCURATE_RND | SWS_FULL_CHR_H_INT | SWS_FULL_CHR_H_INP;
  const std::unique_ptr<SwsContext, FreeConverter> scaler(
      sws_getContext(picture.width, picture.height, AV_PIX_FMT_YUV420P, picture.width, picture.height,
                     AV_PIX_FMT_RGB24, kAccurate, nullptr, nullptr, nullptr));
  if (!scaler) return {};
  const auto* matrix = sws_getCoefficients(SWS_CS_ITU709);
  sws_setColorspaceDetails(scaler.get(), matrix, 0, matrix, 1, 0, 1 << 16, 1 << 16);
  std::array<const std::uint8_t*, 4> planes{};
  std::array<int, 4> strides{};
  for (std::size_t i = 0; i < picture.planes.size(); ++i) {
    planes[i] = reinterpret_cast<const std::uint8_t*>(picture.planes[i].data);
    strides[i] = static_cast<int>(picture.planes[i].stride);
  }
  std::vector<std::uint8_t> rgb(std::size_t{3} * static_cast<std::size_t>(picture.width) *
                                static_cast<std::size_t>(picture.height));
  std::array<std::uint8_t*, 4> rows = {rgb.data()};
  std::array<int, 4> rowStrides = {3 * picture.width};
  const int done = sws_scale(scaler.get(), planes.data(), strides.data(), 0, picture.height, rows.data(),
                             rowStrides.data());
  if (done != picture.height) return {};
  return rgb;
}

}  // namespace

Result<void> writePngFile(const DecodedPicture& picture, const std::filesystem::path& path) {
  const auto rgb = asRgb(picture);
  if (rgb.empty()) return Failure{"The picture cannot be converted for " + path.string() + "."};
  png_image image{};
  image.version = PNG_IMAGE_VERSION;
  image.width = static_cast<png_uint_32>(picture.width);
  image.height = static_cast<png_uint_32>(picture.height);
  image.format = PNG_FORMAT_RGB;
  if (!png_image_write_to_file(&image, path.c_str(), 0, rgb.data(), 0, nullptr)) {
    return Failure{path.string() + " cannot be written: " + image.message + "."};
  }
  return {};
}

}  // namespace tevanto::phone

#include "platform/linux/desktop/applications/IconRenderer.h"

#include <fcntl.h>
#include <gdk-pixbuf/gdk-pixbuf.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cmath>

#include "core/Descriptor.h"
#include "platform/linux/desktop/GlibOwned.h"

namespace tevanto {
namespace {

constexpr off_t kMaxIconBytes = 16 * 1024 * 1024;
constexpr int kMaxSide = 4096;

using Pixbuf = GObjectOwned<GdkPixbuf>;

struct Fit {
  int width;
  int height;
};

Fit fit(int width, int height, int pixels) {
  const double scale = static_cast<double>(pixels) / std::max(width, height);
  const auto side = [&](int length) {
    return std::clamp(static_cast<int>(std::lround(length * scale)), 1, pixels);
  };
  return {side(width), side(height)};
}

/// Decodes one file. Drawings are drawn at the size that is wanted; pictures are decoded as they are.
class Decoder {
 public:
  explicit Decoder(int pixels) : pixels_(pixels), loader_(gdk_pixbuf_loader_new()) {
    g_signal_connect(loader_.get(), "size-prepared",
                     G_CALLBACK(+[](GdkPixbufLoader*, int width, int height, void* self) {
                       static_cast<Decoder*>(self)->sizePrepared(width, height);
                     }),
                     this);
  }
  ~Decoder() {
    if (!closed_) gdk_pixbuf_loader_close(loader_.get(), nullptr);
  }
  Decoder(const Decoder&) = delete;
  Decoder& operator=(const Decoder&) = delete;

  /// Nothing is looked up beside the file: the loader gets bytes, and does not know where they come from.
  Pixbuf decode(int descriptor) {
    std::array<guchar, 16384> block;
    while (true) {
      const auto size = ::read(descriptor, block.data(), block.size());
      if (size < 0) return {};
      if (size == 0) break;
      if (!gdk_pixbuf_loader_write(loader_.get(), block.data(), static_cast<gsize>(size), nullptr)) return {};
      if (tooLarge_) return {};
    }
    closed_ = true;
    if (!gdk_pixbuf_loader_close(loader_.get(), nullptr) || tooLarge_) return {};
    auto* pixbuf = gdk_pixbuf_loader_get_pixbuf(loader_.get());
    if (!pixbuf) return {};
    return Pixbuf(gdk_pixbuf_apply_embedded_orientation(pixbuf));
  }

 private:
  void sizePrepared(int width, int height) {
    auto* format = gdk_pixbuf_loader_get_format(loader_.get());
    const bool drawing = format && gdk_pixbuf_format_is_scalable(format);
    if (width < 1 || height < 1 || (!drawing && std::max(width, height) > kMaxSide)) {
      tooLarge_ = true;
      gdk_pixbuf_loader_set_size(loader_.get(), 0, 0);  // makes the loader give up before it has decoded
    } else if (drawing) {
      const auto size = fit(width, height, pixels_);
      gdk_pixbuf_loader_set_size(loader_.get(), size.width, size.height);
    }
  }

  const int pixels_;
  const GObjectOwned<GdkPixbufLoader> loader_;
  bool tooLarge_ = false;
  bool closed_ = false;
};

Pixbuf squared(const Pixbuf& image, int pixels) {
  const int width = gdk_pixbuf_get_width(image.get());
  const int height = gdk_pixbuf_get_height(image.get());
  const auto size = fit(width, height, pixels);
  Pixbuf square(gdk_pixbuf_new(GDK_COLORSPACE_RGB, TRUE, 8, pixels, pixels));
  if (!square) return {};
  gdk_pixbuf_fill(square.get(), 0);
  const int left = (pixels - size.width) / 2;
  const int top = (pixels - size.height) / 2;
  gdk_pixbuf_scale(image.get(), square.get(), left, top, size.width, size.height, left, top,
                   static_cast<double>(size.width) / width, static_cast<double>(size.height) / height,
                   GDK_INTERP_BILINEAR);
  return square;
}

std::optional<std::vector<std::byte>> encode(const Pixbuf& image) {
  char* data = nullptr;
  gsize size = 0;
  if (!gdk_pixbuf_save_to_buffer(image.get(), &data, &size, "png", nullptr, nullptr)) return {};
  const GlibText owned(data);
  const auto* bytes = reinterpret_cast<const std::byte*>(data);
  return std::vector<std::byte>(bytes, bytes + size);
}

}  // namespace

std::optional<std::vector<std::byte>> renderIcon(const std::string& path, int pixels) {
  // Opened without waiting: a pipe under an icon's name has no writer.
  const Descriptor file(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
  struct stat status {};
  if (file.get() < 0 || ::fstat(file.get(), &status) != 0) return {};
  if (!S_ISREG(status.st_mode) || status.st_size > kMaxIconBytes) return {};
  const auto image = Decoder(pixels).decode(file.get());
  const auto square = image ? squared(image, pixels) : Pixbuf();
  return square ? encode(square) : std::nullopt;
}

}  // namespace tevanto

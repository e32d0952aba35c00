#pragma once

#include <gdk-pixbuf/gdk-pixbuf.h>

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include "platform/linux/desktop/applications/DesktopFolders.h"
#include "tests/support/programs/TemporaryFolder.h"

namespace tevanto::test {

/// A desktop's files of the test's own: a home and two system folders, "first" and "second", filled by the
/// test.
class DesktopFixture {
 public:
  DesktopFolders folders() const {
    return {path("home"), path("data"), {path("first"), path("second")}, path("config"), {path("etc")}};
  }
  std::string path(const std::string& below) const { return root_ / below; }

  std::string write(const std::string& below, const std::string& text) const {
    const auto file = root_ / below;
    std::filesystem::create_directories(file.parent_path());
    std::ofstream(file, std::ios::binary) << text;
    return file;
  }
  /// A desktop entry under the given data folder with `lines` in its group.
  std::string writeEntry(const std::string& dataFolder, const std::string& id,
                         const std::string& lines) const {
    return write(dataFolder + "/applications/" + id, "[Desktop Entry]\nType=Application\n" + lines);
  }
  /// A PNG image of one color, 0xRRGGBBAA.
  std::string writePng(const std::string& below, int width, int height, std::uint32_t color) const {
    const auto file = root_ / below;
    std::filesystem::create_directories(file.parent_path());
    auto* image = gdk_pixbuf_new(GDK_COLORSPACE_RGB, TRUE, 8, width, height);
    gdk_pixbuf_fill(image, color);
    const bool saved = gdk_pixbuf_save(image, file.c_str(), "png", nullptr, nullptr) != FALSE;
    g_object_unref(image);
    if (!saved) throw std::runtime_error("cannot write " + file.string());
    return file;
  }
  std::string writeSvg(const std::string& below, int width, int height, const std::string& color) const {
    const auto size = "width=\"" + std::to_string(width) + "\" height=\"" + std::to_string(height) + "\"";
    return write(below, "<svg xmlns=\"http://www.w3.org/2000/svg\" " + size + "><rect " + size + " fill=\"" +
                            color + "\"/></svg>");
  }
  /// An index for a theme with the folders "48x48/apps", "64x64/apps" (both fixed) and "scalable/apps".
  void writeTheme(const std::string& root, const std::string& name, const std::string& inherits = "") const {
    write(root + "/" + name + "/index.theme",
          "[Icon Theme]\nName=" + name + "\n" + (inherits.empty() ? "" : "Inherits=" + inherits + "\n") +
              "Directories=48x48/apps,64x64/apps,scalable/apps\n"
              "[48x48/apps]\nSize=48\nType=Fixed\n[64x64/apps]\nSize=64\nType=Fixed\n"
              "[scalable/apps]\nSize=128\nMinSize=8\nMaxSize=512\nType=Scalable\n");
  }

 private:
  TemporaryFolder root_;
};

/// A decoded PNG image.
class Picture {
 public:
  explicit Picture(const std::vector<std::byte>& png) {
    auto* loader = gdk_pixbuf_loader_new_with_type("png", nullptr);
    gdk_pixbuf_loader_write(loader, reinterpret_cast<const guchar*>(png.data()), png.size(), nullptr);
    if (gdk_pixbuf_loader_close(loader, nullptr)) {
      image_.reset(gdk_pixbuf_copy(gdk_pixbuf_loader_get_pixbuf(loader)));
    }
    g_object_unref(loader);
    if (!image_) throw std::runtime_error("no PNG image");
  }
  int width() const { return gdk_pixbuf_get_width(image_.get()); }
  int height() const { return gdk_pixbuf_get_height(image_.get()); }
  /// 0xRRGGBBAA
  std::uint32_t at(int x, int y) const {
    const auto* pixel = gdk_pixbuf_read_pixels(image_.get()) + y * gdk_pixbuf_get_rowstride(image_.get()) +
                        x * gdk_pixbuf_get_n_channels(image_.get());
    const auto alpha = gdk_pixbuf_get_has_alpha(image_.get()) ? pixel[3] : 0xFFu;
    return pixel[0] * 0x1000000u + pixel[1] * 0x10000u + pixel[2] * 0x100u + alpha;
  }

 private:
  struct Unref {
    void operator()(GdkPixbuf* image) const { g_object_unref(image); }
  };
  std::unique_ptr<GdkPixbuf, Unref> image_;
};

}  // namespace tevanto::test

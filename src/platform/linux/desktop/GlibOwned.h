#pragma once

#include <gio/gio.h>

#include <memory>
#include <string>

// Owning pointers for GLib's functions that free or unreference. Only for the sources that call GLib.

namespace tevanto {

/// GlibRelease calls `release` with the owned pointer.
template <auto release>
struct GlibRelease {
  template <class T>
  void operator()(T* pointer) const {
    release(pointer);
  }
};

/// GObjectOwned owns one reference to a GObject.
template <class T>
using GObjectOwned = std::unique_ptr<T, GlibRelease<g_object_unref>>;
/// GlibText owns a text that `g_free` frees.
using GlibText = std::unique_ptr<char, GlibRelease<g_free>>;
/// KeyFile owns one reference to a key file.
using KeyFile = std::unique_ptr<GKeyFile, GlibRelease<g_key_file_unref>>;

/// A copy of a text that GLib hands over, which may be none.
inline std::string takeText(char* text) {
  const GlibText owned(text);
  return text ? std::string(text) : std::string();
}

}  // namespace tevanto

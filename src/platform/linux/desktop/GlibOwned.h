#pragma once

#include <gio/gio.h>

#include <memory>
#include <string>

// Owning pointers for GLib's functions that free or unreference. Only for the sources that call GLib.

namespace tevanto {

template <auto release>
struct GlibRelease {
  template <class T>
  void operator()(T* pointer) const {
    release(pointer);
  }
};

template <class T>
using GObjectOwned = std::unique_ptr<T, GlibRelease<g_object_unref>>;
using GlibText = std::unique_ptr<char, GlibRelease<g_free>>;
using KeyFile = std::unique_ptr<GKeyFile, GlibRelease<g_key_file_unref>>;

/// A copy of a text that GLib hands over, which may be none.
inline std::string takeText(char* text) {
  const GlibText owned(text);
  return text ? std::string(text) : std::string();
}

}  // namespace tevanto

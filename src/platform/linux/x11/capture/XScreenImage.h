#pragma once

#include <xcb/shm.h>
#include <xcb/xcb.h>

#include <cstddef>
#include <memory>
#include <vector>

#include "core/Result.h"
#include "screen/picture/ChangedArea.h"

namespace tevanto {

class XCaptureConnection;

/// The pixels of one display, as rows of 32 bits: blue, green, red, unused. The server writes them into
/// memory that both share (MIT-SHM 1.2); where it cannot, they come through the connection. The memory has
/// no name and goes with its last user, whatever happens to either process.
class XScreenImage {
 public:
  XScreenImage(std::shared_ptr<XCaptureConnection> screen, PixelRect area);
  ~XScreenImage();
  XScreenImage(const XScreenImage&) = delete;
  XScreenImage& operator=(const XScreenImage&) = delete;

  /// Reads the rows of `area`, which is in pixels of the display, in whole; false when the server refuses,
  /// as it does when the screen has become smaller. One round trip.
  bool read(const ChangedArea& area);

  std::byte* pixels() const { return pixels_; }
  std::size_t stride() const { return static_cast<std::size_t>(area_.width) * 4; }
  bool isShared() const { return segment_ != XCB_NONE; }

 private:
  std::size_t size() const { return stride() * static_cast<std::size_t>(area_.height); }
  bool share();
  bool readShared(const ChangedArea& area);
  bool readThroughConnection(const ChangedArea& area);

  const std::shared_ptr<XCaptureConnection> screen_;
  const PixelRect area_;
  xcb_shm_seg_t segment_ = XCB_NONE;
  std::vector<std::byte> ownMemory_;  // without shared memory
  std::byte* pixels_ = nullptr;
};

}  // namespace tevanto

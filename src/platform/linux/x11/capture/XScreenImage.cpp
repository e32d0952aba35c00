#include "platform/linux/x11/capture/XScreenImage.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cstring>
#include <utility>

#include "core/Descriptor.h"
#include "platform/linux/x11/capture/XCaptureConnection.h"

namespace tevanto {
namespace {

constexpr std::uint32_t kAllPlanes = 0xFFFFFFFF;

bool canPassDescriptors(xcb_connection_t* xcb) {
  const auto* extension = xcb_get_extension_data(xcb, &xcb_shm_id);
  if (!extension || !extension->present) return false;
  const XcbOwned<xcb_shm_query_version_reply_t> version(
      xcb_shm_query_version_reply(xcb, xcb_shm_query_version(xcb), nullptr));
  return version && std::pair(version->major_version, version->minor_version) >=
                        std::pair<std::uint16_t, std::uint16_t>(1, 2);
}

std::int16_t position(int value) { return static_cast<std::int16_t>(value); }
std::uint16_t length(int value) { return static_cast<std::uint16_t>(value); }

}  // namespace

XScreenImage::XScreenImage(std::shared_ptr<XCaptureConnection> screen, PixelRect area)
    : screen_(std::move(screen)), area_(area) {
  if (share()) return;
  ownMemory_.resize(size());
  pixels_ = ownMemory_.data();
}

XScreenImage::~XScreenImage() {
  if (!isShared()) return;
  xcb_shm_detach(screen_->xcb(), segment_);
  screen_->flush();
  ::munmap(pixels_, size());
}

bool XScreenImage::share() {
  if (!canPassDescriptors(screen_->xcb())) return false;
  Descriptor memory(::memfd_create("tevanto-screen", MFD_CLOEXEC));
  if (!memory || ::ftruncate(memory.get(), static_cast<off_t>(size())) != 0) return false;
  auto* mapped = ::mmap(nullptr, size(), PROT_READ | PROT_WRITE, MAP_SHARED, memory.get(), 0);
  if (mapped == MAP_FAILED) return false;
  const auto segment = xcb_generate_id(screen_->xcb());
  // The connection closes the descriptor that it passes on.
  const int passed = ::fcntl(memory.get(), F_DUPFD_CLOEXEC, 0);
  const auto cookie = xcb_shm_attach_fd_checked(screen_->xcb(), segment, passed, 0);
  const XcbOwned<xcb_generic_error_t> error(xcb_request_check(screen_->xcb(), cookie));
  if (error || screen_->broken()) {
    ::munmap(mapped, size());
    return false;
  }
  segment_ = segment;
  pixels_ = static_cast<std::byte*>(mapped);
  return true;
}

bool XScreenImage::read(const ChangedArea& area) {
  return isShared() ? readShared(area) : readThroughConnection(area);
}

bool XScreenImage::readShared(const ChangedArea& area) {
  std::vector<xcb_shm_get_image_cookie_t> cookies;
  for (const auto& rect : area.rects()) {
    const auto offset = static_cast<std::size_t>(rect.y) * stride();
    cookies.push_back(xcb_shm_get_image(screen_->xcb(), screen_->root(), position(area_.x),
                                        position(area_.y + rect.y), length(area_.width), length(rect.height),
                                        kAllPlanes, XCB_IMAGE_FORMAT_Z_PIXMAP, segment_,
                                        static_cast<std::uint32_t>(offset)));
  }
  bool all = true;
  for (const auto& cookie : cookies) {
    xcb_generic_error_t* error = nullptr;
    const XcbOwned<xcb_shm_get_image_reply_t> reply(xcb_shm_get_image_reply(screen_->xcb(), cookie, &error));
    const XcbOwned<xcb_generic_error_t> owned(error);
    all = all && reply;
  }
  return all;
}

bool XScreenImage::readThroughConnection(const ChangedArea& area) {
  for (const auto& rect : area.rects()) {
    const auto cookie =
        xcb_get_image(screen_->xcb(), XCB_IMAGE_FORMAT_Z_PIXMAP, screen_->root(), position(area_.x),
                      position(area_.y + rect.y), length(area_.width), length(rect.height), kAllPlanes);
    xcb_generic_error_t* error = nullptr;
    const XcbOwned<xcb_get_image_reply_t> reply(xcb_get_image_reply(screen_->xcb(), cookie, &error));
    const XcbOwned<xcb_generic_error_t> owned(error);
    const auto bytes = static_cast<std::size_t>(rect.height) * stride();
    if (!reply || static_cast<std::size_t>(xcb_get_image_data_length(reply.get())) < bytes) return false;
    std::memcpy(pixels_ + static_cast<std::size_t>(rect.y) * stride(), xcb_get_image_data(reply.get()),
                bytes);
  }
  return true;
}

}  // namespace tevanto

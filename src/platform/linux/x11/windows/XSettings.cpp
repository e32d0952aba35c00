#include "platform/linux/x11/windows/XSettings.h"

#include <string>
#include <utility>

#include "platform/linux/x11/XcbOwned.h"
#include "platform/linux/x11/XcbServer.h"

namespace tevanto {
namespace {

/// Larger than any desktop's, in units of four bytes.
constexpr std::uint32_t kLongestList = 1 << 18;

/// Reads a list from its beginning; past its end everything is 0 and `isWhole` false.
class Reader {
 public:
  explicit Reader(std::span<const std::byte> bytes) : bytes_(bytes) {
    isBigEndian_ = number(1) == 1;
    skip(3);
  }

  bool isWhole() const { return isWhole_; }

  std::uint32_t number(std::size_t size) {
    const auto taken = take(size);
    std::uint32_t value = 0;
    for (std::size_t i = 0; i < taken.size(); ++i) {
      const auto place = isBigEndian_ ? taken.size() - 1 - i : i;
      value |= std::to_integer<std::uint32_t>(taken[i]) << 8 * place;
    }
    return value;
  }
  std::string_view text(std::size_t size) {
    const auto taken = take(size);
    skip((4 - size % 4) % 4);
    return {reinterpret_cast<const char*>(taken.data()), taken.size()};
  }
  void skip(std::size_t size) { take(size); }

 private:
  std::span<const std::byte> take(std::size_t size) {
    if (size > bytes_.size()) {
      isWhole_ = false;
      bytes_ = {};
      return {};
    }
    const auto taken = bytes_.first(size);
    bytes_ = bytes_.subspan(size);
    return taken;
  }

  std::span<const std::byte> bytes_;
  bool isBigEndian_ = false;
  bool isWhole_ = true;
};

enum Kind : std::uint32_t { integer = 0, string = 1, color = 2 };

}  // namespace

std::optional<std::int32_t> integerInXSettings(std::span<const std::byte> settings, std::string_view name) {
  Reader reader(settings);
  reader.skip(4);
  for (auto left = reader.number(4); left > 0 && reader.isWhole(); --left) {
    const auto kind = reader.number(1);
    reader.skip(1);
    const auto found = reader.text(reader.number(2));
    reader.skip(4);
    if (kind > Kind::color) return std::nullopt;  // of unknown length
    if (kind == Kind::string) reader.text(reader.number(4));
    if (kind == Kind::color) reader.skip(8);
    if (kind != Kind::integer) continue;
    const auto value = static_cast<std::int32_t>(reader.number(4));
    if (reader.isWhole() && found == name) return value;
  }
  return std::nullopt;
}

struct XSettings::Core {
  explicit Core(const XcbServer& server)
      : owned(server.connection),
        xcb(server.connection),
        selection(atomNamed("_XSETTINGS_S" + std::to_string(server.screenNumber), xcb)),
        list(atomNamed("_XSETTINGS_SETTINGS", xcb)) {
    // Daemons that come tell everybody who listens there.
    listenTo(server.screen->root, XCB_EVENT_MASK_STRUCTURE_NOTIFY);
  }

  bool isUsable() const { return xcb_connection_has_error(xcb) == 0; }

  void listenTo(xcb_window_t window, std::uint32_t events) const {
    xcb_change_window_attributes(xcb, window, XCB_CW_EVENT_MASK, &events);
  }
  xcb_window_t daemon() const {
    const XcbOwned<xcb_get_selection_owner_reply_t> reply(
        xcb_get_selection_owner_reply(xcb, xcb_get_selection_owner(xcb, selection), nullptr));
    return reply ? reply->owner : static_cast<xcb_window_t>(XCB_WINDOW_NONE);
  }

  std::optional<std::int32_t> read(std::string_view name) const {
    const auto owner = daemon();
    if (owner == XCB_WINDOW_NONE) return std::nullopt;
    // Before the list is read, so that no change falls between.
    listenTo(owner, XCB_EVENT_MASK_PROPERTY_CHANGE | XCB_EVENT_MASK_STRUCTURE_NOTIFY);
    const auto cookie = xcb_get_property(xcb, 0, owner, list, list, 0, kLongestList);
    const XcbOwned<xcb_get_property_reply_t> reply(xcb_get_property_reply(xcb, cookie, nullptr));
    if (!reply) return std::nullopt;
    const auto* bytes = static_cast<const std::byte*>(xcb_get_property_value(reply.get()));
    const auto length = static_cast<std::size_t>(xcb_get_property_value_length(reply.get()));
    return integerInXSettings({bytes, length}, name);
  }
  bool hadQueuedNews() const {
    bool any = false;
    while (const XcbOwned<xcb_generic_event_t> event{xcb_poll_for_queued_event(xcb)}) any = true;
    return any;
  }

  const XcbConnection owned;
  xcb_connection_t* const xcb;
  const xcb_atom_t selection;
  const xcb_atom_t list;
};

std::unique_ptr<XSettings> XSettings::connect() {
  const auto server = XcbServer::connect({});
  if (!server) return nullptr;
  auto connection = std::make_unique<Core>(server.value());
  return std::unique_ptr<XSettings>(new XSettings(std::move(connection)));
}

XSettings::XSettings(std::unique_ptr<Core> connection) : core_(std::move(connection)) {}
XSettings::~XSettings() = default;

std::optional<std::int32_t> XSettings::integer(std::string_view name) const {
  std::optional<std::int32_t> value;
  do {
    value = core_->read(name);
    // What came in together with the answer would not make the descriptor readable any more.
  } while (core_->hadQueuedNews());
  return value;
}

int XSettings::descriptor() const { return xcb_get_file_descriptor(core_->xcb); }

bool XSettings::readEvents() {
  while (const XcbOwned<xcb_generic_event_t> event{xcb_poll_for_event(core_->xcb)}) {
  }
  return core_->isUsable();
}

}  // namespace tevanto

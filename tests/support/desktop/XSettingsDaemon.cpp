#include "tests/support/desktop/XSettingsDaemon.h"

#include <bit>
#include <cstdlib>
#include <stdexcept>
#include <string_view>

#include "platform/linux/x11/XcbServer.h"

namespace tevanto::test {
namespace {

class Writer {
 public:
  explicit Writer(bool bigEndian) : bigEndian_(bigEndian) {}

  Writer& number(std::uint32_t value, int size) {
    for (int i = 0; i < size; ++i)
      bytes.push_back(static_cast<std::byte>(value >> 8 * (bigEndian_ ? size - 1 - i : i)));
    return *this;
  }
  Writer& text(const std::string& value) {
    for (const char c : value) bytes.push_back(static_cast<std::byte>(c));
    while (bytes.size() % 4 != 0) bytes.push_back({});
    return *this;
  }
  Writer& begin(std::uint32_t kind, const std::string& name) {
    return number(kind, 1)
        .number(0, 1)
        .number(static_cast<std::uint32_t>(name.size()), 2)
        .text(name)
        .number(7, 4);
  }

  std::vector<std::byte> bytes;

 private:
  const bool bigEndian_;
};

}  // namespace

struct XSettingsDaemon::Connection {
  explicit Connection(const std::string& display) : xcb(xcb_connect(display.c_str(), nullptr)) {
    if (xcb_connection_has_error(xcb)) throw std::runtime_error("no X server on " + display);
    const auto root = xcb_setup_roots_iterator(xcb_get_setup(xcb)).data->root;
    window = xcb_generate_id(xcb);
    xcb_create_window(xcb, 0, window, root, -1, -1, 1, 1, 0, XCB_WINDOW_CLASS_INPUT_ONLY, 0, 0, nullptr);
    xcb_set_selection_owner(xcb, window, atom("_XSETTINGS_S0"), XCB_CURRENT_TIME);
    xcb_client_message_event_t announcement{};
    announcement.response_type = XCB_CLIENT_MESSAGE;
    announcement.format = 32;
    announcement.window = root;
    announcement.type = atom("MANAGER");
    announcement.data.data32[1] = atom("_XSETTINGS_S0");
    announcement.data.data32[2] = window;
    xcb_send_event(xcb, 0, root, XCB_EVENT_MASK_STRUCTURE_NOTIFY,
                   reinterpret_cast<const char*>(&announcement));
    settle();
  }
  ~Connection() { xcb_disconnect(xcb); }
  Connection(const Connection&) = delete;
  Connection& operator=(const Connection&) = delete;

  xcb_atom_t atom(std::string_view name) const { return atomNamed(name, xcb); }
  void settle() const { std::free(xcb_get_input_focus_reply(xcb, xcb_get_input_focus(xcb), nullptr)); }

  xcb_connection_t* const xcb;
  xcb_window_t window = XCB_WINDOW_NONE;
};

XSettingsDaemon::XSettingsDaemon(const std::string& display)
    : connection_(std::make_unique<Connection>(display)) {}

XSettingsDaemon::~XSettingsDaemon() = default;

void XSettingsDaemon::publish(const std::string& name, std::int32_t value) {
  const auto bytes = list(name, value, std::endian::native == std::endian::big);
  const auto property = connection_->atom("_XSETTINGS_SETTINGS");
  xcb_change_property(connection_->xcb, XCB_PROP_MODE_REPLACE, connection_->window, property, property, 8,
                      static_cast<std::uint32_t>(bytes.size()), bytes.data());
  connection_->settle();
}

std::vector<std::byte> XSettingsDaemon::list(const std::string& name, std::int32_t value, bool bigEndian) {
  Writer writer(bigEndian);
  writer.number(bigEndian ? 1 : 0, 1).number(0, 3).number(3, 4).number(4, 4);
  writer.begin(1, "Net/ThemeName").number(5, 4).text("Quiet");
  writer.begin(2, "Gtk/Background").number(1, 2).number(2, 2).number(3, 2).number(4, 2);
  writer.begin(0, name + "Else").number(41, 4);
  writer.begin(0, name).number(static_cast<std::uint32_t>(value), 4);
  return writer.bytes;
}

}  // namespace tevanto::test

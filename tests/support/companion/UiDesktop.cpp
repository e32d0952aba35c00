#include "tests/support/companion/UiDesktop.h"

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <memory>
#include <set>
#include <sstream>
#include <stdexcept>
#include <string_view>

#include "platform/linux/x11/XcbOwned.h"
#include "platform/linux/x11/XcbServer.h"
#include "tests/support/programs/Eventually.h"

namespace tevanto::test {
namespace {

constexpr auto kTimeout = std::chrono::seconds(60);
constexpr int kTrayHeight = 28;
constexpr std::size_t kFewColors = 8;
constexpr auto kWatcher = "org.kde.StatusNotifierWatcher";

/// A panel at the top of the screen with nothing on it but the tray.
constexpr auto kPanelSettings = R"(<?xml version="1.0" encoding="UTF-8"?>
<channel name="xfce4-panel" version="1.0">
  <property name="configver" type="int" value="2"/>
  <property name="panels" type="array">
    <value type="int" value="1"/>
    <property name="panel-1" type="empty">
      <property name="position" type="string" value="p=6;x=0;y=0"/>
      <property name="length" type="uint" value="100"/>
      <property name="position-locked" type="bool" value="true"/>
      <property name="size" type="uint" value="28"/>
      <property name="plugin-ids" type="array">
        <value type="int" value="1"/>
      </property>
    </property>
  </property>
  <property name="plugins" type="empty">
    <property name="plugin-1" type="string" value="systray"/>
  </property>
</channel>
)";

std::vector<std::string> split(const std::string& text, char separator) {
  std::vector<std::string> parts;
  std::istringstream stream(text);
  for (std::string part; std::getline(stream, part, separator);) parts.push_back(part);
  return parts;
}

std::optional<AccessibleObject> objectFrom(const std::string& line) {
  const auto fields = split(line, '\t');
  if (fields.size() < 4) return std::nullopt;
  AccessibleObject object;
  object.role = fields[0];
  object.name = fields[1];
  object.description = fields[2];
  if (std::sscanf(fields[3].c_str(), "%d,%d,%d,%d", &object.x, &object.y, &object.width, &object.height) != 4)
    return std::nullopt;
  if (fields.size() > 4) object.states = split(fields[4], ',');
  return object;
}

class Connection {
 public:
  explicit Connection(const std::string& display) : connection(xcb_connect(display.c_str(), nullptr)) {
    if (xcb_connection_has_error(connection)) throw std::runtime_error("no X server on " + display);
    root = xcb_setup_roots_iterator(xcb_get_setup(connection)).data->root;
  }
  ~Connection() { xcb_disconnect(connection); }
  Connection(const Connection&) = delete;
  Connection& operator=(const Connection&) = delete;

  xcb_atom_t atom(std::string_view name) const { return atomNamed(name, connection); }

  xcb_connection_t* const connection;
  xcb_window_t root = 0;
};

}  // namespace

bool AccessibleObject::is(const std::string& state) const {
  return std::find(states.begin(), states.end(), state) != states.end();
}

UiDesktop::UiDesktop(Tray tray) {
  environment.insert(environment.end(), {{"QT_LINUX_ACCESSIBILITY_ALWAYS_ON", "1"},
                                         {"NO_AT_BRIDGE", ""},
                                         {"WAYLAND_DISPLAY", ""},
                                         {"QT_QPA_PLATFORM", "xcb"},
                                         {"QT_SCALE_FACTOR", ""},
                                         {"HOME", configFolder().string()},
                                         {"LC_ALL", "C.UTF-8"}});
  launch({"openbox", "--sm-disable"});
  // It gives no focus to windows that were there before it.
  if (!eventually([this] { return hasWindowManager(); }, kTimeout))
    throw std::runtime_error("the window manager does not start");
  launch({"/usr/libexec/at-spi-bus-launcher", "--launch-immediately"});
  if (!eventually([this] { return bus().hasOwner("org.a11y.Bus"); }, kTimeout))
    throw std::runtime_error("the accessibility bus does not start");
  startTray(tray);
}

void UiDesktop::startTray(Tray tray) {
  tray_ = tray;
  if (tray == Tray::xembed) {
    launch({"trayer", "--edge", "top", "--align", "right", "--widthtype", "pixel", "--width", "200",
            "--height", std::to_string(kTrayHeight)});
  }
  if (tray == Tray::statusNotifier) startStatusNotifierTray();
}

void UiDesktop::launch(std::vector<std::string> command) {
  // What they grumble about is of no interest.
  std::vector<std::string> quiet{"sh", "-c", "exec \"$@\" >/dev/null 2>&1", "sh"};
  quiet.insert(quiet.end(), command.begin(), command.end());
  parts_.push_back(std::make_unique<ChildProcess>(std::move(quiet), options()));
}

void UiDesktop::startStatusNotifierTray() {
  const auto folder = configFolder() / "xfce4" / "xfconf" / "xfce-perchannel-xml";
  std::filesystem::create_directories(folder);
  std::ofstream(folder / "xfce4-panel.xml") << kPanelSettings;
  // Nothing is activated on the tests' bus, so that the panel's store of settings is started by hand.
  launch({"sh", "-c", "exec /usr/lib/*/xfce4/xfconf/xfconfd"});
  if (!eventually([this] { return bus().hasOwner("org.xfce.Xfconf"); }, kTimeout))
    throw std::runtime_error("xfconfd does not start");
  launch({"xfce4-panel", "--disable-wm-check"});
  if (!eventually([this] { return hasStatusNotifierHost(); }, kTimeout))
    throw std::runtime_error("xfce4-panel has no StatusNotifier tray");
}

bool UiDesktop::hasWindowManager() const {
  const Connection server(display().display());
  const auto cookie = xcb_get_property(server.connection, 0, server.root,
                                       server.atom("_NET_SUPPORTING_WM_CHECK"), XCB_ATOM_WINDOW, 0, 1);
  const XcbOwned<xcb_get_property_reply_t> reply(xcb_get_property_reply(server.connection, cookie, nullptr));
  return reply && xcb_get_property_value_length(reply.get()) > 0;
}

bool UiDesktop::hasStatusNotifierHost() {
  return bus().hasOwner(kWatcher) &&
         bus().call(kWatcher, "/StatusNotifierWatcher", "org.freedesktop.DBus.Properties.Get",
                    {kWatcher, "IsStatusNotifierHostRegistered"})
                 .find("true") != std::string::npos;
}

bool UiDesktop::showsTrayIcon() const {
  return eventually(
      [this] {
        const auto [x, y] = trayIcon();
        const auto seen =
            pixels(x - kTrayHeight / 2 + 2, y - kTrayHeight / 2 + 2, kTrayHeight - 4, kTrayHeight - 4);
        // An empty tray has one color, or shades of it.
        return std::set<unsigned>(seen.begin(), seen.end()).size() > kFewColors;
      },
      kTimeout);
}

std::vector<AccessibleObject> UiDesktop::objects() const {
  // While windows come and go the walk may lose its way; whoever asks asks again.
  const auto result = run("/usr/bin/python3", {TEVANTO_ACCESSIBLE_TREE, "Tevanto"});
  std::vector<AccessibleObject> found;
  if (result.exitStatus != 0) return found;
  for (const auto& line : split(result.output, '\n')) {
    auto object = objectFrom(line);
    if (object && object->is("showing")) found.push_back(std::move(*object));
  }
  return found;
}

std::optional<AccessibleObject> UiDesktop::object(const std::string& name) const {
  for (auto& each : objects()) {
    if (each.name == name) return std::move(each);
  }
  return std::nullopt;
}

bool UiDesktop::shows(const std::string& name) const {
  return eventually([&] { return object(name).has_value(); }, kTimeout);
}

bool UiDesktop::ceasesToShow(const std::string& name) const {
  return eventually(
      [&] {
        const auto now = objects();
        return !now.empty() &&
               std::none_of(now.begin(), now.end(), [&](const auto& each) { return each.name == name; });
      },
      kTimeout);
}

bool UiDesktop::click(const std::string& name) const {
  // On the screen, where the window manager has put it; and in its place: what moves has not been drawn to
  // its end.
  if (!eventually([this] { return activeWindow() == "Tevanto"; }, kTimeout)) return false;
  std::optional<AccessibleObject> before;
  const bool rests = eventually(
      [&] {
        const auto now = object(name);
        const bool same = now && before && now->x == before->x && now->y == before->y;
        before = now;
        return same;
      },
      kTimeout);
  if (rests) clickAt(before->x + before->width / 2, before->y + before->height / 2);
  return rests;
}

void UiDesktop::clickAt(int x, int y, int button) const {
  run("xdotool", {"mousemove", std::to_string(x), std::to_string(y), "click", std::to_string(button)});
}

void UiDesktop::key(const std::string& name) const { run("xdotool", {"key", name}); }

bool UiDesktop::focusByKeyboard(const std::string& name) const {
  return eventually(
      [&] {
        const auto now = object(name);
        if (now && now->is("focused")) return true;
        key("Tab");
        return false;
      },
      kTimeout);
}

std::vector<unsigned> UiDesktop::pixels(int x, int y, int width, int height) const {
  const Connection server(display().display());
  const auto cookie =
      xcb_get_image(server.connection, XCB_IMAGE_FORMAT_Z_PIXMAP, server.root, static_cast<std::int16_t>(x),
                    static_cast<std::int16_t>(y), static_cast<std::uint16_t>(width),
                    static_cast<std::uint16_t>(height), ~0U);
  const XcbOwned<xcb_get_image_reply_t> image(xcb_get_image_reply(server.connection, cookie, nullptr));
  std::vector<unsigned> result;
  if (!image) return result;
  const auto* bytes = xcb_get_image_data(image.get());
  const auto count = static_cast<std::size_t>(xcb_get_image_data_length(image.get())) / 4;
  for (std::size_t i = 0; i < count; ++i) {
    const auto* pixel = bytes + 4 * i;
    result.push_back(static_cast<unsigned>(pixel[2] << 16 | pixel[1] << 8 | pixel[0]));
  }
  return result;
}

std::string UiDesktop::clipboard() const {
  const Connection server(display().display());
  const auto window = xcb_generate_id(server.connection);
  xcb_create_window(server.connection, 0, window, server.root, -1, -1, 1, 1, 0, XCB_WINDOW_CLASS_INPUT_ONLY,
                    0, 0, nullptr);
  const auto target = server.atom("UTF8_STRING");
  const auto property = server.atom("TEVANTO_TEST");
  xcb_convert_selection(server.connection, window, server.atom("CLIPBOARD"), target, property,
                        XCB_CURRENT_TIME);
  xcb_flush(server.connection);
  std::string text;
  eventually([&] {
    const XcbOwned<xcb_generic_event_t> event(xcb_poll_for_event(server.connection));
    if (!event || (event->response_type & 0x7f) != XCB_SELECTION_NOTIFY) return false;
    const auto cookie = xcb_get_property(server.connection, 1, window, property, XCB_ATOM_ANY, 0, 1024);
    const XcbOwned<xcb_get_property_reply_t> value(
        xcb_get_property_reply(server.connection, cookie, nullptr));
    if (value) {
      text.assign(static_cast<const char*>(xcb_get_property_value(value.get())),
                  static_cast<std::size_t>(xcb_get_property_value_length(value.get())));
    }
    return true;
  });
  return text;
}

std::string UiDesktop::activeWindow() const {
  auto title = run("xdotool", {"getactivewindow", "getwindowname"}).output;
  if (!title.empty() && title.back() == '\n') title.pop_back();
  return title;
}

std::pair<int, int> UiDesktop::trayIcon() const {
  // The icon is the first in the panel, and the last in the tray that stands to the right.
  const int fromEdge = kTrayHeight / 2;
  return {tray_ == Tray::xembed ? 1280 - fromEdge : fromEdge, fromEdge};
}

}  // namespace tevanto::test

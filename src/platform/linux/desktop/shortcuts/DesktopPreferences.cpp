#include "platform/linux/desktop/shortcuts/DesktopPreferences.h"

#include <array>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <memory>
#include <utility>

#include "platform/linux/desktop/GlibOwned.h"
#include "platform/linux/desktop/shortcuts/CurrentDesktop.h"
#include "platform/linux/desktop/shortcuts/DesktopShortcut.h"
#include "platform/linux/desktop/shortcuts/ShortcutFiles.h"

namespace tevanto {
namespace {

constexpr std::int64_t kNoCharacter = 65535;
constexpr auto kGnomeSchema = "org.gnome.desktop.wm.keybindings";
constexpr auto kXfceChannel = "xfce4/xfconf/xfce-perchannel-xml/xfce4-keyboard-shortcuts.xml";

/// A gesture's number, and what each desktop calls the shortcut.
struct Gesture {
  const char* number;
  const char* gnome;
  const char* xfce;
  const char* plasma;
};
constexpr std::array<Gesture, 4> kGestures = {
    {{"34", "switch-group", "switch_window_key", "ExposeClass"},
     {"36", "show-desktop", "show_desktop_key", "Show Desktop"},
     {"79", "switch-to-workspace-left", "left_workspace_key", "Switch One Desktop to the Left"},
     {"81", "switch-to-workspace-right", "right_workspace_key", "Switch One Desktop to the Right"}}};

using Shortcut = std::optional<DesktopShortcut> (*)(std::string_view);

std::optional<std::string> contentOf(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  if (!file) return std::nullopt;
  return std::string(std::istreambuf_iterator<char>(file), {});
}

using Schema = std::unique_ptr<GSettingsSchema, GlibRelease<g_settings_schema_unref>>;

/// GSettings ends the process over a schema or key that is not installed, so both are looked up first.
std::optional<Accelerators> gnomeAccelerators(const char* key) {
  auto* source = g_settings_schema_source_get_default();
  const Schema schema(source ? g_settings_schema_source_lookup(source, kGnomeSchema, TRUE) : nullptr);
  if (!schema || !g_settings_schema_has_key(schema.get(), key)) return std::nullopt;
  const GObjectOwned<GSettings> settings(g_settings_new_full(schema.get(), nullptr, nullptr));
  const std::unique_ptr<char*, GlibRelease<g_strfreev>> texts(g_settings_get_strv(settings.get(), key));
  Accelerators result;
  for (char** text = texts.get(); *text; ++text)
    if (**text) result.emplace_back(*text);
  return result;
}

std::optional<Accelerators> xfceAccelerators(const DesktopFolders& folders, const char* action) {
  for (const auto& path : folders.inConfigFolders(kXfceChannel))
    if (const auto content = contentOf(path))
      if (auto found = xfceShortcut(*content, action)) return found;
  return std::nullopt;
}

std::optional<Accelerators> plasmaAccelerators(const DesktopFolders& folders, const char* name) {
  const auto content = contentOf(folders.configHome + "/kglobalshortcutsrc");
  return content ? kdeShortcut(*content, "kwin", name) : std::nullopt;
}

std::optional<Accelerators> acceleratorsOf(Desktop desktop, const DesktopFolders& folders,
                                           const Gesture& gesture) {
  switch (desktop) {
    case Desktop::gnome:
      return gnomeAccelerators(gesture.gnome);
    case Desktop::xfce:
      return xfceAccelerators(folders, gesture.xfce);
    case Desktop::plasma:
      return plasmaAccelerators(folders, gesture.plasma);
    case Desktop::other:
      break;
  }
  return std::nullopt;
}

PreferenceValue hotKey(const Accelerators& accelerators, Shortcut parse) {
  for (const auto& accelerator : accelerators) {
    const auto shortcut = parse(accelerator);
    if (!shortcut) continue;
    PreferenceValue::Array parameters{
        {kNoCharacter}, {std::int64_t{shortcut->keyCode}}, {std::int64_t{shortcut->modifiers}}};
    PreferenceValue::Dictionary value{{"parameters", {std::move(parameters)}}, {"type", {"standard"}}};
    return {PreferenceValue::Dictionary{{"enabled", {true}}, {"value", {std::move(value)}}}};
  }
  return {PreferenceValue::Dictionary{{"enabled", {false}}}};
}

}  // namespace

DesktopPreferences::Session DesktopPreferences::sessionOfThisProcess() {
  const char* desktop = std::getenv("XDG_CURRENT_DESKTOP");
  return {desktop ? desktop : "", DesktopFolders::fromEnvironment()};
}

DesktopPreferences::DesktopPreferences(Session session) : session_(std::move(session)) {}

std::optional<PreferenceValue> DesktopPreferences::value(std::string_view key, std::string_view domain) {
  if (key != "AppleSymbolicHotKeys" || domain != "com.apple.symbolichotkeys") return std::nullopt;
  const auto desktop = desktopNamed(session_.currentDesktop);
  if (desktop == Desktop::other) return std::nullopt;
  const Shortcut parse = desktop == Desktop::plasma ? &DesktopShortcut::fromQt : &DesktopShortcut::fromGtk;
  PreferenceValue::Dictionary hotKeys;
  for (const auto& gesture : kGestures)
    if (const auto accelerators = acceleratorsOf(desktop, session_.folders, gesture))
      hotKeys.emplace(gesture.number, hotKey(*accelerators, parse));
  // Not made elsewhere and moved: GCC 12 then takes what the variant does not hold for uninitialized.
  auto preference = std::make_optional<PreferenceValue>();
  preference->content = std::move(hotKeys);
  return preference;
}

}  // namespace tevanto

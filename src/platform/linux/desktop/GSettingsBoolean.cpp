#include "platform/linux/desktop/GSettingsBoolean.h"

#include "platform/linux/desktop/GlibOwned.h"

namespace tevanto {
namespace {

using Schema = std::unique_ptr<GSettingsSchema, GlibRelease<g_settings_schema_unref>>;

}  // namespace

std::optional<bool> gsettingsBoolean(const char* schema, const char* key) {
  auto* source = g_settings_schema_source_get_default();
  const Schema found(source ? g_settings_schema_source_lookup(source, schema, TRUE) : nullptr);
  // GSettings ends the process over what is not installed.
  if (!found || !g_settings_schema_has_key(found.get(), key)) return std::nullopt;
  const GObjectOwned<GSettings> settings(g_settings_new_full(found.get(), nullptr, nullptr));
  return g_settings_get_boolean(settings.get(), key) != FALSE;
}

}  // namespace tevanto

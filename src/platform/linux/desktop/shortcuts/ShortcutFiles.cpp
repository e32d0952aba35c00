#include "platform/linux/desktop/shortcuts/ShortcutFiles.h"

#include <glib.h>

#include <cstring>
#include <memory>

namespace tevanto {
namespace {

/// Cuts the text up to `separator` off the front of `rest`.
std::string_view cut(std::string_view& rest, char separator) {
  const auto end = rest.find(separator);
  const auto part = rest.substr(0, end);
  rest.remove_prefix(end == std::string_view::npos ? rest.size() : end + 1);
  return part;
}

/// The first element of a list of KDE's configuration: a backslash protects commas and itself, and makes a
/// tab of a t.
std::string firstElement(std::string_view list) {
  std::string result;
  for (std::size_t i = 0; i < list.size() && list[i] != ','; ++i) {
    if (list[i] == '\\' && i + 1 < list.size()) {
      ++i;
      result.push_back(list[i] == 't' ? '\t' : list[i]);
    } else {
      result.push_back(list[i]);
    }
  }
  return result;
}

Accelerators acceleratorsIn(std::string_view element) {
  Accelerators result;
  while (!element.empty()) {
    const auto one = cut(element, '\t');
    if (!one.empty() && one != "none") result.emplace_back(one);
  }
  return result;
}

/// Collects the accelerators of one action while the file is read.
struct XfceReader {
  std::string_view action;
  std::vector<std::string> path;  // names of the open elements
  Accelerators own;
  Accelerators defaults;
  bool hasOwn = false;
  bool hasDefaults = false;

  void open(const char* name, const char* value) {
    path.emplace_back(name ? name : "");
    if (path.size() != 4 || path[1] != "xfwm4" || !value) return;
    record(path[2] == "custom", path[2] == "default", value);
  }
  void record(bool isOwn, bool isDefault, std::string_view value) {
    hasOwn |= isOwn;
    hasDefaults |= isDefault;
    if (value != action) return;
    if (isOwn) own.push_back(path[3]);
    if (isDefault) defaults.push_back(path[3]);
  }
};

const char* attribute(const char** names, const char** values, const char* name) {
  for (; *names; ++names, ++values)
    if (std::strcmp(*names, name) == 0) return *values;
  return nullptr;
}

void startElement(GMarkupParseContext*, const char*, const char** names, const char** values, void* reader,
                  GError**) {
  static_cast<XfceReader*>(reader)->open(attribute(names, values, "name"), attribute(names, values, "value"));
}

void endElement(GMarkupParseContext*, const char*, void* reader, GError**) {
  static_cast<XfceReader*>(reader)->path.pop_back();
}

struct FreeContext {
  void operator()(GMarkupParseContext* context) const { g_markup_parse_context_free(context); }
};

bool parse(std::string_view file, XfceReader& reader) {
  const GMarkupParser parser{startElement, endElement, nullptr, nullptr, nullptr};
  const std::unique_ptr<GMarkupParseContext, FreeContext> context(
      g_markup_parse_context_new(&parser, static_cast<GMarkupParseFlags>(0), &reader, nullptr));
  return g_markup_parse_context_parse(context.get(), file.data(), static_cast<gssize>(file.size()),
                                      nullptr) &&
         g_markup_parse_context_end_parse(context.get(), nullptr);
}

}  // namespace

std::optional<Accelerators> kdeShortcut(std::string_view file, std::string_view group,
                                        std::string_view name) {
  bool inGroup = false;
  while (!file.empty()) {
    auto line = cut(file, '\n');
    if (line.ends_with('\r')) line.remove_suffix(1);
    if (line.starts_with('[')) {
      inGroup = line == "[" + std::string(group) + "]";
    } else if (inGroup && line.starts_with(name) && line.substr(name.size()).starts_with('=')) {
      return acceleratorsIn(firstElement(line.substr(name.size() + 1)));
    }
  }
  return std::nullopt;
}

std::optional<Accelerators> xfceShortcut(std::string_view file, std::string_view action) {
  XfceReader reader;
  reader.action = action;
  if (!parse(file, reader)) return std::nullopt;
  if (reader.hasOwn) return reader.own;
  if (reader.hasDefaults) return reader.defaults;
  return std::nullopt;
}

}  // namespace tevanto

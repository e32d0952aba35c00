#include "core/settings/JsonUserDefaults.h"

#include <boost/json.hpp>
#include <cstdlib>
#include <functional>
#include <utility>

#include "core/settings/DefaultsJson.h"
#include "core/settings/DurableFile.h"
#include "core/settings/FileLock.h"
#include "core/settings/FileSystem.h"
#include "core/text/ExactJson.h"

namespace tevanto {
namespace {

namespace fs = std::filesystem;
namespace json = boost::json;

constexpr std::size_t kMaxDepth = 32;
constexpr std::size_t kMaxBytes = 4 * 1024 * 1024;

std::optional<json::object> parseObject(std::string_view text) { return parseExactObject(text, kMaxDepth); }

json::string_view jsonKey(std::string_view key) { return {key.data(), key.size()}; }

fs::path freeNameBeside(const fs::path& file) {
  std::error_code unknown;
  for (int n = 1;; ++n) {
    fs::path aside = file.string() + ".unreadable-" + std::to_string(n);
    if (fs::symlink_status(aside, unknown).type() == fs::file_type::not_found) return aside;
  }
}

}  // namespace

struct JsonUserDefaults::Content {
  json::object members;
};

/// What a look at the file found. `damaged`: the whole file was read, and it is no JSON object. Without
/// content and not damaged: the system would not let us read it, which says nothing about the file.
struct JsonUserDefaults::Reading {
  std::optional<Content> content;
  bool damaged = false;
  std::string problem;
};

JsonUserDefaults::JsonUserDefaults(fs::path file, Logger log, std::shared_ptr<FileSystem> files)
    : file_(std::move(file)),
      log_(std::move(log)),
      files_(files ? std::move(files) : FileSystem::real()),
      content_(std::make_unique<Content>()) {
  reload();
}

JsonUserDefaults::~JsonUserDefaults() = default;

fs::path JsonUserDefaults::lockFile() const { return file_.string() + ".lock"; }

JsonUserDefaults::Reading JsonUserDefaults::read() const {
  std::string text;
  const auto error = files_->read(file_, kMaxBytes, text);
  if (error == std::errc::no_such_file_or_directory) return {Content{}, false, {}};
  if (error) return {std::nullopt, false, "cannot read " + file_.string() + ": " + error.message()};
  if (text.size() > kMaxBytes) return {std::nullopt, true, file_.string() + " is larger than 4 MiB"};
  if (auto members = parseObject(text)) return {Content{std::move(*members)}, false, {}};
  return {std::nullopt, true, file_.string() + " is not a JSON object"};
}

JsonUserDefaults::Reading JsonUserDefaults::readOrSetAside() const {
  auto reading = read();
  if (!reading.damaged) return reading;
  const auto aside = freeNameBeside(file_);
  if (auto error = files_->rename(file_, aside)) {
    reading.problem += ", and it cannot be kept aside: " + error.message();
    return reading;
  }
  log_.error(reading.problem + "; it was kept as " + aside.string() + ", and the settings start empty");
  return {Content{}, false, {}};
}

void JsonUserDefaults::reload() {
  // Without the lock (a folder that is not there yet, or that only others may write) a damaged file stays
  // where it is: somebody might be putting a good one in its place at this moment.
  const auto lock = FileLock::acquire(lockFile());
  auto reading = lock ? readOrSetAside() : read();
  if (reading.content) {
    keep(std::move(*reading.content));
  } else {
    log_.error(reading.problem);
  }
}

void JsonUserDefaults::keep(Content content) {
  const std::lock_guard lock(mutex_);
  *content_ = std::move(content);
}

std::optional<DefaultsValue> JsonUserDefaults::value(std::string_view key) const {
  const std::lock_guard lock(mutex_);
  const auto* stored = content_->members.if_contains(jsonKey(key));
  return stored ? defaultsValueOfJson(*stored) : std::nullopt;
}

bool JsonUserDefaults::stringEquals(std::string_view key, std::optional<std::string_view> candidate) const {
  const std::lock_guard lock(mutex_);
  const auto* stored = content_->members.if_contains(jsonKey(key));
  const auto* text = stored ? stored->if_string() : nullptr;
  if (!text || !candidate) return !text && !candidate;
  return std::string_view(text->data(), text->size()) == *candidate;
}

std::map<std::string, DefaultsValue> JsonUserDefaults::all() const {
  const std::lock_guard lock(mutex_);
  std::map<std::string, DefaultsValue> found;
  for (const auto& [key, stored] : content_->members) {
    if (auto value = defaultsValueOfJson(stored)) found.emplace(std::string(key), std::move(*value));
  }
  return found;
}

Result<void> JsonUserDefaults::set(std::string_view key, DefaultsValue value) {
  return change([&](Content& content) { content.members[jsonKey(key)] = jsonOf(value); });
}

Result<void> JsonUserDefaults::remove(std::string_view key) {
  return change([&](Content& content) { content.members.erase(jsonKey(key)); });
}

Result<void> JsonUserDefaults::change(const std::function<void(Content&)>& edit) {
  if (auto made = makeDurableFolder(*files_, file_.parent_path()); !made) return made;
  const auto lock = FileLock::acquire(lockFile());
  if (!lock) return Failure{lock.error()};
  auto reading = readOrSetAside();
  if (!reading.content) return Failure{reading.problem};
  edit(*reading.content);

  const std::string text = json::serialize(reading.content->members) + "\n";
  if (text.size() > kMaxBytes)
    return Failure{"The settings would be larger than 4 MiB. Remove some of them first."};
  // What could not be read back (text that is not UTF-8, a number that is not one) would cost all the rest.
  if (!parseObject(text)) return Failure{"Only valid UTF-8 and finite numbers can be kept in the settings."};

  auto written = replaceDurably(*files_, file_, text);
  // After a failure the file may hold either state, so that it has to be asked.
  if (!written) reading = read();
  if (reading.content) keep(std::move(*reading.content));
  return written;
}

fs::path JsonUserDefaults::standardFile(std::string_view name) {
  const char* configured = std::getenv("XDG_CONFIG_HOME");
  const char* home = std::getenv("HOME");
  // Relative paths in XDG_CONFIG_HOME are to be ignored, by the XDG Base Directory Specification.
  const fs::path base =
      configured && configured[0] == '/' ? fs::path(configured) : fs::path(home ? home : "/") / ".config";
  return base / "tevanto" / name;
}

}  // namespace tevanto

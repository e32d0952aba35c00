#include "core/JsonUserDefaults.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <boost/json.hpp>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <utility>

namespace tevanto {
namespace {

namespace fs = std::filesystem;
namespace json = boost::json;

constexpr int kPrivateFile = 0600;
constexpr int kPrivateFolder = 0700;
constexpr std::size_t kMaxDepth = 32;
constexpr std::size_t kMaxBytes = 4 * 1024 * 1024;

class Descriptor {
 public:
  explicit Descriptor(int fd) : fd_(fd) {}
  ~Descriptor() {
    if (fd_ >= 0) ::close(fd_);
  }
  Descriptor(const Descriptor&) = delete;
  Descriptor& operator=(const Descriptor&) = delete;
  int get() const { return fd_; }
  explicit operator bool() const { return fd_ >= 0; }

 private:
  const int fd_;
};

Failure systemFailure(const std::string& what, const fs::path& path) {
  return Failure{what + " " + path.string() + ": " + std::strerror(errno)};
}

/// The whole file; nothing when there is no such file.
Result<std::optional<std::string>> readFile(const fs::path& path) {
  const Descriptor file(::open(path.c_str(), O_RDONLY | O_CLOEXEC));
  if (!file) {
    if (errno == ENOENT) return std::optional<std::string>();
    return systemFailure("cannot open", path);
  }
  std::string text;
  char block[16 * 1024];
  while (true) {
    const ssize_t count = ::read(file.get(), block, sizeof block);
    if (count < 0 && errno == EINTR) continue;
    if (count < 0) return systemFailure("cannot read", path);
    if (count == 0) return std::optional(std::move(text));
    text.append(block, static_cast<std::size_t>(count));
    if (text.size() > kMaxBytes) return Failure{path.string() + " is larger than 4 MiB"};
  }
}

Result<void> syncFolder(const fs::path& folder) {
  const Descriptor opened(::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  if (!opened || ::fsync(opened.get()) != 0) return systemFailure("cannot sync", folder);
  return {};
}

Result<void> writeAll(int fd, std::string_view text, const fs::path& path) {
  while (!text.empty()) {
    const ssize_t count = ::write(fd, text.data(), text.size());
    if (count < 0 && errno == EINTR) continue;
    if (count < 0) return systemFailure("cannot write", path);
    text.remove_prefix(static_cast<std::size_t>(count));
  }
  return {};
}

/// A name of its own for each writer, so that a writer that died never leaves a file that another one trips
/// over.
Result<void> replaceFile(const fs::path& path, std::string_view text) {
  std::string temporary = path.string() + ".new-XXXXXX";
  {
    const Descriptor file(::mkostemp(temporary.data(), O_CLOEXEC));
    if (!file) return systemFailure("cannot create a file beside", path);
    auto written = writeAll(file.get(), text, temporary);
    if (written && (::fchmod(file.get(), kPrivateFile) != 0 || ::fsync(file.get()) != 0)) {
      written = systemFailure("cannot sync", temporary);
    }
    if (!written) {
      ::unlink(temporary.c_str());
      return written;
    }
  }
  if (::rename(temporary.c_str(), path.c_str()) != 0) {
    auto failure = systemFailure("cannot replace", path);
    ::unlink(temporary.c_str());
    return failure;
  }
  return syncFolder(path.parent_path());
}

std::optional<json::object> parseObject(std::string_view text) {
  json::parse_options options;
  options.max_depth = kMaxDepth;
  boost::system::error_code error;
  auto parsed = json::parse(json::string_view(text.data(), text.size()), error, {}, options);
  if (error || !parsed.is_object()) return std::nullopt;
  return std::move(parsed.as_object());
}

std::optional<DefaultsValue> toDefaultsValue(const json::value& stored) {
  switch (stored.kind()) {
    case json::kind::bool_:
      return DefaultsValue(stored.get_bool());
    case json::kind::int64:
      return DefaultsValue(stored.get_int64());
    case json::kind::double_:
      return DefaultsValue(stored.get_double());
    case json::kind::string:
      return DefaultsValue(std::string(stored.get_string()));
    case json::kind::array: {
      std::vector<std::string> strings;
      for (const auto& element : stored.get_array()) {
        if (!element.is_string()) return std::nullopt;
        strings.emplace_back(element.get_string());
      }
      return DefaultsValue(std::move(strings));
    }
    default:
      return std::nullopt;
  }
}

json::value toJson(const DefaultsValue& value) {
  return std::visit(
      [](const auto& held) -> json::value {
        using Held = std::decay_t<decltype(held)>;
        if constexpr (std::is_same_v<Held, std::vector<std::string>>) {
          return json::value(json::array(held.begin(), held.end()));
        } else {
          return json::value(held);
        }
      },
      value);
}

json::string_view jsonKey(std::string_view key) { return {key.data(), key.size()}; }

}  // namespace

struct JsonUserDefaults::Content {
  json::object members;

  /// What `file` holds now. An unreadable file is kept aside, reported, and counts as empty.
  static Result<Content> load(const fs::path& file, const Logger& log) {
    auto text = readFile(file);
    if (text && !text.value()) return Content{};
    if (text) {
      if (auto members = parseObject(*text.value())) return Content{std::move(*members)};
    }
    const std::string why = text ? file.string() + " is not a JSON object" : text.error();
    if (!text && errno == EACCES) return Failure{why};
    fs::path aside;
    for (int n = 1; aside.empty() || fs::exists(aside); ++n)
      aside = file.string() + ".unreadable-" + std::to_string(n);
    if (::rename(file.c_str(), aside.c_str()) != 0)
      return systemFailure(why + "; cannot keep it aside as", aside);
    log.error(why + "; it was kept as " + aside.string() + ", and the settings start empty");
    return Content{};
  }
};

JsonUserDefaults::JsonUserDefaults(fs::path file, Logger log)
    : file_(std::move(file)), log_(std::move(log)), content_(std::make_unique<Content>()) {
  reload();
}

JsonUserDefaults::~JsonUserDefaults() = default;

void JsonUserDefaults::reload() {
  const std::lock_guard lock(mutex_);
  auto loaded = Content::load(file_, log_);
  if (loaded) {
    *content_ = std::move(loaded).value();
  } else {
    log_.error(loaded.error());
  }
}

std::optional<DefaultsValue> JsonUserDefaults::value(std::string_view key) const {
  const std::lock_guard lock(mutex_);
  const auto* stored = content_->members.if_contains(jsonKey(key));
  return stored ? toDefaultsValue(*stored) : std::nullopt;
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
    if (auto value = toDefaultsValue(stored)) found.emplace(std::string(key), std::move(*value));
  }
  return found;
}

Result<void> JsonUserDefaults::set(std::string_view key, DefaultsValue value) {
  return change([&](Content& content) { content.members[jsonKey(key)] = toJson(value); });
}

Result<void> JsonUserDefaults::remove(std::string_view key) {
  return change([&](Content& content) { content.members.erase(jsonKey(key)); });
}

Result<void> JsonUserDefaults::change(const std::function<void(Content&)>& edit) {
  const std::lock_guard lock(mutex_);
  const auto folder = file_.parent_path();
  std::error_code error;
  if (!fs::exists(folder, error)) {
    fs::create_directories(folder.parent_path(), error);
    if (::mkdir(folder.c_str(), kPrivateFolder) != 0 && errno != EEXIST)
      return systemFailure("cannot create", folder);
  }
  const fs::path lockPath = file_.string() + ".lock";
  const Descriptor fileLock(::open(lockPath.c_str(), O_CREAT | O_RDWR | O_CLOEXEC, kPrivateFile));
  if (!fileLock || ::flock(fileLock.get(), LOCK_EX) != 0) return systemFailure("cannot lock", lockPath);

  auto fresh = Content::load(file_, log_);
  if (!fresh) return Failure{fresh.error()};
  edit(fresh.value());
  auto written = replaceFile(file_, json::serialize(fresh.value().members) + "\n");
  if (written) *content_ = std::move(fresh).value();
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

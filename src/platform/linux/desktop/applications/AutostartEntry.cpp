#include "platform/linux/desktop/applications/AutostartEntry.h"

#include <cerrno>
#include <string_view>
#include <utility>

#include "platform/linux/desktop/GlibOwned.h"

namespace tevanto {
namespace {

constexpr auto kHidden = G_KEY_FILE_DESKTOP_KEY_HIDDEN;
constexpr auto kExec = G_KEY_FILE_DESKTOP_KEY_EXEC;
constexpr auto kGnomeEnabled = "X-GNOME-Autostart-enabled";
constexpr auto kMateEnabled = "X-MATE-Autostart-enabled";
constexpr auto kTakenBack = "X-Tevanto-Unregistered";
constexpr int kPublicFile = 0644;
constexpr int kPrivateFolder = 0700;

using Strings = std::unique_ptr<char*, GlibRelease<g_strfreev>>;

class Error {
 public:
  ~Error() { g_clear_error(&error_); }
  GError** out() { return &error_; }
  bool isFileError(int code) const { return g_error_matches(error_, G_FILE_ERROR, code) != FALSE; }
  Failure failure() const { return {error_ ? error_->message : "unknown error"}; }

 private:
  GError* error_ = nullptr;
};

/// An argument of the key "Exec": quoted where it holds a reserved character, with the percent sign doubled,
/// because it introduces field codes.
std::string execArgument(std::string_view argument) {
  constexpr std::string_view kReserved = " \t\n\"'\\><~|&;$*?#()`";
  constexpr std::string_view kEscapedInQuotes = "\"`$\\";
  const bool quoted = argument.empty() || argument.find_first_of(kReserved) != argument.npos;
  std::string written;
  for (const char c : argument) {
    if (quoted && kEscapedInQuotes.find(c) != kEscapedInQuotes.npos) written += '\\';
    if (c == '%') written += '%';
    written += c;
  }
  return quoted ? '"' + written + '"' : written;
}

/// The program that an "Exec" starts, without its quotation marks.
std::optional<std::string> programOf(const char* exec) {
  char** arguments = nullptr;
  if (!g_shell_parse_argv(exec, nullptr, &arguments, nullptr)) return std::nullopt;
  const Strings owner(arguments);
  std::string program = arguments[0];
  for (auto at = program.find("%%"); at != program.npos; at = program.find("%%", at + 1))
    program.erase(at, 1);
  return program;
}

}  // namespace

struct AutostartEntry::KeyFile {
  KeyFile() : file(g_key_file_new()) {}
  ~KeyFile() { g_key_file_unref(file); }
  KeyFile(const KeyFile&) = delete;
  KeyFile& operator=(const KeyFile&) = delete;

  std::optional<bool> boolean(const char* key) const {
    Error error;
    const bool value = g_key_file_get_boolean(file, G_KEY_FILE_DESKTOP_GROUP, key, error.out()) != FALSE;
    return *error.out() ? std::nullopt : std::optional(value);
  }
  void set(const char* key, const std::string& value) {
    g_key_file_set_string(file, G_KEY_FILE_DESKTOP_GROUP, key, value.c_str());
  }
  void set(const char* key, bool value) {
    g_key_file_set_boolean(file, G_KEY_FILE_DESKTOP_GROUP, key, value ? TRUE : FALSE);
  }
  void remove(const char* key) { g_key_file_remove_key(file, G_KEY_FILE_DESKTOP_GROUP, key, nullptr); }

  GKeyFile* const file;
};

AutostartEntry::AutostartEntry() : keys_(std::make_unique<KeyFile>()) {}
AutostartEntry::~AutostartEntry() = default;
AutostartEntry::AutostartEntry(AutostartEntry&&) noexcept = default;
AutostartEntry& AutostartEntry::operator=(AutostartEntry&&) noexcept = default;

Result<std::optional<AutostartEntry>> AutostartEntry::load(const std::filesystem::path& file) {
  Error error;
  char* read = nullptr;
  gsize size = 0;
  if (!g_file_get_contents(file.c_str(), &read, &size, error.out())) {
    if (error.isFileError(G_FILE_ERROR_NOENT)) return std::optional<AutostartEntry>();
    return error.failure();
  }
  const GlibText content(read);
  AutostartEntry entry;
  const auto flags = static_cast<GKeyFileFlags>(G_KEY_FILE_KEEP_COMMENTS | G_KEY_FILE_KEEP_TRANSLATIONS);
  if (!g_key_file_load_from_data(entry.keys_->file, content.get(), size, flags, nullptr) ||
      !g_key_file_has_group(entry.keys_->file, G_KEY_FILE_DESKTOP_GROUP)) {
    return std::optional<AutostartEntry>();
  }
  return std::optional(std::move(entry));
}

Result<void> AutostartEntry::save(const std::filesystem::path& file) const {
  gsize size = 0;
  const GlibText content(g_key_file_to_data(keys_->file, &size, nullptr));
  const auto folder = file.parent_path();
  if (g_mkdir_with_parents(folder.c_str(), kPrivateFolder) != 0) {
    return Failure{"Cannot create " + folder.string() + ": " + g_strerror(errno) + "."};
  }
  Error error;
  const auto flags =
      static_cast<GFileSetContentsFlags>(G_FILE_SET_CONTENTS_CONSISTENT | G_FILE_SET_CONTENTS_DURABLE);
  if (!g_file_set_contents_full(file.c_str(), content.get(), static_cast<gssize>(size), flags, kPublicFile,
                                error.out())) {
    return error.failure();
  }
  return {};
}

bool AutostartEntry::isSwitchedOff() const {
  return keys_->boolean(kHidden) == true || keys_->boolean(kGnomeEnabled) == false ||
         keys_->boolean(kMateEnabled) == false;
}

bool AutostartEntry::isTakenBack() const { return keys_->boolean(kTakenBack) == true; }

bool AutostartEntry::startsSomething() const {
  const GlibText exec(g_key_file_get_string(keys_->file, G_KEY_FILE_DESKTOP_GROUP, kExec, nullptr));
  const auto program = exec ? programOf(exec.get()) : std::nullopt;
  return program && GlibText(g_find_program_in_path(program->c_str()));
}

void AutostartEntry::setCommand(const std::filesystem::path& program,
                                const std::vector<std::string>& arguments) {
  std::string command = execArgument(program.string());
  for (const auto& argument : arguments) command += " " + execArgument(argument);
  keys_->set(G_KEY_FILE_DESKTOP_KEY_TYPE, std::string(G_KEY_FILE_DESKTOP_TYPE_APPLICATION));
  keys_->set(G_KEY_FILE_DESKTOP_KEY_NAME, std::string("Tevanto"));
  keys_->set(G_KEY_FILE_DESKTOP_KEY_COMMENT, std::string("Puts this computer within reach of your phone"));
  keys_->set(G_KEY_FILE_DESKTOP_KEY_ICON, std::string("app.tevanto.Tevanto"));
  keys_->set(G_KEY_FILE_DESKTOP_KEY_TERMINAL, false);
  keys_->set(G_KEY_FILE_DESKTOP_KEY_TRY_EXEC, program.string());
  keys_->set(kExec, command);
  // GNOME's settings switch this key, so it has to be there for them to show the entry as theirs to switch.
  if (!keys_->boolean(kGnomeEnabled)) keys_->set(kGnomeEnabled, true);
}

void AutostartEntry::setTakenBack(bool takenBack) {
  if (takenBack) {
    keys_->set(kHidden, true);
    keys_->set(kTakenBack, true);
  } else if (isTakenBack()) {
    keys_->remove(kHidden);
    keys_->remove(kTakenBack);
  }
}

}  // namespace tevanto

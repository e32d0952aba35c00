#include "platform/linux/session/ComputerName.h"

#include <unistd.h>

#include <climits>
#include <fstream>
#include <string_view>

namespace tevanto {
namespace {

constexpr std::string_view kPretty = "PRETTY_HOSTNAME=";
constexpr std::string_view kBlank = " \t\r";

std::string_view trimmed(std::string_view text) {
  const auto first = text.find_first_not_of(kBlank);
  if (first == text.npos) return {};
  return text.substr(first, text.find_last_not_of(kBlank) - first + 1);
}

/// The value of an assignment as a shell reads it: in quotation marks or not, with backslashes.
std::string unquoted(std::string_view text) {
  std::string value;
  char quote = 0;
  for (std::size_t i = 0; i < text.size(); ++i) {
    const char c = text[i];
    if (quote == 0 && (c == '"' || c == '\'')) {
      quote = c;
    } else if (c == quote) {
      quote = 0;
    } else if (c == '\\' && quote != '\'' && i + 1 < text.size()) {
      value += text[++i];
    } else {
      value += c;
    }
  }
  return value;
}

std::optional<std::string> prettyName(const std::filesystem::path& machineInfo) {
  std::ifstream file(machineInfo);
  std::optional<std::string> name;
  for (std::string line; std::getline(file, line);) {
    const auto text = trimmed(line);
    if (text.starts_with(kPretty)) name = unquoted(text.substr(kPretty.size()));
  }
  return name;
}

}  // namespace

std::optional<std::string> computerName(const std::filesystem::path& machineInfo) {
  if (auto pretty = prettyName(machineInfo); pretty && !pretty->empty()) return pretty;
  char host[HOST_NAME_MAX + 1] = {};
  if (::gethostname(host, sizeof host - 1) != 0) return std::nullopt;
  const std::string_view name = host;
  if (name.empty() || name == "(none)") return std::nullopt;  // the kernel's word for a name never set
  return std::string(name);
}

}  // namespace tevanto

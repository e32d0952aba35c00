#include "p2p/cloud/CloudDatabase.h"

#include <array>
#include <cstdio>

namespace tevanto {
namespace {

std::string shortest(double number) {
  std::array<char, 32> text{};
  std::snprintf(text.data(), text.size(), "%g", number);
  return text.data();
}

}  // namespace

std::string summary(const CloudError& error) {
  auto text = error.domain + " " + std::to_string(error.code);
  if (error.retryAfter) text += " retryAfter=" + shortest(*error.retryAfter);
  if (error.partial.empty()) return text;
  text += " partial=[";
  for (const auto& [name, cause] : error.partial) {
    if (text.back() != '[') text += ", ";
    text += name + ": " + summary(cause);
  }
  return text + "]";
}

}  // namespace tevanto

#pragma once

#include <optional>
#include <string>

namespace tevanto {

/// Whose certificates a client believes: those of the system's authorities, or of these alone.
struct TlsTrust {
  std::optional<std::string> authoritiesPem = {};  // certificates in PEM (RFC 7468), one after the other
};

}  // namespace tevanto

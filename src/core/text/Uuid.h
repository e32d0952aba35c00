#pragma once

#include <string>

namespace tevanto {

/// A random UUID (RFC 9562, version 4) in its canonical text form of 36 characters, upper case, drawn from
/// the system's cryptographic source.
std::string randomUuid();

}  // namespace tevanto

#pragma once

#include <QString>

#include <string>

namespace tevanto {

/// Translates a service's status text, with at most one number in it, into the user's language. A text
/// without a translation stays as it is.
QString translatedStatus(const std::string& text);

}  // namespace tevanto

#pragma once

#include <QString>

#include <string>

namespace tevanto {

/// A service's status text, with at most one number in it, in the user's language; a text that nobody
/// translated stays as it is.
QString translatedStatus(const std::string& text);

}  // namespace tevanto

#pragma once

#include <string_view>

namespace tevanto {

/// Shows a page of the system's settings, named by its URL. Changes that the user makes there are not
/// reported.
void openSettingsPage(std::string_view url);

}  // namespace tevanto

#pragma once

#include <string_view>

namespace tevanto {

/// Shows a page of the system's settings, named by its URL. Whether the user changes anything there is not
/// told.
void openSettingsPage(std::string_view url);

}  // namespace tevanto

#pragma once

#include <string>
#include <vector>

namespace tevanto {

/// The addresses under which other machines may reach this one, IPv4 first; loopback and link-local ones are
/// left out. Empty without a network.
std::vector<std::string> localAddresses();

}  // namespace tevanto

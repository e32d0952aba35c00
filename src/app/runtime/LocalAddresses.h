#pragma once

#include <string>
#include <vector>

namespace tevanto {

/// Returns the addresses under which other machines may reach this one, IPv4 first, without loopback and
/// link-local ones. Empty without a network.
std::vector<std::string> localAddresses();

}  // namespace tevanto

#pragma once

#include <string>

namespace tevanto {

/// A pairing code: six decimal digits with leading zeros, drawn uniformly from the system's random source.
std::string randomPairingCode();

/// `number` (0 to 999999) as a pairing code.
std::string pairingCodeText(int number);

}  // namespace tevanto

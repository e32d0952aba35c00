#include "remote/PairingCode.h"

#include <array>
#include <cstdio>
#include <random>

namespace tevanto {

std::string randomPairingCode() {
  std::random_device system;
  return pairingCodeText(std::uniform_int_distribution<int>(0, 999999)(system));
}

std::string pairingCodeText(int number) {
  std::array<char, 16> digits;
  std::snprintf(digits.data(), digits.size(), "%06d", number);
  return digits.data();
}

}  // namespace tevanto

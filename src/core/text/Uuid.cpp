#include "core/text/Uuid.h"

#include <algorithm>
#include <boost/uuid/random_generator.hpp>
#include <boost/uuid/uuid_io.hpp>
#include <cctype>

namespace tevanto {

std::string randomUuid() {
  boost::uuids::random_generator draw;  // reads the system's entropy for each UUID
  std::string text = boost::uuids::to_string(draw());
  std::transform(text.begin(), text.end(), text.begin(), [](unsigned char c) { return std::toupper(c); });
  return text;
}

}  // namespace tevanto

#include "control/Base64.h"

#include <boost/archive/iterators/base64_from_binary.hpp>
#include <boost/archive/iterators/transform_width.hpp>

namespace tevanto {

std::string base64(std::span<const std::byte> bytes) {
  namespace iterators = boost::archive::iterators;
  using Sextets = iterators::base64_from_binary<iterators::transform_width<const char*, 6, 8>>;
  // The sextets look ahead past the last byte in groups of three, so they are given whole groups.
  std::string groups(reinterpret_cast<const char*>(bytes.data()), bytes.size());
  const std::size_t padding = (3 - bytes.size() % 3) % 3;
  groups.append(padding, '\0');
  std::string text(Sextets(groups.data()), Sextets(groups.data() + groups.size()));
  text.replace(text.size() - padding, padding, padding, '=');
  return text;
}

}  // namespace tevanto

#include "relay/TurnCredentials.h"

#include <openssl/evp.h>
#include <openssl/hmac.h>

#include <array>
#include <boost/json/array.hpp>
#include <boost/json/object.hpp>
#include <boost/json/serialize.hpp>

#include "core/text/Base64.h"

namespace tevanto::relay {
namespace {

std::string signatureOf(std::string_view text, std::string_view secret) {
  std::array<unsigned char, EVP_MAX_MD_SIZE> digest{};
  unsigned size = 0;
  ::HMAC(::EVP_sha1(), secret.data(), static_cast<int>(secret.size()),
         reinterpret_cast<const unsigned char*>(text.data()), text.size(), digest.data(), &size);
  return base64(std::as_bytes(std::span(digest).first(size)));
}

boost::json::array jsonOf(const std::vector<std::string>& texts) {
  boost::json::array array;
  for (const auto& text : texts) array.emplace_back(text);
  return array;
}

}  // namespace

TurnCredentials TurnCredentials::make(std::string_view secret, std::chrono::sys_seconds expiry,
                                      std::string_view name) {
  TurnCredentials made;
  made.username = std::to_string(expiry.time_since_epoch().count());
  if (!name.empty()) made.username.append(":").append(name);
  made.credential = signatureOf(made.username, secret);
  return made;
}

std::string turnCredentialsJson(const TurnOptions& options, std::chrono::sys_seconds now) {
  boost::json::array servers;
  if (!options.stunUrls.empty()) servers.push_back(boost::json::object{{"urls", jsonOf(options.stunUrls)}});
  const auto made = TurnCredentials::make(options.secret, now + options.lifetime, options.userName);
  servers.push_back(boost::json::object{
      {"urls", jsonOf(options.urls)}, {"username", made.username}, {"credential", made.credential}});
  return boost::json::serialize(boost::json::object{{"iceServers", std::move(servers)}});
}

}  // namespace tevanto::relay

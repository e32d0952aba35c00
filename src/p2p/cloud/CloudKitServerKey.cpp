#include "p2p/cloud/CloudKitServerKey.h"

#include <openssl/bio.h>
#include <openssl/evp.h>
#include <openssl/pem.h>

#include <array>
#include <ctime>
#include <span>

#include "core/settings/FileSystem.h"
#include "core/text/Base64.h"

namespace tevanto {
namespace {

using Bytes = std::vector<std::byte>;

template <class Object, void (*release)(Object*)>
struct Releaser {
  void operator()(Object* object) const { release(object); }
};
void releaseBio(BIO* bio) { BIO_free(bio); }
using OwnedBio = std::unique_ptr<BIO, Releaser<BIO, releaseBio>>;
using OwnedKey = std::unique_ptr<EVP_PKEY, Releaser<EVP_PKEY, EVP_PKEY_free>>;
using OwnedContext = std::unique_ptr<EVP_MD_CTX, Releaser<EVP_MD_CTX, EVP_MD_CTX_free>>;

/// Else the library would ask for the pass phrase at the terminal.
int noPassPhrase(char*, int, int, void*) { return -1; }

bool isP256(EVP_PKEY* key) {
  std::array<char, 64> group{};
  std::size_t length = 0;
  return EVP_PKEY_get_base_id(key) == EVP_PKEY_EC &&
         EVP_PKEY_get_group_name(key, group.data(), group.size(), &length) == 1 &&
         std::string_view(group.data(), length) == "prime256v1";
}

std::optional<Bytes> sha256(std::string_view text) {
  Bytes digest(EVP_MAX_MD_SIZE);
  unsigned length = 0;
  if (EVP_Digest(text.data(), text.size(), reinterpret_cast<unsigned char*>(digest.data()), &length,
                 EVP_sha256(), nullptr) != 1)
    return std::nullopt;
  digest.resize(length);
  return digest;
}

std::optional<Bytes> signature(EVP_PKEY* key, std::string_view text) {
  const OwnedContext context(EVP_MD_CTX_new());
  if (!context || EVP_DigestSignInit(context.get(), nullptr, EVP_sha256(), nullptr, key) != 1)
    return std::nullopt;
  const auto* bytes = reinterpret_cast<const unsigned char*>(text.data());
  std::size_t length = 0;
  if (EVP_DigestSign(context.get(), nullptr, &length, bytes, text.size()) != 1) return std::nullopt;
  Bytes result(length);
  if (EVP_DigestSign(context.get(), reinterpret_cast<unsigned char*>(result.data()), &length, bytes,
                     text.size()) != 1)
    return std::nullopt;
  result.resize(length);  // the form has no fixed length
  return result;
}

std::string isoDate(std::chrono::system_clock::time_point now) {
  const auto seconds = std::chrono::system_clock::to_time_t(now);
  std::tm utc{};
  gmtime_r(&seconds, &utc);
  std::array<char, 32> text{};
  return {text.data(), std::strftime(text.data(), text.size(), "%Y-%m-%dT%H:%M:%SZ", &utc)};
}

}  // namespace

struct CloudKitServerKey::PrivateKey {
  OwnedKey key;
};

Result<CloudKitServerKey> CloudKitServerKey::parse(std::string keyID, std::string_view pem) {
  const OwnedBio source(BIO_new_mem_buf(pem.data(), static_cast<int>(pem.size())));
  OwnedKey key(source ? PEM_read_bio_PrivateKey(source.get(), nullptr, noPassPhrase, nullptr) : nullptr);
  if (!key) return Failure{"This is not a private key in PEM without a pass phrase."};
  if (!isP256(key.get())) return Failure{"This is not a key for the elliptic curve P-256."};
  return CloudKitServerKey(std::move(keyID), std::make_shared<PrivateKey>(PrivateKey{std::move(key)}));
}

Result<CloudKitServerKey> CloudKitServerKey::load(std::string keyID, const std::filesystem::path& file) {
  std::string pem;
  if (const auto error = FileSystem::real()->read(file, kMaxBytes, pem))
    return Failure{"Cannot read " + file.string() + ": " + error.message() + "."};
  if (pem.size() > kMaxBytes) return Failure{file.string() + " is too large for a key."};
  auto key = parse(std::move(keyID), pem);
  return key ? std::move(key) : Failure{file.string() + ": " + key.error()};
}

std::optional<CloudKitServerKey::Headers> CloudKitServerKey::sign(
    std::string_view subpath, std::string_view body, std::chrono::system_clock::time_point now) const {
  const auto date = isoDate(now);
  const auto digest = sha256(body);
  if (!digest) return std::nullopt;
  const auto proof = signature(key_->key.get(), date + ":" + base64(*digest) + ":" + std::string(subpath));
  if (!proof) return std::nullopt;
  return Headers{{"X-Apple-CloudKit-Request-KeyID", keyID_},
                 {"X-Apple-CloudKit-Request-ISO8601Date", date},
                 {"X-Apple-CloudKit-Request-SignatureV1", base64(*proof)}};
}

}  // namespace tevanto

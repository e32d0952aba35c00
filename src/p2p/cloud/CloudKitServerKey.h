#pragma once

#include <chrono>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "core/Result.h"

namespace tevanto {

/// CloudKitServerKey is a server-to-server key of CloudKit Web Services. It signs requests with ECDSA over
/// P-256 and SHA-256 (FIPS 186-4). A cheap value; thread-safe.
class CloudKitServerKey {
 public:
  using Headers = std::vector<std::pair<std::string, std::string>>;

  /// The largest key file that is read, in bytes.
  static constexpr std::size_t kMaxBytes = 64 * 1024;

  /// A private key in PEM, without a pass phrase. `keyID` is the name that the service gave it.
  static Result<CloudKitServerKey> parse(std::string keyID, std::string_view pem);
  static Result<CloudKitServerKey> load(std::string keyID, const std::filesystem::path& file);

  /// The three headers that authenticate the sender: key, date (ISO 8601, in UTC, whole seconds), and the
  /// signature over "date:base64(SHA-256(body)):subpath". Nothing when the system's cryptography fails.
  std::optional<Headers> sign(std::string_view subpath, std::string_view body,
                              std::chrono::system_clock::time_point now) const;

 private:
  struct PrivateKey;

  CloudKitServerKey(std::string keyID, std::shared_ptr<const PrivateKey> key)
      : keyID_(std::move(keyID)), key_(std::move(key)) {}

  std::string keyID_;
  std::shared_ptr<const PrivateKey> key_;
};

}  // namespace tevanto

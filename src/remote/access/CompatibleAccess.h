#pragma once

#include "remote/access/AccessPolicy.h"

namespace tevanto {

class UserDefaults;

/// CompatibleAccess applies the rules that every released phone can work with. There is one token, which the
/// last pairing has stored.
///
///                   no token                    stored token   any other token
///     session       refused                     allowed        refused
///     command       until the first pairing     allowed        refused
///     screen        -                           allowed        refused
///
/// Anyone may try any number of pairing codes; the one on display pairs. Lines have no limit but the memory.
class CompatibleAccess final : public AccessPolicy {
 public:
  /// `defaults` holds the token and outlives this object.
  explicit CompatibleAccess(const UserDefaults& defaults) : defaults_(defaults) {}

  bool allowsPairing(const std::optional<std::string>& code, std::string_view shown) override;
  bool allowsSession(const std::optional<std::string>& token) const override;
  bool allowsCommand(const std::optional<std::string>& token) const override;
  bool allowsScreen(std::string_view token) const override;
  std::size_t maximumLineBytes() const override { return kUnlimited; }

 private:
  const UserDefaults& defaults_;
};

}  // namespace tevanto

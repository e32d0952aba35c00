#pragma once

#include "remote/access/AccessPolicy.h"

namespace tevanto {

class UserDefaults;

/// CompatibleAccess applies the rules that every released phone can work with: docs/protocol.md, section 6.
///
/// There is no limit on attempts to pair, and none but the memory on the length of a line.
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

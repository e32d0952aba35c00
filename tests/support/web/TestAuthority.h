#pragma once

#include <chrono>
#include <memory>
#include <string>
#include <vector>

namespace tevanto::test {

/// Who a server says it is, in PEM.
struct TestIdentity {
  std::string certificatePem;
  std::string keyPem;
};

/// A certificate authority of the test's own (EC P-256, X.509).
class TestAuthority {
 public:
  struct Validity {
    std::chrono::seconds from = -std::chrono::hours(1);  // relative to now
    std::chrono::seconds until = std::chrono::hours(1);
  };

  TestAuthority();
  ~TestAuthority();
  TestAuthority(const TestAuthority&) = delete;
  TestAuthority& operator=(const TestAuthority&) = delete;

  /// The certificate that makes a client trust what this issues.
  const std::string& certificatePem() const;
  /// `names` as the certificate lists them: "DNS:localhost", "IP:127.0.0.1", "IP:::1".
  TestIdentity issue(const std::vector<std::string>& names, Validity validity) const;
  TestIdentity issue(const std::vector<std::string>& names) const { return issue(names, Validity()); }
  /// Signed by itself alone.
  static TestIdentity selfSigned(const std::vector<std::string>& names);

 private:
  struct Parts;
  std::unique_ptr<Parts> parts_;
};

}  // namespace tevanto::test

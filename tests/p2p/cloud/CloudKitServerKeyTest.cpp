#include "p2p/cloud/CloudKitServerKey.h"

#include <gtest/gtest.h>

#include <string>

#include "tests/support/programs/TemporaryFolder.h"
#include "tests/support/programs/TestFiles.h"
#include "tests/support/web/CloudKitTestService.h"

namespace tevanto {
namespace {

using std::chrono::milliseconds;
using std::chrono::system_clock;
using test::CloudKitTestService;

// 2023-11-14 22:13:20.5 UTC
const system_clock::time_point kNow{milliseconds(1'700'000'000'500)};

std::string refusal(const std::string& pem) {
  const auto key = CloudKitServerKey::parse("id", pem);
  return key ? "taken" : key.error();
}

TEST(CloudKitServerKey, isAP256KeyInPem) {
  const auto good = CloudKitTestService::makePrivateKeyPem("EC", "P-256");
  EXPECT_EQ(refusal(good), "taken");
  EXPECT_EQ(refusal("-----BEGIN EC PARAMETERS-----\nBggqhkjOPQMBBw==\n-----END EC PARAMETERS-----\n" + good),
            "taken")
      << "as the openssl program writes it";
  EXPECT_EQ(refusal(CloudKitTestService::makePrivateKeyPem("EC", "P-384")),
            "This is not a key for the elliptic curve P-256.");
  EXPECT_EQ(refusal(CloudKitTestService::makePrivateKeyPem("RSA")),
            "This is not a key for the elliptic curve P-256.");
  const std::string noKey = "This is not a private key in PEM without a pass phrase.";
  EXPECT_EQ(refusal(""), noKey);
  EXPECT_EQ(refusal("nonsense"), noKey);
  EXPECT_EQ(refusal(good.substr(0, good.size() / 2)), noKey);
  EXPECT_EQ(refusal(CloudKitTestService::makePrivateKeyPem("EC", "P-256", "secret")), noKey);
}

TEST(CloudKitServerKey, isReadFromAFile) {
  const test::TemporaryFolder folder;
  const auto file = folder.path() / "key.pem";
  const auto missing = CloudKitServerKey::load("id", file);
  ASSERT_FALSE(missing.ok());
  EXPECT_EQ(missing.error(), "Cannot read " + file.string() + ": No such file or directory.");
  test::fill(file, "nonsense");
  const auto nonsense = CloudKitServerKey::load("id", file);
  ASSERT_FALSE(nonsense.ok());
  EXPECT_EQ(nonsense.error(), file.string() + ": This is not a private key in PEM without a pass phrase.");
  test::fill(file, std::string(CloudKitServerKey::kMaxBytes + 1, ' '));
  const auto large = CloudKitServerKey::load("id", file);
  ASSERT_FALSE(large.ok());
  EXPECT_EQ(large.error(), file.string() + " is too large for a key.");
  test::fill(file, CloudKitTestService::makePrivateKeyPem("EC", "P-256"));
  EXPECT_TRUE(CloudKitServerKey::load("id", file).ok());
}

class SignedRequest : public testing::Test {
 protected:
  /// The service's view of a request: 401 when the signature is not good.
  int status(const test::TestHttpRequest& request) { return service_.answer(request).status; }

  test::TestHttpRequest request(const std::string& target, const std::string& body) {
    const auto key = CloudKitServerKey::parse(CloudKitTestService::kKeyID, service_.privateKeyPem());
    auto headers = key.value().sign(target, body, kNow);
    return {body.empty() ? "GET" : "POST", target, headers.value_or(CloudKitServerKey::Headers()), body, {}};
  }

  CloudKitTestService service_{[] { return kNow; }};
  const std::string target_ =
      std::string("/database/1/") + CloudKitTestService::kContainer + "/development/public/users/caller";
  const std::string lookup_ =
      std::string("/database/1/") + CloudKitTestService::kContainer + "/development/public/records/lookup";
};

TEST_F(SignedRequest, namesTheKeyAndTheDateInWholeSeconds) {
  const auto sent = request(target_, "");
  ASSERT_EQ(sent.headers.size(), 3U);
  EXPECT_EQ(sent.header("X-Apple-CloudKit-Request-KeyID"), CloudKitTestService::kKeyID);
  EXPECT_EQ(sent.header("X-Apple-CloudKit-Request-ISO8601Date"), "2023-11-14T22:13:20Z");
  EXPECT_EQ(status(sent), 200);
}

TEST_F(SignedRequest, isBoundToBodyPathAndDate) {
  const std::string body = R"({"records":[{"recordName":"a"}]})";
  const auto genuine = request(lookup_, body);
  EXPECT_EQ(status(genuine), 200);
  auto forged = genuine;
  forged.body += " ";
  EXPECT_EQ(status(forged), 401);
  forged = genuine;
  forged.target = target_;
  EXPECT_EQ(status(forged), 401);
  forged = genuine;
  forged.headers[1].second = "2023-11-14T22:13:21Z";
  EXPECT_EQ(status(forged), 401);
  EXPECT_EQ(service_.refusedCount(), 3);
}

}  // namespace
}  // namespace tevanto

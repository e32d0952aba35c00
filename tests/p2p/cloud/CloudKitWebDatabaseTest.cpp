#include "p2p/cloud/CloudKitWebDatabase.h"

#include <gtest/gtest.h>

#include <future>
#include <string>

#include "net/web/BeastHttpClient.h"
#include "tests/support/fakes/DeploymentSources.h"
#include "tests/support/fakes/RecordingLogSink.h"
#include "tests/support/programs/TemporaryFolder.h"
#include "tests/support/programs/TestFiles.h"
#include "tests/support/web/CloudKitTestService.h"

namespace tevanto {
namespace {

using std::chrono::milliseconds;
using std::chrono::system_clock;
using test::CloudKitTestService;
using test::TestHttpReply;
using test::TestHttpRequest;
using test::TestHttpServer;

const CloudRecord kSaved{
    "tevanto-r-offer", "r", "offer", "s", "p", system_clock::time_point(milliseconds(1'700'000'000'123)), {}};

/// A database, and a real HTTPS server that checks its signatures.
class CloudKitWebDatabaseTest : public testing::Test {
 protected:
  CloudKitWebDatabaseTest() {
    test::fill(keyFile_, service_.privateKeyPem());
    sources_.environment = {{"TEVANTO_CLOUDKIT_CONTAINER", CloudKitTestService::kContainer},
                            {"TEVANTO_CLOUDKIT_ENVIRONMENT", "development"},
                            {"TEVANTO_CLOUDKIT_KEY_ID", CloudKitTestService::kKeyID},
                            {"TEVANTO_CLOUDKIT_KEY_FILE", keyFile_.string()},
                            {"TEVANTO_CLOUDKIT_SERVICE_URL", "https://" + server_.authority() + "/"}};
  }
  ~CloudKitWebDatabaseTest() override { loop_->stop(); }

  std::shared_ptr<CloudDatabase> make(const TlsTrust& trust) {
    return makeCloudDatabase(sources_.settings(),
                             {std::make_shared<BeastHttpClient>(loop_, trust), loop_->makeQueue("cloud"),
                              [this] { return system_clock::now() + clockError_; }},
                             Logger(log_, "cksignal"));
  }
  std::shared_ptr<CloudDatabase> make() { return make(TlsTrust{authority_.certificatePem()}); }

  /// Waits for the one value that `call` hands to the function that it is given.
  template <class Value, class Call>
  static Value wait(Call call) {
    std::promise<Value> promise;
    auto value = promise.get_future();
    call([&promise](Value answered) { promise.set_value(std::move(answered)); });
    return value.get();
  }
  static CloudAccountStatus status(CloudDatabase& database) {
    return wait<CloudAccountStatus>([&](auto done) { database.accountStatus(done); });
  }
  static CloudOutcome<CloudRecord> fetch(CloudDatabase& database, const std::string& name) {
    return wait<CloudOutcome<CloudRecord>>([&](auto done) { database.fetch(name, done); });
  }
  static std::optional<CloudError> save(CloudDatabase& database, const CloudRecord& record) {
    return wait<std::optional<CloudError>>(
        [&](auto done) { database.save(record, CloudUrgency::userInitiated, done); });
  }
  static std::optional<CloudError> remove(CloudDatabase& database, const std::string& name) {
    return wait<std::optional<CloudError>>(
        [&](auto done) { database.remove(name, CloudUrgency::utility, done); });
  }

  std::shared_ptr<EventLoop> loop_ = EventLoop::background(2);
  test::TestAuthority authority_;
  CloudKitTestService service_;
  TestHttpServer server_{[this](const TestHttpRequest& request) { return service_.answer(request); },
                         authority_.issue({"IP:127.0.0.1"})};
  test::TemporaryFolder folder_;
  const std::filesystem::path keyFile_ = folder_.path() / "key.pem";
  test::DeploymentSources sources_;
  std::chrono::seconds clockError_{0};
  std::shared_ptr<test::RecordingLogSink> log_ = std::make_shared<test::RecordingLogSink>();
};

TEST_F(CloudKitWebDatabaseTest, isAvailableWhenTheServiceAcceptsTheKey) {
  EXPECT_EQ(status(*make()), CloudAccountStatus::available);
  ASSERT_EQ(service_.operations().size(), 1U);
  EXPECT_EQ(service_.operations()[0].path, "users/caller");
}

TEST_F(CloudKitWebDatabaseTest, hasNoAccountWithoutContainerOrKey) {
  for (const char* name :
       {"TEVANTO_CLOUDKIT_CONTAINER", "TEVANTO_CLOUDKIT_KEY_ID", "TEVANTO_CLOUDKIT_KEY_FILE"}) {
    const auto value = sources_.environment.extract(name);
    const auto database = make();
    EXPECT_EQ(status(*database), CloudAccountStatus::noAccount) << name;
    EXPECT_EQ(fetch(*database, "n").error, (CloudError{"CKErrorDomain", 9, {}, {}}));
    EXPECT_EQ(save(*database, kSaved), (CloudError{"CKErrorDomain", 9, {}, {}}));
    EXPECT_EQ(remove(*database, "n"), (CloudError{"CKErrorDomain", 9, {}, {}}));
    sources_.environment[name] = value.mapped();
  }
  EXPECT_EQ(server_.connectionCount(), 0);
  EXPECT_TRUE(log_->lines().empty());
}

TEST_F(CloudKitWebDatabaseTest, saysWhyTheKeyFileIsOfNoUse) {
  test::fill(keyFile_, "nonsense");
  EXPECT_EQ(status(*make()), CloudAccountStatus::noAccount);
  ASSERT_EQ(log_->lines().size(), 1U);
  EXPECT_EQ(log_->lines()[0].text, "cksignal: CloudKit key: " + keyFile_.string() +
                                       ": This is not a private key in PEM without a pass phrase.");
}

TEST_F(CloudKitWebDatabaseTest, hasNoAccountWithAKeyThatTheServiceDoesNotKnow) {
  sources_.environment["TEVANTO_CLOUDKIT_KEY_ID"] = "another";
  EXPECT_EQ(status(*make()), CloudAccountStatus::noAccount);
  sources_.environment["TEVANTO_CLOUDKIT_KEY_ID"] = CloudKitTestService::kKeyID;
  test::fill(keyFile_, CloudKitTestService::makePrivateKeyPem("EC", "P-256"));
  const auto database = make();
  EXPECT_EQ(status(*database), CloudAccountStatus::noAccount);
  EXPECT_EQ(fetch(*database, "n").error.code, 9);
  EXPECT_EQ(save(*database, kSaved)->code, 9);
  EXPECT_EQ(service_.refusedCount(), 4);
}

TEST_F(CloudKitWebDatabaseTest, hasNoAccountWhenTheClockIsWrong) {
  const auto database = make();
  clockError_ = std::chrono::hours(1);
  EXPECT_EQ(status(*database), CloudAccountStatus::noAccount);
  clockError_ = std::chrono::minutes(-5);
  EXPECT_EQ(status(*database), CloudAccountStatus::available);
}

TEST_F(CloudKitWebDatabaseTest, cannotTellWhenNobodyAnswers) {
  EXPECT_EQ(status(*make(TlsTrust{test::TestAuthority().certificatePem()})),
            CloudAccountStatus::couldNotDetermine)
      << "somebody else's server";
  service_.willAnswer({.raw = "nonsense"});
  EXPECT_EQ(status(*make()), CloudAccountStatus::couldNotDetermine);
}

TEST_F(CloudKitWebDatabaseTest, keepsRecords) {
  const auto database = make();
  EXPECT_EQ(fetch(*database, kSaved.name).error, (CloudError{"CKErrorDomain", 11, {}, {}}));
  EXPECT_EQ(save(*database, kSaved), std::nullopt);
  auto found = fetch(*database, kSaved.name).value;
  ASSERT_TRUE(found);
  ASSERT_TRUE(found->serverCreated);
  EXPECT_LT(std::chrono::abs(*found->serverCreated - system_clock::now()), std::chrono::hours(1));
  found->serverCreated.reset();
  EXPECT_EQ(*found, kSaved);
}

TEST_F(CloudKitWebDatabaseTest, keepsEveryCharacterOfAPayload) {
  const auto database = make();
  auto record = kSaved;
  record.payload = "{\"sdp\":\"v=0\\r\\n\",\"ü\":\"\xF0\x9F\x94\x91\"}\n\t\x01" + std::string(200'000, 'x');
  EXPECT_EQ(save(*database, record), std::nullopt);
  const auto found = fetch(*database, record.name).value;
  ASSERT_TRUE(found);
  EXPECT_EQ(found->payload, record.payload);
}

TEST_F(CloudKitWebDatabaseTest, replacesTheWholeRecord) {
  const auto database = make();
  EXPECT_EQ(save(*database, kSaved), std::nullopt);
  EXPECT_EQ(save(*database, {.name = kSaved.name, .kind = "answer"}), std::nullopt);
  const auto found = fetch(*database, kSaved.name).value;
  ASSERT_TRUE(found);
  EXPECT_EQ(found->kind, "answer");
  EXPECT_EQ(found->payload, "");
  EXPECT_FALSE(found->created);
}

TEST_F(CloudKitWebDatabaseTest, removesRecordsWhetherOrNotTheyAreThere) {
  const auto database = make();
  EXPECT_EQ(save(*database, kSaved), std::nullopt);
  EXPECT_EQ(remove(*database, kSaved.name), std::nullopt);
  EXPECT_EQ(service_.stored(kSaved.name), "");
  EXPECT_EQ(fetch(*database, kSaved.name).error.code, 11);
  EXPECT_EQ(remove(*database, kSaved.name), std::nullopt);
}

TEST_F(CloudKitWebDatabaseTest, passesTheServicesFaultsOn) {
  const auto database = make();
  service_.willFail(429, "THROTTLED", R"("retryAfter":17)");
  EXPECT_EQ(fetch(*database, "n").error, (CloudError{"CKErrorDomain", 7, 17.0, {}}));
  service_.willFail(503, "TRY_AGAIN_LATER");
  EXPECT_EQ(save(*database, kSaved), (CloudError{"CKErrorDomain", 6, {}, {}}));
  service_.willFailForTheRecord(kSaved.name, "CONFLICT", R"("retryAfter":1)");
  EXPECT_EQ(save(*database, kSaved),
            (CloudError{"CKErrorDomain", 2, {}, {{kSaved.name, {"CKErrorDomain", 14, 1.0, {}}}}}));
  service_.willFailForTheRecord(kSaved.name, "ACCESS_DENIED");
  EXPECT_EQ(remove(*database, kSaved.name),
            (CloudError{"CKErrorDomain", 2, {}, {{kSaved.name, {"CKErrorDomain", 10, {}, {}}}}}));
  service_.willFail(403, "ACCESS_DENIED");
  EXPECT_EQ(status(*database), CloudAccountStatus::restricted);
  service_.willAnswer({.status = 200, .body = "<html></html>"});
  EXPECT_EQ(fetch(*database, "n").error, (CloudError{"CKErrorDomain", 15, {}, {}}));
  EXPECT_EQ(save(*database, kSaved), std::nullopt) << "and goes on";
}

TEST_F(CloudKitWebDatabaseTest, hasANetworkFailureWhenThereIsNoAnswer) {
  const auto database = make();
  const CloudError failure{"CKErrorDomain", 4, {}, {}};
  service_.willAnswer({.raw = ""});
  EXPECT_EQ(fetch(*database, "n").error, failure);
  service_.willAnswer({.raw = ""});
  EXPECT_EQ(save(*database, kSaved), failure);
  service_.willAnswer({.raw = ""});
  EXPECT_EQ(remove(*database, "n"), failure);
}

TEST_F(CloudKitWebDatabaseTest, writesOneRecordInTheOrderOfTheCalls) {
  const auto database = make();
  std::vector<std::future<std::optional<CloudError>>> writes;
  for (int number = 0; number < 20; ++number) {
    auto promise = std::make_shared<std::promise<std::optional<CloudError>>>();
    writes.push_back(promise->get_future());
    auto record = kSaved;
    record.session = std::to_string(number);
    database->save(record, CloudUrgency::userInitiated,
                   [promise](std::optional<CloudError> error) { promise->set_value(std::move(error)); });
  }
  for (auto& write : writes) EXPECT_EQ(write.get(), std::nullopt);
  const auto operations = service_.operations();
  ASSERT_EQ(operations.size(), 20U);
  for (int number = 0; number < 20; ++number) {
    const auto session = R"("session":{"value":")" + std::to_string(number) + "\"";
    EXPECT_NE(operations[static_cast<std::size_t>(number)].body.find(session), std::string::npos) << number;
  }
}

}  // namespace
}  // namespace tevanto

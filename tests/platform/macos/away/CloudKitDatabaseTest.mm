// The public database of a container, as the user who is signed in to iCloud. Needs a test program that was
// signed with the entitlement of iCloud services, and the container in TEVANTO_TEST_CLOUDKIT_CONTAINER.

#include "platform/macos/away/CloudKitDatabase.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cstdlib>
#include <future>
#include <memory>
#include <utility>

#include "core/text/Uuid.h"

namespace tevanto::test {
namespace {

template <class T>
struct Answer {
  std::shared_ptr<std::promise<T>> promise = std::make_shared<std::promise<T>>();
  std::function<void(T)> handler() const {
    return [kept = promise](T value) { kept->set_value(std::move(value)); };
  }
  T get() const { return promise->get_future().get(); }
};

class CloudKitDatabaseContract : public testing::Test {
 protected:
  void SetUp() override {
    const char* const container = std::getenv("TEVANTO_TEST_CLOUDKIT_CONTAINER");
    if (!container) GTEST_SKIP() << "TEVANTO_TEST_CLOUDKIT_CONTAINER names no container";
    ASSERT_TRUE(CloudKitDatabase::isAvailable()) << "this program was not signed for iCloud services";
    database_ = std::make_unique<CloudKitDatabase>(container);
  }

  std::optional<CloudError> save(const CloudRecord& record) {
    const Answer<std::optional<CloudError>> answer;
    database_->save(record, CloudUrgency::userInitiated, answer.handler());
    return answer.get();
  }
  CloudOutcome<CloudRecord> fetch(const std::string& name) {
    const Answer<CloudOutcome<CloudRecord>> answer;
    database_->fetch(name, answer.handler());
    return answer.get();
  }
  std::optional<CloudError> remove(const std::string& name) {
    const Answer<std::optional<CloudError>> answer;
    database_->remove(name, CloudUrgency::utility, answer.handler());
    return answer.get();
  }

  const std::string name_ = "tevanto-test-" + randomUuid();
  std::unique_ptr<CloudKitDatabase> database_;
};

TEST_F(CloudKitDatabaseContract, tellsOfTheAccount) {
  const Answer<CloudAccountStatus> answer;
  database_->accountStatus(answer.handler());
  EXPECT_EQ(answer.get(), CloudAccountStatus::available);
}

TEST_F(CloudKitDatabaseContract, saysThatARecordIsNotThere) {
  const auto outcome = fetch(name_);
  ASSERT_FALSE(outcome.value);
  EXPECT_EQ(outcome.error.code, CloudError::kUnknownItem) << summary(outcome.error);
}

TEST_F(CloudKitDatabaseContract, keepsTheLastOfTwoWritesUntilItIsRemoved) {
  CloudRecord record{.name = name_, .room = "r", .kind = "offer", .session = "S", .payload = "first"};
  record.created = std::chrono::time_point_cast<std::chrono::milliseconds>(std::chrono::system_clock::now());
  const Answer<std::optional<CloudError>> first;
  database_->save(record, CloudUrgency::utility, first.handler());
  record.payload = "second";
  const auto failed = save(record);
  EXPECT_FALSE(failed) << summary(*failed);
  EXPECT_FALSE(first.get());

  const auto outcome = fetch(name_);
  ASSERT_TRUE(outcome.value) << summary(outcome.error);
  EXPECT_TRUE(outcome.value->serverCreated);
  auto expected = record;
  expected.serverCreated = outcome.value->serverCreated;
  EXPECT_EQ(*outcome.value, expected);

  EXPECT_FALSE(remove(name_));
  EXPECT_FALSE(fetch(name_).value);
  EXPECT_FALSE(remove(name_)) << "what is gone may be removed again";
}

}  // namespace
}  // namespace tevanto::test

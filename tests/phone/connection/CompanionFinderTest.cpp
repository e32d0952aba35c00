#include "phone/connection/CompanionFinder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/support/fakes/FakeServiceBrowser.h"
#include "tests/support/fakes/FakeUserDefaults.h"

namespace tevanto::phone {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::SizeIs;

FoundService service(std::string name, std::string id, std::vector<std::string> addresses) {
  return {
      std::move(name), "desk.local", std::move(addresses), 51637, {{"id", std::move(id)}, {"kind", "mac"}}};
}

class CompanionFinderTest : public testing::Test {
 protected:
  Answer<Target> find(CompanionFinder::Choice choice,
                      CompanionFinder::For purpose = CompanionFinder::For::command) {
    return CompanionFinder(&browser_, paired_, std::move(choice)).find(purpose);
  }
  void expectTrouble(const Answer<Target>& answer, ExitCode code, const std::string& text) {
    ASSERT_FALSE(answer);
    EXPECT_EQ(answer.trouble().code, code);
    EXPECT_THAT(answer.trouble().message, HasSubstr(text));
  }

  test::FakeServiceBrowser browser_;
  test::FakeUserDefaults defaults_;
  PairedCompanions paired_{defaults_};
};

TEST_F(CompanionFinderTest, findsTheOnlyCompanion) {
  browser_.services = {service("Desk", "A", {"10.0.0.1", "fe80::1%eth0"})};
  const auto target = find({});
  ASSERT_TRUE(target);
  EXPECT_EQ(target->endpoint, (Endpoint{{"10.0.0.1", "fe80::1%eth0"}, 51637}));
  EXPECT_EQ(target->deviceID, "A");
  EXPECT_THAT(browser_.types, ElementsAre("_tevanto-remote._tcp"));
}

TEST_F(CompanionFinderTest, takesTheHostNameWithoutAnAddress) {
  browser_.services = {service("Desk", "A", {})};
  EXPECT_THAT(find({})->endpoint.hosts, ElementsAre("desk.local"));
}

TEST_F(CompanionFinderTest, countsACompanionOnSeveralNetworksOnce) {
  browser_.services = {service("Desk", "A", {"10.0.0.1"}), service("Desk", "A", {"10.0.0.1", "::1"})};
  const auto found = CompanionFinder(&browser_, paired_, {}).discover();
  ASSERT_TRUE(found);
  ASSERT_THAT(*found, SizeIs(1));
  EXPECT_THAT(found->front().addresses, ElementsAre("10.0.0.1", "::1"));
}

TEST_F(CompanionFinderTest, choosesByNameOrIdentifier) {
  browser_.services = {service("Desk", "A", {"10.0.0.1"}), service("Attic", "B", {"10.0.0.2"})};
  CompanionFinder::Choice choice;
  choice.companion = "Attic";
  EXPECT_EQ(find(choice)->deviceID, "B");
  choice.companion = "A";
  EXPECT_EQ(find(choice)->deviceID, "A");
  choice.companion = "Cellar";
  expectTrouble(find(choice), ExitCode::notFound, "No companion found");
}

TEST_F(CompanionFinderTest, prefersTheLastPairedOneForCommands) {
  browser_.services = {service("Desk", "A", {"10.0.0.1"}), service("Attic", "B", {"10.0.0.2"})};
  ASSERT_TRUE(paired_.remember("A", "Desk", "t1", {{"10.0.0.1"}}));
  ASSERT_TRUE(paired_.remember("B", "Attic", "t2", {{"10.0.0.2"}}));
  EXPECT_EQ(find({})->deviceID, "B");
}

TEST_F(CompanionFinderTest, takesTheOnlyPairedOneOfThoseThatAnswer) {
  browser_.services = {service("Desk", "A", {"10.0.0.1"}), service("Attic", "B", {"10.0.0.2"})};
  ASSERT_TRUE(paired_.remember("A", "Desk", "t1", {{"10.0.0.1"}}));
  ASSERT_TRUE(paired_.remember("C", "Cellar", "t3", {{"10.0.0.3"}}));
  EXPECT_EQ(find({})->deviceID, "A");
}

TEST_F(CompanionFinderTest, asksWhichOneWhenItCannotTell) {
  browser_.services = {service("Desk", "A", {"10.0.0.1"}), service("Attic", "B", {"10.0.0.2"})};
  expectTrouble(find({}), ExitCode::usage, "\"Desk\", \"Attic\"");
  ASSERT_TRUE(paired_.remember("A", "Desk", "t1", {{"10.0.0.1"}}));
  expectTrouble(find({}, CompanionFinder::For::pairing), ExitCode::usage, "--companion");
}

TEST_F(CompanionFinderTest, doesNotLookWhenTheAddressIsGiven) {
  CompanionFinder::Choice choice;
  choice.host = Endpoint{{"10.9.9.9"}, 7};
  EXPECT_EQ(find(choice)->endpoint, *choice.host);
  EXPECT_THAT(browser_.types, SizeIs(0));
}

TEST_F(CompanionFinderTest, knowsWhoIsAtAnAddressAndTakesNobodyForAnother) {
  ASSERT_TRUE(paired_.remember("A", "Desk", "t1", {{"10.0.0.1", "fe80::1"}}));
  ASSERT_TRUE(paired_.remember("B", "Attic", "t2", {{"10.0.0.2"}}));
  const auto at = [this](const std::string& host, std::uint16_t port = kCompanionPort,
                         const std::string& companion = "") {
    CompanionFinder::Choice choice;
    choice.host = Endpoint{{host}, port};
    choice.companion = companion;
    return find(choice)->deviceID;
  };
  EXPECT_EQ(at("10.0.0.1"), "A");
  EXPECT_EQ(at("fe80::1"), "A");
  EXPECT_EQ(at("10.0.0.2"), "B");
  EXPECT_EQ(at("10.0.0.1", 7), "A");  // the same computer
  EXPECT_EQ(at("127.0.0.1"), std::nullopt);
  EXPECT_EQ(at("10.0.0.11"), std::nullopt);
  EXPECT_EQ(at("127.0.0.1", 7, "Desk"), "A");
  EXPECT_EQ(at("127.0.0.1", 7, "B"), "B");
  EXPECT_EQ(at("127.0.0.1", 7, "Cellar"), std::nullopt);
}

TEST_F(CompanionFinderTest, takesTheLastPairedOfSeveralOnOneHost) {
  ASSERT_TRUE(paired_.remember("A", "Desk", "t1", {{"10.0.0.1"}, 1}));
  ASSERT_TRUE(paired_.remember("B", "Attic", "t2", {{"10.0.0.1"}, 2}));
  CompanionFinder::Choice choice;
  choice.host = Endpoint{{"10.0.0.1"}, 3};
  EXPECT_EQ(find(choice)->deviceID, "B");
  ASSERT_TRUE(paired_.remember("C", "Cellar", "t3", {{"10.0.0.3"}}));
  EXPECT_EQ(find(choice)->deviceID, std::nullopt);
}

TEST_F(CompanionFinderTest, saysWhatToDoWithoutDiscovery) {
  browser_.failure = "Nobody to ask.";
  expectTrouble(find({}), ExitCode::notFound, "Nobody to ask. --host ADDRESS");
  const auto without = CompanionFinder(nullptr, paired_, {}).find(CompanionFinder::For::command);
  expectTrouble(without, ExitCode::notFound, "--host ADDRESS");
}

TEST_F(CompanionFinderTest, saysWhenNobodyAnswers) {
  expectTrouble(find({}), ExitCode::notFound, "No companion found on the local network");
}

}  // namespace
}  // namespace tevanto::phone

#include "platform/macos/values/network/RouteStatistics.h"

#include <gtest/gtest.h>

#include <map>
#include <variant>

namespace tevanto {
namespace {

using Members = std::map<std::string, std::variant<std::string, bool>>;

template <class T>
std::optional<T> find(const Members& members, const char* name) {
  const auto found = members.find(name);
  if (found == members.end() || !std::holds_alternative<T>(found->second)) return std::nullopt;
  return std::get<T>(found->second);
}

StatisticsEntry entryOf(std::string id, std::string type, Members members = {}) {
  return {std::move(id), std::move(type),
          [members](const char* name) { return find<std::string>(members, name); },
          [members](const char* name) { return find<bool>(members, name); }};
}

TEST(RouteStatistics, findTheSelectedPairOfTheTransport) {
  RouteReport report;
  add(report, entryOf("T1", "transport"));
  EXPECT_FALSE(report.selectedCandidatePairId);
  add(report, entryOf("T2", "transport", {{"selectedCandidatePairId", "P1"}}));
  add(report, entryOf("T3", "transport", {{"selectedCandidatePairId", true}}));
  EXPECT_EQ(report.selectedCandidatePairId, "P1");
}

TEST(RouteStatistics, holdPairsWithWhatTheyTell) {
  RouteReport report;
  add(report, entryOf("P1", "candidate-pair",
                      {{"localCandidateId", "L"},
                       {"remoteCandidateId", "R"},
                       {"nominated", true},
                       {"selected", false},
                       {"state", "succeeded"}}));
  add(report, entryOf("P2", "candidate-pair"));
  ASSERT_EQ(report.pairs.size(), 2u);
  EXPECT_EQ(report.pairs[0].id, "P1");
  EXPECT_EQ(report.pairs[0].localCandidateId, "L");
  EXPECT_EQ(report.pairs[0].remoteCandidateId, "R");
  EXPECT_TRUE(report.pairs[0].nominated);
  EXPECT_EQ(report.pairs[0].selected, false);
  EXPECT_EQ(report.pairs[0].state, "succeeded");
  EXPECT_EQ(report.pairs[1].localCandidateId, "");
  EXPECT_FALSE(report.pairs[1].nominated);
  EXPECT_EQ(report.pairs[1].selected, std::nullopt);
}

TEST(RouteStatistics, holdCandidatesOfBothSides) {
  RouteReport report;
  add(report, entryOf("L", "local-candidate", {{"candidateType", "host"}}));
  add(report, entryOf("R", "remote-candidate", {{"candidateType", "relay"}}));
  ASSERT_EQ(report.candidates.size(), 2u);
  EXPECT_EQ(report.candidates[0].id, "L");
  EXPECT_EQ(report.candidates[0].candidateType, "host");
  EXPECT_EQ(report.candidates[1].candidateType, "relay");
}

TEST(RouteStatistics, leaveOutEverythingElse) {
  RouteReport report;
  for (const auto* type : {"data-channel", "certificate", "peer-connection", ""})
    add(report, entryOf("X", type, {{"selectedCandidatePairId", "P9"}, {"candidateType", "relay"}}));
  EXPECT_FALSE(report.selectedCandidatePairId);
  EXPECT_TRUE(report.pairs.empty());
  EXPECT_TRUE(report.candidates.empty());
}

}  // namespace
}  // namespace tevanto

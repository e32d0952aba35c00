#include "relay/RelayMetrics.h"

#include <gtest/gtest.h>

#include <map>
#include <regex>
#include <set>
#include <sstream>

namespace tevanto::relay {
namespace {

/// Every line as the Prometheus text format 0.0.4 has it; the samples by name and labels.
std::map<std::string, std::string> samplesOf(const std::string& page) {
  const std::regex help("# HELP ([a-z_]+) .+");
  const std::regex type("# TYPE ([a-z_]+) (counter|gauge)");
  const std::regex sample("([a-z_]+)(\\{[a-z]+=\"[a-z]+\"\\})? ([0-9]+)");
  std::map<std::string, std::string> samples;
  std::set<std::string> typed;
  std::istringstream lines(page);
  std::smatch found;
  for (std::string line; std::getline(lines, line);) {
    if (std::regex_match(line, found, help)) continue;
    if (std::regex_match(line, found, type)) {
      EXPECT_TRUE(typed.insert(found[1]).second) << "typed twice: " << line;
      EXPECT_EQ(found[2] == "counter", found[1].str().ends_with("_total")) << line;
    } else if (std::regex_match(line, found, sample)) {
      EXPECT_TRUE(typed.contains(found[1])) << "not typed: " << line;
      samples[found[1].str() + found[2].str()] = found[3];
    } else {
      ADD_FAILURE() << "no line of the format: " << line;
    }
  }
  return samples;
}

TEST(RelayMetrics, areAPageOfThePrometheusFormat) {
  const auto page = RelayMetrics().text();
  EXPECT_EQ(page.back(), '\n');
  EXPECT_EQ(samplesOf(page).size(), 16u);
}

TEST(RelayMetrics, sayWhatWasCounted) {
  RelayMetrics metrics;
  metrics.connections = 1;
  metrics.macMembers = 2;
  metrics.phoneMembers = 3;
  metrics.rooms = 4;
  metrics.acceptedConnections = 5;
  metrics.refusedConnections = 6;
  metrics.joins = 7;
  metrics.forwardedMessages = 8;
  metrics.forwardedBytes = 18'446'744'073'709'551'615U;
  metrics.messagesToNobody = 10;
  metrics.replacedMembers = 11;
  metrics.rateLimitedMembers = 12;
  metrics.slowReaders = 13;
  metrics.silentMembers = 14;
  metrics.failedRequests = 15;
  metrics.turnCredentials = 16;
  EXPECT_EQ(samplesOf(metrics.text()), (std::map<std::string, std::string>{
                                           {"tevanto_relay_connections", "1"},
                                           {"tevanto_relay_members{role=\"mac\"}", "2"},
                                           {"tevanto_relay_members{role=\"phone\"}", "3"},
                                           {"tevanto_relay_rooms", "4"},
                                           {"tevanto_relay_connections_accepted_total", "5"},
                                           {"tevanto_relay_connections_refused_total", "6"},
                                           {"tevanto_relay_joins_total", "7"},
                                           {"tevanto_relay_messages_forwarded_total", "8"},
                                           {"tevanto_relay_forwarded_bytes_total", "18446744073709551615"},
                                           {"tevanto_relay_messages_to_nobody_total", "10"},
                                           {"tevanto_relay_members_ended_total{reason=\"replaced\"}", "11"},
                                           {"tevanto_relay_members_ended_total{reason=\"rate\"}", "12"},
                                           {"tevanto_relay_members_ended_total{reason=\"slow\"}", "13"},
                                           {"tevanto_relay_members_ended_total{reason=\"silent\"}", "14"},
                                           {"tevanto_relay_requests_failed_total", "15"},
                                           {"tevanto_relay_turn_credentials_total", "16"},
                                       }));
}

}  // namespace
}  // namespace tevanto::relay

#include <gtest/gtest.h>

#include <boost/json/value.hpp>
#include <string>
#include <utility>
#include <vector>

#include "net/discovery/ServiceRecord.h"
#include "tests/remote/RemoteServerFixture.h"
#include "tests/screen/ScreenStreamServerFixture.h"
#include "tests/vectors/Vectors.h"

namespace tevanto::test {
namespace {

using Entries = std::vector<std::pair<std::string, std::string>>;

Entries entriesOf(const boost::json::value& value) {
  Entries entries;
  for (const auto& entry : value.as_array()) entries.emplace_back(textOf(entry.at(0)), textOf(entry.at(1)));
  return entries;
}

TEST(DiscoveryVectors, holdTextRecords) {
  for (const auto& vector : vectorsOf("discovery.json", "txt")) {
    SCOPED_TRACE(vector.name());
    EXPECT_EQ(stringOf(textRecordOf(entriesOf(vector.value()))), vector.bytes());
  }
}

TEST(DiscoveryVectors, holdNames) {
  for (const auto& vector : vectorsOf("discovery.json", "name")) {
    SCOPED_TRACE(vector.name());
    EXPECT_EQ(serviceNameFrom(textOf(vector.value())), vector.bytes());
  }
}

void expectService(const ServiceDescription& service, std::uint16_t defaultPort, std::string_view which,
                   const std::vector<std::string>& keys) {
  for (const auto& vector : vectorsOf("discovery.json", "services")) {
    SCOPED_TRACE(vector.name());
    const auto& expected = vector.value().at(which);
    EXPECT_EQ(service.type, textOf(expected.at("type")));
    EXPECT_EQ(defaultPort, expected.at("port").as_int64());
    std::vector<std::string> found;
    for (const auto& [key, value] : service.txt) found.push_back(key);
    EXPECT_EQ(found, keys);
  }
}

class ControlServiceVectors : public RemoteServerTest {};

TEST_F(ControlServiceVectors, holdWhatIsAdvertised) {
  start();
  ASSERT_EQ(advertiser_.advertised.size(), 1U);
  expectService(advertiser_.advertised.front(), MacRemoteServer::kDefaultPort, "control", {"id", "kind"});
}

class ScreenServiceVectors : public ScreenStreamServerTest {};

TEST_F(ScreenServiceVectors, holdWhatIsAdvertised) {
  start();
  ASSERT_EQ(advertiser_.services.size(), 1U);
  expectService(advertiser_.services.front(), ScreenStreamServer::kDefaultPort, "screen", {"id"});
}

}  // namespace
}  // namespace tevanto::test

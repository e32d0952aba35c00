#include <gtest/gtest.h>

#include <map>
#include <set>
#include <string>

#include "tests/vectors/Vectors.h"

namespace tevanto::test {
namespace {

/// Every kind that a test of this program goes through.
const std::map<std::string, std::set<std::string>> kCheckedKinds = {
    {"chunks.json", {"chunk", "message", "stream"}},
    {"cloud.json",
     {"delete", "invite", "inviteRecord", "lookup", "lookupAnswer", "save", "signalRecord", "turnRecord"}},
    {"control-frames.json", {"frame", "message", "screenMessage"}},
    {"discovery.json", {"name", "services", "txt"}},
    {"exchanges.json", {"exchange"}},
    {"frames.json", {"stream"}},
    {"lines.json", {"stream"}},
    {"messages.json", {"appsHash", "message"}},
    {"packets.json", {"edges", "message", "packet", "stream"}},
    {"relay.json",
     {"address", "close", "credentialAddress", "iceServers", "request", "target", "turnCredentials"}},
    {"screen-messages.json", {"hello", "keyFrameRequest", "parameterSets", "stop", "unknown", "videoFrame"}},
    {"signals.json", {"signal"}},
};

TEST(VectorFiles, areAllChecked) {
  std::set<std::string> files;
  for (const auto& [file, kinds] : kCheckedKinds) files.insert(file);
  const auto found = vectorFiles();
  EXPECT_EQ(std::set<std::string>(found.begin(), found.end()), files);
}

TEST(VectorFiles, holdTheKindsThatAreChecked) {
  for (const auto& [file, kinds] : kCheckedKinds) EXPECT_EQ(kindsIn(file), kinds) << file;
}

TEST(VectorFiles, nameEachVectorOnce) {
  for (const auto& file : vectorFiles()) {
    std::set<std::string> names;
    for (const auto& name : namesIn(file)) EXPECT_TRUE(names.insert(name).second) << file << ": " << name;
    EXPECT_FALSE(names.empty()) << file;
  }
}

}  // namespace
}  // namespace tevanto::test

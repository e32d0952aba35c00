#include "relay/OutgoingMessages.h"

#include <gtest/gtest.h>

namespace tevanto::relay {
namespace {

TEST(OutgoingMessages, keepTheirOrder) {
  OutgoingMessages outgoing(100);
  EXPECT_TRUE(outgoing.isEmpty());
  EXPECT_TRUE(outgoing.push({"first", true}));
  EXPECT_TRUE(outgoing.push({"second", false}));
  EXPECT_EQ(outgoing.front().bytes, "first");
  outgoing.pop();
  EXPECT_EQ(outgoing.front().bytes, "second");
  EXPECT_FALSE(outgoing.front().isText);
  outgoing.pop();
  EXPECT_TRUE(outgoing.isEmpty());
}

TEST(OutgoingMessages, takeExactlyTheLimit) {
  OutgoingMessages outgoing(1024 * 1024);
  for (int i = 0; i < 4; ++i) EXPECT_TRUE(outgoing.push({std::string(256 * 1024, 'x'), true}));
  EXPECT_EQ(outgoing.bytes(), 1024u * 1024u);
  EXPECT_FALSE(outgoing.push({"x", true}));
  EXPECT_EQ(outgoing.count(), 4u);
  outgoing.pop();
  EXPECT_TRUE(outgoing.push({std::string(256 * 1024, 'x'), true}));
  EXPECT_FALSE(outgoing.push({"x", true}));
}

}  // namespace
}  // namespace tevanto::relay

#include "net/IceUrl.h"

#include <gtest/gtest.h>

namespace tevanto {
namespace {

TEST(IceUrl, isTakenApart) {
  EXPECT_EQ(parseIceUrl("stun:stun.example.org"), (IceUrl{"stun", "stun.example.org", 3478, "udp"}));
  EXPECT_EQ(parseIceUrl("stun:stun.example.org:19302"), (IceUrl{"stun", "stun.example.org", 19302, "udp"}));
  EXPECT_EQ(parseIceUrl("turn:192.0.2.1:3479?transport=tcp"), (IceUrl{"turn", "192.0.2.1", 3479, "tcp"}));
  EXPECT_EQ(parseIceUrl("turn:a?transport=udp"), (IceUrl{"turn", "a", 3478, "udp"}));
}

TEST(IceUrl, hasItsSchemesPortAndTransport) {
  EXPECT_EQ(parseIceUrl("turns:a"), (IceUrl{"turns", "a", 5349, "tcp"}));
  EXPECT_EQ(parseIceUrl("stuns:a"), (IceUrl{"stuns", "a", 5349, "tcp"}));
  EXPECT_EQ(parseIceUrl("turns:a:443?transport=tcp"), (IceUrl{"turns", "a", 443, "tcp"}));
}

TEST(IceUrl, takesIPv6InBrackets) {
  EXPECT_EQ(parseIceUrl("stun:[2001:db8::1]"), (IceUrl{"stun", "2001:db8::1", 3478, "udp"}));
  EXPECT_EQ(parseIceUrl("turn:[::1]:9?transport=tcp"), (IceUrl{"turn", "::1", 9, "tcp"}));
}

TEST(IceUrl, isNothingForAnythingElse) {
  for (const auto* text : {"",
                           "stun",
                           "stun:",
                           "stun::3478",
                           "http:a",
                           "STUN :a",
                           "turn:a:",
                           "turn:a:0",
                           "turn:a:65536",
                           "turn:a:9x",
                           "turn:a:-1",
                           "turn:[::1",
                           "turn:[]",
                           "turn:[::1]9",
                           "turn:a?",
                           "turn:a?transport=",
                           "turn:a?transport=sctp",
                           "turn:a?other=udp",
                           "turn://a",
                           "turn:user@a",
                           "turn:a b",
                           "turn:a\x1b"})
    EXPECT_EQ(parseIceUrl(text), std::nullopt) << text;
}

}  // namespace
}  // namespace tevanto

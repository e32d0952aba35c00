#include "relay/ClientAddress.h"

#include <gtest/gtest.h>

namespace tevanto::relay {
namespace {

IpAddress ip(const char* text) { return IpAddress::parse(text).value(); }

TEST(IpAddress, parsesBothFamilies) {
  EXPECT_TRUE(ip("192.0.2.1").isV4());
  EXPECT_FALSE(ip("2001:db8::1").isV4());
  EXPECT_EQ(ip("::ffff:192.0.2.1"), ip("192.0.2.1"));
  EXPECT_EQ(ip("fe80::1%eth0"), ip("fe80::1"));
  for (const auto* text : {"", "localhost", "192.0.2", "192.0.2.256", "1.2.3.4.5", "2001:db8", "::1::"})
    EXPECT_FALSE(IpAddress::parse(text)) << text;
}

TEST(IpAddress, countsAnIpv6NetworkAsOneClient) {
  EXPECT_EQ(ip("2001:db8:1:2::1").clientKey(), ip("2001:db8:1:2:ffff::9").clientKey());
  EXPECT_NE(ip("2001:db8:1:2::1").clientKey(), ip("2001:db8:1:3::1").clientKey());
  EXPECT_NE(ip("192.0.2.1").clientKey(), ip("192.0.2.2").clientKey());
}

TEST(TrustedProxies, holdAddressesAndNetworks) {
  const auto trusted = TrustedProxies::parse({"127.0.0.1", "10.0.0.0/9", "fd00::/8", "::1"});
  ASSERT_TRUE(trusted);
  for (const auto* text : {"127.0.0.1", "10.1.2.3", "10.127.255.255", "fdab::1", "::1"})
    EXPECT_TRUE(trusted.value().contains(ip(text))) << text;
  for (const auto* text : {"127.0.0.2", "10.128.0.0", "11.0.0.1", "fc00::1", "::2"})
    EXPECT_FALSE(trusted.value().contains(ip(text))) << text;
}

TEST(TrustedProxies, mayBeEverybodyOrNobody) {
  EXPECT_TRUE(TrustedProxies::parse({"0.0.0.0/0"}).value().contains(ip("192.0.2.1")));
  EXPECT_FALSE(TrustedProxies::parse({"0.0.0.0/0"}).value().contains(ip("2001:db8::1")));
  EXPECT_FALSE(TrustedProxies::parse({}).value().contains(ip("127.0.0.1")));
}

TEST(TrustedProxies, refuseWhatIsNoNetwork) {
  for (const auto* text :
       {"", "proxy", "10.0.0.0/33", "10.0.0.0/", "10.0.0.0/x", "10.0.0.0/8x", "::1/129", "::1/-1"})
    EXPECT_FALSE(TrustedProxies::parse({text})) << text;
}

TEST(TrustedProxies, believeAHeaderOnlyOfATrustedPeer) {
  const auto trusted = TrustedProxies::parse({"127.0.0.1"}).value();
  EXPECT_EQ(trusted.clientOf(ip("127.0.0.1"), "192.0.2.7"), ip("192.0.2.7"));
  EXPECT_EQ(trusted.clientOf(ip("192.0.2.9"), "192.0.2.7"), ip("192.0.2.9"));
  EXPECT_EQ(TrustedProxies().clientOf(ip("127.0.0.1"), "192.0.2.7"), ip("127.0.0.1"));
}

TEST(TrustedProxies, takeTheLastAddressThatIsNotTrusted) {
  const auto trusted = TrustedProxies::parse({"127.0.0.1", "10.0.0.0/8"}).value();
  const auto peer = ip("127.0.0.1");
  EXPECT_EQ(trusted.clientOf(peer, "6.6.6.6, 192.0.2.7, 10.1.1.1"), ip("192.0.2.7"));
  EXPECT_EQ(trusted.clientOf(peer, " 192.0.2.7\t"), ip("192.0.2.7"));
  EXPECT_EQ(trusted.clientOf(peer, "[2001:db8::7]:443"), ip("2001:db8::7"));
  EXPECT_EQ(trusted.clientOf(peer, "192.0.2.7:1234"), ip("192.0.2.7"));
  EXPECT_EQ(trusted.clientOf(peer, "2001:db8::7"), ip("2001:db8::7"));
}

TEST(TrustedProxies, stopAtWhatIsNoAddress) {
  const auto trusted = TrustedProxies::parse({"127.0.0.1", "10.0.0.0/8"}).value();
  const auto peer = ip("127.0.0.1");
  for (const auto* header : {"", ",", "unknown", "[", "[]", "192.0.2.7, unknown", ":"})
    EXPECT_EQ(trusted.clientOf(peer, header), peer) << header;
  EXPECT_EQ(trusted.clientOf(peer, "garbage, 10.1.1.1"), ip("10.1.1.1"));
}

}  // namespace
}  // namespace tevanto::relay

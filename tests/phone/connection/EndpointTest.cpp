#include "phone/connection/Endpoint.h"

#include <gtest/gtest.h>

namespace tevanto::phone {
namespace {

TEST(Endpoint, readsHostsAndPorts) {
  const std::tuple<const char*, const char*, int> rows[] = {{"desk.local", "desk.local", 51637},
                                                            {"desk.local:80", "desk.local", 80},
                                                            {"10.0.0.7:65535", "10.0.0.7", 65535},
                                                            {"[::1]", "::1", 51637},
                                                            {"[::1]:5", "::1", 5},
                                                            {"::1", "::1", 51637},
                                                            {"fe80::1%eth0", "fe80::1%eth0", 51637},
                                                            {"[fe80::1%eth0]:9", "fe80::1%eth0", 9}};
  for (const auto& [text, host, port] : rows) {
    const auto endpoint = parseEndpoint(text);
    ASSERT_TRUE(endpoint) << text;
    EXPECT_EQ(*endpoint, (Endpoint{{host}, static_cast<std::uint16_t>(port)})) << text;
  }
}

TEST(Endpoint, refusesWhatIsNoAddress) {
  for (const auto* text : {"", ":80", "host:", "host:0", "host:65536", "host:8x", "host:-1", "[::1", "[]:5",
                           "[::1]5", "[::1]:"}) {
    EXPECT_EQ(parseEndpoint(text), std::nullopt) << text;
  }
}

TEST(Endpoint, writesWhatItReads) {
  for (const auto* text : {"desk.local:80", "[::1]:5"}) EXPECT_EQ(parseEndpoint(text)->text(), text);
}

}  // namespace
}  // namespace tevanto::phone

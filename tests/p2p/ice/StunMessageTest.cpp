#include "p2p/ice/StunMessage.h"

#include <gtest/gtest.h>

#include "tests/support/peers/StunAnswers.h"

namespace tevanto {
namespace {

using test::exampleAddress;
using test::kStunError;
using test::kStunErrorCode;
using test::kStunSuccess;
using test::kStunXorMappedAddress;
using test::stunAttribute;
using test::StunBytes;
using test::stunBytes;

/// That of RFC 5769.
StunTransaction transaction() {
  StunTransaction made{};
  const auto bytes = stunBytes({0xb7, 0xe7, 0xa7, 0x01, 0xbc, 0x34, 0xd6, 0x86, 0xfa, 0x87, 0xdf, 0xae});
  std::copy(bytes.begin(), bytes.end(), made.begin());
  return made;
}

StunBytes answer(int type, const StunBytes& attributes) {
  return test::stunAnswerTo(stunBindingRequest(transaction()), type, attributes);
}

std::optional<StunAnswer> read(const StunBytes& datagram) { return readStunAnswer(datagram, transaction()); }

StunBytes joined(StunBytes one, const StunBytes& other) {
  one.insert(one.end(), other.begin(), other.end());
  return one;
}

TEST(StunMessage, asksForABinding) {
  const auto request = stunBindingRequest(transaction());
  const auto expected = stunBytes({0,    1,    0,    0,    0x21, 0x12, 0xA4, 0x42, 0xb7, 0xe7,
                                   0xa7, 0x01, 0xbc, 0x34, 0xd6, 0x86, 0xfa, 0x87, 0xdf, 0xae});
  EXPECT_TRUE(std::equal(request.begin(), request.end(), expected.begin(), expected.end()));
}

TEST(StunMessage, readsTheAnswersOfThePublishedTestVectors) {
  EXPECT_EQ(read(answer(kStunSuccess, exampleAddress())), (StunAnswer{"192.0.2.1:32853"}));
  const auto ipv6 = stunAttribute(kStunXorMappedAddress,
                                  stunBytes({0,    2,    0xa1, 0x47, 0x01, 0x13, 0xa9, 0xfa, 0xa5, 0xd3,
                                             0xf1, 0x79, 0xbc, 0x25, 0xf4, 0xb5, 0xbe, 0xd2, 0xb9, 0xd9}));
  EXPECT_EQ(read(answer(kStunSuccess, ipv6)), (StunAnswer{"[2001:db8:1234:5678:11:2233:4455:6677]:32853"}));
}

TEST(StunMessage, passesOverOtherAttributesWithTheirPadding) {
  const auto software = stunAttribute(0x8022, stunBytes({'t', 'e', 's', 't', '!'}));
  const auto withdrawn = stunAttribute(0x0004, stunBytes({0, 1, 0, 1, 1, 2, 3, 4}));
  EXPECT_EQ(read(answer(kStunSuccess, joined(joined(software, withdrawn), exampleAddress()))),
            (StunAnswer{"192.0.2.1:32853"}));
}

TEST(StunMessage, takesTheFirstOfTwoAddresses) {
  const auto other = stunAttribute(kStunXorMappedAddress, stunBytes({0, 1, 0, 0, 0, 0, 0, 0}));
  EXPECT_EQ(read(answer(kStunSuccess, joined(exampleAddress(), other))), (StunAnswer{"192.0.2.1:32853"}));
}

TEST(StunMessage, readsErrors) {
  const auto of = [](int hundreds, int rest) {
    return read(
        answer(kStunError, stunAttribute(kStunErrorCode, stunBytes({0, 0, hundreds, rest, 'n', 'o'}))));
  };
  EXPECT_EQ(of(4, 20), (StunAnswer{{}, 420}));
  EXPECT_EQ(of(5, 0), (StunAnswer{{}, 500}));
  EXPECT_EQ(of(2, 0), std::nullopt);
  EXPECT_EQ(of(7, 0), std::nullopt);
  EXPECT_EQ(of(4, 100), std::nullopt);
  EXPECT_EQ(read(answer(kStunError, stunAttribute(kStunErrorCode, stunBytes({0, 0, 4})))), std::nullopt);
  EXPECT_EQ(read(answer(kStunError, exampleAddress())), std::nullopt);
}

TEST(StunMessage, believesOnlyAnswersToItsOwnRequest) {
  const auto good = answer(kStunSuccess, exampleAddress());
  for (std::size_t at = 4; at < kStunHeaderBytes; ++at) {
    auto wrong = good;
    wrong[at] ^= std::byte{1};
    EXPECT_EQ(read(wrong), std::nullopt) << at;
  }
  for (const int type : {0x0001, 0x0011, 0x0100, 0x0102, 0xC101})
    EXPECT_EQ(read(answer(type, exampleAddress())), std::nullopt) << type;
}

TEST(StunMessage, isNothingWhenTruncatedOrTooLong) {
  const auto good = answer(kStunSuccess, exampleAddress());
  for (std::size_t size = 0; size < good.size(); ++size)
    EXPECT_EQ(read({good.begin(), good.begin() + static_cast<std::ptrdiff_t>(size)}), std::nullopt) << size;
  EXPECT_EQ(read(joined(good, stunBytes({0, 0, 0, 0}))), std::nullopt);
}

TEST(StunMessage, isNothingWhenAnAttributeReachesBeyondTheEnd) {
  for (const int length : {9, 12, 0x100, 0xFFFD, 0xFFFF}) {
    auto bad = exampleAddress();
    bad[2] = static_cast<std::byte>(length >> 8);
    bad[3] = static_cast<std::byte>(length & 0xFF);
    EXPECT_EQ(read(answer(kStunSuccess, bad)), std::nullopt) << length;
  }
}

TEST(StunMessage, isNothingWithAnAddressOfNoFamily) {
  const auto of = [](const StunBytes& value) {
    return read(answer(kStunSuccess, stunAttribute(kStunXorMappedAddress, value)));
  };
  EXPECT_EQ(of({}), std::nullopt);
  EXPECT_EQ(of(stunBytes({0, 1, 0})), std::nullopt);
  EXPECT_EQ(of(stunBytes({0, 1, 0, 0})), std::nullopt);
  EXPECT_EQ(of(stunBytes({0, 0, 0, 0, 1, 2, 3, 4})), std::nullopt);
  EXPECT_EQ(of(stunBytes({0, 3, 0, 0, 1, 2, 3, 4})), std::nullopt);
  EXPECT_EQ(of(stunBytes({0, 2, 0, 0, 1, 2, 3, 4})), std::nullopt);  // of IPv6, but too short for it
  EXPECT_EQ(read(answer(kStunSuccess, {})), std::nullopt);
}

}  // namespace
}  // namespace tevanto

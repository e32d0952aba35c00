#include "screen/wire/ScreenPackets.h"

#include <gtest/gtest.h>

#include "tests/support/peers/CutPackets.h"
#include "tests/support/peers/ScreenBytes.h"

namespace tevanto {
namespace {

using test::bytesOf;
using test::copyOf;
using test::packets;
using test::pattern;

TEST(ScreenPackets, layOutTheHeaderBigEndian) {
  const auto cut = packets(bytesOf({0xAA, 0xBB}), 0x01020304);
  ASSERT_EQ(cut.size(), 1u);
  EXPECT_EQ(cut[0], bytesOf({1, 2, 3, 4, 0, 0, 0, 1, 0xAA, 0xBB}));
  const auto many = packets(pattern(2'000'000), 7);
  ASSERT_EQ(many.size(), 500u);
  EXPECT_EQ(copyOf(std::span(many[0x0102]).first(8)), bytesOf({0, 0, 0, 7, 0x01, 0x02, 0x01, 0xF4}));
}

TEST(ScreenPackets, cutAtFourThousandBytes) {
  struct Row {
    std::size_t messageBytes;
    std::size_t packetCount;
    std::size_t lastPayloadBytes;
  };
  for (const auto& row : {Row{1, 1, 1}, Row{3999, 1, 3999}, Row{4000, 1, 4000}, Row{4001, 2, 1},
                          Row{8000, 2, 4000}, Row{3'199'999, 800, 3999}, Row{3'200'000, 800, 4000}}) {
    SCOPED_TRACE(row.messageBytes);
    const auto message = pattern(row.messageBytes);
    const auto cut = packets(message, 9);
    ASSERT_EQ(cut.size(), row.packetCount);
    test::Bytes joined;
    for (std::size_t i = 0; i < cut.size(); ++i) {
      const auto parsed = parse(cut[i]);
      ASSERT_TRUE(parsed);
      EXPECT_EQ(parsed->packetID, 9u);
      EXPECT_EQ(parsed->index, i);
      EXPECT_EQ(parsed->count, row.packetCount);
      EXPECT_EQ(parsed->payload.size(), i + 1 < cut.size() ? 4000u : row.lastPayloadBytes);
      joined.insert(joined.end(), parsed->payload.begin(), parsed->payload.end());
    }
    EXPECT_EQ(joined, message);
  }
}

TEST(ScreenPackets, thereAreNoneForAnEmptyOrAnOversizedMessage) {
  EXPECT_TRUE(packets({}, 1).empty());
  EXPECT_EQ(packets({}, 1).size(), 0u);
  EXPECT_TRUE(packets(test::Bytes(3'200'001), 1).empty());
}

TEST(ScreenPackets, comeOneByOneUntilOneIsRefused) {
  const auto message = pattern(12'001);
  const auto cut = packets(message, 3);
  std::size_t seen = 0;
  EXPECT_TRUE(forEachPacket(message, 3, [&](auto packet) {
    EXPECT_EQ(copyOf(packet), cut[seen++]);
    return true;
  }));
  EXPECT_EQ(seen, 4u);
  EXPECT_FALSE(forEachPacket(message, 3, [&](auto) { return --seen > 2; }));
  EXPECT_EQ(seen, 2u);
  EXPECT_FALSE(forEachPacket({}, 3, [](auto) { return true; }));
  EXPECT_FALSE(forEachPacket(test::Bytes(3'200'001), 3, [](auto) { return true; }));
}

TEST(ScreenPackets, invalidOnesDoNotParse) {
  const auto packet = [](int index, int count, std::size_t payloadBytes) {
    auto bytes = bytesOf({0, 0, 0, 1, index >> 8, index & 0xFF, count >> 8, count & 0xFF});
    bytes.resize(8 + payloadBytes);
    return bytes;
  };
  EXPECT_FALSE(parse({}));
  const auto whole = packet(0, 1, 1);
  for (std::size_t size = 0; size <= 8; ++size) EXPECT_FALSE(parse(std::span(whole).first(size))) << size;
  EXPECT_TRUE(parse(packet(0, 1, 1)));
  EXPECT_FALSE(parse(packet(0, 0, 1)));
  EXPECT_TRUE(parse(packet(799, 800, 1)));
  EXPECT_FALSE(parse(packet(0, 801, 1)));
  EXPECT_FALSE(parse(packet(1, 1, 1)));
  EXPECT_FALSE(parse(packet(800, 800, 1)));
  EXPECT_FALSE(parse(packet(0xFFFF, 0xFFFF, 1)));
}

TEST(ScreenPackets, keyFramesWantADrainedChannelAndOthersShareABudget) {
  struct Row {
    std::uint64_t buffered;
    std::uint64_t size;
    bool isKeyframe;
    bool drops;
  };
  constexpr auto kHuge = ~std::uint64_t{0};
  for (const auto& row : {
           Row{65'536, 70'000, true, false},
           Row{65'537, 70'000, true, true},
           Row{65'537, 1, true, true},
           Row{0, 3'145'728, true, false},
           Row{0, 3'145'729, true, true},
           Row{65'536, 3'145'728, true, false},
           Row{424'288, 100'000, false, false},
           Row{424'289, 100'000, false, true},
           Row{0, 524'288, false, false},
           Row{1, 524'288, false, true},
           Row{0, 524'289, false, true},
           Row{0, 600'000, false, true},
           Row{524'288, 0, false, false},
           Row{kHuge, 1, false, true},
           Row{1, kHuge, false, true},
           Row{kHuge, kHuge, true, true},
       }) {
    EXPECT_EQ(shouldDrop(row.buffered, row.size, row.isKeyframe), row.drops)
        << row.buffered << " " << row.size << " " << row.isKeyframe;
  }
}

}  // namespace
}  // namespace tevanto

#include <gtest/gtest.h>

#include <chrono>
#include <csignal>
#include <cstddef>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <optional>
#include <span>
#include <string>
#include <thread>
#include <vector>

#include "screen/encode/AccessUnit.h"
#include "tests/e2e/AwayFixture.h"
#include "tests/support/video/H264TestDecoder.h"
#include "tests/support/video/MovingPage.h"

// The screen over the away connection when the line is bad. What is drawn carries numbers, so that what is
// seen tells how much was left out and how much waits.
namespace tevanto {
namespace {

using namespace std::chrono_literals;
using test::ChildProcess;
using test::eventually;

/// A picture of a recording: its number, and how many bytes the recording had with it.
struct SeenPicture {
  int number = 0;
  std::size_t endsAt = 0;
};

std::vector<std::byte> bytesOf(const std::filesystem::path& path) {
  std::ifstream file(path, std::ios::binary);
  const std::string all{std::istreambuf_iterator<char>(file), {}};
  const auto bytes = std::as_bytes(std::span(all));
  return {bytes.begin(), bytes.end()};
}

/// Whether a slice is the first of its picture: first_mb_in_slice, an Exp-Golomb code behind the byte of the
/// NAL unit's header, is 0 (ITU-T H.264, 7.3.3).
bool beginsPicture(std::span<const std::byte> slice) {
  return slice.size() > 1 && (slice[1] & std::byte{0x80}) != std::byte{};
}

/// What is in the recording, which may still grow: its last picture may lack a slice.
std::vector<SeenPicture> picturesIn(const std::filesystem::path& path) {
  const auto stream = bytesOf(path);
  test::H264TestDecoder decoder;
  std::span<const std::byte> sps;
  std::vector<std::byte> slices;  // of one picture
  std::size_t endsAt = 0;
  std::vector<SeenPicture> seen;
  const auto decode = [&] {
    if (slices.empty()) return;
    const auto picture = decoder.decode(slices);
    const auto number = picture ? test::PageOfPictures::numberIn(*picture) : std::nullopt;
    if (number) seen.push_back({*number, endsAt});
    slices.clear();
  };
  for (const auto unit : annexBNalUnits(stream)) {
    const auto type = nalUnitType(unit);
    const bool isSlice = type == NalUnitType::slice || type == NalUnitType::idrSlice;
    if (!isSlice || beginsPicture(unit)) decode();
    if (type == NalUnitType::sps) sps = unit;
    if (type == NalUnitType::pps) decoder.setParameterSets(sps, unit);
    if (!isSlice) continue;
    for (int shift = 24; shift >= 0; shift -= 8)
      slices.push_back(static_cast<std::byte>(unit.size() >> shift));
    slices.insert(slices.end(), unit.begin(), unit.end());
    endsAt = static_cast<std::size_t>(unit.data() + unit.size() - stream.data());
  }
  decode();
  return seen;
}

class AwayMirroring : public Away {
 protected:
  std::size_t recorded() const {
    std::error_code missing;
    const auto size = std::filesystem::file_size(recording, missing);
    return missing ? 0 : static_cast<std::size_t>(size);
  }
  /// The first picture of this number, once it has come.
  std::optional<SeenPicture> first(int number) const {
    std::optional<SeenPicture> found;
    std::size_t looked = 0;
    (void)eventually(
        [&] {
          if (recorded() == looked) return false;
          looked = recorded();
          for (const auto& picture : picturesIn(recording)) {
            if (picture.number == number && !found) found = picture;
          }
          return found.has_value();
        },
        180s);
    return found;
  }

  std::filesystem::path recording = folder.path() / "seen.h264";
};

TEST_F(AwayMirroring, aBadLineMeansFewerPicturesNotOlderOnes) {
  startServers();
  world->setRoute(true);
  startCompanion();
  const test::PageOfPictures page(7);
  auto moving = std::make_unique<test::MovingPage>(desktop.display().display(), page, 10);
  ChildProcess mirror(phoneCommand({"mirror", "--out", recording.string()}),
                      {.environment = phoneEnvironment, .mergeErrors = true});
  ASSERT_TRUE(eventually([this] { return recorded() > 0; }, 60s));
  world->line().set({.loss = 0.02, .delay = 30ms, .bitsPerSecond = 600'000});
  std::this_thread::sleep_for(20s);  // in which a queue without an end would have grown by megabytes
  const int drawn = moving->latest() + 1;
  moving.reset();
  test::DrawingXClient(desktop.display().display()).draw(page.picture(drawn));
  const auto atTheEnd = recorded();

  const auto last = first(drawn);
  ASSERT_TRUE(last) << "what stands still arrives";
  EXPECT_LT(last->endsAt - atTheEnd, 1024U * 1024U) << "bytes of older pictures, and its own, that waited";
  mirror.signal(SIGINT);
  EXPECT_EQ(mirror.wait(), 0);
  const auto seen = picturesIn(recording);
  for (std::size_t i = 1; i < seen.size(); ++i) EXPECT_LE(seen[i - 1].number, seen[i].number) << i;
  EXPECT_LT(seen.size(), static_cast<std::size_t>(drawn)) << "fewer pictures";
  EXPECT_GT(seen.size(), 10U);
}

}  // namespace
}  // namespace tevanto

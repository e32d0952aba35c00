#include "tests/support/video/MovingPage.h"

#include <algorithm>
#include <cmath>
#include <random>

namespace tevanto::test {
namespace {

constexpr int kPageRows = 4000;
constexpr int kSquare = 16;  // a macroblock
constexpr int kBits = 20;
constexpr int kLineHeight = 13;
constexpr int kCellWidth = 7;

/// Letters of 5 by 7 in cells of 7 by 13, words and full lines: as dense as a terminal's smallest font.
std::vector<std::vector<std::uint8_t>> denseText() {
  std::mt19937 random(5);
  std::uint8_t letters[40][7][5];
  for (auto& letter : letters) {
    for (auto& row : letter) std::fill(std::begin(row), std::end(row), 250);
    for (int stroke = 0; stroke < 3; ++stroke) {
      const bool isUpright = random() % 2 == 0;
      const auto place = random() % (isUpright ? 5 : 7);
      for (int i = 0; i < (isUpright ? 7 : 5); ++i) {
        (isUpright ? letter[i][place] : letter[place][i]) = 25;
        if (isUpright && place + 1 < 5 && letter[i][place + 1] == 250) letter[i][place + 1] = 170;
      }
    }
  }
  std::vector<std::vector<std::uint8_t>> rows(kPageRows,
                                              std::vector<std::uint8_t>(PageOfPictures::kWidth, 250));
  for (int top = 3; top + 7 < kPageRows; top += kLineHeight) {
    for (int left = 4; left + 5 < PageOfPictures::kWidth; left += kCellWidth) {
      const auto which = random() % 46;
      if (which >= 40) continue;
      for (int y = 0; y < 7; ++y) std::copy_n(letters[which][y], 5, rows[top + y].begin() + left);
    }
  }
  return rows;
}

/// White and black in front tell that the row begins.
bool isWhite(int square, int number) {
  if (square < 2) return square == 0;
  return (number >> (square - 2) & 1) != 0;
}

}  // namespace

PageOfPictures::PageOfPictures(int step) : step_(step), rows_(denseText()) {}

RgbPicture PageOfPictures::picture(int number) const {
  RgbPicture picture{kWidth, kHeight, {}};
  picture.pixels.reserve(std::size_t{kWidth} * kHeight);
  for (int y = 0; y < kHeight; ++y) {
    for (const auto grey : rows_[row(number, y)]) picture.pixels.push_back(grey * 0x010101U);
  }
  for (int square = 0; square < kBits + 2; ++square) {
    for (int y = 0; y < kSquare; ++y) {
      std::fill_n(picture.pixels.begin() + y * kWidth + square * kSquare, kSquare,
                  isWhite(square, number) ? 0xFFFFFFU : 0U);
    }
  }
  return picture;
}

std::optional<int> PageOfPictures::numberIn(const DecodedPicture& seen) {
  if (seen.width * kHeight != seen.height * kWidth) return std::nullopt;
  const auto isWhiteAt = [&](int square) {
    const int x = (square * kSquare + kSquare / 2) * seen.width / kWidth;
    const int y = kSquare / 2 * seen.height / kHeight;
    return seen.luma[static_cast<std::size_t>(y * seen.width + x)] > 126;
  };
  if (!isWhiteAt(0) || isWhiteAt(1)) return std::nullopt;
  int number = 0;
  for (int bit = 0; bit < kBits; ++bit) number |= isWhiteAt(bit + 2) ? 1 << bit : 0;
  return number;
}

double PageOfPictures::likeness(const DecodedPicture& seen, int number) const {
  double squares = 0;
  for (int y = kSquare; y < kHeight; ++y) {
    const auto& drawn = rows_[row(number, y)];
    for (int x = 0; x < kWidth; ++x) {
      const double wanted = 16 + 219.0 / 255 * drawn[static_cast<std::size_t>(x)];
      const double error = seen.luma[static_cast<std::size_t>(y * kWidth + x)] - wanted;
      squares += error * error;
    }
  }
  const double mean = squares / (double{kWidth} * (kHeight - kSquare));
  return mean == 0 ? 99 : 10 * std::log10(255.0 * 255.0 / mean);
}

MovingPage::MovingPage(const std::string& display, const PageOfPictures& page, int perSecond)
    : client_(display), page_(page), thread_([this, perSecond] { run(perSecond); }) {}

MovingPage::~MovingPage() {
  isEnding_ = true;
  thread_.join();
}

void MovingPage::run(int perSecond) {
  auto next = std::chrono::steady_clock::now();
  for (int number = 1; !isEnding_; ++number) {
    client_.draw(page_.picture(number));
    latest_ = number;
    next =
        std::max(next + std::chrono::microseconds(1'000'000 / perSecond), std::chrono::steady_clock::now());
    std::this_thread::sleep_until(next);
  }
}

}  // namespace tevanto::test

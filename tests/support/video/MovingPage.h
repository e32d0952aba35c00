#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "tests/support/desktop/DrawingXClient.h"
#include "tests/support/video/H264TestDecoder.h"

namespace tevanto::test {

/// A page of small text on a display of 1280 × 800, drawn picture by picture, each with its number in a row
/// of black and white squares: a decoded picture tells by it which one it is, how old, and how like.
class PageOfPictures {
 public:
  static constexpr int kWidth = 1280;
  static constexpr int kHeight = 800;

  /// Rows by which the page moves from picture to picture.
  explicit PageOfPictures(int step);

  RgbPicture picture(int number) const;
  /// The number that is seen in a decoded picture of the page, of any size; absent when the squares are no
  /// such row.
  static std::optional<int> numberIn(const DecodedPicture& seen);
  /// How like the drawn picture of its number it is, in decibels of luma.
  double likeness(const DecodedPicture& seen, int number) const;

 private:
  int row(int number, int y) const { return (y + number * step_) % static_cast<int>(rows_.size()); }

  const int step_;
  std::vector<std::vector<std::uint8_t>> rows_;  // grey levels
};

/// Draws the pictures of a page one after the other on a thread of its own, so many a second.
class MovingPage {
 public:
  MovingPage(const std::string& display, const PageOfPictures& page, int perSecond);
  ~MovingPage();
  MovingPage(const MovingPage&) = delete;
  MovingPage& operator=(const MovingPage&) = delete;

  /// The number of the picture that was drawn last.
  int latest() const { return latest_; }

 private:
  void run(int perSecond);

  DrawingXClient client_;
  const PageOfPictures& page_;
  std::atomic<int> latest_ = 0;
  std::atomic<bool> isEnding_ = false;
  std::thread thread_;
};

}  // namespace tevanto::test

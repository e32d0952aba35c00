#include "phone/mirror/MirrorStatistics.h"

#include <algorithm>
#include <numeric>

namespace tevanto::phone {
namespace {

double milliseconds(std::chrono::steady_clock::duration duration) {
  return std::chrono::duration<double, std::milli>(duration).count();
}

}  // namespace

void MirrorStatistics::received(std::size_t bytes, Time now) {
  totals_.bytes += static_cast<std::int64_t>(bytes);
  pieces_.push_back({now, bytes});
  forgetBefore(now - kWindow);
}

void MirrorStatistics::decoded(bool isKeyframe, Time arrived, Time now) {
  ++totals_.frames;
  frames_.push_back({now, milliseconds(now - arrived)});
  if (!isKeyframe) return;
  ++totals_.keyframes;
  lastKeyframe_ = now;
  if (!asked_) return;
  totals_.delayMilliseconds = milliseconds(now - *asked_);
  asked_.reset();
}

void MirrorStatistics::shown(int width, int height) {
  totals_.width = width;
  totals_.height = height;
}

MirrorStatistics::Report MirrorStatistics::report(Time now) {
  forgetBefore(now - kWindow);
  auto report = totals_;
  report.elapsed = std::chrono::duration_cast<std::chrono::milliseconds>(now - start_);
  report.framesPerSecond = static_cast<double>(frames_.size());
  if (asked_ && report.delayMilliseconds) {
    report.delayMilliseconds = std::max(*report.delayMilliseconds, milliseconds(now - *asked_));
  }
  for (const auto& piece : pieces_) report.bitsPerSecond += 8.0 * static_cast<double>(piece.bytes);
  if (frames_.empty()) return report;
  const auto sum = std::accumulate(frames_.begin(), frames_.end(), 0.0, [](double total, const auto& frame) {
    return total + frame.decodeMilliseconds;
  });
  report.decodeMilliseconds = sum / static_cast<double>(frames_.size());
  return report;
}

bool MirrorStatistics::isDelayOld(Time now) {
  forgetBefore(now - kWindow);
  return !asked_ && !frames_.empty() && lastKeyframe_ && now - *lastKeyframe_ >= kDelayAge;
}

void MirrorStatistics::forgetBefore(Time oldest) {
  while (!pieces_.empty() && pieces_.front().time <= oldest) pieces_.pop_front();
  while (!frames_.empty() && frames_.front().time <= oldest) frames_.pop_front();
}

}  // namespace tevanto::phone

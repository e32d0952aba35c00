#include "p2p/transport/CloudRecordUpdater.h"

#include <chrono>
#include <utility>

#include "p2p/signaling/SignalingPaths.h"
#include "p2p/transport/CandidateSummary.h"
#include "p2p/transport/Negotiation.h"

namespace tevanto {
namespace {

constexpr auto kDelay = std::chrono::milliseconds(500);

}  // namespace

CloudRecordUpdater::CloudRecordUpdater(std::shared_ptr<SerialQueue> queue, const Negotiation& negotiation,
                                       SignalingPaths& roads)
    : queue_(std::move(queue)), negotiation_(negotiation), roads_(roads) {}

void CloudRecordUpdater::schedule(std::string_view reason) {
  if (!roads_.isCloudStarted() || !negotiation_.wantsSnapshot()) return;
  if (std::exchange(scheduled_, true)) return;
  // The timer is a member, and its owner ends on the timer's queue.
  timer_ = queue_->asyncAfter(kDelay, [this, why = std::string(reason)] {
    scheduled_ = false;
    write(why);
  });
}

void CloudRecordUpdater::write(const std::string& reason) {
  const auto snapshot = negotiation_.snapshot();
  if (!snapshot) return;
  negotiation_.host().say(reason + " — writing cloud " + snapshot->type + " + " +
                          std::to_string(snapshot->candidates->size()) + " candidates (" +
                          candidateSummary(*snapshot->candidates) + ")");
  roads_.write(*snapshot);
}

}  // namespace tevanto

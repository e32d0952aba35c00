#include "p2p/transport/CloudRecordUpdater.h"

#include <chrono>
#include <utility>

#include "p2p/signaling/SignalingPaths.h"

namespace tevanto {
namespace {

constexpr auto kDelay = std::chrono::milliseconds(500);

}  // namespace

CloudRecordUpdater::CloudRecordUpdater(std::shared_ptr<SerialQueue> queue,
                                       std::function<std::optional<SignalMessage>()> snapshot,
                                       SignalingPaths& paths, TransportLog log)
    : queue_(std::move(queue)), snapshot_(std::move(snapshot)), paths_(paths), log_(std::move(log)) {}

void CloudRecordUpdater::schedule(std::string_view reason) {
  if (!paths_.isCloudStarted() || std::exchange(scheduled_, true)) return;
  // The timer is a member, and its owner ends on the timer's queue.
  timer_ = queue_->asyncAfter(kDelay, [this, why = std::string(reason)] {
    scheduled_ = false;
    write(why);
  });
}

void CloudRecordUpdater::write(const std::string& reason) {
  const auto snapshot = snapshot_();
  if (!snapshot) return;
  log_.info(reason + " — writing cloud " + snapshot->type + " + " +
            std::to_string(snapshot->candidates->size()) + " candidates (" +
            candidateSummary(*snapshot->candidates) + ")");
  paths_.write(*snapshot);
}

}  // namespace tevanto

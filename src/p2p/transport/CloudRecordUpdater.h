#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "core/queue/SerialQueue.h"
#include "p2p/signaling/SignalMessage.h"
#include "p2p/transport/TransportLog.h"

namespace tevanto {

class SignalingPaths;

/// CloudRecordUpdater keeps our record in the cloud up to date: the description with all candidates so far.
/// It writes 500 ms after the first change, so that a burst of candidates is one record. Lives on the state
/// queue.
class CloudRecordUpdater {
 public:
  /// `snapshot` gives the record's content at the moment of writing; nothing when there is none.
  CloudRecordUpdater(std::shared_ptr<SerialQueue> queue,
                     std::function<std::optional<SignalMessage>()> snapshot, SignalingPaths& paths,
                     TransportLog log);

  /// The record is out of date. Does nothing until the cloud has been started.
  void schedule(std::string_view reason);
  void cancel() { timer_.cancel(); }

 private:
  void write(const std::string& reason);

  const std::shared_ptr<SerialQueue> queue_;
  const std::function<std::optional<SignalMessage>()> snapshot_;
  SignalingPaths& paths_;
  const TransportLog log_;
  bool scheduled_ = false;
  Timer timer_;
};

}  // namespace tevanto

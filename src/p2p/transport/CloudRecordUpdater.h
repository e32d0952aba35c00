#pragma once

#include <memory>
#include <string>
#include <string_view>

#include "core/queue/SerialQueue.h"

namespace tevanto {

class Negotiation;
class SignalingPaths;

/// Keeps our record in the cloud up to date: the description with all candidates so far, written half a
/// second after the first change, so that a burst of candidates is one record. On the state queue.
class CloudRecordUpdater {
 public:
  CloudRecordUpdater(std::shared_ptr<SerialQueue> queue, const Negotiation& negotiation,
                     SignalingPaths& roads);

  /// The record is out of date, if there is to be one.
  void schedule(std::string_view reason);
  void cancel() { timer_.cancel(); }

 private:
  void write(const std::string& reason);

  const std::shared_ptr<SerialQueue> queue_;
  const Negotiation& negotiation_;
  SignalingPaths& roads_;
  bool scheduled_ = false;
  Timer timer_;
};

}  // namespace tevanto

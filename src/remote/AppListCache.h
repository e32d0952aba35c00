#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <vector>

#include "core/queue/SerialQueue.h"
#include "remote/message/RemoteMessage.h"

namespace tevanto {

/// The last list of applications that was built, as the message that carries it. Building it reads every
/// icon, so it is reused: for the phone that is connected, but no longer than `kLifetime`, so that what was
/// installed meanwhile shows up. Lives on one queue.
class AppListCache {
 public:
  using Build = std::function<std::vector<RemoteAppInfo>()>;
  static constexpr std::chrono::seconds kLifetime{60};

  explicit AppListCache(Build build) : build_(std::move(build)) {}

  /// The "appList" message of now.
  std::shared_ptr<const RemoteMessage> message(SerialQueue::TimePoint now);
  void clear() { message_.reset(); }

 private:
  Build build_;
  std::shared_ptr<const RemoteMessage> message_;
  SerialQueue::TimePoint built_;
};

}  // namespace tevanto

#include "remote/AppListCache.h"

#include <utility>

namespace tevanto {

std::shared_ptr<const RemoteMessage> AppListCache::message(SerialQueue::TimePoint now) {
  if (message_ && now - built_ < kLifetime) return message_;
  RemoteMessage fresh;
  fresh.type = "appList";
  fresh.apps = build_();
  fresh.appsHash = appsHash(*fresh.apps);
  message_ = std::make_shared<const RemoteMessage>(std::move(fresh));
  built_ = now;
  return message_;
}

}  // namespace tevanto

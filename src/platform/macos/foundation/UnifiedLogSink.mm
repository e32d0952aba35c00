#include "platform/macos/foundation/UnifiedLogSink.h"

#import <os/log.h>

#include <map>
#include <mutex>
#include <string>

namespace tevanto {
namespace {

os_log_type_t typeOf(LogLevel level) {
  switch (level) {
    case LogLevel::error:
      return OS_LOG_TYPE_ERROR;
    case LogLevel::warning:
      return OS_LOG_TYPE_DEFAULT;
    case LogLevel::info:
      return OS_LOG_TYPE_INFO;
    case LogLevel::debug:
      return OS_LOG_TYPE_DEBUG;
  }
  return OS_LOG_TYPE_DEFAULT;
}

}  // namespace

struct UnifiedLogSink::Core {
  os_log_t of(std::string_view category) {
    const std::lock_guard lock(mutex);
    const auto found = byCategory.find(category);
    if (found != byCategory.end()) return found->second;
    std::string name(category);
    os_log_t made = os_log_create(std::string(Logger::kSubsystem).c_str(), name.c_str());
    byCategory.emplace(std::move(name), made);
    return made;
  }

  std::mutex mutex;
  std::map<std::string, os_log_t, std::less<>> byCategory;
};

UnifiedLogSink::UnifiedLogSink() : core_(std::make_unique<Core>()) {}
UnifiedLogSink::~UnifiedLogSink() = default;

void UnifiedLogSink::write(LogLevel level, std::string_view category, std::string_view message) {
  const std::string text(message);
  os_log_with_type(core_->of(category), typeOf(level), "%{public}s", text.c_str());
}

}  // namespace tevanto

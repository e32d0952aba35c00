#pragma once

#include <functional>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "core/settings/UserDefaults.h"

namespace tevanto::test {

/// User defaults in memory. Any thread may call. `failWith` makes every change fail, as a full disk would.
class FakeUserDefaults final : public UserDefaults {
 public:
  FakeUserDefaults() = default;
  explicit FakeUserDefaults(std::map<std::string, DefaultsValue, std::less<>> initial)
      : values_(std::move(initial)) {}

  std::optional<DefaultsValue> value(std::string_view key) const override {
    const std::lock_guard lock(mutex_);
    const auto found = values_.find(key);
    return found == values_.end() ? std::nullopt : std::optional(found->second);
  }

  Result<void> set(std::string_view key, DefaultsValue value) override {
    if (onSet) onSet(key, value);
    const std::lock_guard lock(mutex_);
    if (failure_) return Failure{*failure_};
    values_.insert_or_assign(std::string(key), std::move(value));
    return {};
  }

  Result<void> remove(std::string_view key) override {
    const std::lock_guard lock(mutex_);
    if (failure_) return Failure{*failure_};
    if (const auto found = values_.find(key); found != values_.end()) values_.erase(found);
    return {};
  }

  std::map<std::string, DefaultsValue> all() const override {
    const std::lock_guard lock(mutex_);
    return {values_.begin(), values_.end()};
  }

  bool stringEquals(std::string_view key, std::optional<std::string_view> candidate) const override {
    const std::lock_guard lock(mutex_);
    const auto found = values_.find(key);
    const auto* text = found == values_.end() ? nullptr : std::get_if<std::string>(&found->second);
    if (!text || !candidate) return !text && !candidate;
    return *text == *candidate;
  }

  /// Every change from now on fails with `reason`; nothing lets them succeed again.
  void failWith(std::optional<std::string> reason) {
    const std::lock_guard lock(mutex_);
    failure_ = std::move(reason);
  }

  /// Called at the start of every `set`, on the caller's thread.
  std::function<void(std::string_view key, const DefaultsValue& value)> onSet;

 private:
  mutable std::mutex mutex_;
  std::map<std::string, DefaultsValue, std::less<>> values_;
  std::optional<std::string> failure_;
};

}  // namespace tevanto::test

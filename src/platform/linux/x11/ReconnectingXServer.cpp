#include "platform/linux/x11/ReconnectingXServer.h"

#include <utility>

#include "platform/linux/x11/XInputConnection.h"

namespace tevanto {

ReconnectingXServer::ReconnectingXServer(std::string displayName, std::shared_ptr<SerialQueue> clock,
                                         Logger log)
    : displayName_(std::move(displayName)), clock_(std::move(clock)), log_(std::move(log)) {}

ReconnectingXServer::~ReconnectingXServer() = default;

std::shared_ptr<XInputConnection> ReconnectingXServer::connection() {
  std::shared_ptr<XInputConnection> lost;  // closed outside the lock
  {
    const std::lock_guard lock(mutex_);
    if (stillAlive()) return connection_;
    lost = std::exchange(connection_, nullptr);
    if (lost) generation_.fetch_add(1, std::memory_order_release);
    if (!beginAttempt()) return nullptr;
  }
  if (lost) log_.warning("The X server is gone; input waits for it to come back");
  return attempt();
}

bool ReconnectingXServer::stillAlive() {
  if (!connection_ || connection_->broken()) return false;
  const auto now = clock_->now();
  if (now < aliveUntil_) return true;
  if (!connection_->alive()) return false;
  aliveUntil_ = now + kTrustFor;
  return true;
}

bool ReconnectingXServer::beginAttempt() {
  const auto now = clock_->now();
  if (connecting_ || now < nextAttempt_) return false;
  nextAttempt_ = now + kRetryAfter;
  connecting_ = true;
  return true;
}

std::shared_ptr<XInputConnection> ReconnectingXServer::attempt() {
  auto made = XInputConnection::connect(displayName_);
  bool report = false;
  std::shared_ptr<XInputConnection> result;
  {
    const std::lock_guard lock(mutex_);
    connecting_ = false;
    report = reported_ == made.ok();
    reported_ = !made.ok();
    if (made) {
      result = connection_ = std::move(made).value();
      generation_.fetch_add(1, std::memory_order_release);
    }
  }
  if (!result && !report) return nullptr;
  if (result) {
    log_.info("Input goes to the X server");
  } else {
    // NOLINTNEXTLINE(bugprone-use-after-move): a result is moved from only when it holds a value
    log_.warning(made.error() + " Input waits for one.");
  }
  return result;
}

void ReconnectingXServer::retryNow() {
  const std::lock_guard lock(mutex_);
  nextAttempt_ = SerialQueue::TimePoint::min();
}

}  // namespace tevanto

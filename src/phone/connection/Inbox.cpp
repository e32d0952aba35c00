#include "phone/connection/Inbox.h"

#include <poll.h>
#include <sys/eventfd.h>

#include <algorithm>
#include <cstdint>
#include <utility>

namespace tevanto::phone {

Inbox::Inbox() : signal_(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {}

void Inbox::put(Message message) {
  const std::scoped_lock lock(mutex_);
  if (isClosed_ || bytes_ + message.size() > kMaxBytes) return;
  bytes_ += message.size();
  messages_.push_back(std::move(message));
  (void)::eventfd_write(signal_.get(), 1);
}

void Inbox::close() {
  const std::scoped_lock lock(mutex_);
  isClosed_ = true;
  (void)::eventfd_write(signal_.get(), 1);
}

std::optional<Inbox::Message> Inbox::take() {
  const std::scoped_lock lock(mutex_);
  if (messages_.empty()) return std::nullopt;
  auto message = std::move(messages_.front());
  messages_.pop_front();
  bytes_ -= message.size();
  std::uint64_t count = 0;
  if (messages_.empty() && !isClosed_) (void)::eventfd_read(signal_.get(), &count);
  return message;
}

bool Inbox::isOver() const {
  const std::scoped_lock lock(mutex_);
  return isClosed_ && messages_.empty();
}

void Inbox::wait(Deadline deadline) const {
  const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - std::chrono::steady_clock::now());
  pollfd entry{signal_.get(), POLLIN, 0};
  // A signal may end it early; who waits looks again anyway.
  (void)::poll(&entry, 1, static_cast<int>(std::max<std::int64_t>(left.count(), 0)));
}

}  // namespace tevanto::phone

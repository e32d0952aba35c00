#include "phone/connection/AwayChannel.h"

#include <algorithm>
#include <span>
#include <string_view>
#include <thread>
#include <utility>
#include <vector>

#include "core/queue/OneShotResult.h"
#include "remote/message/RemoteMessageCodec.h"

namespace tevanto::phone {
namespace {

using Clock = std::chrono::steady_clock;

/// How often a wait looks whether the user has had enough.
constexpr auto kGlance = std::chrono::milliseconds(100);

Inbox::Message bytesOf(std::string_view text) {
  const auto bytes = std::as_bytes(std::span(text));
  return {bytes.begin(), bytes.end()};
}

}  // namespace

/// The control messages as the lines that they are at home.
class AwayChannel::Lines final : public LineChannel {
 public:
  explicit Lines(std::shared_ptr<AwayChannel> link) : link_(std::move(link)) {}

  /// A line that is no message is left out here, as the companion would leave it out.
  bool send(std::string_view bytes, Deadline) override {
    if (!link_->isReady()) return false;
    for (std::size_t end = bytes.find('\n'); end != std::string_view::npos; end = bytes.find('\n')) {
      if (const auto message = decodeRemoteMessage(bytes.substr(0, end)))
        link_->transport_.messages->send(*message);
      bytes.remove_prefix(end + 1);
    }
    return true;
  }

  Received receive(std::string& line, Deadline deadline) override {
    auto& inbox = link_->lines_;
    auto message = inbox.take();
    for (; !message && !inbox.isOver() && Clock::now() < deadline; message = inbox.take())
      inbox.wait(deadline);
    if (!message) return inbox.isOver() ? Received::closed : Received::nothingYet;
    line.assign(reinterpret_cast<const char*>(message->data()), message->size());
    return Received::line;
  }

  int descriptor() const override { return link_->lines_.descriptor(); }

 private:
  const std::shared_ptr<AwayChannel> link_;
};

class AwayChannel::Screen final : public ScreenChannel {
 public:
  explicit Screen(std::shared_ptr<AwayChannel> link) : link_(std::move(link)) {}

  bool send(std::span<const std::byte> message) override {
    return link_->isReady() && link_->transport_.screen->sendScreenPayload(message);
  }

  Received receive(const MessageHandler& onMessage) override {
    for (std::size_t total = 0; total < kReceivedAtOnce;) {
      const auto message = link_->screen_.take();
      if (!message) break;
      total += message->size();
      receivedBytes_ += message->size();
      onMessage(*message);
    }
    return link_->screen_.isOver() ? Received::closed : Received::open;
  }

  int descriptor() const override { return link_->screen_.descriptor(); }
  std::size_t receivedBytes() const override { return receivedBytes_; }

 private:
  const std::shared_ptr<AwayChannel> link_;
  std::size_t receivedBytes_ = 0;
};

Answer<std::shared_ptr<AwayChannel>> AwayChannel::dial(const Environment& environment,
                                                       const std::string& room,
                                                       std::chrono::milliseconds timeout,
                                                       const GivesUp& givesUp) {
  const auto deadline = Clock::now() + timeout;
  const auto isEnough = [&] { return Clock::now() >= deadline || (givesUp && givesUp()); };
  while (!isEnough()) {
    const std::shared_ptr<AwayChannel> link(new AwayChannel(environment, room));
    if (link->attempt(deadline, givesUp) == State::ready) return link;
    for (const auto next = Clock::now() + kPause; Clock::now() < next && !isEnough();)
      std::this_thread::sleep_until(std::min({next, deadline, Clock::now() + kGlance}));
  }
  return Trouble{ExitCode::notFound,
                 "The companion of the room \"" + room +
                     "\" could not be reached. Does it run, and do both know the same "
                     "relay? `tevanto doctor` there checks "
                     "the way; --verbose tells what is tried here, --timeout tries longer."};
}

AwayChannel::State AwayChannel::attempt(Clock::time_point deadline, const GivesUp& givesUp) {
  const auto begin = Clock::now();
  startTransport();
  std::unique_lock lock(mutex_);
  while (state_ == State::connecting && Clock::now() < std::min(deadline, begin + timeout())) {
    changed_.wait_until(lock, std::min<Clock::time_point>(deadline, Clock::now() + kGlance),
                        [this] { return state_ != State::connecting; });
    lock.unlock();
    const bool isEnough = givesUp && givesUp();
    lock.lock();
    if (isEnough) break;
  }
  return state_;
}

Clock::duration AwayChannel::timeout() const {
  return transport_.goesByRecords() ? environment_.timeouts.byRecords : environment_.timeouts.usual;
}

void AwayChannel::startTransport() {
  environment_.mainQueue->sync([this] {
    const auto weak = weak_from_this();
    transport_ = environment_.makeTransport(room_);
    transport_.messages->onChannelState = [weak](ChannelState state) {
      if (const auto link = weak.lock()) link->stateDidChange(state);
    };
    transport_.messages->onMessage = [weak](const RemoteMessage& message) {
      std::string line;
      const auto link = weak.lock();
      if (link && encodeRemoteMessage(message, line)) link->lines_.put(bytesOf(line));
    };
    transport_.screen->onScreenData = [weak](std::span<const std::byte> message) {
      if (const auto link = weak.lock()) link->screen_.put({message.begin(), message.end()});
    };
    transport_.start();
  });
}

AwayChannel::~AwayChannel() {
  if (transport_.messages) closeTransport();
}

void AwayChannel::closeTransport() {
  const auto over = std::make_shared<OneShotResult<ChannelState>>();
  const bool wasReady = isReady();
  environment_.mainQueue->sync([&] {
    transport_.messages->onChannelState = [over](ChannelState state) {
      if (state == ChannelState::failed) over->set(state);
    };
    transport_.messages->close();
  });
  // The last thing that it reports, once the connection is closed.
  if (wasReady && !environment_.mainQueue->isCurrent()) over->waitFor(environment_.timeouts.closing);
}

void AwayChannel::stateDidChange(ChannelState state) {
  // An interruption passes by itself, or becomes a failure.
  if (state == ChannelState::interrupted) return;
  {
    const std::scoped_lock lock(mutex_);
    state_ = state == ChannelState::ready ? State::ready : State::failed;
  }
  changed_.notify_all();
  if (state != ChannelState::failed) return;
  lines_.close();
  screen_.close();
}

bool AwayChannel::isReady() const {
  const std::scoped_lock lock(mutex_);
  return state_ == State::ready;
}

std::unique_ptr<LineChannel> AwayChannel::lines() { return std::make_unique<Lines>(shared_from_this()); }

std::unique_ptr<ScreenChannel> AwayChannel::screen() { return std::make_unique<Screen>(shared_from_this()); }

}  // namespace tevanto::phone

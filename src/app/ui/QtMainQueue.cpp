#include "app/ui/QtMainQueue.h"

#include <QCoreApplication>
#include <QEvent>
#include <QObject>
#include <QTimerEvent>
#include <algorithm>
#include <atomic>
#include <condition_variable>
#include <deque>
#include <limits>
#include <map>
#include <mutex>
#include <thread>
#include <utility>

#include "core/queue/WaitForTurn.h"

namespace tevanto {
namespace {

/// Qt counts in an int of milliseconds; a longer wait is cut into several.
constexpr auto kLongestTimer = std::chrono::milliseconds(std::numeric_limits<int>::max());

struct PendingTimer {
  Task work;
  SerialQueue::TimePoint due;
  std::atomic<bool> cancelled = false;
  int identifier = 0;  // Qt's, while it runs; main thread only
};

}  // namespace

struct QtMainQueue::Core final : std::enable_shared_from_this<Core> {
  class Receiver;

  void post(Task task);
  void runDue();
  void start(const std::shared_ptr<PendingTimer>& timer);
  void fire(int identifier);
  void forget(const std::shared_ptr<PendingTimer>& timer);

  const std::thread::id mainThread = std::this_thread::get_id();
  std::map<int, std::shared_ptr<PendingTimer>> timers;  // main thread only

  std::mutex mutex;  // guards what follows
  std::condition_variable changed;
  std::deque<Task> work;
  bool isAnnounced = false;  // an event of ours lies in Qt's queue
  bool stopped = false;
  std::unique_ptr<Receiver> receiver;
};

/// Receives the events by which Qt's loop runs the queue's work.
class QtMainQueue::Core::Receiver final : public QObject {
 public:
  explicit Receiver(Core& core) : core_(core) {}

  void announce() { QCoreApplication::postEvent(this, new QEvent(QEvent::User)); }

 private:
  bool event(QEvent* event) override {
    // The queue may be stopped by what runs here.
    const auto core = core_.shared_from_this();
    if (event->type() == QEvent::User) {
      core->runDue();
      return true;
    }
    if (event->type() == QEvent::Timer) {
      core->fire(static_cast<QTimerEvent*>(event)->timerId());
      return true;
    }
    return QObject::event(event);
  }

  Core& core_;
};

void QtMainQueue::Core::post(Task task) {
  const std::lock_guard lock(mutex);
  if (stopped) return;
  work.push_back(std::move(task));
  if (!std::exchange(isAnnounced, true)) receiver->announce();
}

/// Runs what is there now; what comes meanwhile waits for the next event, so that painting gets its turns.
void QtMainQueue::Core::runDue() {
  std::size_t count = 0;
  {
    const std::lock_guard lock(mutex);
    isAnnounced = false;
    count = work.size();
  }
  for (; count > 0; --count) {
    Task next;
    {
      const std::lock_guard lock(mutex);
      if (work.empty()) return;
      next = std::move(work.front());
      work.pop_front();
    }
    next();
  }
}

void QtMainQueue::Core::start(const std::shared_ptr<PendingTimer>& timer) {
  if (timer->cancelled || !receiver) return;
  using std::chrono::milliseconds;
  const auto wait = std::chrono::ceil<milliseconds>(timer->due - std::chrono::steady_clock::now());
  timer->identifier =
      receiver->startTimer(std::clamp(wait, milliseconds::zero(), kLongestTimer), Qt::PreciseTimer);
  timers[timer->identifier] = timer;
}

void QtMainQueue::Core::fire(int identifier) {
  const auto found = timers.find(identifier);
  if (found == timers.end()) return;
  const auto timer = found->second;
  forget(timer);
  if (timer->due > std::chrono::steady_clock::now()) return start(timer);
  if (!timer->cancelled) timer->work();
}

void QtMainQueue::Core::forget(const std::shared_ptr<PendingTimer>& timer) {
  if (receiver && timer->identifier != 0) receiver->killTimer(timer->identifier);
  timers.erase(timer->identifier);
  timer->identifier = 0;
}

QtMainQueue::QtMainQueue(std::string label) : SerialQueue(std::move(label)), core_(std::make_shared<Core>()) {
  core_->receiver = std::make_unique<Core::Receiver>(*core_);
}

QtMainQueue::~QtMainQueue() { stop(); }

void QtMainQueue::async(Task work) { core_->post(std::move(work)); }

Timer QtMainQueue::asyncAfter(Duration delay, Task work) {
  auto timer = std::make_shared<PendingTimer>();
  timer->work = std::move(work);
  timer->due = now() + std::max(delay, Duration::zero());
  if (isCurrent()) {
    core_->start(timer);
  } else {
    async([core = core_, timer] { core->start(timer); });
  }
  return Timer([weakCore = std::weak_ptr(core_), weak = std::weak_ptr(timer)] {
    const auto core = weakCore.lock();
    const auto alive = weak.lock();
    if (!core || !alive) return;
    alive->cancelled = true;
    if (std::this_thread::get_id() == core->mainThread) return core->forget(alive);
    core->post([core = core.get(), alive] { core->forget(alive); });
  });
}

void QtMainQueue::sync(Task work) {
  if (isCurrent()) return work();
  waitForTurn(
      core_.get(), [this](Task turn) { async(std::move(turn)); }, work);
}

bool QtMainQueue::isCurrent() const { return std::this_thread::get_id() == core_->mainThread; }

SerialQueue::TimePoint QtMainQueue::now() const { return std::chrono::steady_clock::now(); }

void QtMainQueue::stop() {
  std::deque<Task> abandoned;  // destroyed outside the lock: it may own queues and timers of this one
  std::unique_ptr<Core::Receiver> receiver;
  {
    const std::lock_guard lock(core_->mutex);
    core_->stopped = true;
    abandoned.swap(core_->work);
    receiver = std::move(core_->receiver);
  }
  core_->changed.notify_all();
  receiver.reset();
  const auto timers = std::exchange(core_->timers, {});
}

}  // namespace tevanto

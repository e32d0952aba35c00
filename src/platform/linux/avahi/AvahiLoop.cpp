#include "platform/linux/avahi/AvahiLoop.h"

#include <avahi-common/simple-watch.h>
#include <pthread.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <cstdint>
#include <mutex>
#include <thread>
#include <utility>
#include <vector>

namespace tevanto {

struct AvahiLoop::Core {
  Core();
  ~Core();

  void run();
  void post(Task work);
  void wake();
  void runPosted();

  AvahiSimplePoll* simplePoll;
  int wakeDescriptor;
  AvahiWatch* wakeWatch;

  std::mutex mutex;
  std::vector<Task> posted;
  Task last;
  bool stopping = false;

  std::thread thread;
};

AvahiLoop::Core::Core()
    : simplePoll(avahi_simple_poll_new()), wakeDescriptor(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {
  const auto* api = avahi_simple_poll_get(simplePoll);
  wakeWatch = api->watch_new(
      api, wakeDescriptor, AVAHI_WATCH_IN,
      [](AvahiWatch*, int descriptor, AvahiWatchEvent, void*) {
        std::uint64_t count = 0;
        [[maybe_unused]] const auto size = ::read(descriptor, &count, sizeof count);
      },
      nullptr);
}

AvahiLoop::Core::~Core() {
  avahi_simple_poll_get(simplePoll)->watch_free(wakeWatch);
  avahi_simple_poll_free(simplePoll);
  ::close(wakeDescriptor);
}

void AvahiLoop::Core::run() {
  pthread_setname_np(pthread_self(), "avahi");
  while (true) {
    runPosted();
    {
      const std::lock_guard lock(mutex);
      if (stopping && posted.empty()) break;
    }
    if (avahi_simple_poll_iterate(simplePoll, -1) != 0) break;
  }
  if (last) last();
}

void AvahiLoop::Core::runPosted() {
  std::vector<Task> due;
  {
    const std::lock_guard lock(mutex);
    due.swap(posted);
  }
  for (auto& work : due) work();
}

void AvahiLoop::Core::post(Task work) {
  {
    const std::lock_guard lock(mutex);
    if (stopping) return;
    posted.push_back(std::move(work));
  }
  wake();
}

void AvahiLoop::Core::wake() {
  const std::uint64_t one = 1;
  [[maybe_unused]] const auto size = ::write(wakeDescriptor, &one, sizeof one);
}

AvahiLoop::AvahiLoop() : core_(std::make_shared<Core>()) {
  core_->thread = std::thread([core = core_] { core->run(); });
}

AvahiLoop::~AvahiLoop() {
  {
    const std::lock_guard lock(core_->mutex);
    core_->stopping = true;
  }
  core_->wake();
  if (core_->thread.get_id() == std::this_thread::get_id()) {
    core_->thread.detach();
  } else {
    core_->thread.join();
  }
}

void AvahiLoop::post(Task work) { core_->post(std::move(work)); }

void AvahiLoop::postLast(Task work) {
  const std::lock_guard lock(core_->mutex);
  core_->last = std::move(work);
}

const AvahiPoll* AvahiLoop::poll() const { return avahi_simple_poll_get(core_->simplePoll); }

}  // namespace tevanto

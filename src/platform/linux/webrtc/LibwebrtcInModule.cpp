#include <api/task_queue/task_queue_base.h>
#include <dlfcn.h>
#include <rtc_base/synchronization/yield_policy.h>

#include <sstream>

// The library is compiled for programs and not for shared objects. Two things of a program it relies on that
// a shared object does not have, and that are defined here, for the module alone, before the linker looks
// further.

// Firstly: a fixed place in the program's own block for its two thread-local variables. These take the place
// of the library's two object files that have them.

namespace webrtc {
namespace {
thread_local TaskQueueBase* currentQueue = nullptr;
}

TaskQueueBase* TaskQueueBase::Current() { return currentQueue; }

TaskQueueBase::CurrentTaskQueueSetter::CurrentTaskQueueSetter(TaskQueueBase* queue)
    : previous_(currentQueue) {
  currentQueue = queue;
}

TaskQueueBase::CurrentTaskQueueSetter::~CurrentTaskQueueSetter() { currentQueue = previous_; }

}  // namespace webrtc

namespace rtc {
namespace {
thread_local YieldInterface* currentPolicy = nullptr;
}

ScopedYieldPolicy::ScopedYieldPolicy(YieldInterface* policy) : previous_(currentPolicy) {
  currentPolicy = policy;
}

ScopedYieldPolicy::~ScopedYieldPolicy() { currentPolicy = previous_; }

void ScopedYieldPolicy::YieldExecution() {
  if (currentPolicy) currentPolicy->YieldExecution();
}

}  // namespace rtc

// Secondly: copies, at a fixed distance from its code, of the few variables of other libraries that it reads.

template class std::basic_ios<char>;
template class std::basic_streambuf<char>;
template class std::basic_stringbuf<char>;
template class std::basic_ostringstream<char>;

extern "C" {
[[gnu::visibility("hidden"),
  gnu::used]] extern const unsigned char kModuleNothrow __asm__("_ZSt7nothrow") = 0;
alignas(4) [[gnu::visibility("hidden"), gnu::used]] extern const
    unsigned char kModuleAddressAny[16] __asm__("in6addr_any") = {};
alignas(4) [[gnu::visibility("hidden"), gnu::used]] extern const
    unsigned char kModuleAddressLoopback[16] __asm__("in6addr_loopback") = {0, 0, 0, 0, 0, 0, 0, 0,
                                                                            0, 0, 0, 0, 0, 0, 0, 1};
[[gnu::visibility("hidden"), gnu::used]] void* moduleStdout __asm__("stdout") = nullptr;
[[gnu::visibility("hidden"), gnu::used]] void* moduleStderr __asm__("stderr") = nullptr;
}

namespace {

// Before any code of the library, which writes there when one of its own checks fails.
[[gnu::constructor(101)]] void copyStreams() {
  moduleStdout = *static_cast<void**>(::dlsym(RTLD_DEFAULT, "stdout"));
  moduleStderr = *static_cast<void**>(::dlsym(RTLD_DEFAULT, "stderr"));
}

}  // namespace

#pragma once

#include <memory>
#include <mutex>

#include "core/queue/SerialQueue.h"

namespace tevanto {

/// Waits until `work` has run where `post` puts it, or until nothing will run there any more. `core` has the
/// queue's `mutex`, and what it guards: `stopped`, and `changed`, which tells of it. Work that has begun is
/// waited for in any case.
template <class CorePointer, class Post>
void waitForTurn(const CorePointer& core, Post post, Task& work) {
  enum class Turn { waiting, running, done, givenUp };
  const auto turn = std::make_shared<Turn>(Turn::waiting);  // guarded by the core's mutex
  post([core, turn, &work] {
    {
      const std::lock_guard lock(core->mutex);
      if (*turn == Turn::givenUp) return;
      *turn = Turn::running;
    }
    work();
    {
      const std::lock_guard lock(core->mutex);
      *turn = Turn::done;
    }
    core->changed.notify_all();
  });
  std::unique_lock lock(core->mutex);
  core->changed.wait(lock, [&] { return *turn == Turn::done || (*turn == Turn::waiting && core->stopped); });
  if (*turn == Turn::waiting) *turn = Turn::givenUp;
}

}  // namespace tevanto

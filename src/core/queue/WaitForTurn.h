#pragma once

#include <memory>
#include <mutex>

#include "core/queue/SerialQueue.h"

namespace tevanto {

/// waitForTurn blocks until `work` has run where `post` puts it, or until nothing will run there any more.
/// Work that has begun is waited for in any case. `core` has the queue's `mutex`, and what it guards: the
/// flag `stopped`, and the condition variable `changed`.
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

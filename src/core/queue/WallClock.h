#pragma once

#include <chrono>
#include <functional>

namespace tevanto {

/// Tells the time of day, which may jump; any thread may ask. Waiting is for the queues' timers.
using WallClock = std::function<std::chrono::system_clock::time_point()>;

}  // namespace tevanto

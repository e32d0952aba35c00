#pragma once

#include <chrono>
#include <functional>

namespace tevanto {

/// WallClock tells the time of day, which may jump. Any thread may call it. Waiting is done by the queues'
/// timers.
using WallClock = std::function<std::chrono::system_clock::time_point()>;

}  // namespace tevanto

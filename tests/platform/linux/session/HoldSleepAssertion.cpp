// Holds a sleep assertion until it is ended: the test of what becomes of one whose process is killed.

#include <unistd.h>

#include <cstdio>

#include "platform/linux/session/LogindSleepAssertions.h"

int main() {
  tevanto::LogindSleepAssertions assertions{tevanto::Logger()};
  const auto created =
      assertions.create(tevanto::SleepAssertions::kPreventUserIdleSystemSleep, "until killed");
  std::printf("%d\n", created.code);
  std::fflush(stdout);
  ::pause();
}

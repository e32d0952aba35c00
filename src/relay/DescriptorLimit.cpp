#include "relay/DescriptorLimit.h"

#include <sys/resource.h>

namespace tevanto::relay {

std::size_t raiseDescriptorLimit() {
  rlimit limit{};
  if (::getrlimit(RLIMIT_NOFILE, &limit) != 0) return 0;
  const rlimit raised{limit.rlim_max, limit.rlim_max};
  if (::setrlimit(RLIMIT_NOFILE, &raised) != 0) return limit.rlim_cur;
  return raised.rlim_cur;
}

}  // namespace tevanto::relay

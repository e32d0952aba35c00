#include "platform/linux/process/RestartProcess.h"

#include <linux/close_range.h>
#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <system_error>

namespace tevanto {

void restartProcess(const std::vector<std::string>& arguments) {
  std::error_code error;
  const auto program = std::filesystem::read_symlink("/proc/self/exe", error);
  std::vector<char*> pointers;
  // exec's interface is older than const; it changes nothing.
  for (const auto& each : arguments) pointers.push_back(const_cast<char*>(each.c_str()));
  pointers.push_back(nullptr);
  std::fflush(nullptr);
  // Not every library marks its own.
  ::close_range(3, ~0U, CLOSE_RANGE_CLOEXEC);
  ::execv(program.c_str(), pointers.data());
}

}  // namespace tevanto

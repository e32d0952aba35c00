#include "platform/linux/process/ProgramFolder.h"

#include <system_error>

namespace tevanto {

std::filesystem::path installationFolder() {
  std::error_code error;
  return std::filesystem::read_symlink("/proc/self/exe", error).parent_path().parent_path();
}

}  // namespace tevanto

#include "platform/linux/ProgramModule.h"

#include <dlfcn.h>

#include <filesystem>
#include <system_error>

namespace tevanto {
namespace {

std::filesystem::path pathOfModule(const std::string& module) {
  std::error_code error;
  const auto program = std::filesystem::read_symlink("/proc/self/exe", error);
  return program.parent_path().parent_path() / "lib" / "tevanto" / (module + ".so");
}

Failure missing(const std::string& module) {
  const auto* reason = ::dlerror();
  return {"A part of this program cannot be loaded: " + module + " (" + (reason ? reason : "unknown") + ")."};
}

}  // namespace

Result<void*> functionOfModule(const std::string& module, const std::string& function) {
  void* handle = ::dlopen(pathOfModule(module).c_str(), RTLD_NOW | RTLD_LOCAL);
  if (!handle) return missing(module);
  void* found = ::dlsym(handle, function.c_str());
  if (!found) return missing(module);
  return found;
}

}  // namespace tevanto

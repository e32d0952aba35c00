#include "platform/linux/ProgramModule.h"

#include <dlfcn.h>

#include <filesystem>

#include "platform/linux/ProgramFolder.h"

namespace tevanto {
namespace {

std::filesystem::path pathOfModule(const std::string& module) {
  return installationFolder() / "lib" / "tevanto" / (module + ".so");
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

#include "platform/linux/process/LoadedModule.h"

#include <dlfcn.h>
#include <sys/stat.h>

#include <filesystem>

#include "platform/linux/process/ProgramFolder.h"

namespace tevanto {
namespace {

std::filesystem::path pathOfModule(const std::string& module) {
  return installationFolder() / "lib" / "tevanto" / (module + ".so");
}

Failure missing(const std::string& module) {
  const auto* reason = ::dlerror();
  return {"A part of this program cannot be loaded: " + module + " (" + (reason ? reason : "unknown") + ")."};
}

/// An upgrade or a removal took this program's file away while it runs. What lies in its folders now belongs
/// to another version, and the two need not understand each other.
bool wasReplaced() {
  struct stat program {};
  return ::stat("/proc/self/exe", &program) == 0 && program.st_nlink == 0;
}

}  // namespace

Result<void*> addressInModule(const std::string& module, const std::string& function, Binding binding) {
  const auto path = pathOfModule(module);
  const int flags = RTLD_LOCAL | (binding == Binding::atOnce ? RTLD_NOW : RTLD_LAZY);
  void* handle = ::dlopen(path.c_str(), flags | RTLD_NOLOAD);
  if (!handle && wasReplaced()) {
    return Failure{"A part of this program cannot be loaded any more: " + module +
                   " (Tevanto was upgraded or removed while it ran; start it again)."};
  }
  if (!handle) handle = ::dlopen(path.c_str(), flags);
  if (!handle) return missing(module);
  void* found = ::dlsym(handle, function.c_str());
  if (!found) return missing(module);
  return found;
}

}  // namespace tevanto

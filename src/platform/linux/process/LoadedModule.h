#pragma once

#include <functional>
#include <memory>
#include <string>
#include <type_traits>
#include <utility>

#include "core/Result.h"

// Modules are parts of the program that are loaded when they are first used and stay until its end: they
// bring libraries along that most runs do not need. A module lies in lib/tevanto beside the program's bin
// folder.

namespace tevanto {

/// Binding tells when the calls of a module into its libraries are bound. `atOnce` binds all while the module
/// is loaded, so that a missing one is reported then. `onCall` binds each with its first call, which loads a
/// module with large libraries sooner.
enum class Binding { atOnce, onCall };

/// ModuleEntry names a C function that a module exports. `Signature` is the one with which the module's
/// source defines the function; nothing checks that they agree.
template <class Signature>
struct ModuleEntry {
  const char* module;
  const char* function;
  Binding binding = Binding::atOnce;
};

/// Loads the module where necessary and returns the address of the function, or why there is none. A program
/// whose own file was replaced loads no further module: those beside it are of another version. Any thread.
Result<void*> addressInModule(const std::string& module, const std::string& function, Binding binding);

/// Returns the function of the entry, loaded as `addressInModule` does.
template <class Signature>
Result<std::function<Signature>> functionOfModule(const ModuleEntry<Signature>& entry) {
  const auto address = addressInModule(entry.module, entry.function, entry.binding);
  if (!address) return Failure{address.error()};
  return std::function<Signature>(reinterpret_cast<Signature*>(address.value()));
}

/// Calls the function of the entry and owns the object that it made, which is null where the function made
/// none.
template <class Interface, class... Args>
Result<std::unique_ptr<Interface>> makeFromModule(const ModuleEntry<Interface*(Args...)>& entry,
                                                  std::type_identity_t<Args>... arguments) {
  const auto make = functionOfModule(entry);
  if (!make) return Failure{make.error()};
  return std::unique_ptr<Interface>(make.value()(std::forward<Args>(arguments)...));
}

}  // namespace tevanto

// Starts the program, which lies in a module. The linker looks for the symbols of every module in all that
// the executable itself needs before it looks among the module's own libraries: with a small executable, the
// windows' libraries, which have the most symbols, are there in two thirds of the time.
#include <cstdio>

#include "platform/linux/process/LoadedModule.h"

int main(int argc, char** argv) {
  using namespace tevanto;
  constexpr ModuleEntry<int(int, char**)> kRunProgram{"companion", "tevantoRunProgram", Binding::onCall};
  const auto run = functionOfModule(kRunProgram);
  if (run) return run.value()(argc, argv);
  std::fprintf(stderr, "%s\n", run.error().c_str());
  return 1;
}

#include <unistd.h>

#include <csignal>
#include <iostream>

#include "core/JsonUserDefaults.h"
#include "core/Log.h"
#include "phone/CommandLine.h"
#include "phone/MirrorMediaModule.h"
#include "platform/linux/AvahiServiceBrowser.h"
#include "platform/linux/ProgramModule.h"

namespace {

using tevanto::Failure;
using tevanto::Result;
using tevanto::phone::MirrorMedia;

Result<std::shared_ptr<MirrorMedia>> loadMirrorMedia() {
  const auto function =
      tevanto::functionOfModule(tevanto::phone::kMediaModule, tevanto::phone::kMakeMirrorMedia);
  if (!function) return Failure{function.error()};
  const auto make = reinterpret_cast<tevanto::phone::MakeMirrorMedia>(function.value());
  return std::shared_ptr<MirrorMedia>(make());
}

}  // namespace

int main(int argc, char** argv) {
  std::signal(SIGPIPE, SIG_IGN);  // a reader that leaves is no reason to die in the middle of a command
  tevanto::JsonUserDefaults defaults(tevanto::JsonUserDefaults::standardFile("phone.json"),
                                     tevanto::Logger(tevanto::LogSink::standardError(), "phone"));
  const auto browser = tevanto::makeAvahiServiceBrowser();
  return tevanto::phone::runPhone({argv + 1, argv + argc}, {browser.get(), defaults, std::cout, std::cerr,
                                                            STDIN_FILENO, STDOUT_FILENO, loadMirrorMedia});
}

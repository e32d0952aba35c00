#include <algorithm>
#include <csignal>
#include <cstdio>
#include <variant>

#include "core/queue/EventLoop.h"
#include "relay/CommandLine.h"
#include "relay/DescriptorLimit.h"
#include "relay/RelayServer.h"

namespace tevanto::relay {
namespace {

/// Descriptors for everything that is no client: listening sockets, the loop, standard streams, certificates.
constexpr std::size_t kOwnDescriptors = 32;

void limitConnections(RelayLimits& limits) {
  const auto descriptors = raiseDescriptorLimit();
  if (descriptors <= kOwnDescriptors) return;
  const auto most = descriptors - kOwnDescriptors;
  limits.connections = limits.connections == 0 ? most : std::min(limits.connections, most);
}

int run(RelayOptions options) {
  const Logger log(LogSink::standardError(), "relay");
  limitConnections(options.limits);
  const auto loop = EventLoop::forCallingThread();
  const auto server = RelayServer::create(*loop, std::move(options), log);
  if (!server) {
    log.error(server.error());
    return 1;
  }
  loop->onSignals({SIGTERM, SIGINT}, [&](int) { server.value()->stop([&] { loop->stop(); }); });
  loop->onSignals({SIGHUP}, [&](int) {
    const auto reloaded = server.value()->reloadCertificates();
    reloaded ? log.info("The certificate files have been read again.") : log.error(reloaded.error());
  });
  for (const auto& endpoint : server.value()->endpoints()) std::printf("listening on %s\n", endpoint.c_str());
  std::fflush(stdout);
  loop->run();
  return 0;
}

int run(const EndNow& end) { return end.exitStatus; }

}  // namespace
}  // namespace tevanto::relay

int main(int argc, char** argv) {
  std::signal(SIGPIPE, SIG_IGN);
  auto invocation = tevanto::relay::parseCommandLine(argc, argv);
  return std::visit([](auto& options) { return tevanto::relay::run(std::move(options)); }, invocation);
}

#include "tests/support/network/NetworkNamespace.h"

#include <fcntl.h>
#include <sched.h>
#include <unistd.h>

#include <atomic>
#include <fstream>
#include <stdexcept>
#include <thread>

#include "core/Descriptor.h"

namespace tevanto::test {
namespace {

void ip(std::vector<std::string> arguments) {
  arguments.insert(arguments.begin(), "ip");
  const auto result = runProgram(arguments, {.mergeErrors = true});
  if (result.exitStatus == 0) return;
  std::string line;
  for (const auto& argument : arguments) line += argument + " ";
  throw std::runtime_error(line + "failed: " + result.output);
}

std::string uniqueName(const std::string& label) {
  static std::atomic<int> count = 0;
  return "tevanto-" + std::to_string(::getpid()) + "-" + std::to_string(count++) + "-" + label;
}

}  // namespace

bool NetworkNamespace::permitted() {
  if (::geteuid() != 0) return false;
  bool allowed = false;
  std::thread([&] { allowed = ::unshare(CLONE_NEWNET) == 0; }).join();
  return allowed;
}

NetworkNamespace::NetworkNamespace(const std::string& label) : name_(uniqueName(label)) {
  ip({"netns", "add", name_});
  run({"ip", "link", "set", "lo", "up"});
}

NetworkNamespace::~NetworkNamespace() { runProgram({"ip", "netns", "del", name_}, {.mergeErrors = true}); }

std::vector<std::string> NetworkNamespace::inside(std::vector<std::string> command) const {
  const std::vector<std::string> prefix{"ip", "netns", "exec", name_};
  command.insert(command.begin(), prefix.begin(), prefix.end());
  return command;
}

void NetworkNamespace::run(std::vector<std::string> command) const {
  std::vector<std::string> arguments{"netns", "exec", name_};
  arguments.insert(arguments.end(), command.begin(), command.end());
  ip(arguments);
}

void NetworkNamespace::enter(const std::function<void()>& work) const {
  const Descriptor inside(::open(("/run/netns/" + name_).c_str(), O_RDONLY | O_CLOEXEC));
  bool entered = false;
  std::thread([&] {
    entered = ::setns(inside.get(), CLONE_NEWNET) == 0;
    if (entered) work();
  }).join();
  if (!entered) throw std::runtime_error("cannot enter the network " + name_);
}

void NetworkNamespace::setForwarding(bool on) const {
  // /proc/sys/net shows the network of the thread that reads it.
  enter([on] { std::ofstream("/proc/sys/net/ipv4/ip_forward") << (on ? "1" : "0"); });
}

void NetworkNamespace::connect(const NetworkNamespace& one, const std::string& interfaceOfOne,
                               const NetworkNamespace& other, const std::string& interfaceOfOther) {
  ip({"link", "add", interfaceOfOne, "netns", one.name(), "type", "veth", "peer", "name", interfaceOfOther,
      "netns", other.name()});
  one.run({"ip", "link", "set", interfaceOfOne, "up"});
  other.run({"ip", "link", "set", interfaceOfOther, "up"});
}

}  // namespace tevanto::test

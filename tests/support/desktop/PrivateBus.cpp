#include "tests/support/desktop/PrivateBus.h"

#include <filesystem>
#include <fstream>
#include <stdexcept>

namespace tevanto::test {
namespace {

std::string configuration(const std::string& address) {
  return R"(<!DOCTYPE busconfig PUBLIC "-//freedesktop//DTD D-Bus Bus Configuration 1.0//EN"
 "http://www.freedesktop.org/standards/dbus/1.0/busconfig.dtd">
<busconfig>
  <listen>)" +
         address + R"(</listen>
  <auth>EXTERNAL</auth>
  <policy context="default">
    <allow send_destination="*" eavesdrop="true"/>
    <allow eavesdrop="true"/>
    <allow own="*"/>
  </policy>
</busconfig>
)";
}

}  // namespace

PrivateBus::PrivateBus() : address_("unix:path=" + (folder_ / "bus").string()) {
  std::ofstream(folder_ / "bus.conf") << configuration(address_);
  start();
}

PrivateBus::~PrivateBus() = default;

std::vector<std::pair<std::string, std::string>> PrivateBus::environment() const {
  return {{"DBUS_SESSION_BUS_ADDRESS", address_}, {"DBUS_SYSTEM_BUS_ADDRESS", address_}};
}

void PrivateBus::stop() { daemon_.reset(); }

void PrivateBus::start() {
  stop();
  std::filesystem::remove(folder_ / "bus");
  ChildProcess::Options options;
  options.mergeErrors = true;  // it remarks on limits that it may not raise
  daemon_ = std::make_unique<ChildProcess>(
      std::vector<std::string>{"dbus-daemon", "--config-file=" + (folder_ / "bus.conf").string(), "--nofork",
                               "--nopidfile", "--nosyslog", "--print-address=1"},
      std::move(options));
  auto line = daemon_->readLine();
  while (line && !line->starts_with("unix:")) line = daemon_->readLine();
  if (!line) throw std::runtime_error("dbus-daemon does not start");
}

bool PrivateBus::hasOwner(const std::string& name) const {
  return call("org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus.NameHasOwner", {name}) ==
         "(true,)\n";
}

std::string PrivateBus::call(const std::string& name, const std::string& path, const std::string& method,
                             const std::vector<std::string>& arguments) const {
  std::vector<std::string> command{"gdbus",         "call", "--address", address_, "--dest", name,
                                   "--object-path", path,   "--method",  method,   "--"};
  command.insert(command.end(), arguments.begin(), arguments.end());
  ChildProcess::Options options;
  options.environment = environment();
  options.mergeErrors = true;
  auto result = runProgram(std::move(command), std::move(options));
  if (result.exitStatus != 0) throw std::runtime_error(method + ": " + result.output);
  return result.output;
}

}  // namespace tevanto::test

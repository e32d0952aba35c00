#include "tests/support/desktop/DBusMock.h"

#include <csignal>
#include <stdexcept>

#include "tests/support/programs/Eventually.h"

namespace tevanto::test {
namespace {

struct Template {
  const char* name;
  const char* busName;
  const char* path;
};

constexpr Template kTemplates[] = {
    {"logind", "org.freedesktop.login1", "/org/freedesktop/login1"},
    {"upower", "org.freedesktop.UPower", "/org/freedesktop/UPower"},
};

}  // namespace

std::unique_ptr<DBusMock> DBusMock::ofTemplate(PrivateBus& bus, const std::string& name,
                                               const std::string& parameters) {
  for (const auto& known : kTemplates) {
    if (name == known.name) {
      return std::unique_ptr<DBusMock>(new DBusMock(
          bus, known.busName, known.path,
          std::vector<std::string>{"--session", "--template", name, "--parameters", parameters}));
    }
  }
  throw std::invalid_argument("unknown template " + name);
}

DBusMock::DBusMock(PrivateBus& bus, const std::string& name, const std::string& path,
                   const std::string& interface)
    : DBusMock(bus, name, path, std::vector<std::string>{"--session", name, path, interface}) {}

DBusMock::DBusMock(PrivateBus& bus, std::string name, std::string path, std::vector<std::string> arguments)
    : bus_(bus), name_(std::move(name)), path_(std::move(path)) {
  // Debian's module belongs to Debian's own Python; another one may come first in PATH.
  std::vector<std::string> command{"/usr/bin/python3", "-m", "dbusmock", "--logfile", "/dev/null"};
  command.insert(command.end(), arguments.begin(), arguments.end());
  ChildProcess::Options options;
  options.environment = bus.environment();
  process_ = std::make_unique<ChildProcess>(std::move(command), std::move(options));
  if (!eventually([this] { return !process_->isRunning() || bus_.hasOwner(name_); }) ||
      !process_->isRunning()) {
    throw std::runtime_error("the mock of " + name_ + " does not start");
  }
}

void DBusMock::addMethod(const Method& method) {
  call("org.freedesktop.DBus.Mock.AddMethod",
       {method.interface, method.name, method.in, method.out, method.code});
}

void DBusMock::addProperties(const std::string& interface, const std::string& properties) {
  call("org.freedesktop.DBus.Mock.AddProperties", {interface, properties});
}

std::string DBusMock::call(const std::string& method, const std::vector<std::string>& arguments) const {
  return callAt(path_, method, arguments);
}

std::string DBusMock::callAt(const std::string& path, const std::string& method,
                             const std::vector<std::string>& arguments) const {
  return bus_.call(name_, path, method, arguments);
}

std::string DBusMock::callsAt(const std::string& path) const {
  return callAt(path, "org.freedesktop.DBus.Mock.GetCalls");
}

void DBusMock::hang() { process_->signal(SIGSTOP); }

void DBusMock::resume() { process_->signal(SIGCONT); }

}  // namespace tevanto::test

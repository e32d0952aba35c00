#include "tests/support/desktop/AvahiDaemon.h"

#include <unistd.h>

#include <fstream>
#include <sstream>
#include <stdexcept>
#include <utility>
#include <vector>

#include "tests/support/desktop/PrivateBus.h"
#include "tests/support/programs/Eventually.h"

namespace tevanto::test {
namespace {

constexpr auto kConfiguration = R"([server]
host-name=%HOST%
use-ipv4=yes
use-ipv6=yes
allow-interfaces=lo,tevanto0
enable-dbus=yes
[publish]
publish-hinfo=no
publish-workstation=no
)";

/// The configuration, the log, and the process beside whose network this one is to stand.
/// The daemon has one fixed runtime folder for the whole machine: it gets a /run of its own.
constexpr auto kScript = R"sh(
ip link set lo up multicast on
if [ -n "$3" ]; then
  near="nsenter --net=/proc/$3/ns/net"
  for enter in "" "$near"; do  # an address that is still being probed would not be announced
    $enter sh -c 'echo 0 >/proc/sys/net/ipv6/conf/default/accept_dad'
  done
  ip link add tevanto0 type veth peer name tevanto0 netns "$3" || exit 1
  $near ip address add 10.99.0.1/24 dev tevanto0
  $near ip link set tevanto0 up
  ip address add 10.99.0.2/24 dev tevanto0
  ip link set tevanto0 up
fi
mount -t tmpfs tmpfs /run && mkdir /run/avahi-daemon || exit 1
if [ "$(id -u)" != 0 ]; then  # its folder has to belong to its user: there, that is us
  echo "avahi:x:$(id -u):$(id -g)::/:/bin/false" >/run/passwd
  echo "avahi:x:$(id -g):" >/run/group
  mount --bind /run/passwd /etc/passwd && mount --bind /run/group /etc/group || exit 1
fi
exec avahi-daemon --no-drop-root --no-chroot --no-rlimits --no-proc-title -f "$1" >>"$2" 2>&1
)sh";

std::vector<std::string> inNamespaces() {
  if (::geteuid() == 0) return {"unshare", "--mount", "--net"};
  return {"unshare", "--user", "--map-current-user", "--keep-caps", "--mount", "--net"};
}

}  // namespace

AvahiDaemon::AvahiDaemon(const PrivateBus& bus, Options options) : bus_(bus), options_(std::move(options)) {
  std::string configuration = kConfiguration;
  configuration.replace(configuration.find("%HOST%"), 6, options_.hostName);
  std::ofstream(folder_ / "avahi.conf") << configuration;
  start();
}

AvahiDaemon::~AvahiDaemon() = default;

void AvahiDaemon::start() {
  auto command = inNamespaces();
  const auto neighbor = options_.besides ? std::to_string(options_.besides->pid()) : std::string();
  command.insert(command.end(), {"sh", "-c", kScript, "avahi", (folder_ / "avahi.conf").string(),
                                 (folder_ / "log").string(), neighbor});
  ChildProcess::Options options;
  options.environment = {{"DBUS_SYSTEM_BUS_ADDRESS", bus_.address()}};
  daemon_ = std::make_unique<ChildProcess>(std::move(command), std::move(options));
  const bool up = eventually([this] { return !daemon_->isRunning() || state() == "2"; });
  if (!up || !daemon_->isRunning()) throw std::runtime_error("avahi-daemon does not come up:\n" + log());
}

void AvahiDaemon::kill() { daemon_->kill(); }

std::string AvahiDaemon::log() const {
  std::ostringstream text;
  text << std::ifstream(folder_ / "log").rdbuf();
  return text.str();
}

std::string AvahiDaemon::state() const {
  if (!bus_.hasOwner("org.freedesktop.Avahi")) return "";
  try {
    const auto reply = bus_.call("org.freedesktop.Avahi", "/", "org.freedesktop.Avahi.Server.GetState");
    return reply.substr(1, reply.find(',') - 1);  // "(2,)"
  } catch (const std::runtime_error&) {
    return "";  // it went away in between
  }
}

}  // namespace tevanto::test

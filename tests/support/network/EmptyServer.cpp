#include "tests/support/network/EmptyServer.h"

#include <cstdlib>
#include <stdexcept>

#include "tests/support/network/NetworkNamespace.h"
#include "tests/support/programs/TestFiles.h"

namespace tevanto::test {
namespace {

/// In namespaces of their own: none of it is seen outside. Its argument is a folder for what is changed.
constexpr auto kBegin = R"(
set -e
cp -a /etc /var/lib/turn "$1"
mount --bind "$1/etc" /etc
mount --bind "$1/turn" /var/lib/turn
for each in /run /var/log /var/tmp /var/lib/nginx; do mount -t tmpfs tmpfs $each; done
mkdir /var/log/nginx
# As the package leaves it, whatever else this machine serves.
rm -rf /etc/nginx/sites-enabled
mkdir /etc/nginx/sites-enabled
ln -s ../sites-available/default /etc/nginx/sites-enabled/
echo ready
exec cat
)";

std::vector<std::string> inNamespaces(std::vector<std::string> command) {
  // With the first process in them ends all that runs there.
  command.insert(command.begin(), {"unshare", "--mount", "--pid", "--fork", "--kill-child", "--mount-proc"});
  return command;
}

}  // namespace

bool EmptyServer::permitted() {
  return NetworkNamespace::permitted() &&
         runProgram(inNamespaces({"true"}), {.mergeErrors = true}).exitStatus == 0;
}

EmptyServer::EmptyServer(const NetworkNamespace& network) {
  const auto programs = folder_ / "programs";
  std::filesystem::create_directory(programs);
  fill(programs / "systemctl", "#!/bin/sh\necho \"$*\" >> " + (folder_ / "asked").string() + "\n");
  std::filesystem::permissions(programs / "systemctl", std::filesystem::perms::owner_all);
  system_ = std::make_unique<ChildProcess>(
      network.inside(inNamespaces({"sh", "-c", kBegin, "sh", folder_.path().string()})),
      ChildProcess::Options{.environment = {}, .mergeErrors = true});
  const auto said = system_->readLine();
  if (said != "ready") throw std::runtime_error("the server does not come up: " + said.value_or("nothing"));
}

EmptyServer::~EmptyServer() {
  // unshare does not end when it is asked to, but with its first process.
  system_->closeInput();
  system_->wait();
}

std::filesystem::path EmptyServer::file(const std::string& path) const {
  return "/proc/" + std::to_string(system_->pid()) + "/root" + path;
}

std::vector<std::string> EmptyServer::inside(const std::vector<std::string>& command) const {
  const auto namespaces = "/proc/" + std::to_string(system_->pid()) + "/ns/";
  std::vector<std::string> made{"nsenter", "--net=" + namespaces + "net", "--mount=" + namespaces + "mnt",
                                "--pid=" + namespaces + "pid_for_children"};
  made.insert(made.end(), command.begin(), command.end());
  return made;
}

ProgramResult EmptyServer::run(const std::string& script) const {
  const auto* path = std::getenv("PATH");
  return runProgram(inside({"sh", "-e", "-c", script}),
                    {.environment = {{"PATH", (folder_ / "programs").string() + ":" + (path ? path : "")}},
                     .mergeErrors = true});
}

std::unique_ptr<ChildProcess> EmptyServer::start(
    const std::vector<std::string>& command,
    const std::vector<std::pair<std::string, std::string>>& environment) const {
  return std::make_unique<ChildProcess>(
      inside(command), ChildProcess::Options{.environment = environment, .mergeErrors = true});
}

std::string EmptyServer::askedOfSystemd() const { return contentOf(folder_ / "asked"); }

}  // namespace tevanto::test

#pragma once

#include <functional>
#include <string>
#include <vector>

#include "tests/support/programs/ChildProcess.h"

namespace tevanto::test {

/// A network of the test's own (Linux network namespace), with its loopback up. Needs root: ask `permitted`
/// first. It ends with this object; end the programs in it before.
class NetworkNamespace {
 public:
  static bool permitted();

  /// The kernel knows it by `label` and this process's number.
  explicit NetworkNamespace(const std::string& label);
  ~NetworkNamespace();
  NetworkNamespace(const NetworkNamespace&) = delete;
  NetworkNamespace& operator=(const NetworkNamespace&) = delete;

  const std::string& name() const { return name_; }
  /// The command line that runs `command` inside.
  std::vector<std::string> inside(std::vector<std::string> command) const;
  /// Runs `command` inside to its end; throws when it fails.
  void run(std::vector<std::string> command) const;
  /// Runs `work` on a thread that is inside, and waits for it. Sockets that it opens stay inside.
  void enter(const std::function<void()>& work) const;
  /// Whether packets that are not for it are passed on.
  void setForwarding(bool on) const;

  /// A cable between two networks: an interface of the given name in each, up, without addresses.
  static void connect(const NetworkNamespace& one, const std::string& interfaceOfOne,
                      const NetworkNamespace& other, const std::string& interfaceOfOther);

 private:
  std::string name_;
};

}  // namespace tevanto::test

#pragma once

#include <cstdint>
#include <fstream>
#include <regex>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "tests/support/peers/RawSocket.h"
#include "tests/support/programs/ChildProcess.h"

namespace tevanto::relay::test {

using tevanto::test::ChildProcess;
using tevanto::test::RawSocket;

/// The real relay on a free port of 127.0.0.1.
class RelayProcess {
 public:
  explicit RelayProcess(std::vector<std::string> options = {}, ChildProcess::Options environment = {})
      : process_(command(std::move(options)), std::move(environment)) {
    const auto line = process_.readLine().value_or("nothing");
    std::smatch found;
    if (!std::regex_match(line, found, std::regex("listening on 127\\.0\\.0\\.1:([0-9]+)")))
      throw std::runtime_error("the relay did not say where it listens but " + line);
    port_ = static_cast<std::uint16_t>(std::stoul(found[1]));
  }

  std::uint16_t port() const { return port_; }
  ChildProcess& process() { return process_; }

  /// The whole answer to a request in plain HTTP: status line, headers, body.
  std::string ask(const std::string& target, const std::string& more = "") const {
    return exchange("GET " + target + " HTTP/1.1\r\nHost: relay\r\n" + more + "\r\n");
  }
  /// What comes back for these bytes until the relay closes the connection.
  std::string exchange(const std::string& bytes) const {
    const auto socket = RawSocket::connectTo(port_);
    if (!socket.send(bytes)) return "";
    std::string answer;
    for (auto more = socket.receiveSome(); !more.empty(); more = socket.receiveSome()) answer += more;
    return answer;
  }
  /// A sample of /metrics.
  long metric(const std::string& name) const {
    const auto page = ask("/metrics");
    const auto at = page.find("\ntevanto_relay_" + name + " ");
    if (at == std::string::npos) throw std::runtime_error("no metric " + name);
    return std::stol(page.substr(page.find(' ', at) + 1));
  }

 private:
  static std::vector<std::string> command(std::vector<std::string> options) {
    std::vector<std::string> all{TEVANTO_RELAY, "--listen", "127.0.0.1", "--port", "0"};
    all.insert(all.end(), options.begin(), options.end());
    return all;
  }

  ChildProcess process_;
  std::uint16_t port_ = 0;
};

}  // namespace tevanto::relay::test

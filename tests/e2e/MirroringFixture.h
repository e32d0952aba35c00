#pragma once

#include <gtest/gtest.h>

#include <cstddef>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <sstream>
#include <string>
#include <system_error>
#include <utility>
#include <vector>

#include "screen/wire/ScreenStreamHello.h"
#include "tests/e2e/Programs.h"
#include "tests/support/companion/CompanionProcess.h"
#include "tests/support/peers/RawSocket.h"
#include "tests/support/peers/ScreenBytes.h"
#include "tests/support/programs/Eventually.h"
#include "tests/support/programs/TemporaryFolder.h"

namespace tevanto {

using test::kPhone;
using test::kProgram;

using test::CompanionDesktop;
using test::CompanionProcess;
using test::eventually;

/// A real companion on a real X server, and a phone that is paired with it.
class Mirroring : public ::testing::Test {
 public:
  void SetUp() override {
    desktop.environment.emplace_back("HOME", folder.path().string());
    companion = std::make_unique<CompanionProcess>(desktop, kProgram);
    ASSERT_TRUE(eventually([this] { return now().screenPort != 0; }));
    ASSERT_EQ(phone({"pair", now().pairingCode}).exitStatus, 0);
  }
  CompanionStatus now() const { return companion->status().value_or(CompanionStatus()); }
  std::vector<std::string> onOurPorts(std::vector<std::string> arguments) const {
    arguments.insert(arguments.begin(), {"--host", "127.0.0.1:" + std::to_string(now().remotePort)});
    return arguments;
  }
  test::ProgramResult phone(std::vector<std::string> arguments) const {
    return desktop.run(kPhone, onOurPorts(std::move(arguments)));
  }
  std::vector<std::string> mirroring(std::vector<std::string> options) const {
    options.insert(options.begin(),
                   {"mirror", "--screen-host", "127.0.0.1:" + std::to_string(now().screenPort)});
    return options;
  }
  test::ProgramResult mirror(std::vector<std::string> options) const {
    return phone(mirroring(std::move(options)));
  }
  std::string file(const std::string& name) const { return (folder / name).string(); }
  std::string token() const {
    const auto shown = desktop.run(kProgram, {"defaults", "get", "remotePairingToken"}).output;
    return shown.substr(0, shown.find('\n'));
  }
  test::RawSocket connectToScreen() const {
    return test::RawSocket::connectTo(static_cast<std::uint16_t>(now().screenPort));
  }
  /// Says hello and waits for the first message.
  bool watch(const test::RawSocket& socket) const {
    return socket.send(test::frameText(helloMessage({token(), 1280, 720, false}))) &&
           socket.receive(5).size() == 5;
  }
  std::filesystem::path ofProcess(const std::string& entry) const {
    return "/proc/" + std::to_string(companion->process().pid()) + "/" + entry;
  }
  /// In bytes.
  std::size_t residentMemory() const {
    std::ifstream status(ofProcess("status"));
    for (std::string line; std::getline(status, line);) {
      if (line.rfind("VmRSS:", 0) == 0) return std::stoul(line.substr(6)) * 1024;
    }
    return 0;
  }
  /// What it has used of processors, in clock ticks.
  long processorTicks() const {
    std::ifstream file(ofProcess("stat"));
    const std::string all{std::istreambuf_iterator<char>(file), {}};
    std::istringstream fields(all.substr(all.rfind(')') + 2));
    std::string skipped;
    for (int i = 0; i < 11; ++i) fields >> skipped;
    long user = 0, system = 0;
    fields >> user >> system;
    return user + system;
  }
  std::size_t countIn(const std::string& entry) const {
    const auto folderOfIt = std::filesystem::directory_iterator(ofProcess(entry));
    return static_cast<std::size_t>(std::distance(begin(folderOfIt), end(folderOfIt)));
  }
  /// Connections and listeners of the companion, those to the X server among them.
  int countSockets() const {
    int count = 0;
    for (const auto& entry : std::filesystem::directory_iterator(ofProcess("fd"))) {
      std::error_code gone;  // closed meanwhile
      count += std::filesystem::read_symlink(entry, gone).string().starts_with("socket:") ? 1 : 0;
    }
    return count;
  }
  /// Segments of shared memory that the companion has mapped: System V's, and those that are files.
  int mappedSegments() const {
    std::ifstream maps(ofProcess("maps"));
    int count = 0;
    for (std::string line; std::getline(maps, line);) {
      count += line.find("/SYSV") != std::string::npos || line.find("memfd") != std::string::npos ||
                       line.find("/dev/shm") != std::string::npos
                   ? 1
                   : 0;
    }
    return count;
  }

  test::TemporaryFolder folder;
  CompanionDesktop desktop;
  std::unique_ptr<CompanionProcess> companion;
};

}  // namespace tevanto

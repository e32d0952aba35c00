// The journal's address is fixed, so that each test runs in a child with a mount namespace of its own, in
// which a socket of the test stands at that address. Where namespaces are not allowed these tests are
// skipped.
#include "platform/linux/process/JournalLogSink.h"

#include <gtest/gtest.h>
#include <poll.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <functional>
#include <string>

namespace tevanto {
namespace {

namespace fs = std::filesystem;

constexpr const char* kSocket = "/run/systemd/journal/socket";
constexpr int kSkipped = 77;

/// A datagram socket where the journal listens, in a /run that only this process sees.
class StandInJournal {
 public:
  static bool isolate() {
    return ::unshare(CLONE_NEWNS) == 0 && ::mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0 &&
           ::mount("tmpfs", "/run", "tmpfs", 0, nullptr) == 0;
  }

  StandInJournal() : socket_(::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0)) {
    fs::create_directories(fs::path(kSocket).parent_path());
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    std::strcpy(address.sun_path, kSocket);
    if (::bind(socket_, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) ::_exit(2);
  }
  ~StandInJournal() { ::close(socket_); }
  StandInJournal(const StandInJournal&) = delete;
  StandInJournal& operator=(const StandInJournal&) = delete;

  std::string receive() const {
    std::string entry(64 * 1024, '\0');
    pollfd ready{socket_, POLLIN, 0};
    if (::poll(&ready, 1, 10'000) != 1) return "";
    entry.resize(static_cast<std::size_t>(::recv(socket_, entry.data(), entry.size(), 0)));
    return entry;
  }

 private:
  const int socket_;
};

/// Runs `body` in a child with a /run of its own; it returns whether all was as it should be.
void inItsOwnNamespace(const std::function<bool()>& body) {
  const pid_t pid = ::fork();
  ASSERT_GE(pid, 0);
  if (pid == 0) ::_exit(!StandInJournal::isolate() ? kSkipped : body() ? 0 : 1);
  int status = -1;
  ASSERT_EQ(::waitpid(pid, &status, 0), pid);
  ASSERT_TRUE(WIFEXITED(status)) << status;
  if (WEXITSTATUS(status) == kSkipped) GTEST_SKIP() << "mount namespaces are not allowed here";
  EXPECT_EQ(WEXITSTATUS(status), 0);
}

bool has(const std::string& entry, const std::string& field) {
  return ("\n" + entry).find("\n" + field + "\n") != std::string::npos;
}

bool redirectErrorsTo(const char* path) { return std::freopen(path, "w", stderr) != nullptr; }

TEST(JournalLogSink, sendsEachLineAsOneEntryWithItsFields) {
  inItsOwnNamespace([] {
    const StandInJournal journal;
    Logger(std::make_shared<JournalLogSink>(), "webrtc").warning("[answerer] interrupted");
    const auto entry = journal.receive();
    return has(entry, "MESSAGE=[answerer] interrupted") && has(entry, "PRIORITY=4") &&
           has(entry, "SYSLOG_IDENTIFIER=tevanto") && has(entry, "SUBSYSTEM=app.tevanto") &&
           has(entry, "CATEGORY=webrtc") && entry.find("CODE_LINE") == std::string::npos;
  });
}

TEST(JournalLogSink, letsNoMessageAddAFieldOfItsOwn) {
  inItsOwnNamespace([] {
    const StandInJournal journal;
    Logger(std::make_shared<JournalLogSink>(), "signaling").info("one\nPRIORITY=0");
    const auto entry = journal.receive();
    // A value with a line feed is sent with its length in front (little-endian, 64 bits).
    const std::string framed("MESSAGE\n\x0E\0\0\0\0\0\0\0one\nPRIORITY=0\n", 31);
    return entry.find(framed) != std::string::npos && has(entry, "PRIORITY=6");
  });
}

TEST(JournalLogSink, saysItOnStandardErrorWhenTheJournalIsGone) {
  inItsOwnNamespace([] {
    if (!redirectErrorsTo("/run/errors")) return false;
    Logger(std::make_shared<JournalLogSink>(), "webrtc").error("unheard");
    std::fflush(stderr);
    return fs::file_size("/run/errors") > 0;
  });
}

TEST(JournalLogSink, isChosenWhenThereIsAJournalAndNoTerminal) {
  inItsOwnNamespace([] {
    const StandInJournal journal;
    if (!redirectErrorsTo("/run/errors")) return false;
    Logger(makeSystemLogSink(), "webrtc").info("chosen");
    return has(journal.receive(), "MESSAGE=chosen") && fs::file_size("/run/errors") == 0;
  });
}

TEST(JournalLogSink, isChosenWhenStandardErrorLeadsThere) {
  inItsOwnNamespace([] {
    if (!redirectErrorsTo("/run/stream")) return false;
    struct stat facts {};
    if (::fstat(STDERR_FILENO, &facts) != 0) return false;
    const auto name = std::to_string(facts.st_dev) + ":" + std::to_string(facts.st_ino);
    ::setenv("JOURNAL_STREAM", name.c_str(), 1);
    const bool chosen = dynamic_cast<JournalLogSink*>(makeSystemLogSink().get()) != nullptr;
    ::setenv("JOURNAL_STREAM", "1:1", 1);
    const bool inherited = dynamic_cast<JournalLogSink*>(makeSystemLogSink().get()) != nullptr;
    return chosen && !inherited;
  });
}

TEST(JournalLogSink, isNotChosenWithoutAJournal) {
  inItsOwnNamespace([] {
    ::unsetenv("JOURNAL_STREAM");
    if (!redirectErrorsTo("/run/errors")) return false;
    Logger(makeSystemLogSink(), "webrtc").info("to the file");
    std::fflush(stderr);
    return fs::file_size("/run/errors") > 0;
  });
}

}  // namespace
}  // namespace tevanto

#include "platform/linux/process/JournalLogSink.h"

// Where an entry was logged in our sources is always the line below: of no use to anybody.
#define SD_JOURNAL_SUPPRESS_LOCATION
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/uio.h>
#include <systemd/sd-journal.h>
#include <unistd.h>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <string>

namespace tevanto {
namespace {

/// The journal names the device and the inode of the stream that it reads, so that a program can tell whether
/// its standard error still is that stream (systemd.exec(5), JOURNAL_STREAM).
bool standardErrorIsTheJournal() {
  const char* stream = std::getenv("JOURNAL_STREAM");
  struct stat facts {};
  if (!stream || ::fstat(STDERR_FILENO, &facts) != 0) return false;
  return std::to_string(facts.st_dev) + ":" + std::to_string(facts.st_ino) == stream;
}

bool journalListens() {
  struct stat facts {};
  return ::stat("/run/systemd/journal/socket", &facts) == 0 && S_ISSOCK(facts.st_mode);
}

std::string field(std::string_view name, std::string_view value) {
  return std::string(name).append("=").append(value);
}

}  // namespace

void JournalLogSink::write(LogLevel level, std::string_view category, std::string_view message) {
  const std::array<std::string, 5> fields = {
      field("MESSAGE", message), field("PRIORITY", std::to_string(static_cast<int>(level))),
      field("SYSLOG_IDENTIFIER", "tevanto"), field("SUBSYSTEM", Logger::kSubsystem),
      field("CATEGORY", category)};
  std::array<iovec, fields.size()> parts{};
  for (std::size_t i = 0; i < fields.size(); ++i)
    parts[i] = {const_cast<char*>(fields[i].data()), fields[i].size()};
  // Without a journal sd_journal_sendv succeeds all the same, and the line is lost.
  if (!journalListens() || ::sd_journal_sendv(parts.data(), static_cast<int>(parts.size())) < 0)
    otherwise_->write(level, category, message);
}

std::shared_ptr<LogSink> makeSystemLogSink() {
  const bool watched = ::isatty(STDERR_FILENO) == 1;
  if (standardErrorIsTheJournal() || (journalListens() && !watched))
    return std::make_shared<JournalLogSink>();
  return LogSink::standardError();
}

}  // namespace tevanto

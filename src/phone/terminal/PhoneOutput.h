#pragma once

#include <filesystem>
#include <ostream>
#include <string>
#include <string_view>
#include <vector>

#include "core/Result.h"
#include "net/discovery/ServiceBrowser.h"
#include "phone/connection/Answer.h"
#include "phone/mirror/MirrorStatistics.h"
#include "remote/message/RemoteMessage.h"

namespace tevanto::phone {

class PairedCompanions;

/// PhoneOutput prints the results of the program: sentences and tables for people, or one JSON object per
/// line for scripts. Texts of the companion lose their control characters before a terminal sees them;
/// tokens are never printed.
class PhoneOutput {
 public:
  enum class Format { text, json };

  PhoneOutput(std::ostream& out, std::ostream& err, Format format) : out_(out), err_(err), format_(format) {}

  /// `text` in place of the reply itself, for people.
  void reply(const RemoteMessage& message, std::string_view text);
  /// "ok", or what the companion said.
  void ack(const RemoteMessage& message);
  void systemState(const RemoteMessage& message);
  void powerState(const RemoteMessage& message);
  void apps(const RemoteMessage& message);
  void services(const std::vector<FoundService>& found, const PairedCompanions& paired);
  enum class Moment { now, nowOnTerminal, end };
  /// How mirroring goes, on a line that is written over again on a terminal; or how it went.
  void mirror(const MirrorStatistics::Report& report, Moment moment);
  /// To standard error, for what does not end the command.
  void warning(std::string_view text);
  void line(std::string_view text);
  /// To standard error; for scripts also {"type":"error","code":...,"message":...} to standard output.
  ExitCode trouble(const Trouble& trouble);

  bool isJson() const { return format_ == Format::json; }

 private:
  std::ostream& out_;
  std::ostream& err_;
  Format format_;
  bool isLineOpen_ = false;  // the terminal's cursor stands behind statistics
};

/// Writes each icon into `folder` as <identifier>.png and returns how many there were.
Result<int> writeIcons(const std::vector<RemoteAppInfo>& apps, const std::filesystem::path& folder);

}  // namespace tevanto::phone

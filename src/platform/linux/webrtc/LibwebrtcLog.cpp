#include "platform/linux/webrtc/LibwebrtcLog.h"

namespace tevanto {

LibwebrtcLog::LibwebrtcLog(const PeerEngineOptions& options) : log_(options.log), verbose_(options.verbose) {
  // By default the library writes to standard error.
  rtc::LogMessage::LogToDebug(rtc::LS_NONE);
  rtc::LogMessage::SetLogToStderr(false);
  if (verbose_) rtc::LogMessage::AddLogToStream(this, rtc::LS_INFO);
}

LibwebrtcLog::~LibwebrtcLog() {
  if (verbose_) rtc::LogMessage::RemoveLogToStream(this);
}

void LibwebrtcLog::OnLogMessage(const std::string& message) { log_.debug(message); }

void LibwebrtcLog::OnLogMessage(const std::string& message, rtc::LoggingSeverity severity) {
  const auto line = message.substr(0, message.find_last_not_of('\n') + 1);
  if (severity >= rtc::LS_ERROR) return log_.error(line);
  if (severity >= rtc::LS_WARNING) return log_.warning(line);
  log_.debug(line);
}

}  // namespace tevanto

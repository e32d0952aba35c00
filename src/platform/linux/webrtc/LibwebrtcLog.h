#pragma once

#include <rtc_base/logging.h>

#include <string>

#include "platform/linux/webrtc/PeerEngineOptions.h"

namespace tevanto {

/// LibwebrtcLog passes the engine's own log to ours while it exists, when the options ask for it.
class LibwebrtcLog final : public rtc::LogSink {
 public:
  explicit LibwebrtcLog(const PeerEngineOptions& options);
  ~LibwebrtcLog() override;

  void OnLogMessage(const std::string& message) override;
  void OnLogMessage(const std::string& message, rtc::LoggingSeverity severity) override;

 private:
  const Logger log_;
  const bool verbose_;
};

}  // namespace tevanto

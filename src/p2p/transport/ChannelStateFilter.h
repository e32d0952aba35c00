#pragma once

#include <optional>
#include <string_view>

#include "remote/message/MessageChannel.h"

namespace tevanto {

/// ChannelStateFilter decides which events of a transport are reported to its owner, so that each state is
/// reported once:
///
///     event        when                                               reports
///     ready        not ready yet                                      ready
///     interrupted  the control channel was open once, and ready       interrupted
///     recovered    the control channel was open once, and interrupted ready
///     failed       not failed yet                                     failed
class ChannelStateFilter {
 public:
  enum class Event { ready, interrupted, recovered, failed };
  struct Report {
    ChannelState state;
    std::string_view logLine;
  };

  /// The report to make; nothing when the event is no news.
  std::optional<Report> on(Event event, bool channelEverReady) {
    const auto report = consider(event, channelEverReady);
    if (report) last_ = report->state;
    return report;
  }

  /// For a fresh session, whose first ready is news again.
  void reset() { last_.reset(); }

 private:
  std::optional<Report> consider(Event event, bool channelEverReady) const {
    switch (event) {
      case Event::ready:
        if (last_ != ChannelState::ready) return Report{ChannelState::ready, "data channel ready"};
        break;
      case Event::interrupted:
        if (channelEverReady && last_ == ChannelState::ready)
          return Report{ChannelState::interrupted, "transport interrupted"};
        break;
      case Event::recovered:
        if (channelEverReady && last_ == ChannelState::interrupted)
          return Report{ChannelState::ready, "transport recovered"};
        break;
      case Event::failed:
        if (last_ != ChannelState::failed) return Report{ChannelState::failed, "transport failed"};
        break;
    }
    return std::nullopt;
  }

  std::optional<ChannelState> last_;
};

}  // namespace tevanto

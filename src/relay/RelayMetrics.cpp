#include "relay/RelayMetrics.h"

#include <string_view>

namespace tevanto::relay {
namespace {

class Page {
 public:
  void family(std::string_view name, std::string_view type, std::string_view meaning) {
    name_ = "tevanto_relay_" + std::string(name);
    text.append("# HELP ").append(name_).append(" ").append(meaning).append("\n");
    text.append("# TYPE ").append(name_).append(" ").append(type).append("\n");
  }
  void sample(std::uint64_t value, std::string_view labels = "") {
    text.append(name_).append(labels).append(" ").append(std::to_string(value)).append("\n");
  }
  void gauge(std::string_view name, std::string_view meaning, std::uint64_t value) {
    family(name, "gauge", meaning);
    sample(value);
  }
  void counter(std::string_view name, std::string_view meaning, std::uint64_t value) {
    family(name, "counter", meaning);
    sample(value);
  }

  std::string text;

 private:
  std::string name_;
};

}  // namespace

std::string RelayMetrics::text() const {
  Page page;
  page.gauge("connections", "Connections that are open.", connections);
  page.family("members", "gauge", "Members in rooms, by role.");
  page.sample(macMembers, "{role=\"mac\"}");
  page.sample(phoneMembers, "{role=\"phone\"}");
  page.gauge("rooms", "Rooms with at least one member.", rooms);
  page.counter("connections_accepted_total", "Connections accepted.", acceptedConnections);
  page.counter("connections_refused_total", "Connections refused because of a limit.", refusedConnections);
  page.counter("joins_total", "Members that joined a room.", joins);
  page.counter("messages_forwarded_total", "Messages passed to the other member.", forwardedMessages);
  page.counter("forwarded_bytes_total", "Bytes of those messages.", forwardedBytes);
  page.counter("messages_to_nobody_total", "Messages dropped because the other member was away.",
               messagesToNobody);
  page.family("members_ended_total", "counter", "Members that the relay ended, by reason.");
  page.sample(replacedMembers, "{reason=\"replaced\"}");
  page.sample(rateLimitedMembers, "{reason=\"rate\"}");
  page.sample(slowReaders, "{reason=\"slow\"}");
  page.sample(silentMembers, "{reason=\"silent\"}");
  page.counter("requests_failed_total", "Requests that were no valid HTTP or came too slowly.",
               failedRequests);
  page.counter("turn_credentials_total", "TURN credentials handed out.", turnCredentials);
  return page.text;
}

}  // namespace tevanto::relay

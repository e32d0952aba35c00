#pragma once

#include <chrono>
#include <string>
#include <utility>
#include <vector>

#include "relay/RelayMetrics.h"
#include "relay/RelayOptions.h"
#include "relay/RelayTypes.h"

namespace tevanto::relay {

/// The answer to a request that does not become a WebSocket. Texts are one sentence for a person.
struct HttpAnswer {
  unsigned status = 200;
  std::string body;
  std::string contentType = "text/plain; charset=utf-8";
  std::vector<std::pair<std::string, std::string>> headers = {};

  static HttpAnswer badRequest();
  static HttpAnswer tooManyConnections();
};

/// `path` is the decoded path of the request's target. Counts what it hands out.
HttpAnswer answerTo(const RelayRequest& request, const std::string& path, const TurnOptions& turn,
                    RelayMetrics& metrics, std::chrono::sys_seconds now);

}  // namespace tevanto::relay

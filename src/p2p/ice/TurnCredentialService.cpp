#include "p2p/ice/TurnCredentialService.h"

#include <cctype>
#include <utility>

#include "core/text/Text.h"

namespace tevanto {
namespace {

/// One walk along the services; each answer's closure keeps it alive.
class Fetch : public std::enable_shared_from_this<Fetch> {
 public:
  Fetch(std::shared_ptr<HttpClient> http, std::vector<std::string> urls, std::shared_ptr<SerialQueue> queue,
        TurnCredentialService::Completion done)
      : http_(std::move(http)), urls_(std::move(urls)), queue_(std::move(queue)), done_(std::move(done)) {}

  void askNext() {
    if (next_ == urls_.size()) return done_(std::nullopt);
    HttpRequest request;  // made for a minute, as any other
    request.url = urls_[next_++];
    request.timeout = TurnCredentialService::kTimeout;
    http_->send(std::move(request), queue_, [self = shared_from_this()](Result<HttpResponse> answer) {
      auto servers = answer ? decodeRemoteIceServersResponse(answer.value().body) : std::nullopt;
      servers ? self->done_(std::move(servers)) : self->askNext();
    });
  }

 private:
  const std::shared_ptr<HttpClient> http_;
  const std::vector<std::string> urls_;
  const std::shared_ptr<SerialQueue> queue_;
  const TurnCredentialService::Completion done_;
  std::size_t next_ = 0;
};

}  // namespace

std::optional<std::string> credentialURL(std::string_view relayURL) {
  const auto schemeEnd = relayURL.find("://");
  if (schemeEnd == std::string_view::npos) return std::nullopt;
  const auto scheme = lowerCased(relayURL.substr(0, schemeEnd));
  const auto rest = relayURL.substr(schemeEnd + 3);
  const auto hostAndPort = rest.substr(0, rest.find_first_of("/?#"));
  if ((scheme != "wss" && scheme != "ws") || hostAndPort.empty()) return std::nullopt;
  return (scheme == "wss" ? "https://" : "http://") + std::string(hostAndPort) + "/turn-credentials";
}

void TurnCredentialService::fetch(const std::vector<std::string>& relayURLs,
                                  std::shared_ptr<SerialQueue> queue, Completion done) const {
  std::vector<std::string> urls;
  for (const auto& relay : relayURLs) {
    if (auto url = credentialURL(relay)) urls.push_back(std::move(*url));
  }
  auto walk = std::make_shared<Fetch>(http_, std::move(urls), queue, std::move(done));
  queue->async([walk] { walk->askNext(); });
}

}  // namespace tevanto

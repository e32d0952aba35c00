#pragma once

#include <deque>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "net/web/HttpClient.h"

namespace tevanto::test {

/// Answers from a script, in order, on the queue of the request; where the script is at its end, with the
/// failure of a service that does not answer, when the request's time is over. For one queue.
class FakeHttpClient final : public HttpClient {
 public:
  void send(HttpRequest request, std::shared_ptr<SerialQueue> queue, Completion completion) override {
    requests.push_back(request);
    if (script_.empty()) {
      timers_.push_back(
          queue->asyncAfter(request.timeout, [completion] { completion(Failure{"the request timed out"}); }));
      return;
    }
    queue->async([completion, answer = std::move(script_.front())] { completion(answer); });
    script_.pop_front();
  }

  void willAnswer(int status, std::string body,
                  std::vector<std::pair<std::string, std::string>> headers = {}) {
    script_.emplace_back(HttpResponse{status, std::move(headers), std::move(body)});
  }
  void willFail(std::string why) { script_.emplace_back(Failure{std::move(why)}); }

  std::vector<HttpRequest> requests;

 private:
  std::deque<Result<HttpResponse>> script_;
  std::vector<Timer> timers_;
};

}  // namespace tevanto::test

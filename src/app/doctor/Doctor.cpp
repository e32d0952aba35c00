#include "app/doctor/Doctor.h"

#include <algorithm>
#include <boost/json.hpp>
#include <future>
#include <optional>
#include <thread>
#include <utility>
#include <vector>

#include "core/text/Text.h"

namespace tevanto {

namespace {

using Attempt = Result<std::string>;

struct RunningCheck {
  std::future<Attempt> answer;
  std::thread thread;
};

RunningCheck begin(const DoctorCheck& check) {
  std::promise<Attempt> promise;
  auto answer = promise.get_future();
  std::thread thread(
      [promise = std::move(promise), attempt = check.attempt]() mutable { promise.set_value(attempt()); });
  return {std::move(answer), std::move(thread)};
}

/// Waits for the result of the check. Nothing, and a leaked thread, when there is none by the deadline.
std::optional<Attempt> end(RunningCheck& check, std::chrono::steady_clock::time_point deadline) {
  if (check.answer.wait_until(deadline) != std::future_status::ready) {
    check.thread.detach();
    return std::nullopt;
  }
  check.thread.join();
  return check.answer.get();
}

}  // namespace

void tryChecks(const std::vector<DoctorCheck>& checks, std::chrono::milliseconds timeout,
               const std::function<void(DoctorFinding)>& found) {
  const auto deadline = std::chrono::steady_clock::now() + timeout;
  std::vector<RunningCheck> running;
  for (const auto& check : checks) running.push_back(begin(check));
  for (std::size_t i = 0; i < checks.size(); ++i) {
    if (const auto result = end(running[i], deadline)) {
      found({checks[i].name, result->ok(), result->ok() ? result->value() : result->error()});
    } else {
      found({checks[i].name, false,
             "No answer within " + std::to_string(timeout.count() / 1000) +
                 " seconds; the service behind it hangs, so restart it or log out and in again."});
    }
  }
}

std::string doctorJson(const std::vector<DoctorFinding>& findings) {
  boost::json::array checks;
  for (const auto& finding : findings) {
    checks.push_back({{"name", finding.name}, {"ok", finding.ok}, {"text", finding.text}});
  }
  return boost::json::serialize(boost::json::object{{"ok", allOk(findings)}, {"checks", std::move(checks)}});
}

std::string doctorLine(const DoctorFinding& finding) {
  auto name = finding.name;
  name.resize(std::max<std::size_t>(name.size(), 14), ' ');
  return (finding.ok ? "ok      " : "FAILED  ") + name + "  " + printable(finding.text);
}

bool allOk(const std::vector<DoctorFinding>& findings) {
  return std::all_of(findings.begin(), findings.end(), [](const auto& finding) { return finding.ok; });
}

}  // namespace tevanto

#include "app/Doctor.h"

#include <algorithm>
#include <boost/json.hpp>
#include <future>
#include <memory>
#include <thread>

#include "core/Text.h"

namespace tevanto {

namespace {

using Attempt = Result<std::string>;

std::future<Attempt> begin(const DoctorCheck& check) {
  auto promise = std::make_shared<std::promise<Attempt>>();
  auto answer = promise->get_future();
  std::thread([promise, attempt = check.attempt] { promise->set_value(attempt()); }).detach();
  return answer;
}

}  // namespace

void tryChecks(const std::vector<DoctorCheck>& checks, std::chrono::milliseconds patience,
               const std::function<void(DoctorFinding)>& found) {
  const auto end = std::chrono::steady_clock::now() + patience;
  std::vector<std::future<Attempt>> answers;
  for (const auto& check : checks) answers.push_back(begin(check));
  for (std::size_t i = 0; i < checks.size(); ++i) {
    if (answers[i].wait_until(end) == std::future_status::ready) {
      const auto result = answers[i].get();
      found({checks[i].name, result.ok(), result ? result.value() : result.error()});
    } else {
      found({checks[i].name, false,
             "No answer within " + std::to_string(patience.count() / 1000) +
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

#include "app/Doctor.h"

#include <algorithm>
#include <boost/json.hpp>
#include <future>
#include <memory>
#include <thread>

namespace tevanto {

DoctorFinding tryCheck(const DoctorCheck& check, std::chrono::milliseconds patience) {
  auto promise = std::make_shared<std::promise<Result<std::string>>>();
  auto answer = promise->get_future();
  std::thread([promise, attempt = check.attempt] { promise->set_value(attempt()); }).detach();
  if (answer.wait_for(patience) != std::future_status::ready) {
    return {check.name, false,
            "No answer within " + std::to_string(patience.count() / 1000) +
                " seconds; the service behind it hangs, so restart it or log out and in again."};
  }
  const auto result = answer.get();
  return {check.name, result.ok(), result ? result.value() : result.error()};
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
  return (finding.ok ? "ok      " : "FAILED  ") + name + "  " + finding.text;
}

bool allOk(const std::vector<DoctorFinding>& findings) {
  return std::all_of(findings.begin(), findings.end(), [](const auto& finding) { return finding.ok; });
}

}  // namespace tevanto

#include "platform/linux/session/LogindSleepAssertions.h"

#include <cerrno>
#include <utility>

namespace tevanto {
namespace {

constexpr auto kName = "Tevanto";
constexpr std::uint32_t kNoWindow = 0;
constexpr std::uint32_t kInhibitSuspend = 4;  // of org.gnome.SessionManager; 8 would keep the display lit too

/// SessionService is a service of the session that holds off sleep, and the method that ends this with the
/// cookie it answers.
struct SessionService {
  BusCall inhibit;
  const char* releaseMethod;
};

std::vector<SessionService> sessionServices(const std::string& reason) {
  return {{{"org.gnome.SessionManager",
            "/org/gnome/SessionManager",
            "org.gnome.SessionManager",
            "Inhibit",
            {"app.tevanto.Tevanto", kNoWindow, reason, kInhibitSuspend}},
           "Uninhibit"},
          {{"org.freedesktop.PowerManagement",
            "/org/freedesktop/PowerManagement/Inhibit",
            "org.freedesktop.PowerManagement.Inhibit",
            "Inhibit",
            {kName, reason}},
           "UnInhibit"}};
}

}  // namespace

LogindSleepAssertions::LogindSleepAssertions(Logger log, BusAddress systemBus, BusAddress sessionBus)
    : log_(std::move(log)), systemBus_(std::move(systemBus)), sessionBus_(std::move(sessionBus)) {}

SleepAssertions::Created LogindSleepAssertions::create(std::string_view type, std::string_view reason) {
  if (type != kPreventUserIdleSystemSleep) return {EINVAL, 0};
  Held held;
  const Code code = inhibitLogind(std::string(reason), held.logind);
  held.session = inhibitSession(std::string(reason));
  if (!held.logind && !held.session) return {code, 0};
  const auto identifier = nextIdentifier_++;
  held_.emplace(identifier, std::move(held));
  return {0, identifier};
}

SleepAssertions::Code LogindSleepAssertions::release(std::uint32_t identifier) {
  const auto held = held_.find(identifier);
  if (held == held_.end()) return EINVAL;
  // A service that does not answer loses the inhibitor all the same, with the connection that is closed
  // below.
  if (auto& session = held->second.session) session->connection.callAll(session->releaseCalls);
  held_.erase(held);
  return 0;
}

SleepAssertions::Code LogindSleepAssertions::inhibitLogind(const std::string& reason, Descriptor& held) {
  const auto reply = callOnce(systemBus_, {"org.freedesktop.login1",
                                           "/org/freedesktop/login1",
                                           "org.freedesktop.login1.Manager",
                                           "Inhibit",
                                           {"idle", kName, reason, "block"}});
  if (!reply) {
    log_.warning("logind does not hold off sleep: " + reply.error().text);
    return reply.error().code;
  }
  held = reply.descriptor();
  return held ? 0 : EPROTO;
}

std::optional<LogindSleepAssertions::SessionInhibitors> LogindSleepAssertions::inhibitSession(
    const std::string& reason) {
  auto opened = BusConnection::open(sessionBus_);
  if (std::holds_alternative<BusError>(opened)) return std::nullopt;
  SessionInhibitors inhibitors{std::get<BusConnection>(std::move(opened)), {}};

  const auto services = sessionServices(reason);
  std::vector<BusCall> calls;
  calls.reserve(services.size());
  for (const auto& service : services) calls.push_back(service.inhibit);
  const auto replies = inhibitors.connection.callAll(calls);
  for (std::size_t i = 0; i < services.size(); ++i) {
    if (const auto cookie = replies[i].uint32()) {
      BusCall releaseCall = services[i].inhibit;
      releaseCall.method = services[i].releaseMethod;
      releaseCall.arguments = {*cookie};
      inhibitors.releaseCalls.push_back(std::move(releaseCall));
    } else if (!replies[i].error().isNoService()) {
      log_.warning(services[i].inhibit.service + " does not hold off sleep: " + replies[i].error().text);
    }
  }
  if (inhibitors.releaseCalls.empty()) return std::nullopt;
  return inhibitors;
}

}  // namespace tevanto

#include "platform/linux/session/LogindSession.h"

#include <unistd.h>

#include <cstdlib>
#include <utility>

namespace tevanto {
namespace {

constexpr auto kService = "org.freedesktop.login1";
constexpr auto kPath = "/org/freedesktop/login1";
constexpr auto kLogind = "org.freedesktop.login1.Manager";
constexpr auto kSession = "org.freedesktop.login1.Session";
constexpr auto kUser = "org.freedesktop.login1.User";
constexpr bool kInteractive = false;
constexpr auto kNoAnswer = "login service does not answer";

Failure failureOf(const BusError& error) {
  if (error.isTimeout()) return {kNoAnswer};
  if (error.isNoService() || error.name.empty()) return {"login service unavailable"};
  return {error.text.empty() ? error.name : error.text};
}

Result<void> resultOf(const BusReply& reply) {
  if (reply) return {};
  return failureOf(reply.error());
}

std::vector<BusCall> sessionEnders() {
  constexpr std::uint32_t kWithoutConfirmation = 1;
  constexpr std::int32_t kNoConfirmation = 0;
  constexpr std::int32_t kLogOutOnly = 0;
  constexpr std::int32_t kTryNow = 1;
  return {{"org.gnome.SessionManager",
           "/org/gnome/SessionManager",
           "org.gnome.SessionManager",
           "Logout",
           {kWithoutConfirmation}},
          {"org.xfce.SessionManager",
           "/org/xfce/SessionManager",
           "org.xfce.Session.Manager",
           "Logout",
           {false /* dialog */, true /* save */}},
          {"org.kde.ksmserver",
           "/KSMServer",
           "org.kde.KSMServerInterface",
           "logout",
           {kNoConfirmation, kLogOutOnly, kTryNow}}};
}

std::vector<BusCall> screenLockers() {
  return {
      {"org.freedesktop.ScreenSaver", "/org/freedesktop/ScreenSaver", "org.freedesktop.ScreenSaver", "Lock"},
      {"org.gnome.ScreenSaver", "/org/gnome/ScreenSaver", "org.gnome.ScreenSaver", "Lock"},
      {"org.xfce.ScreenSaver", "/org/xfce/ScreenSaver", "org.xfce.ScreenSaver", "Lock"},
      {"org.mate.ScreenSaver", "/org/mate/ScreenSaver", "org.mate.ScreenSaver", "Lock"},
      {"org.cinnamon.ScreenSaver", "/org/cinnamon/ScreenSaver", "org.cinnamon.ScreenSaver", "Lock", {""}}};
}

bool isGraphical(BusConnection& bus, const std::string& session) {
  const auto type = bus.property(kService, session, kSession, "Type").variant();
  return type == BusValue("x11") || type == BusValue("wayland") || type == BusValue("mir");
}

}  // namespace

LogindSession::Identity LogindSession::Identity::ofThisProcess() {
  const char* sessionId = std::getenv("XDG_SESSION_ID");
  return {sessionId ? sessionId : "", static_cast<std::uint32_t>(::getpid()), ::getuid()};
}

LogindSession::LogindSession(BusAddress systemBus, BusAddress sessionBus, Identity identity)
    : systemBus_(std::move(systemBus)), sessionBus_(std::move(sessionBus)), identity_(std::move(identity)) {}

Result<void> LogindSession::lockSession() {
  auto locked = callOwnSession("Lock");
  if (locked) return locked;
  auto byScreenSaver = callFirst(screenLockers());
  return byScreenSaver && *byScreenSaver ? Result<void>() : locked;
}

Result<void> LogindSession::logOut() {
  // A session manager that refuses has its reason, such as unsaved work: that is the answer then.
  if (auto ended = callFirst(sessionEnders())) return *ended;
  return callOwnSession("Terminate");
}

Result<void> LogindSession::restart() { return callLogind("Reboot"); }

Result<void> LogindSession::shutDown() { return callLogind("PowerOff"); }

Result<void> LogindSession::callLogind(const char* method) {
  return resultOf(callOnce(systemBus_, {kService, kPath, kLogind, method, {kInteractive}}));
}

Result<void> LogindSession::callOwnSession(const char* method) {
  auto opened = BusConnection::open(systemBus_);
  if (const auto* error = std::get_if<BusError>(&opened)) return failureOf(*error);
  auto& bus = std::get<BusConnection>(opened);
  const auto session = ownSession(bus);
  if (!session) return Failure{bus.isHung(kService) ? kNoAnswer : "no login session"};
  return resultOf(bus.call({kService, *session, kSession, method}));
}

/// A companion that was started from a terminal of another login, or as a user service, still belongs to the
/// desktop that it acts on.
std::optional<std::string> LogindSession::ownSession(BusConnection& bus) const {
  auto calling = callingSession(bus);
  if (calling && isGraphical(bus, *calling)) return calling;
  const auto display = displaySession(bus);
  return display ? display : calling;
}

std::optional<std::string> LogindSession::callingSession(BusConnection& bus) const {
  if (!identity_.sessionId.empty()) {
    auto session = bus.call({kService, kPath, kLogind, "GetSession", {identity_.sessionId}}).string();
    if (session) return session;
  }
  return bus.call({kService, kPath, kLogind, "GetSessionByPID", {identity_.process}}).string();
}

std::optional<std::string> LogindSession::displaySession(BusConnection& bus) const {
  const auto user = bus.call({kService, kPath, kLogind, "GetUser", {identity_.user}}).string();
  if (!user) return std::nullopt;
  const auto display = bus.property(kService, *user, kUser, "Display").variant();
  const auto* path = display ? std::get_if<std::string>(&*display) : nullptr;
  if (!path || path->size() <= 1) return std::nullopt;  // "/" stands for none
  return *path;
}

std::optional<Result<void>> LogindSession::callFirst(const std::vector<BusCall>& services) const {
  auto opened = BusConnection::open(sessionBus_);
  if (std::holds_alternative<BusError>(opened)) return std::nullopt;
  auto& bus = std::get<BusConnection>(opened);
  for (const auto& service : services) {
    const auto reply = bus.call(service);
    if (reply) return Result<void>();
    if (reply.error().isNoService()) continue;
    if (reply.error().isTimeout()) return Result<void>(Failure{"session service does not answer"});
    return Result<void>(failureOf(reply.error()));
  }
  return std::nullopt;
}

}  // namespace tevanto

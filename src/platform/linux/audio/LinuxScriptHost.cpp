#include "platform/linux/audio/LinuxScriptHost.h"

#include <charconv>

#include "platform/linux/audio/AudioOutput.h"
#include "platform/linux/session/LogindSession.h"

namespace tevanto {
namespace {

ScriptResult failed(const std::string& why) { return {false, why.empty() ? "script error" : why, {}}; }

ScriptResult badScript() { return failed("bad script"); }

ScriptResult outcome(const Result<void>& done) {
  return done ? ScriptResult{true, {}, {}} : failed(done.error());
}

template <class Value, class T>
ScriptResult answer(const Result<T>& read) {
  return read ? ScriptResult{true, {}, Value(read.value())} : failed(read.error());
}

/// What follows `beginning`, when `text` begins so.
std::optional<std::string_view> rest(std::string_view text, std::string_view beginning) {
  if (!text.starts_with(beginning)) return std::nullopt;
  return text.substr(beginning.size());
}

/// A percentage as the product writes it: 0 to 100, without sign or leading zeros.
std::optional<int> percentage(std::string_view digits) {
  int value = 0;
  const auto* end = digits.data() + digits.size();
  const auto parsed = std::from_chars(digits.data(), end, value);
  if (parsed.ec != std::errc() || parsed.ptr != end || value < 0 || value > 100) return std::nullopt;
  if (std::to_string(value) != digits) return std::nullopt;
  return value;
}

ScriptResult setVolume(AudioOutput& audio, std::string_view argument) {
  const auto percent = percentage(argument);
  return percent ? outcome(audio.setVolume(*percent)) : badScript();
}

ScriptResult setMuted(AudioOutput& audio, std::string_view argument) {
  if (argument != "true" && argument != "false") return badScript();
  return outcome(audio.setMuted(argument == "true"));
}

ScriptResult systemEvent(LogindSession& session, std::string_view action) {
  if (action == script::kRestart) return outcome(session.restart());
  if (action == script::kShutDown) return outcome(session.shutDown());
  if (action == script::kLogOut) return outcome(session.logOut());
  return badScript();
}

}  // namespace

LinuxScriptHost::LinuxScriptHost(AudioOutput& audio, LogindSession& session)
    : audio_(audio), session_(session) {}

ScriptResult LinuxScriptHost::run(std::string_view source) {
  if (source == script::kOutputVolume) return answer<std::int32_t>(audio_.volume());
  if (source == script::kOutputMuted) return answer<bool>(audio_.isMuted());
  if (const auto percent = rest(source, script::kSetOutputVolume)) return setVolume(audio_, *percent);
  if (const auto muted = rest(source, script::kSetOutputMuted)) return setMuted(audio_, *muted);
  if (const auto action = rest(source, script::kSystemEvents)) return systemEvent(session_, *action);
  return badScript();
}

}  // namespace tevanto

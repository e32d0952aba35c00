#include "platform/linux/session/MprisMediaKeys.h"

#include <algorithm>
#include <tuple>
#include <utility>

namespace tevanto {
namespace {

constexpr std::string_view kPlayerPrefix = "org.mpris.MediaPlayer2.";
constexpr auto kPlayerPath = "/org/mpris/MediaPlayer2";
constexpr auto kPlayer = "org.mpris.MediaPlayer2.Player";

const char* methodOf(MediaKey key) {
  switch (key) {
    case MediaKey::play:
      return "PlayPause";
    case MediaKey::next:
      return "Next";
    case MediaKey::previous:
      return "Previous";
  }
  return "";
}

std::vector<std::string> playersOn(BusConnection& bus) {
  auto names =
      bus.call({"org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus", "ListNames"})
          .strings()
          .value_or(std::vector<std::string>());
  std::erase_if(names, [](const std::string& name) { return !name.starts_with(kPlayerPrefix); });
  std::sort(names.begin(), names.end());
  return names;
}

}  // namespace

MprisMediaKeys::MprisMediaKeys(BusAddress sessionBus) : sessionBus_(std::move(sessionBus)) {}

bool MprisMediaKeys::press(MediaKey key) {
  auto opened = BusConnection::open(sessionBus_, kTimeout);
  if (std::holds_alternative<BusError>(opened)) return false;
  auto& bus = std::get<BusConnection>(opened);
  const auto player = choosePlayer(bus);
  if (!player) return false;
  lastPlayer_ = *player;
  const auto reply = bus.call({*player, kPlayerPath, kPlayer, methodOf(key)});
  // A player that takes its time with the answer has got the key all the same.
  return reply.ok() || reply.error().isTimeout();
}

std::optional<std::string> MprisMediaKeys::choosePlayer(BusConnection& bus) const {
  const auto names = playersOn(bus);
  std::vector<BusCall> questions;
  questions.reserve(names.size());
  for (const auto& name : names) questions.push_back(BusConnection::getAll(name, kPlayerPath, kPlayer));
  const auto answers = bus.callAll(questions);

  using Rank = std::tuple<bool, bool, bool>;
  std::optional<Rank> best;
  std::optional<std::string> chosen;
  for (std::size_t i = 0; i < names.size(); ++i) {
    const auto player = answers[i].properties();
    if (!player || boolProperty(*player, "CanControl") != true) continue;
    const auto status = stringProperty(*player, "PlaybackStatus");
    const Rank rank{status == "Playing", names[i] == lastPlayer_, status == "Paused"};
    if (best && rank <= *best) continue;
    best = rank;
    chosen = names[i];
  }
  return chosen;
}

}  // namespace tevanto

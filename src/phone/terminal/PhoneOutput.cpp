#include "phone/terminal/PhoneOutput.h"

#include <algorithm>
#include <boost/json.hpp>
#include <cmath>
#include <ctime>
#include <fstream>
#include <iomanip>
#include <sstream>
#include <utility>

#include "core/text/Base64.h"
#include "core/text/Text.h"
#include "phone/connection/CompanionFinder.h"
#include "phone/connection/PairedCompanions.h"
#include "remote/message/RemoteMessageCodec.h"

namespace tevanto::phone {
namespace {

namespace json = boost::json;

constexpr std::size_t kMaxColumn = 40;

/// What a column counts: characters, not bytes.
std::size_t width(std::string_view text) {
  std::size_t count = 0;
  forEachGraphemeCluster(text, [&](std::u16string_view) { ++count; });
  return count;
}

std::string padded(std::string text, std::size_t columns) {
  const auto used = width(text);
  return text + std::string(columns > used ? columns - used : 0, ' ');
}

std::string dateOf(std::optional<double> seconds) {
  if (!seconds || *seconds < 0 || *seconds > 253402300799.0) return "";  // until the year 9999
  const auto time = static_cast<std::time_t>(*seconds);
  std::tm local{};
  if (!::localtime_r(&time, &local)) return "";
  std::ostringstream text;
  text << std::put_time(&local, "%Y-%m-%d");
  return text.str();
}

std::string yesNo(std::optional<bool> value, std::string_view yes, std::string_view no) {
  if (!value) return "unknown";
  return std::string(*value ? yes : no);
}

json::object describe(const FoundService& service, bool isPaired) {
  json::object object;
  object["name"] = service.name;
  if (const auto id = advertisedID(service)) object["deviceID"] = *id;
  object["hostName"] = service.hostName;
  object["addresses"] = json::array(service.addresses.begin(), service.addresses.end());
  object["port"] = service.port;
  object["paired"] = isPaired;
  return object;
}

json::value orNull(std::optional<double> value) { return value ? json::value(*value) : json::value(); }

json::object describe(const MirrorStatistics::Report& report) {
  return {{"seconds", static_cast<double>(report.elapsed.count()) / 1000},
          {"frames", report.frames},
          {"keyFrames", report.keyframes},
          {"dropped", report.dropped},
          {"bytes", report.bytes},
          {"framesPerSecond", report.framesPerSecond},
          {"bitsPerSecond", report.bitsPerSecond},
          {"decodeMilliseconds", orNull(report.decodeMilliseconds)},
          {"delayMilliseconds", orNull(report.delayMilliseconds)},
          {"width", report.width},
          {"height", report.height}};
}

std::string sentence(const MirrorStatistics::Report& report) {
  std::ostringstream text;
  text << std::fixed << std::setprecision(1) << static_cast<double>(report.elapsed.count()) / 1000
       << " s: " << report.frames << " frames of " << report.width << " x " << report.height << ", "
       << report.keyframes << " key frames, " << report.dropped << " dropped, "
       << static_cast<double>(report.bytes) / 1e6 << " MB";
  return text.str();
}

std::string liveLine(const MirrorStatistics::Report& report) {
  std::ostringstream text;
  text << std::fixed << std::setprecision(0) << report.framesPerSecond << " frames/s  "
       << std::setprecision(2) << report.bitsPerSecond / 1e6 << " Mbit/s  " << report.keyframes
       << " key frames  " << report.dropped << " dropped" << std::setprecision(1);
  if (report.decodeMilliseconds) text << "  decoding " << *report.decodeMilliseconds << " ms";
  if (report.delayMilliseconds) text << "  delay " << *report.delayMilliseconds << " ms";
  return text.str();
}

/// A file name that stays in its folder, whatever the companion calls its applications.
std::string fileNameOf(std::string identifier) {
  std::replace_if(
      identifier.begin(), identifier.end(),
      [](unsigned char character) { return character == '/' || character < 0x20 || character == 0x7f; }, '_');
  if (identifier.starts_with('.')) identifier[0] = '_';
  return identifier.substr(0, 200) + ".png";
}

}  // namespace

void PhoneOutput::reply(const RemoteMessage& message, std::string_view text) {
  if (format_ == Format::text) {
    if (!text.empty()) out_ << text << '\n';
    return;
  }
  auto shown = message;
  shown.token.reset();
  std::string object;
  if (encodeRemoteMessage(shown, object)) out_ << object << '\n';
}

void PhoneOutput::ack(const RemoteMessage& message) {
  const bool ok = message.ok.value_or(false);
  reply(message, ok ? printable(message.message.value_or("ok")) : "");  // a refusal is printed as trouble
}

void PhoneOutput::systemState(const RemoteMessage& message) {
  std::ostringstream text;
  text << "Volume:      ";
  if (message.volume) {
    text << std::lround(std::clamp(*message.volume, 0.0, 1.0) * 100) << " %";
  } else {
    text << "unknown";
  }
  text << "\nMuted:       " << yesNo(message.muted, "yes", "no");
  reply(message, text.str());
}

void PhoneOutput::powerState(const RemoteMessage& message) {
  std::ostringstream text;
  text << "Keep awake:  " << yesNo(message.keepAwakeOn, "on", "off");
  if (message.message) text << " (" << printable(*message.message) << ")";
  text << "\nBattery:     ";
  if (message.batteryPercent) {
    text << *message.batteryPercent << " %";
  } else {
    text << "none";
  }
  reply(message, text.str());
}

void PhoneOutput::apps(const RemoteMessage& message) {
  const auto apps = message.apps.value_or(std::vector<RemoteAppInfo>());
  std::size_t column = 4;
  for (const auto& app : apps) column = std::max(column, std::min(width(printable(app.name)), kMaxColumn));
  std::ostringstream text;
  text << padded("NAME", column) << "  INSTALLED   IDENTIFIER";
  for (const auto& app : apps) {
    text << '\n'
         << padded(printable(app.name), column) << "  " << padded(dateOf(app.installedDate), 10) << "  "
         << printable(app.bundleId);
  }
  reply(message, text.str());
}

void PhoneOutput::services(const std::vector<FoundService>& found, const PairedCompanions& paired) {
  if (found.empty() && format_ == Format::text) {
    out_ << "No companion found on the local network.\n";
  }
  for (const auto& service : found) {
    const auto id = advertisedID(service);
    const bool isPaired = id && paired.token(*id);
    if (format_ == Format::json) {
      out_ << json::serialize(describe(service, isPaired)) << '\n';
      continue;
    }
    out_ << printable(service.name) << (isPaired ? "  (paired)" : "") << '\n';
    for (const auto& address : service.addresses) {
      out_ << "  " << printable(Endpoint{{address}, service.port}.text()) << '\n';
    }
  }
}

void PhoneOutput::mirror(const MirrorStatistics::Report& report, Moment moment) {
  if (format_ == Format::json) {
    auto object = describe(report);
    object["type"] = moment == Moment::end ? "mirror" : "mirrorStats";
    return line(json::serialize(object));
  }
  if (moment == Moment::nowOnTerminal) {
    out_ << "\r\x1b[K" << liveLine(report) << std::flush;
    isLineOpen_ = true;
    return;
  }
  if (std::exchange(isLineOpen_, false)) out_ << '\n';
  line(moment == Moment::end ? sentence(report) : liveLine(report));
}

void PhoneOutput::warning(std::string_view text) { err_ << printable(text) << '\n'; }

void PhoneOutput::line(std::string_view text) {
  out_ << text << '\n';
  out_.flush();
}

ExitCode PhoneOutput::trouble(const Trouble& trouble) {
  if (format_ == Format::json) {
    json::object object;
    object["type"] = "error";
    object["code"] = static_cast<int>(trouble.code);
    object["message"] = wellFormedUtf8(trouble.message);
    out_ << json::serialize(object) << '\n';
  }
  err_ << printable(trouble.message) << '\n';
  return trouble.code;
}

Result<int> writeIcons(const std::vector<RemoteAppInfo>& apps, const std::filesystem::path& folder) {
  std::error_code error;
  std::filesystem::create_directories(folder, error);
  if (error) return Failure{"Cannot create " + folder.string() + ": " + error.message() + "."};
  int written = 0;
  for (const auto& app : apps) {
    const auto png = app.iconPNGBase64 ? fromBase64(*app.iconPNGBase64) : std::nullopt;
    if (!png) continue;
    const auto path = folder / fileNameOf(app.bundleId);
    std::ofstream file(path, std::ios::binary | std::ios::trunc);
    file.write(reinterpret_cast<const char*>(png->data()), static_cast<std::streamsize>(png->size()));
    file.close();
    if (!file) return Failure{path.string() + " cannot be written."};
    ++written;
  }
  return written;
}

}  // namespace tevanto::phone

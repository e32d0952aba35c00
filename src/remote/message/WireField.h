#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "remote/message/RemoteMessage.h"

namespace tevanto {

/// WireField describes one member of a wire record: its JSON name and the member of the struct. The
/// alternatives are the value types of the wire. A plain string is required; every other member may be
/// absent.
template <class Record>
struct WireField {
  std::string_view name;
  std::variant<std::string Record::*, std::optional<std::string> Record::*, std::optional<bool> Record::*,
               std::optional<std::int64_t> Record::*, std::optional<double> Record::*,
               std::optional<std::vector<std::string>> Record::*,
               std::optional<std::vector<RemoteModifier>> Record::*, std::optional<RemoteCommand> Record::*,
               std::optional<std::vector<RemoteAppInfo>> Record::*>
      member;
};

// The fields of each record in the order in which they are written.

inline constexpr std::array kMessageFields = {
    WireField<RemoteMessage>{"type", &RemoteMessage::type},
    WireField<RemoteMessage>{"protocolVersion", &RemoteMessage::protocolVersion},
    WireField<RemoteMessage>{"sessionNonce", &RemoteMessage::sessionNonce},
    WireField<RemoteMessage>{"token", &RemoteMessage::token},
    WireField<RemoteMessage>{"code", &RemoteMessage::code},
    WireField<RemoteMessage>{"deviceName", &RemoteMessage::deviceName},
    WireField<RemoteMessage>{"hostName", &RemoteMessage::hostName},
    WireField<RemoteMessage>{"deviceID", &RemoteMessage::deviceID},
    WireField<RemoteMessage>{"kind", &RemoteMessage::kind},
    WireField<RemoteMessage>{"capabilities", &RemoteMessage::capabilities},
    WireField<RemoteMessage>{"command", &RemoteMessage::command},
    WireField<RemoteMessage>{"ok", &RemoteMessage::ok},
    WireField<RemoteMessage>{"message", &RemoteMessage::message},
    WireField<RemoteMessage>{"keepAwakeOn", &RemoteMessage::keepAwakeOn},
    WireField<RemoteMessage>{"helperReady", &RemoteMessage::helperReady},
    WireField<RemoteMessage>{"batteryPercent", &RemoteMessage::batteryPercent},
    WireField<RemoteMessage>{"volume", &RemoteMessage::volume},
    WireField<RemoteMessage>{"brightness", &RemoteMessage::brightness},
    WireField<RemoteMessage>{"muted", &RemoteMessage::muted},
    WireField<RemoteMessage>{"apps", &RemoteMessage::apps},
    WireField<RemoteMessage>{"appsHash", &RemoteMessage::appsHash},
};

inline constexpr std::array kCommandFields = {
    WireField<RemoteCommand>{"type", &RemoteCommand::type},
    WireField<RemoteCommand>{"dx", &RemoteCommand::dx},
    WireField<RemoteCommand>{"dy", &RemoteCommand::dy},
    WireField<RemoteCommand>{"clicks", &RemoteCommand::clicks},
    WireField<RemoteCommand>{"button", &RemoteCommand::button},
    WireField<RemoteCommand>{"key", &RemoteCommand::key},
    WireField<RemoteCommand>{"modifiers", &RemoteCommand::modifiers},
    WireField<RemoteCommand>{"text", &RemoteCommand::text},
    WireField<RemoteCommand>{"on", &RemoteCommand::on},
    WireField<RemoteCommand>{"level", &RemoteCommand::level},
    WireField<RemoteCommand>{"appId", &RemoteCommand::appId},
    WireField<RemoteCommand>{"gesture", &RemoteCommand::gesture},
};

inline constexpr std::array kAppInfoFields = {
    WireField<RemoteAppInfo>{"name", &RemoteAppInfo::name},
    WireField<RemoteAppInfo>{"bundleId", &RemoteAppInfo::bundleId},
    WireField<RemoteAppInfo>{"iconPNGBase64", &RemoteAppInfo::iconPNGBase64},
    WireField<RemoteAppInfo>{"installedDate", &RemoteAppInfo::installedDate},
};

inline constexpr const auto& wireFields(const RemoteMessage&) { return kMessageFields; }
inline constexpr const auto& wireFields(const RemoteCommand&) { return kCommandFields; }
inline constexpr const auto& wireFields(const RemoteAppInfo&) { return kAppInfoFields; }

}  // namespace tevanto

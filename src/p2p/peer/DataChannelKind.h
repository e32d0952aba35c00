#pragma once

#include <string_view>

namespace tevanto {

inline constexpr std::string_view kControlChannelLabel = "tevanto";
inline constexpr std::string_view kMotionChannelLabel = "tevanto-motion";
inline constexpr std::string_view kScreenChannelLabel = "tevanto-screen";

/// DataChannelKind is the purpose of a data channel, known by its label alone. The channels:
/// docs/protocol.md, section 10.1.
enum class DataChannelKind { control, motion, screen, unknown };

constexpr DataChannelKind dataChannelKind(std::string_view label) {
  if (label == kControlChannelLabel) return DataChannelKind::control;
  if (label == kMotionChannelLabel) return DataChannelKind::motion;
  if (label == kScreenChannelLabel) return DataChannelKind::screen;
  return DataChannelKind::unknown;
}

}  // namespace tevanto

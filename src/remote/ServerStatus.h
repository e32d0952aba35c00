#pragma once

/// The server's status texts, as the panel and `status` show them.
namespace tevanto::status {

inline constexpr auto* kStarting = "Starting";
inline constexpr auto* kWaiting = "Waiting for iPhone";
inline constexpr auto* kPair = "Pair from iPhone";
inline constexpr auto* kAuthenticating = "Authenticating iPhone";
inline constexpr auto* kConnected = "iPhone connected";
inline constexpr auto* kReconnecting = "iPhone reconnecting";
inline constexpr auto* kPaired = "Paired";
inline constexpr auto* kAccessibilityRequired = "Accessibility required";
inline constexpr auto* kStopped = "Stopped";
inline constexpr auto* kFailed = "Server failed";
inline constexpr auto* kCannotStart = "Cannot start server";

}  // namespace tevanto::status

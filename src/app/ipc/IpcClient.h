#pragma once

#include <chrono>
#include <filesystem>
#include <optional>

#include "app/ipc/IpcMessages.h"
#include "core/Result.h"

namespace tevanto {

/// Asks the companion behind the control socket at `path` and waits for its answer, `timeout` at most.
/// Returns nothing when no companion listens there, and a failure when one listens but gives no valid answer.
Result<std::optional<IpcReply>> askCompanion(const std::filesystem::path& path, const IpcRequest& request,
                                             std::chrono::milliseconds timeout = std::chrono::seconds(5));

}  // namespace tevanto

#pragma once

#include <string>

namespace tevanto {

/// The service that mirrors the screen to the phone, as the runtime drives it. Main queue only.
class ScreenService {
 public:
  virtual ~ScreenService() = default;
  /// Once; never fails, `statusText` tells how it went.
  virtual void start() = 0;
  /// Ends every session and gives its port back. May be called twice.
  virtual void stop() = 0;
  /// For a person; empty when there is nothing to tell.
  virtual std::string statusText() const = 0;
};

/// For a build without mirroring.
class UnavailableScreenService final : public ScreenService {
 public:
  void start() override {}
  void stop() override {}
  std::string statusText() const override { return "Mirroring is not part of this build"; }
};

}  // namespace tevanto

#pragma once

#include <functional>
#include <memory>

#include "app/runtime/ScreenService.h"

namespace tevanto {

class ScreenStreamServer;
class SerialQueue;

/// StreamScreenService adapts the screen stream server to the runtime's screen service. Main queue only.
class StreamScreenService final : public ScreenService {
 public:
  /// `usedEncoder` names the encoder that was used last, without waiting. Questions to the display run on
  /// `displayQueue`, since they may block.
  StreamScreenService(std::shared_ptr<ScreenStreamServer> server, std::shared_ptr<SerialQueue> displayQueue,
                      std::function<std::string()> usedEncoder);

  void start() override;
  void stop() override;
  void attach(const std::shared_ptr<ScreenTransport>& transport) override;
  void detach(const std::shared_ptr<ScreenTransport>& transport) override;
  /// Also refreshes the permission, for the next call.
  ScreenServiceState state() const override;
  std::shared_ptr<void> observe(std::function<void()> changed) override;
  void requestScreenRecording() override;

 private:
  void refreshTrust() const;

  const std::shared_ptr<ScreenStreamServer> server_;
  const std::shared_ptr<SerialQueue> displayQueue_;
  const std::function<std::string()> usedEncoder_;
};

}  // namespace tevanto

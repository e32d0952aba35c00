#pragma once

#include <functional>
#include <memory>

#include "app/runtime/ScreenService.h"

namespace tevanto {

class ScreenStreamServer;
class SerialQueue;

/// The screen stream server as the runtime's screen service.
class StreamScreenService final : public ScreenService {
 public:
  /// `usedEncoder` names the encoder that was used last, without waiting. What asks the display runs on
  /// `displayQueue`, as it may wait.
  StreamScreenService(std::shared_ptr<ScreenStreamServer> server, std::shared_ptr<SerialQueue> displayQueue,
                      std::function<std::string()> usedEncoder);

  void start() override;
  void stop() override;
  void attach(const std::shared_ptr<ScreenTransport>& transport) override;
  void detach(const std::shared_ptr<ScreenTransport>& transport) override;
  /// Also has the permission looked at again, for the next time.
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

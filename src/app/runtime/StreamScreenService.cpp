#include "app/runtime/StreamScreenService.h"

#include <array>
#include <utility>

#include "core/queue/QueueBound.h"
#include "core/queue/SerialQueue.h"
#include "screen/ScreenStreamServer.h"

namespace tevanto {

StreamScreenService::StreamScreenService(std::shared_ptr<ScreenStreamServer> server,
                                         std::shared_ptr<SerialQueue> displayQueue,
                                         std::function<std::string()> usedEncoder)
    : server_(std::move(server)),
      displayQueue_(std::move(displayQueue)),
      usedEncoder_(std::move(usedEncoder)) {}

void StreamScreenService::start() {
  server_->start();
  refreshTrust();
}

void StreamScreenService::stop() { server_->stop(); }

void StreamScreenService::attach(const std::shared_ptr<ScreenTransport>& transport) {
  server_->attach(transport);
}

void StreamScreenService::detach(const std::shared_ptr<ScreenTransport>& transport) {
  server_->detach(transport);
}

ScreenServiceState StreamScreenService::state() const {
  refreshTrust();
  ScreenServiceState now;
  now.isStreaming = server_->isStreaming.get();
  now.statusText = server_->statusText.get();
  now.isScreenRecordingTrusted = server_->isScreenRecordingTrusted.get();
  now.encoder = usedEncoder_();
  now.port = server_->port.get();
  return now;
}

std::shared_ptr<void> StreamScreenService::observe(std::function<void()> changed) {
  const auto notify = [changed = std::move(changed)](const auto&) { changed(); };
  using Subscriptions = std::array<std::shared_ptr<void>, 3>;
  return std::make_shared<Subscriptions>(Subscriptions{server_->isStreaming.observe(notify),
                                                       server_->statusText.observe(notify),
                                                       server_->isScreenRecordingTrusted.observe(notify)});
}

void StreamScreenService::requestScreenRecording() {
  displayQueue_->async(weakCall(std::weak_ptr(server_), &ScreenStreamServer::requestScreenRecording));
}

void StreamScreenService::refreshTrust() const {
  displayQueue_->async(weakCall(std::weak_ptr(server_), &ScreenStreamServer::refreshScreenRecordingTrust));
}

}  // namespace tevanto

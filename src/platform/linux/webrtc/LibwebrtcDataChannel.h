#pragma once

#include <api/data_channel_interface.h>

#include <memory>
#include <string>

#include "p2p/peer/PeerConnection.h"
#include "platform/linux/webrtc/LibwebrtcChannelCore.h"
#include "platform/linux/webrtc/LibwebrtcEngine.h"

namespace tevanto {

/// LibwebrtcDataChannel is a data channel as the rest of the program holds it. Its destruction closes the
/// channel. Messages that wait in SCTP are lost then: the engine resets the stream without it.
class LibwebrtcDataChannel final : public DataChannel {
 public:
  /// On the signaling thread.
  static std::shared_ptr<LibwebrtcDataChannel> adopt(
      std::shared_ptr<LibwebrtcEngine> engine, rtc::scoped_refptr<webrtc::DataChannelInterface> channel);
  ~LibwebrtcDataChannel() override;

  std::string label() const override { return label_; }
  DataChannelState state() const override { return core_->state(); }
  std::uint64_t bufferedAmount() const override { return core_->bufferedAmount(); }
  bool send(std::span<const std::byte> message) override;
  void setObserver(std::weak_ptr<Observer> observer) override;
  void close() override;

 private:
  LibwebrtcDataChannel(std::shared_ptr<LibwebrtcEngine> engine, std::string label,
                       std::shared_ptr<LibwebrtcChannelCore> core);

  const std::shared_ptr<LibwebrtcEngine> engine_;
  const std::string label_;
  const std::shared_ptr<LibwebrtcChannelCore> core_;
};

}  // namespace tevanto

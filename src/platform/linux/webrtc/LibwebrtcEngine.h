#pragma once

#include <api/peer_connection_interface.h>
#include <pc/srtp_session.h>
#include <rtc_base/thread.h>

#include <memory>
#include <thread>

#include "core/queue/EventLoop.h"
#include "platform/linux/webrtc/LibwebrtcLog.h"
#include "platform/linux/webrtc/LibwebrtcSignaling.h"
#include "platform/linux/webrtc/PeerEngineOptions.h"

namespace tevanto {

/// LibwebrtcEngine owns the engine's threads and its factory. It is shared by all its users, and the last of
/// them ends it. One that is released on a thread of the engine ends in a later turn of the loop that it
/// signals on.
class LibwebrtcEngine {
 public:
  /// Null when the engine does not come up.
  static std::shared_ptr<LibwebrtcEngine> start(const PeerEngineOptions& options);
  ~LibwebrtcEngine();

  LibwebrtcEngine(const LibwebrtcEngine&) = delete;
  LibwebrtcEngine& operator=(const LibwebrtcEngine&) = delete;

  webrtc::PeerConnectionFactoryInterface& factory() { return *factory_; }

  /// On the signaling thread, before a handshake can begin: waits until the library of SRTP has tested
  /// itself.
  void awaitSrtp();

  LibwebrtcSignaling& signaling() { return signaling_; }

 private:
  explicit LibwebrtcEngine(const PeerEngineOptions& options);
  void makeFactory(bool includeLoopback);
  void keepSrtpReady();
  bool isOnOwnThread() const;
  static void release(LibwebrtcEngine* engine);

  LibwebrtcLog log_;
  rtc::Thread network_;
  rtc::Thread worker_;
  const std::shared_ptr<EventLoop> ownLoop_;  // null where the program has one for it
  LibwebrtcSignaling signaling_;
  rtc::scoped_refptr<webrtc::PeerConnectionFactoryInterface> factory_;
  std::thread preparing_;                       // joined on the signaling thread
  std::unique_ptr<cricket::SrtpSession> srtp_;  // that thread's, while it runs
};

}  // namespace tevanto

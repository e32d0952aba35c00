#pragma once

#include <api/peer_connection_interface.h>
#include <rtc_base/thread.h>

#include <memory>

namespace tevanto::bench {

/// The library's engine as a program starts it that calls the library itself: with the threads that the
/// library makes, and with sockets and windows as large as the companion's. Its peers meet on the loopback
/// interface.
class BareEngine {
 public:
  BareEngine();
  ~BareEngine();
  BareEngine(const BareEngine&) = delete;
  BareEngine& operator=(const BareEngine&) = delete;

  webrtc::PeerConnectionFactoryInterface& factory() { return *factory_; }

 private:
  rtc::Thread network_;
  const std::unique_ptr<rtc::Thread> worker_ = rtc::Thread::Create();
  const std::unique_ptr<rtc::Thread> signaling_ = rtc::Thread::Create();
  rtc::scoped_refptr<webrtc::PeerConnectionFactoryInterface> factory_;
};

}  // namespace tevanto::bench

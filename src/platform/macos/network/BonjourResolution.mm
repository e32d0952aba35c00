#include "platform/macos/network/BonjourResolution.h"

#import <dispatch/dispatch.h>

#include <arpa/inet.h>
#include <dns_sd.h>

#include <algorithm>
#include <condition_variable>
#include <mutex>
#include <span>
#include <string>
#include <utility>

#include "net/discovery/ServiceRecord.h"
#include "platform/macos/values/network/BonjourErrors.h"

namespace tevanto {
namespace {

/// One question, whose answers come on its own queue, and which ends there.
class Question {
 public:
  explicit Question(const ServiceDescription& service) : service_(service) {}

  DNSServiceErrorType ask() {
    auto error = DNSServiceResolve(&reference_, 0, kDNSServiceInterfaceIndexAny, service_.name.c_str(),
                                   service_.type.c_str(), "local.", &answered, this);
    if (error == kDNSServiceErr_NoError) error = DNSServiceSetDispatchQueue(reference_, queue_);
    return error;
  }
  bool isAnswered(std::chrono::milliseconds timeout) {
    std::unique_lock lock(mutex_);
    return changed_.wait_for(lock, timeout, [this] { return isAnswered_; });
  }
  void end() {
    dispatch_sync(queue_, ^{
      if (reference_) DNSServiceRefDeallocate(std::exchange(reference_, nullptr));
    });
  }

 private:
  static void answered(DNSServiceRef, DNSServiceFlags, std::uint32_t, DNSServiceErrorType error, const char*,
                       const char*, std::uint16_t port, std::uint16_t length, const unsigned char* text,
                       void* context) {
    auto& self = *static_cast<Question*>(context);
    const auto wanted = textRecordOf(self.service_.txt);
    const auto record = std::as_bytes(std::span(text, length));
    if (error != kDNSServiceErr_NoError || ntohs(port) != self.service_.port ||
        !std::equal(record.begin(), record.end(), wanted.begin(), wanted.end()))
      return;
    const std::lock_guard lock(self.mutex_);
    self.isAnswered_ = true;
    self.changed_.notify_all();
  }

  const ServiceDescription service_;
  const dispatch_queue_t queue_ = dispatch_queue_create("tevanto.bonjour.resolve", DISPATCH_QUEUE_SERIAL);
  DNSServiceRef reference_ = nullptr;
  std::mutex mutex_;
  std::condition_variable changed_;
  bool isAnswered_ = false;
};

}  // namespace

Result<bool> bonjourResolves(const ServiceDescription& service, std::chrono::milliseconds timeout) {
  Question question(service);
  const auto error = question.ask();
  const bool isAnswered = error == kDNSServiceErr_NoError && question.isAnswered(timeout);
  question.end();
  if (error != kDNSServiceErr_NoError) return Failure{bonjourFailureOf(error).message};
  return isAnswered;
}

}  // namespace tevanto

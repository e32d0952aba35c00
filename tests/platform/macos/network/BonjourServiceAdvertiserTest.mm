// Services at the responder of this Mac. macOS 15 asks once whether the program that starts the test may use
// the local network.

#include "platform/macos/network/BonjourServiceAdvertiser.h"

#include <gtest/gtest.h>

#include <arpa/inet.h>
#include <dns_sd.h>
#include <sys/socket.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <mutex>
#include <string>
#include <vector>

#include "core/text/Uuid.h"
#include "platform/macos/network/AnyInterfaceSockets.h"
#include "platform/macos/network/BonjourResolution.h"
#include "tests/support/programs/Eventually.h"

namespace tevanto::test {
namespace {

constexpr auto kType = "_tevanto-test._tcp";

/// What one registration was told. Outlives the registration.
class StatusRecord {
 public:
  ServiceAdvertiser::StatusHandler handler() {
    return [this](const AdvertisingStatus& status) {
      const std::lock_guard lock(mutex_);
      last_ = status;
    };
  }
  AdvertisingStatus last() const {
    const std::lock_guard lock(mutex_);
    return last_;
  }
  bool isAdvertised() const {
    return eventually([&] { return last().state == AdvertisingState::advertised; });
  }

 private:
  mutable std::mutex mutex_;
  AdvertisingStatus last_;
};

/// What the network says of a service.
struct Resolved {
  std::atomic<bool> isThere = false;
  std::uint16_t port = 0;
  std::string text;

  static void take(DNSServiceRef, DNSServiceFlags, std::uint32_t, DNSServiceErrorType error, const char*,
                   const char*, std::uint16_t port, std::uint16_t length, const unsigned char* text,
                   void* context) {
    if (error != kDNSServiceErr_NoError) return;
    auto& self = *static_cast<Resolved*>(context);
    self.port = ntohs(port);
    self.text.assign(reinterpret_cast<const char*>(text), length);
    self.isThere = true;
  }
};

ServiceDescription serviceNamed(const std::string& name) {
  return {name, kType, 51637, {{"id", "D1"}, {"kind", "mac"}}};
}

TEST(BonjourAdvertisingContract, isFoundWithItsPortAndTextRecord) {
  const auto name = "Tevanto " + randomUuid();
  StatusRecord status;
  BonjourServiceAdvertiser advertiser;
  const auto registration = advertiser.advertise(serviceNamed(name), status.handler());
  ASSERT_TRUE(status.isAdvertised()) << status.last().message;
  EXPECT_EQ(status.last().name, name);

  Resolved resolved;
  DNSServiceRef reference = nullptr;
  ASSERT_EQ(DNSServiceResolve(&reference, 0, kDNSServiceInterfaceIndexAny, name.c_str(), kType, "local.",
                              &Resolved::take, &resolved),
            kDNSServiceErr_NoError);
  const dispatch_queue_t queue = dispatch_queue_create("resolve", DISPATCH_QUEUE_SERIAL);
  DNSServiceSetDispatchQueue(reference, queue);
  EXPECT_TRUE(eventually([&] { return resolved.isThere.load(); }));
  dispatch_sync(queue, ^{
    DNSServiceRefDeallocate(reference);
  });
  EXPECT_EQ(resolved.port, 51637);
  EXPECT_EQ(resolved.text, "\x05id=D1\x08kind=mac");
}

TEST(BonjourResolutionContract, tellsWhatIsAdvertisedFromWhatIsNot) {
  StatusRecord status;
  BonjourServiceAdvertiser advertiser;
  auto service = serviceNamed("Tevanto " + randomUuid());
  const auto registration = advertiser.advertise(service, status.handler());
  ASSERT_TRUE(status.isAdvertised()) << status.last().message;
  EXPECT_TRUE(bonjourResolves(service, std::chrono::minutes(1)).value());
  service.port = 51638;
  EXPECT_FALSE(bonjourResolves(service, std::chrono::milliseconds(500)).value()) << "another port";
}

TEST(BonjourAdvertisingContract, takesAnotherNameWhenItsOwnIsTaken) {
  const auto name = "Tevanto " + randomUuid();
  StatusRecord first;
  StatusRecord second;
  BonjourServiceAdvertiser advertiser;
  const auto registration = advertiser.advertise(serviceNamed(name), first.handler());
  ASSERT_TRUE(first.isAdvertised()) << first.last().message;
  auto other = serviceNamed(name);
  other.port = 51638;
  const auto another = advertiser.advertise(other, second.handler());
  ASSERT_TRUE(second.isAdvertised()) << second.last().message;
  EXPECT_NE(second.last().name, first.last().name);
}

TEST(BonjourAdvertisingContract, saysWhatIsWrongWithAService) {
  StatusRecord status;
  BonjourServiceAdvertiser advertiser;
  const auto registration = advertiser.advertise({"Study", "no type", 1, {}}, status.handler());
  EXPECT_TRUE(eventually([&] { return !status.last().message.empty(); }));
  EXPECT_EQ(status.last().state, AdvertisingState::pending);
}

TEST(BonjourAdvertisingContract, isSilentOnceTheRegistrationIsDropped) {
  BonjourServiceAdvertiser advertiser;
  for (int round = 0; round < 100; ++round) {
    const auto alive = std::make_shared<std::atomic<bool>>(true);
    auto registration = advertiser.advertise(serviceNamed("Tevanto " + randomUuid()),
                                             [alive](const AdvertisingStatus&) { EXPECT_TRUE(*alive); });
    registration.reset();
    *alive = false;
  }
}

TEST(AnyInterfaceSocketsContract, takeConnectionsFromPeerToPeerLinks) {
  const int descriptor = ::socket(AF_INET6, SOCK_STREAM, 0);
  ASSERT_GE(descriptor, 0);
  receiveOnAnyInterface(descriptor);
  int value = 0;
  socklen_t size = sizeof value;
  EXPECT_EQ(::getsockopt(descriptor, SOL_SOCKET, SO_RECV_ANYIF, &value, &size), 0);
  EXPECT_NE(value, 0);
  ::close(descriptor);
}

}  // namespace
}  // namespace tevanto::test

#include "tests/support/network/PacketBridge.h"

#include <arpa/inet.h>
#include <linux/if_ether.h>
#include <linux/if_packet.h>
#include <net/if.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <optional>
#include <queue>
#include <random>
#include <stdexcept>
#include <tuple>
#include <utility>
#include <vector>

#include "core/Descriptor.h"

namespace tevanto::test {
namespace {

using Clock = std::chrono::steady_clock;

constexpr std::size_t kHeader = 10;            // struct virtio_net_hdr, whose own header is not for C++
constexpr std::size_t kLargestFrame = 70'000;  // segments may come joined, to be cut by who sends them on
constexpr auto kLongestQueue = std::chrono::milliseconds(200);

/// All frames of the interface, each after a header that says what the hardware was to finish: checksums and
/// segments.
Descriptor openInterface(const std::string& name) {
  Descriptor socket(::socket(AF_PACKET, SOCK_RAW | SOCK_CLOEXEC | SOCK_NONBLOCK, htons(ETH_P_ALL)));
  const int on = 1;
  sockaddr_ll address{};
  address.sll_family = AF_PACKET;
  address.sll_protocol = htons(ETH_P_ALL);
  address.sll_ifindex = static_cast<int>(::if_nametoindex(name.c_str()));
  const int buffer = 8 * 1024 * 1024;
  if (socket.get() < 0 || address.sll_ifindex == 0 ||
      ::setsockopt(socket.get(), SOL_PACKET, PACKET_VNET_HDR, &on, sizeof on) != 0 ||
      ::setsockopt(socket.get(), SOL_PACKET, PACKET_IGNORE_OUTGOING, &on, sizeof on) != 0 ||
      ::bind(socket.get(), reinterpret_cast<sockaddr*>(&address), sizeof address) != 0) {
    throw std::runtime_error("cannot listen at the interface " + name);
  }
  ::setsockopt(socket.get(), SOL_SOCKET, SO_RCVBUFFORCE, &buffer, sizeof buffer);
  return socket;
}

bool isUDP(const std::vector<char>& packet) {
  const auto at = [&](std::size_t offset) { return static_cast<unsigned char>(packet[kHeader + offset]); };
  constexpr std::size_t kProtocol = 14 + 9;  // of IPv4, behind an Ethernet header
  return packet.size() > kHeader + kProtocol && at(12) == 0x08 && at(13) == 0x00 &&
         at(kProtocol) == IPPROTO_UDP;
}

}  // namespace

class PacketBridge::Direction {
 public:
  Direction(Descriptor from, int to, unsigned seed) : from_(std::move(from)), to_(to), random_(seed) {}

  int from() const { return from_.get(); }

  /// Takes in what has come; how many were dropped.
  std::uint64_t takeIn(const LineConditions& line) {
    std::uint64_t dropped = 0;
    std::array<char, kLargestFrame> bytes;
    for (;;) {
      const auto size = ::recv(from_.get(), bytes.data(), bytes.size(), 0);
      if (size <= 0) return dropped;
      dropped += take({bytes.data(), bytes.data() + size}, line) ? 0 : 1;
    }
  }

  /// Sends on what is due; how many.
  std::uint64_t sendOn() {
    std::uint64_t sent = 0;
    for (; !waiting_.empty() && waiting_.top().due <= Clock::now(); waiting_.pop(), ++sent) {
      const auto& bytes = waiting_.top().bytes;
      while (::send(to_, bytes.data(), bytes.size(), 0) < 0 && (errno == ENOBUFS || errno == EINTR)) {
      }
    }
    return sent;
  }

  std::optional<Clock::time_point> nextDue() const {
    if (waiting_.empty()) return std::nullopt;
    return waiting_.top().due;
  }

 private:
  struct Packet {
    Clock::time_point due;
    std::uint64_t number;
    std::vector<char> bytes;
    bool operator<(const Packet& other) const {
      return std::tie(other.due, other.number) < std::tie(due, number);
    }
  };

  bool take(std::vector<char> bytes, const LineConditions& line) {
    if (line.isCut || (line.dropsUDP && isUDP(bytes)) || chance_(random_) < line.loss) return false;
    const auto now = Clock::now();
    auto due = now;
    if (line.bitsPerSecond > 0) {
      const std::chrono::duration<double> takes(8.0 * static_cast<double>(bytes.size()) / line.bitsPerSecond);
      freeFrom_ = std::max(freeFrom_, now);
      if (freeFrom_ - now > kLongestQueue) return false;
      freeFrom_ += std::chrono::duration_cast<Clock::duration>(takes);
      due = freeFrom_;
    }
    due += line.delay;
    if (chance_(random_) < line.reorder) due += line.reorderDelay;
    waiting_.push({due, number_++, std::move(bytes)});
    return true;
  }

  Descriptor from_;
  int to_;
  std::mt19937 random_;
  std::uniform_real_distribution<double> chance_{0, 1};
  Clock::time_point freeFrom_;
  std::uint64_t number_ = 0;
  std::priority_queue<Packet> waiting_;
};

PacketBridge::PacketBridge(const NetworkNamespace& network, const std::string& one,
                           const std::string& other) {
  Descriptor first;
  Descriptor second;
  std::string failure;
  network.enter([&] {
    try {
      first = openInterface(one);
      second = openInterface(other);
    } catch (const std::exception& error) {
      failure = error.what();
    }
  });
  if (!failure.empty()) throw std::runtime_error(failure);
  const int firstNumber = first.get();
  const int secondNumber = second.get();
  forth_ = std::make_unique<Direction>(std::move(first), secondNumber, 1);
  back_ = std::make_unique<Direction>(std::move(second), firstNumber, 2);
  thread_ = std::thread([this] { work(); });
}

PacketBridge::~PacketBridge() {
  stopping_ = true;
  thread_.join();
}

void PacketBridge::set(const LineConditions& conditions) {
  const std::scoped_lock lock(mutex_);
  conditions_ = conditions;
}

LineConditions PacketBridge::conditions() const {
  const std::scoped_lock lock(mutex_);
  return conditions_;
}

void PacketBridge::work() {
  while (!stopping_) {
    auto wake = Clock::now() + std::chrono::milliseconds(50);  // to see that it shall stop
    for (const auto* direction : {forth_.get(), back_.get()})
      if (const auto due = direction->nextDue()) wake = std::min(wake, *due);
    const auto wait = std::max(Clock::duration::zero(), wake - Clock::now());
    const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(wait);
    const timespec timeout{seconds.count(),
                           std::chrono::duration_cast<std::chrono::nanoseconds>(wait - seconds).count()};
    std::array<pollfd, 2> watched{{{forth_->from(), POLLIN, 0}, {back_->from(), POLLIN, 0}}};
    ::ppoll(watched.data(), watched.size(), &timeout, nullptr);
    const auto line = conditions();
    for (auto* direction : {forth_.get(), back_.get()}) {
      dropped_ += direction->takeIn(line);
      carried_ += direction->sendOn();
    }
  }
}

}  // namespace tevanto::test

#include "platform/linux/avahi/AvahiServiceBrowser.h"

#include <avahi-client/client.h>
#include <avahi-client/lookup.h>
#include <avahi-common/address.h>
#include <avahi-common/error.h>
#include <avahi-common/malloc.h>
#include <avahi-common/simple-watch.h>
#include <net/if.h>

#include <algorithm>
#include <array>
#include <utility>

namespace tevanto {
namespace {

constexpr auto kCannotSearch =
    "The local network cannot be searched: the Avahi daemon does not answer. Install and start it (sudo apt "
    "install avahi-daemon; sudo systemctl start avahi-daemon), or give the address yourself.";

std::string textOf(const AvahiAddress& address, AvahiIfIndex interface) {
  std::array<char, AVAHI_ADDRESS_STR_MAX> text{};
  avahi_address_snprint(text.data(), text.size(), &address);
  std::string result = text.data();
  const auto* v6 = address.data.ipv6.address;
  const bool linkLocal = address.proto == AVAHI_PROTO_INET6 && v6[0] == 0xFE && (v6[1] & 0xC0) == 0x80;
  std::array<char, IF_NAMESIZE> name{};
  if (linkLocal && interface > 0 && if_indextoname(static_cast<unsigned>(interface), name.data())) {
    result += std::string("%") + name.data();
  }
  return result;
}

/// The first of several entries with one key counts (RFC 6763, 6.4). The daemon gives the record of a service
/// of its own from last to first, and one that it received in order.
std::map<std::string, std::string> textRecord(AvahiStringList* list, bool lastToFirst) {
  std::map<std::string, std::string> txt;
  for (; list; list = avahi_string_list_get_next(list)) {
    const std::string_view entry(reinterpret_cast<const char*>(avahi_string_list_get_text(list)),
                                 avahi_string_list_get_size(list));
    const auto equals = std::min(entry.find('='), entry.size());
    if (equals == 0) continue;
    const std::string key(entry.substr(0, equals));
    if (lastToFirst || !txt.contains(key)) txt[key] = entry.substr(std::min(equals + 1, entry.size()));
  }
  return txt;
}

/// One search: what the daemon says of each interface and protocol, put together by name.
class Search {
 public:
  Search() = default;
  ~Search() {
    if (client_) avahi_client_free(client_);  // with its browser and resolvers
    if (poll_) avahi_simple_poll_free(poll_);
  }
  Search(const Search&) = delete;
  Search& operator=(const Search&) = delete;

  Result<std::vector<FoundService>> run(const std::string& type, std::chrono::milliseconds wait);

 private:
  bool begin(const std::string& type);
  void wait(std::chrono::milliseconds wait);
  void resolve(AvahiIfIndex interface, AvahiProtocol protocol, const char* name, const char* type,
               const char* domain);
  void add(AvahiIfIndex interface, const char* name, const char* hostName, const AvahiAddress& address,
           std::uint16_t port, std::map<std::string, std::string> txt);

  static void clientChanged(AvahiClient* client, AvahiClientState state, void* self);
  static void browsed(AvahiServiceBrowser*, AvahiIfIndex interface, AvahiProtocol protocol,
                      AvahiBrowserEvent event, const char* name, const char* type, const char* domain,
                      AvahiLookupResultFlags, void* self);
  static void resolved(AvahiServiceResolver* resolver, AvahiIfIndex interface, AvahiProtocol,
                       AvahiResolverEvent event, const char* name, const char* type, const char* domain,
                       const char* hostName, const AvahiAddress* address, std::uint16_t port,
                       AvahiStringList* txt, AvahiLookupResultFlags, void* self);

  AvahiSimplePoll* poll_ = nullptr;
  AvahiClient* client_ = nullptr;
  bool failed_ = false;
  bool allForNow_ = false;
  int resolving_ = 0;
  std::map<std::string, FoundService> found_;
};

Result<std::vector<FoundService>> Search::run(const std::string& type, std::chrono::milliseconds limit) {
  if (!begin(type)) return Failure{kCannotSearch};
  wait(limit);
  if (failed_) return Failure{kCannotSearch};
  std::vector<FoundService> services;
  for (auto& [name, service] : found_) services.push_back(std::move(service));
  return services;
}

bool Search::begin(const std::string& type) {
  poll_ = avahi_simple_poll_new();
  if (!poll_) return false;
  client_ = avahi_client_new(avahi_simple_poll_get(poll_), {}, &Search::clientChanged, this, nullptr);
  return client_ && avahi_service_browser_new(client_, AVAHI_IF_UNSPEC, AVAHI_PROTO_UNSPEC, type.c_str(),
                                              nullptr, {}, &Search::browsed, this);
}

void Search::wait(std::chrono::milliseconds limit) {
  using Clock = std::chrono::steady_clock;
  const auto end = Clock::now() + limit;
  while (!failed_ && !(allForNow_ && resolving_ == 0)) {
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(end - Clock::now());
    if (left <= left.zero()) return;
    if (avahi_simple_poll_iterate(poll_, static_cast<int>(left.count())) != 0) failed_ = true;
  }
}

void Search::clientChanged(AvahiClient*, AvahiClientState state, void* self) {
  if (state == AVAHI_CLIENT_FAILURE) static_cast<Search*>(self)->failed_ = true;
}

void Search::browsed(AvahiServiceBrowser*, AvahiIfIndex interface, AvahiProtocol protocol,
                     AvahiBrowserEvent event, const char* name, const char* type, const char* domain,
                     AvahiLookupResultFlags, void* self) {
  auto& search = *static_cast<Search*>(self);
  switch (event) {
    case AVAHI_BROWSER_NEW:
      return search.resolve(interface, protocol, name, type, domain);
    case AVAHI_BROWSER_ALL_FOR_NOW:
      search.allForNow_ = true;
      return;
    case AVAHI_BROWSER_FAILURE:
      search.failed_ = true;
      return;
    case AVAHI_BROWSER_REMOVE:
    case AVAHI_BROWSER_CACHE_EXHAUSTED:
      return;
  }
}

/// Asks for an address of the protocol that the service was heard on: where there is one, it answers, so that
/// nothing waits for an address that does not exist.
void Search::resolve(AvahiIfIndex interface, AvahiProtocol protocol, const char* name, const char* type,
                     const char* domain) {
  if (avahi_service_resolver_new(client_, interface, protocol, name, type, domain, protocol, {},
                                 &Search::resolved, this)) {
    ++resolving_;
  }
}

void Search::resolved(AvahiServiceResolver* resolver, AvahiIfIndex interface, AvahiProtocol,
                      AvahiResolverEvent event, const char* name, const char*, const char*,
                      const char* hostName, const AvahiAddress* address, std::uint16_t port,
                      AvahiStringList* txt, AvahiLookupResultFlags flags, void* self) {
  auto& search = *static_cast<Search*>(self);
  if (event == AVAHI_RESOLVER_FOUND) {
    const bool own = (flags & AVAHI_LOOKUP_RESULT_LOCAL) != 0;
    search.add(interface, name, hostName, *address, port, textRecord(txt, own));
  }
  --search.resolving_;
  avahi_service_resolver_free(resolver);
}

void Search::add(AvahiIfIndex interface, const char* name, const char* hostName, const AvahiAddress& address,
                 std::uint16_t port, std::map<std::string, std::string> txt) {
  auto& service = found_[name];
  service.name = name;
  service.hostName = hostName;
  service.port = port;
  service.txt = std::move(txt);
  auto text = textOf(address, interface);
  auto& known = service.addresses;
  if (std::find(known.begin(), known.end(), text) != known.end()) return;
  // IPv4 first: it is what works without knowing the interface.
  const auto place = address.proto == AVAHI_PROTO_INET
                         ? std::find_if(known.begin(), known.end(),
                                        [](const auto& other) { return other.find(':') != other.npos; })
                         : known.end();
  known.insert(place, std::move(text));
}

class AvahiBrowser final : public ServiceBrowser {
 public:
  Result<std::vector<FoundService>> browse(const std::string& type, std::chrono::milliseconds wait) override {
    return Search().run(type, wait);
  }
};

}  // namespace

std::unique_ptr<ServiceBrowser> makeAvahiServiceBrowser() { return std::make_unique<AvahiBrowser>(); }

}  // namespace tevanto

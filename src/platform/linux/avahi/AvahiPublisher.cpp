#include "platform/linux/avahi/AvahiPublisher.h"

#include <avahi-common/alternative.h>
#include <avahi-common/error.h>
#include <avahi-common/malloc.h>
#include <avahi-common/strlst.h>
#include <avahi-common/timeval.h>

#include <utility>

namespace tevanto {
namespace {

using namespace std::chrono_literals;

constexpr auto kNoBus =
    "Discovery is off: the system message bus cannot be reached. Start it (sudo systemctl start dbus); until "
    "then connect by address.";
constexpr auto kNoDaemon =
    "Discovery is off: the Avahi daemon is not running. Install and start it (sudo apt install avahi-daemon; "
    "sudo systemctl start avahi-daemon); until then connect by address.";

/// A client that is lost sooner than this after it was made is not replaced at once: a daemon that cannot
/// stay up would keep us busy.
constexpr auto kSettled = 1s;

struct StringListDeleter {
  void operator()(AvahiStringList* list) const { avahi_string_list_free(list); }
};
using StringList = std::unique_ptr<AvahiStringList, StringListDeleter>;

/// The list goes on the wire from its head, where it grows.
StringList textRecord(const ServiceDescription& service) {
  AvahiStringList* list = nullptr;
  for (auto entry = service.txt.rbegin(); entry != service.txt.rend(); ++entry) {
    const auto& [key, value] = *entry;
    list = avahi_string_list_add_pair_arbitrary(
        list, key.c_str(), reinterpret_cast<const std::uint8_t*>(value.data()), value.size());
  }
  return StringList(list);
}

}  // namespace

AvahiPublisher::AvahiPublisher(const AvahiPoll* poll, std::chrono::milliseconds retryEvery)
    : poll_(poll), retryEvery_(retryEvery) {}

AvahiPublisher::~AvahiPublisher() {
  if (retry_) poll_->timeout_free(retry_);
  disconnect();
}

void AvahiPublisher::add(Id id, ServiceDescription service, std::shared_ptr<StatusReporter> reporter) {
  auto& publication = *(publications_[id] = std::make_unique<Publication>());
  publication.owner = this;
  publication.name = service.name;
  publication.service = std::move(service);
  publication.reporter = std::move(reporter);
  if (!client_) {
    if (!retry_) return connect();
    return report(publication, AdvertisingState::unavailable, kNoBus);
  }
  switch (avahi_client_get_state(client_)) {
    case AVAHI_CLIENT_S_RUNNING:
      return publish(publication);
    case AVAHI_CLIENT_S_REGISTERING:
    case AVAHI_CLIENT_S_COLLISION:
      return;
    case AVAHI_CLIENT_CONNECTING:
    case AVAHI_CLIENT_FAILURE:
      return report(publication, AdvertisingState::unavailable, kNoDaemon);
  }
}

void AvahiPublisher::remove(Id id) {
  const auto found = publications_.find(id);
  if (found == publications_.end()) return;
  if (found->second->group) avahi_entry_group_free(found->second->group);
  publications_.erase(found);
}

void AvahiPublisher::connect() {
  connectedAt_ = std::chrono::steady_clock::now();
  client_ = avahi_client_new(
      poll_, AVAHI_CLIENT_NO_FAIL,
      [](AvahiClient* client, AvahiClientState state, void* self) {
        auto& publisher = *static_cast<AvahiPublisher*>(self);
        // The first states come while the client is still being made: `connect` asks for the last of them.
        if (publisher.client_ == client) publisher.clientChanged(state);
      },
      this, nullptr);
  if (client_) return clientChanged(avahi_client_get_state(client_));
  reportAll(AdvertisingState::unavailable, kNoBus);
  connectAfter(retryEvery_);
}

void AvahiPublisher::disconnect() {
  if (client_) avahi_client_free(std::exchange(client_, nullptr));  // with its groups
  for (auto& [id, publication] : publications_) {
    publication->group = nullptr;
    publication->name = publication->service.name;
  }
}

/// Also with a delay of zero: a client must not be freed inside its own callback.
void AvahiPublisher::connectAfter(std::chrono::milliseconds delay) {
  if (retry_) return;
  timeval due{};
  avahi_elapse_time(&due, static_cast<unsigned>(delay.count()), 0);
  retry_ = poll_->timeout_new(
      poll_, &due,
      [](AvahiTimeout* timeout, void* self) {
        auto& publisher = *static_cast<AvahiPublisher*>(self);
        publisher.poll_->timeout_free(timeout);
        publisher.retry_ = nullptr;
        publisher.disconnect();
        if (!publisher.publications_.empty()) publisher.connect();
      },
      this);
}

void AvahiPublisher::clientChanged(AvahiClientState state) {
  switch (state) {
    case AVAHI_CLIENT_S_RUNNING:
      for (auto& [id, publication] : publications_) publish(*publication);
      return;
    case AVAHI_CLIENT_S_REGISTERING:
    case AVAHI_CLIENT_S_COLLISION:
      return withdrawAll();
    case AVAHI_CLIENT_CONNECTING:
      return reportAll(AdvertisingState::unavailable, kNoDaemon);
    case AVAHI_CLIENT_FAILURE:
      return lostClient();
  }
}

void AvahiPublisher::lostClient() {
  const bool settled = std::chrono::steady_clock::now() - connectedAt_ >= kSettled;
  reportAll(AdvertisingState::unavailable, kNoDaemon);
  connectAfter(settled ? 0ms : retryEvery_);
}

void AvahiPublisher::publish(Publication& publication) {
  if (publication.group) {
    avahi_entry_group_reset(publication.group);
  } else {
    publication.group = avahi_entry_group_new(
        client_,
        [](AvahiEntryGroup* group, AvahiEntryGroupState state, void* context) {
          auto& changed = *static_cast<Publication*>(context);
          if (changed.group == group) changed.owner->groupChanged(changed, state);
        },
        &publication);
    if (!publication.group) return reportError(publication, avahi_client_errno(client_));
  }
  int error = fill(publication);
  // Names that this machine itself has taken are refused here, those of others after the commit.
  for (int attempt = 0; error == AVAHI_ERR_COLLISION && attempt < 100; ++attempt) {
    useNextName(publication);
    error = fill(publication);
  }
  if (error == AVAHI_OK) error = avahi_entry_group_commit(publication.group);
  if (error != AVAHI_OK) reportError(publication, error);
}

int AvahiPublisher::fill(Publication& publication) {
  const auto txt = textRecord(publication.service);
  return avahi_entry_group_add_service_strlst(publication.group, AVAHI_IF_UNSPEC, AVAHI_PROTO_UNSPEC, {},
                                              publication.name.c_str(), publication.service.type.c_str(),
                                              nullptr, nullptr, publication.service.port, txt.get());
}

void AvahiPublisher::useNextName(Publication& publication) {
  char* next = avahi_alternative_service_name(publication.name.c_str());
  publication.name = next;
  avahi_free(next);
}

void AvahiPublisher::withdrawAll() {
  for (auto& [id, publication] : publications_) {
    if (publication->group) avahi_entry_group_reset(publication->group);
    report(*publication, AdvertisingState::pending, "");
  }
}

void AvahiPublisher::groupChanged(Publication& publication, AvahiEntryGroupState state) {
  switch (state) {
    case AVAHI_ENTRY_GROUP_ESTABLISHED:
      return report(publication, AdvertisingState::advertised, "");
    case AVAHI_ENTRY_GROUP_COLLISION:
      useNextName(publication);
      return publish(publication);
    case AVAHI_ENTRY_GROUP_FAILURE:
      return reportError(publication, avahi_client_errno(client_));
    case AVAHI_ENTRY_GROUP_UNCOMMITED:
    case AVAHI_ENTRY_GROUP_REGISTERING:
      return;
  }
}

void AvahiPublisher::reportAll(AdvertisingState state, const std::string& message) {
  for (auto& [id, publication] : publications_) report(*publication, state, message);
}

void AvahiPublisher::report(Publication& publication, AdvertisingState state, const std::string& message) {
  publication.reporter->report({state, publication.name, message});
}

void AvahiPublisher::reportError(Publication& publication, int error) {
  report(publication, AdvertisingState::pending,
         std::string("The Avahi daemon does not publish the service: ") + avahi_strerror(error) + ".");
}

}  // namespace tevanto

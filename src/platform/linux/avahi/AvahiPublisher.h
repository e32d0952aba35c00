#pragma once

#include <avahi-client/client.h>
#include <avahi-client/publish.h>

#include <chrono>
#include <cstdint>
#include <map>
#include <memory>
#include <string>

#include "net/discovery/ServiceAdvertiser.h"
#include "net/discovery/StatusReporter.h"

namespace tevanto {

/// The conversation with the Avahi daemon about the services to publish. Lives on the thread of an
/// `AvahiLoop`.
///
///   connect ──▶ client: connecting ──▶ running ⇄ registering or collision (host name changes)
///      ▲                     │            │
///      └── wait ◀────────────┴─ failure ◀─┘   (daemon or bus went away: the client is of no more use)
class AvahiPublisher {
 public:
  using Id = std::uint64_t;

  AvahiPublisher(const AvahiPoll* poll, std::chrono::milliseconds retryEvery);
  ~AvahiPublisher();
  AvahiPublisher(const AvahiPublisher&) = delete;
  AvahiPublisher& operator=(const AvahiPublisher&) = delete;

  void add(Id id, ServiceDescription service, std::shared_ptr<StatusReporter> reporter);
  void remove(Id id);

 private:
  struct Publication {
    AvahiPublisher* owner = nullptr;
    ServiceDescription service;
    std::string name;  // the one in use
    std::shared_ptr<StatusReporter> reporter;
    AvahiEntryGroup* group = nullptr;  // owned by the client
  };

  void connect();
  void disconnect();
  void connectAfter(std::chrono::milliseconds delay);
  void clientChanged(AvahiClientState state);
  void lostClient();
  void publish(Publication& publication);
  int fill(Publication& publication);
  void useNextName(Publication& publication);
  void withdrawAll();
  void groupChanged(Publication& publication, AvahiEntryGroupState state);
  void reportAll(AdvertisingState state, const std::string& message);
  static void report(Publication& publication, AdvertisingState state, const std::string& message);
  static void reportError(Publication& publication, int error);

  const AvahiPoll* poll_;
  const std::chrono::milliseconds retryEvery_;
  AvahiClient* client_ = nullptr;
  AvahiTimeout* retry_ = nullptr;
  std::chrono::steady_clock::time_point connectedAt_;
  std::map<Id, std::unique_ptr<Publication>> publications_;
};

}  // namespace tevanto

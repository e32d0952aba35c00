#pragma once

#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "remote/AwayAccess.h"
#include "tests/support/fakes/FakeScreenTransport.h"

namespace tevanto::test {

/// A peer-to-peer transport that records what its owner does with it, and reports what the test says.
class FakeAwayTransport final : public MessageChannel {
 public:
  void send(const RemoteMessage& message) override { sent.push_back(message); }
  void close() override { ++closes; }

  std::vector<RemoteMessage> sent;
  std::shared_ptr<FakeScreenTransport> screen = std::make_shared<FakeScreenTransport>();
  int starts = 0;
  int closes = 0;
  std::function<void()> age;  // its servers are no longer fresh
};

/// Makes such transports, and keeps them only as long as the test asks for it.
class FakeAnswerers {
 public:
  AnswererFactory factory() {
    return [this](const std::string& room) {
      rooms.push_back(room);
      if (!available) return Answerer{};
      const auto transport = std::make_shared<FakeAwayTransport>();
      made.push_back(transport);
      return Answerer{transport, transport->screen,
                      [weak = std::weak_ptr(transport)] {
                        if (const auto alive = weak.lock()) ++alive->starts;
                      },
                      [weak = std::weak_ptr(transport)](std::function<void()> replace) {
                        if (const auto alive = weak.lock()) alive->age = std::move(replace);
                      }};
    };
  }
  /// The one that was made last, if it still lives.
  std::shared_ptr<FakeAwayTransport> last() const { return made.empty() ? nullptr : made.back().lock(); }

  bool available = true;
  std::vector<std::string> rooms;  // of all that were asked for
  std::vector<std::weak_ptr<FakeAwayTransport>> made;
};

/// Writes down which invites were published and taken back, in order.
class RecordingPairingInvites final : public PairingInvites {
 public:
  struct Published {
    std::string code;
    std::string room;
    CloudPairingInvite invite;

    bool operator==(const Published&) const = default;
  };

  void publishPairInvite(const std::string& code, const std::string& room,
                         const CloudPairingInvite& invite) override {
    published.push_back({code, room, invite});
    steps.push_back("publish " + code);
  }
  void deletePairInvite(const std::string& code) override { steps.push_back("delete " + code); }

  std::vector<Published> published;
  std::vector<std::string> steps;
};

/// Who would carry the screen.
class RecordingScreenHost final : public ScreenTransportHost {
 public:
  void attach(const std::shared_ptr<ScreenTransport>& transport) override { attached = transport; }
  void detach(const std::shared_ptr<ScreenTransport>& transport) override {
    ++detaches;
    if (attached.lock() == transport) attached.reset();
  }

  std::weak_ptr<ScreenTransport> attached;
  int detaches = 0;
};

}  // namespace tevanto::test

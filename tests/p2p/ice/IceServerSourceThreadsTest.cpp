// Phones, the waiting companion and the doctor ask for ICE servers, each on a thread of its own. Run under
// ThreadSanitizer too.

#include <gtest/gtest.h>

#include <atomic>
#include <thread>
#include <vector>

#include "core/queue/EventLoop.h"
#include "core/settings/JsonUserDefaults.h"
#include "p2p/ice/IceServerSource.h"
#include "tests/support/programs/Eventually.h"
#include "tests/support/programs/TemporaryFolder.h"

namespace tevanto {
namespace {

using std::chrono::seconds;

/// A credential service that always answers.
class GenerousService final : public HttpClient {
 public:
  void send(HttpRequest, std::shared_ptr<SerialQueue> queue, Completion completion) override {
    queue->async([completion = std::move(completion)] {
      completion(HttpResponse{200, {}, R"({"iceServers":[{"urls":["turn:a"]}]})"});
    });
  }
};

TEST(IceServerSourceThreads, givesTheSameServersToAllWhoAskWhileTheyAge) {
  const test::TemporaryFolder folder;
  JsonUserDefaults defaults(folder.path() / "defaults.json", {});
  std::atomic<std::int64_t> now = 1'700'000'000;
  const WallClock clock = [&now] { return std::chrono::system_clock::time_point(seconds(now)); };
  const DeploymentSettings settings(InfoPlist(), defaults,
                                    [](const std::string& name) -> std::optional<std::string> {
                                      if (name != "TEVANTO_RELAY_URLS") return std::nullopt;
                                      return "wss://relay";
                                    });
  const auto source = std::make_shared<IceServerSource>(
      settings, RemoteIceServerPersistentCache(defaults, clock),
      TurnCredentialService(std::make_shared<GenerousService>()), clock, Logger());
  constexpr int kRounds = 100;
  constexpr int kAsking = 3;
  const auto loop = EventLoop::background(2);
  std::atomic<int> answered = 0;
  std::atomic<int> withTURN = 0;
  std::vector<std::thread> asking;
  for (int i = 0; i < kAsking; ++i) {
    asking.emplace_back([&, queue = loop->makeQueue("asking")] {
      for (int round = 0; round < kRounds; ++round) {
        source->load(queue, [&](const std::vector<RemoteIceServerConfig>& servers) {
          if (hasTURNServer(servers)) ++withTURN;
          ++answered;
        });
        (void)source->known();
        (void)source->freshFor();
        now += 100;
      }
    });
  }
  for (auto& each : asking) each.join();
  EXPECT_TRUE(test::eventually([&] { return answered == kAsking * kRounds; }, seconds(60)));
  EXPECT_GT(withTURN, 0);
  loop->stop();
}

}  // namespace
}  // namespace tevanto

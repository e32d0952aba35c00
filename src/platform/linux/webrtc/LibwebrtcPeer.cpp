#include "platform/linux/webrtc/LibwebrtcPeer.h"

#include <api/jsep.h>

#include <utility>

#include "platform/linux/webrtc/LibwebrtcCompletions.h"
#include "platform/linux/webrtc/LibwebrtcDataChannel.h"

namespace tevanto {
namespace {

using Engine = webrtc::PeerConnectionInterface;

Engine::RTCConfiguration configurationOf(const PeerConfiguration& configuration) {
  Engine::RTCConfiguration made;
  made.sdp_semantics = webrtc::SdpSemantics::kUnifiedPlan;
  made.continual_gathering_policy = Engine::GATHER_CONTINUALLY;
  made.type = Engine::kAll;
  // No host candidates of TCP (RFC 6544); TURN over TCP does not need them. The library keeps a descriptor
  // for each pair of them, and aborts when one is lost shortly before its peer is closed.
  made.tcp_candidate_policy = Engine::kTcpCandidatePolicyDisabled;
  for (const auto& server : configuration.iceServers) {
    Engine::IceServer entry;
    entry.urls = server.urlStrings;
    entry.username = server.username.value_or("");
    entry.password = server.credential.value_or("");
    made.servers.push_back(std::move(entry));
  }
  return made;
}

/// Null, with the reason in `error`, for what is no description.
std::unique_ptr<webrtc::SessionDescriptionInterface> parsed(const SessionDescription& description,
                                                            std::string& error) {
  const auto type =
      description.type == tevanto::SdpType::offer ? webrtc::SdpType::kOffer : webrtc::SdpType::kAnswer;
  webrtc::SdpParseError problem;
  auto made = webrtc::CreateSessionDescription(type, description.sdp, &problem);
  if (!made) error = problem.description + " (" + problem.line + ")";
  return made;
}

}  // namespace

std::shared_ptr<LibwebrtcPeer> LibwebrtcPeer::create(
    std::shared_ptr<LibwebrtcEngine> engine, const PeerConfiguration& configuration,
    std::weak_ptr<tevanto::PeerConnectionObserver> observer) {
  auto core = std::make_shared<LibwebrtcPeerCore>(engine, std::move(observer));
  const auto opened =
      engine->signaling().call([&] { return core->open(engine->factory(), configurationOf(configuration)); });
  if (!opened) return nullptr;
  return std::shared_ptr<LibwebrtcPeer>(new LibwebrtcPeer(std::move(engine), std::move(core)));
}

LibwebrtcPeer::LibwebrtcPeer(std::shared_ptr<LibwebrtcEngine> engine, std::shared_ptr<LibwebrtcPeerCore> core)
    : engine_(std::move(engine)), core_(std::move(core)) {}

LibwebrtcPeer::~LibwebrtcPeer() { close(); }

template <class F>
void LibwebrtcPeer::withConnection(F&& function) {
  engine_->signaling().post([core = core_, function = std::forward<F>(function)]() mutable {
    if (auto* connection = core->connection()) function(*connection, core);
  });
}

void LibwebrtcPeer::createOffer(DescriptionHandler done) {
  withConnection([done = std::move(done)](Engine& connection, const auto& core) mutable {
    connection.CreateOffer(completionOf(core, std::move(done)).get(), {});
  });
}

void LibwebrtcPeer::createAnswer(DescriptionHandler done) {
  withConnection([done = std::move(done)](Engine& connection, const auto& core) mutable {
    connection.CreateAnswer(completionOf(core, std::move(done)).get(), {});
  });
}

void LibwebrtcPeer::setLocalDescription(const SessionDescription& description, DoneHandler done) {
  withConnection([description, done = std::move(done)](Engine& connection, const auto& core) mutable {
    std::string error;
    auto local = parsed(description, error);
    if (!local) return core->report([&] { done(Failure{error}); });
    connection.SetLocalDescription(std::move(local), localCompletionOf(core, std::move(done)));
  });
}

void LibwebrtcPeer::setRemoteDescription(const SessionDescription& description, DoneHandler done) {
  withConnection([weak = std::weak_ptr(engine_), description, done = std::move(done)](
                     Engine& connection, const auto& core) mutable {
    std::string error;
    auto remote = parsed(description, error);
    if (!remote) return core->report([&] { done(Failure{error}); });
    if (const auto engine = weak.lock()) engine->awaitSrtp();
    connection.SetRemoteDescription(std::move(remote), remoteCompletionOf(core, std::move(done)));
  });
}

void LibwebrtcPeer::addCandidate(const IceCandidate& candidate) {
  webrtc::SdpParseError problem;
  std::unique_ptr<webrtc::IceCandidateInterface> parsedCandidate(
      webrtc::CreateIceCandidate(candidate.sdpMid, candidate.sdpMLineIndex, candidate.sdp, &problem));
  if (!parsedCandidate) return;
  withConnection([parsedCandidate = std::move(parsedCandidate)](Engine& connection, const auto&) mutable {
    connection.AddIceCandidate(std::move(parsedCandidate), [](const webrtc::RTCError&) {});
  });
}

std::shared_ptr<DataChannel> LibwebrtcPeer::createDataChannel(const std::string& label,
                                                              const DataChannelOptions& options) {
  webrtc::DataChannelInit parameters;
  parameters.ordered = options.ordered;
  if (options.maxRetransmits) parameters.maxRetransmits = *options.maxRetransmits;
  return engine_->signaling().call([&]() -> std::shared_ptr<DataChannel> {
    auto* connection = core_->connection();
    if (!connection || core_->isSilenced()) return nullptr;
    auto made = connection->CreateDataChannelOrError(label, &parameters);
    return made.ok() ? LibwebrtcDataChannel::adopt(engine_, made.MoveValue()) : nullptr;
  });
}

void LibwebrtcPeer::statistics(StatisticsHandler done) {
  withConnection([done = std::move(done)](Engine& connection, const auto& core) mutable {
    connection.GetStats(completionOf(core, std::move(done)).get());
  });
}

void LibwebrtcPeer::close() {
  core_->silence();
  engine_->signaling().post([core = core_] {
    if (core->connection()) core->close();
  });
}

}  // namespace tevanto

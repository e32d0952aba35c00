#include "platform/linux/audio/PulseAudioOutput.h"

#include <pulse/pulseaudio.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <optional>
#include <utility>

namespace tevanto {
namespace {

constexpr auto kDefaultSink = "@DEFAULT_SINK@";

struct Sink {
  pa_cvolume volume;
  bool muted = false;
};

pa_volume_t volumeOfPercent(int percent) {
  return static_cast<pa_volume_t>(std::lround(percent * static_cast<double>(PA_VOLUME_NORM) / 100));
}

int percentOfVolume(pa_volume_t volume) {
  const double percent = volume * 100.0 / PA_VOLUME_NORM;
  return static_cast<int>(std::min(std::lround(percent), 100L));
}

}  // namespace

/// One connection to the server, driven only while somebody waits for an answer.
class PulseAudioOutput::Connection {
 public:
  static Result<std::unique_ptr<Connection>> open(const std::string& server) {
    std::unique_ptr<Connection> connection(new Connection());
    const char* name = server.empty() ? nullptr : server.c_str();
    if (pa_context_connect(connection->context_, name, PA_CONTEXT_NOAUTOSPAWN, nullptr) < 0) {
      return connection->failure();
    }
    connection->startClock();
    const bool settled = connection->iterateUntil([&] {
      return !connection->isGood() || pa_context_get_state(connection->context_) == PA_CONTEXT_READY;
    });
    if (!settled || !connection->isGood()) return connection->failure();
    return connection;
  }

  ~Connection() {
    pa_context_disconnect(context_);
    pa_context_unref(context_);
    pa_mainloop_free(loop_);
  }
  Connection(const Connection&) = delete;
  Connection& operator=(const Connection&) = delete;

  /// Whether the server is still there, as far as has been heard.
  bool isGood() const { return PA_CONTEXT_IS_GOOD(pa_context_get_state(context_)); }
  /// Whether nothing is wrong with it, so that it may be used again.
  bool isUsable() const { return isGood() && !timedOut_; }

  Result<Sink> sink() {
    struct Answer {
      std::optional<Sink> sink;
    } answer;
    auto* operation = pa_context_get_sink_info_by_name(
        context_, kDefaultSink,
        [](pa_context*, const pa_sink_info* info, int, void* self) {
          if (info) static_cast<Answer*>(self)->sink = Sink{info->volume, info->mute != 0};
        },
        &answer);
    const bool done = await(operation);
    if (!done || !answer.sink) return failure();
    return *answer.sink;
  }

  Result<void> setVolume(const pa_cvolume& volume) {
    bool accepted = false;
    return succeeded(pa_context_set_sink_volume_by_name(context_, kDefaultSink, &volume, &accept, &accepted),
                     accepted);
  }

  Result<void> setMuted(bool muted) {
    bool accepted = false;
    return succeeded(
        pa_context_set_sink_mute_by_name(context_, kDefaultSink, muted ? 1 : 0, &accept, &accepted),
        accepted);
  }

 private:
  using Clock = std::chrono::steady_clock;

  Connection() : loop_(pa_mainloop_new()), context_(pa_context_new(pa_mainloop_get_api(loop_), "Tevanto")) {}

  static void accept(pa_context*, int success, void* accepted) {
    *static_cast<bool*>(accepted) = success != 0;
  }

  Result<void> succeeded(pa_operation* operation, const bool& accepted) {
    if (!await(operation) || !accepted) return failure();
    return {};
  }

  void startClock() { deadline_ = Clock::now() + std::chrono::seconds(kTimeoutSeconds); }

  /// Waits for an operation, and takes its reference; false when it was not answered.
  bool await(pa_operation* operation) {
    if (!operation) return false;
    startClock();
    iterateUntil([operation] { return pa_operation_get_state(operation) != PA_OPERATION_RUNNING; });
    const bool done = pa_operation_get_state(operation) == PA_OPERATION_DONE;
    pa_operation_cancel(operation);  // its callback writes to the caller's frame
    pa_operation_unref(operation);
    return done;
  }

  template <class Done>
  bool iterateUntil(Done done) {
    while (!done()) {
      const auto left = std::chrono::ceil<std::chrono::microseconds>(deadline_ - Clock::now());
      timedOut_ = left.count() <= 0;
      if (timedOut_ || pa_mainloop_prepare(loop_, static_cast<int>(left.count())) < 0 ||
          pa_mainloop_poll(loop_) < 0 || pa_mainloop_dispatch(loop_) < 0) {
        return false;
      }
    }
    return true;
  }

  Failure failure() const {
    if (timedOut_) return {"audio server does not answer"};
    switch (const int code = pa_context_errno(context_)) {
      case PA_ERR_CONNECTIONREFUSED:
      case PA_ERR_CONNECTIONTERMINATED:
      case PA_ERR_INVALIDSERVER:
        return {"no audio server"};
      case PA_ERR_NOENTITY:
        return {"no audio output"};
      default:
        return {std::string("audio server: ") + pa_strerror(code)};
    }
  }

  pa_mainloop* const loop_;
  pa_context* const context_;
  Clock::time_point deadline_;
  bool timedOut_ = false;
};

PulseAudioOutput::PulseAudioOutput(std::string server) : server_(std::move(server)) {}

PulseAudioOutput::~PulseAudioOutput() = default;

template <class T>
Result<T> PulseAudioOutput::run(const Request<T>& request) {
  if (connection_) {
    auto answer = request(*connection_);
    if (connection_->isUsable()) return answer;
    const bool died = !connection_->isGood();
    connection_.reset();
    if (!died) return answer;
  }
  auto opened = Connection::open(server_);
  if (!opened) return Failure{opened.error()};
  connection_ = std::move(opened).value();
  auto answer = request(*connection_);
  if (!connection_->isUsable()) connection_.reset();
  return answer;
}

Result<int> PulseAudioOutput::volume() {
  return run<int>([](Connection& connection) -> Result<int> {
    const auto sink = connection.sink();
    if (!sink) return Failure{sink.error()};
    return percentOfVolume(pa_cvolume_max(&sink.value().volume));
  });
}

Result<void> PulseAudioOutput::setVolume(int percent) {
  const auto target = volumeOfPercent(std::clamp(percent, 0, 100));
  return run<void>([target](Connection& connection) -> Result<void> {
    auto sink = connection.sink();
    if (!sink) return Failure{sink.error()};
    return connection.setVolume(*pa_cvolume_scale(&sink.value().volume, target));
  });
}

Result<bool> PulseAudioOutput::isMuted() {
  return run<bool>([](Connection& connection) -> Result<bool> {
    const auto sink = connection.sink();
    if (!sink) return Failure{sink.error()};
    return sink.value().muted;
  });
}

Result<void> PulseAudioOutput::setMuted(bool muted) {
  return run<void>([muted](Connection& connection) { return connection.setMuted(muted); });
}

}  // namespace tevanto

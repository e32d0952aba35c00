#include "tests/support/video/MirrorViewer.h"

#include <algorithm>
#include <utility>

#include "screen/wire/BigEndian.h"
#include "screen/wire/ScreenStreamHello.h"
#include "screen/wire/ScreenStreamMessage.h"
#include "tests/support/peers/ScreenBytes.h"

namespace tevanto::test {
namespace {

constexpr std::size_t kPiece = 4096;            // bytes read at a time when reading slowly
constexpr int kSmallReceiveBuffer = 64 * 1024;  // the phone's kernel hides the delay otherwise

constexpr std::size_t kMostKept = 8 * 1024 * 1024;

std::string withStartCodes(std::span<const std::byte> data) {
  std::string stream;
  while (data.size() >= 4) {
    const auto length = std::min<std::size_t>(readBigEndian<std::uint32_t>(data), data.size() - 4);
    stream += std::string("\0\0\0\1", 4) + textOf(data.subspan(4, length));
    data = data.subspan(4 + length);
  }
  return stream;
}

RawSocket connected(std::uint16_t port) {
  auto socket = RawSocket::connectTo(port);
  ::setsockopt(socket.fd(), SOL_SOCKET, SO_RCVBUF, &kSmallReceiveBuffer, sizeof kSmallReceiveBuffer);
  return socket;
}

}  // namespace

MirrorViewer::MirrorViewer(std::uint16_t port, const std::string& token, OnPicture onPicture,
                           int bytesPerSecond)
    : socket_(connected(port)), onPicture_(std::move(onPicture)), bytesPerSecond_(bytesPerSecond) {
  static_cast<void>(socket_.send(frameText(helloMessage({token, 1280, 800, false}))));
  thread_ = std::thread([this] { run(); });
}

MirrorViewer::~MirrorViewer() {
  isEnding_ = true;
  socket_.endStream();
  ::shutdown(socket_.fd(), SHUT_RDWR);
  thread_.join();
}

void MirrorViewer::askForKeyframe() {
  static_cast<void>(socket_.send(frameText(screenMessage(ScreenMessageType::keyframeRequest))));
}

std::string MirrorViewer::byteStream() {
  const std::lock_guard lock(mutex_);
  return byteStream_;
}

void MirrorViewer::run() {
  std::string header, message;
  while (!isEnding_ && read(4, header) &&
         read(readBigEndian<std::uint32_t>(std::as_bytes(std::span(header))), message)) {
    take(message);
  }
  hasEnded_ = true;
}

bool MirrorViewer::read(std::size_t size, std::string& bytes) {
  bytes.clear();
  while (bytes.size() < size) {
    while (isPaused_ && !isEnding_) std::this_thread::sleep_for(std::chrono::milliseconds(5));
    const auto wanted = bytesPerSecond_ > 0 ? std::min(kPiece, size - bytes.size()) : size - bytes.size();
    if (bytesPerSecond_ > 0) {
      std::this_thread::sleep_until(nextRead_);
      nextRead_ =
          std::max(nextRead_, std::chrono::steady_clock::now() - std::chrono::milliseconds(50)) +
          std::chrono::microseconds(1'000'000LL * static_cast<std::int64_t>(wanted) / bytesPerSecond_);
    }
    std::string more(wanted, '\0');
    const auto count = ::recv(socket_.fd(), more.data(), more.size(), 0);
    if (count <= 0 || isEnding_) return false;
    bytes.append(more, 0, static_cast<std::size_t>(count));
  }
  return true;
}

void MirrorViewer::take(const std::string& message) {
  const auto bytes = std::as_bytes(std::span(message));
  const auto type = screenMessageType(bytes);
  if (type == ScreenMessageType::videoFrame) return takeFrame(message);
  if (type != ScreenMessageType::parameterSets) return;
  const auto sets = decodeParameterSets(bytes.subspan(1));
  if (!sets) {
    ++errors_;
    return;
  }
  decoder_.setParameterSets(sets->sps, sets->pps);
  const std::lock_guard lock(mutex_);
  const std::string startCode("\0\0\0\1", 4);
  byteStream_ += startCode + textOf(sets->sps) + startCode + textOf(sets->pps);
}

void MirrorViewer::takeFrame(const std::string& message) {
  const auto frame = decodeVideoFrame(std::as_bytes(std::span(message)).subspan(1));
  const auto before = decoder_.errors();
  const auto picture = frame ? decoder_.decode(frame->data) : std::nullopt;
  if (!picture || decoder_.errors() > before) {
    ++errors_;
    return;
  }
  {
    const std::lock_guard lock(mutex_);
    if (byteStream_.size() < kMostKept) byteStream_ += withStartCodes(frame->data);
  }
  onPicture_(*picture, {message.size(), frame->isKeyframe});
  keyframes_ += frame->isKeyframe ? 1 : 0;
  ++pictures_;
}

}  // namespace tevanto::test

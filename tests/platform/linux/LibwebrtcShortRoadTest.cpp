#include "platform/linux/LibwebrtcShortRoad.h"

#include <api/make_ref_counted.h>
#include <gtest/gtest.h>
#include <pc/sctp_transport.h>

#include <memory>
#include <string>
#include <vector>

#include "platform/linux/LibwebrtcChannelLink.h"

// On one thread that stands for all: what matters is who is counted where.

namespace tevanto {
namespace {

/// Takes what it is sent as long as it has room.
class FakeSctp final : public cricket::SctpTransportInternal {
 public:
  FakeSctp(std::vector<std::string>& sent, bool& isFull) : sent_(sent), isFull_(isFull) {}

  void SetOnConnectedCallback(std::function<void()>) override {}
  void SetDataChannelSink(webrtc::DataChannelSink*) override {}
  void SetDtlsTransport(rtc::PacketTransportInternal*) override {}
  bool Start(int, int, int) override { return true; }
  bool OpenStream(int) override { return true; }
  bool ResetStream(int) override { return true; }
  bool SendData(int stream, const webrtc::SendDataParams& parameters, const rtc::CopyOnWriteBuffer& payload,
                cricket::SendDataResult* result) override {
    EXPECT_EQ(stream, 7);
    EXPECT_TRUE(parameters.ordered);
    EXPECT_EQ(parameters.type, webrtc::DataMessageType::kBinary);
    *result = isFull_ ? cricket::SDR_BLOCK : cricket::SDR_SUCCESS;
    if (!isFull_) sent_.emplace_back(payload.cdata<char>(), payload.size());
    return !isFull_;
  }
  bool ReadyToSendData() override { return !isFull_; }
  int max_message_size() const override { return 65536; }
  absl::optional<int> max_outbound_streams() const override { return 1024; }
  absl::optional<int> max_inbound_streams() const override { return 1024; }
  void set_debug_name_for_testing(const char*) override {}

 private:
  std::vector<std::string>& sent_;
  bool& isFull_;
};

class FakeChannel : public webrtc::DataChannelInterface {
 public:
  explicit FakeChannel(bool isOrdered) : isOrdered_(isOrdered) {}
  void RegisterObserver(webrtc::DataChannelObserver*) override {}
  void UnregisterObserver() override {}
  std::string label() const override { return "tevanto"; }
  bool reliable() const override { return true; }
  bool ordered() const override { return isOrdered_; }
  int id() const override { return 7; }
  DataState state() const override { return state_; }
  std::uint32_t messages_sent() const override { return sent_; }
  std::uint64_t bytes_sent() const override { return 0; }
  std::uint32_t messages_received() const override { return 0; }
  std::uint64_t bytes_received() const override { return 0; }
  std::uint64_t buffered_amount() const override { return 0; }
  void Close() override {}
  /// Keeps it until `sendOne`.
  bool Send(const webrtc::DataBuffer&) override { return true; }

  void sendOne() { ++sent_; }
  void enter(DataState state) { state_ = state; }

 private:
  const bool isOrdered_;
  DataState state_ = kOpen;
  std::uint32_t sent_ = 0;
};

rtc::CopyOnWriteBuffer message(const std::string& text) { return {text.data(), text.size()}; }

class LibwebrtcShortRoads : public testing::Test {
 protected:
  ~LibwebrtcShortRoads() override {
    if (sctp_->internal()) sctp_->Clear();
  }
  void open(bool isOrdered = true) {
    const auto channel = rtc::make_ref_counted<FakeChannel>(isOrdered);
    road_.open(sctp_, *channel);
  }
  /// On the network thread, with what was entered before.
  bool arrive(const std::string& text) {
    const bool sent = road_.send(message(text));
    road_.leave();
    return sent;
  }

  rtc::AutoThread network_;
  std::vector<std::string> sent_;
  bool isFull_ = false;
  const rtc::scoped_refptr<webrtc::SctpTransport> sctp_ =
      rtc::make_ref_counted<webrtc::SctpTransport>(std::make_unique<FakeSctp>(sent_, isFull_));
  LibwebrtcShortRoad road_;
};

TEST_F(LibwebrtcShortRoads, areTakenWhileSctpHasRoom) {
  open();
  EXPECT_TRUE(road_.isEmpty());
  ASSERT_TRUE(road_.enter());
  ASSERT_TRUE(road_.enter());
  EXPECT_FALSE(road_.isEmpty());
  EXPECT_TRUE(arrive("one"));
  EXPECT_TRUE(arrive("two"));
  EXPECT_TRUE(road_.isEmpty());
  EXPECT_EQ(sent_, (std::vector<std::string>{"one", "two"}));
}

TEST_F(LibwebrtcShortRoads, leaveToTheSignalingThreadWhatSctpDoesNotTakeAndWhatComesBehind) {
  open();
  ASSERT_TRUE(road_.enter());
  ASSERT_TRUE(road_.enter());
  isFull_ = true;
  EXPECT_FALSE(arrive("one"));
  isFull_ = false;
  EXPECT_FALSE(arrive("two"));
  EXPECT_TRUE(sent_.empty());
  EXPECT_FALSE(road_.enter());
}

TEST_F(LibwebrtcShortRoads, areTakenAgainOnceTheSignalingThreadHoldsNone) {
  open();
  ASSERT_TRUE(road_.enter());
  isFull_ = true;
  EXPECT_FALSE(arrive("one"));
  isFull_ = false;
  EXPECT_FALSE(road_.enter());
  road_.signalingSent(1);
  EXPECT_FALSE(road_.enter());
  road_.signalingSent(2);
  ASSERT_TRUE(road_.enter());
  EXPECT_TRUE(arrive("four"));
}

TEST_F(LibwebrtcShortRoads, areNotOvertakenByWhatGoesToTheSignalingThread) {
  open();
  ASSERT_TRUE(road_.enter());
  ASSERT_TRUE(road_.enter());
  isFull_ = true;
  EXPECT_FALSE(arrive("one"));
  // "two" is still on its way to the network thread.
  EXPECT_TRUE(road_.enter());
}

TEST_F(LibwebrtcShortRoads, areNoneWithoutOrder) {
  open(false);
  EXPECT_FALSE(road_.enter());
}

TEST_F(LibwebrtcShortRoads, areNoneBeforeTheChannelIsOpen) {
  EXPECT_FALSE(road_.enter());
  EXPECT_TRUE(road_.isEmpty());
}

TEST_F(LibwebrtcShortRoads, endWithTheirPeer) {
  open();
  ASSERT_TRUE(road_.enter());
  sctp_->Clear();
  EXPECT_FALSE(arrive("one"));
}

class LibwebrtcChannelLinks : public LibwebrtcShortRoads {
 protected:
  void send(const std::string& text) {
    ASSERT_TRUE(link_.reserve(text.size()));
    ASSERT_FALSE(link_.shortRoad().enter());
    link_.send(message(text));
  }

  const rtc::scoped_refptr<FakeChannel> channel_ = rtc::make_ref_counted<FakeChannel>(true);
  LibwebrtcChannelLink link_{channel_, [this] { return sctp_; }};
};

TEST_F(LibwebrtcChannelLinks, countAnEmptyMessageThatWaitsUntilTheNextOneIsSent) {
  ASSERT_TRUE(link_.shortRoad().enter());
  isFull_ = true;
  ASSERT_FALSE(link_.sendNow(message("")));
  link_.shortRoad().leave();
  link_.send(message(""));
  isFull_ = false;
  // The empty message waits, so what follows does behind it.
  send("two");
  channel_->sendOne();
  channel_->sendOne();
  link_.OnBufferedAmountChange(3);
  EXPECT_TRUE(link_.shortRoad().enter());
  EXPECT_EQ(link_.bufferedAmount(), 0u);
}

TEST_F(LibwebrtcChannelLinks, sendNothingOnAStreamThatMayBeAnothersByNow) {
  ASSERT_TRUE(link_.reserve(3));
  ASSERT_TRUE(link_.shortRoad().enter());
  channel_->enter(webrtc::DataChannelInterface::kClosed);
  link_.OnStateChange();
  EXPECT_FALSE(link_.sendNow(message("one")));
  EXPECT_TRUE(sent_.empty());
}

}  // namespace
}  // namespace tevanto

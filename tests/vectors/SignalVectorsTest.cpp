#include <gtest/gtest.h>

#include <boost/json/value.hpp>
#include <string>

#include "p2p/ice/RemoteIceServerConfig.h"
#include "p2p/ice/TurnCredentialService.h"
#include "p2p/signaling/SignalMessage.h"
#include "p2p/signaling/SignalingClient.h"
#include "tests/vectors/SignalValues.h"
#include "tests/vectors/Vectors.h"

namespace tevanto::test {
namespace {

TEST(SignalVectors, areRead) {
  for (const auto& vector : vectorsOf("signals.json", "signal")) {
    SCOPED_TRACE(vector.name());
    const auto signal = decodeSignalMessage(vector.bytes());
    ASSERT_EQ(signal.has_value(), vector.result() != "ignored");
    if (signal) {
      EXPECT_EQ(*signal, signalOf(vector.value()));
    }
  }
}

TEST(SignalVectors, areWritten) {
  for (const auto& vector : vectorsOf("signals.json", "signal")) {
    if (vector.isReadOnly() || !vector.result().empty()) continue;
    SCOPED_TRACE(vector.name());
    EXPECT_EQ(encodeSignalMessage(signalOf(vector.value())), vector.bytes());
  }
}

TEST(RelayVectors, nameRooms) {
  for (const auto& vector : vectorsOf("relay.json", "address")) {
    SCOPED_TRACE(vector.name());
    const auto& value = vector.value().as_object();
    const auto role = textOf(value.at("role")) == "mac" ? SignalRole::mac : SignalRole::phone;
    const auto address = relayRoom(textOf(value.at("relay")), textOf(value.at("room")), role);
    ASSERT_EQ(address.has_value(), vector.result() != "ignored");
    if (address) {
      EXPECT_EQ(address->text(), vector.bytes());
    }
  }
}

TEST(RelayVectors, nameCredentialServices) {
  for (const auto& vector : vectorsOf("relay.json", "credentialAddress")) {
    SCOPED_TRACE(vector.name());
    const auto address = credentialURL(textOf(vector.value().at("relay")));
    ASSERT_EQ(address.has_value(), vector.result() != "ignored");
    if (address) {
      EXPECT_EQ(*address, vector.bytes());
    }
  }
}

TEST(RelayVectors, holdIceServers) {
  for (const auto& vector : vectorsOf("relay.json", "iceServers")) {
    SCOPED_TRACE(vector.name());
    const auto servers = decodeRemoteIceServersResponse(vector.bytes());
    ASSERT_EQ(servers.has_value(), vector.result() != "ignored");
    if (!servers) continue;
    EXPECT_EQ(*servers, iceServersOf(vector.value()));
    if (vector.isReadOnly()) continue;
    EXPECT_EQ("{\"iceServers\":" + encodeIceServers(iceServersOf(vector.value())) + "}", vector.bytes());
  }
}

}  // namespace
}  // namespace tevanto::test

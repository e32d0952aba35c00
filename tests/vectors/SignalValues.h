#pragma once

#include <boost/json/value.hpp>
#include <vector>

#include "p2p/ice/RemoteIceServerConfig.h"
#include "p2p/signaling/SignalMessage.h"

namespace tevanto::test {

/// What the values of vectors describe, read without the decoders of the programs.
SignalMessage signalOf(const boost::json::value& value);
std::vector<RemoteIceServerConfig> iceServersOf(const boost::json::value& value);

}  // namespace tevanto::test

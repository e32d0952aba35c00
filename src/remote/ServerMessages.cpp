#include "remote/ServerMessages.h"

namespace tevanto {

RemoteMessage makeMessage(const char* type) {
  RemoteMessage message;
  message.type = type;
  return message;
}

RemoteMessage rejection(const char* type, const char* reason) {
  auto message = makeMessage(type);
  message.message = reason;
  return message;
}

RemoteMessage introduction(const char* type, const std::optional<std::string>& hostName,
                           const std::string& deviceID) {
  auto message = makeMessage(type);
  message.protocolVersion = kProtocolVersion;
  message.hostName = hostName;
  message.deviceID = deviceID;
  message.kind = kDeviceKind;
  message.capabilities = capabilityList();
  return message;
}

}  // namespace tevanto

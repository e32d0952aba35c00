#include "app/ipc/IpcRequestHandler.h"

#include <unistd.h>

#include "app/runtime/MacAppDelegate.h"
#include "app/runtime/ScreenService.h"
#include "app/runtime/TevantoMacRuntime.h"
#include "control/MacLaunchAtLoginController.h"
#include "control/MacPowerManager.h"
#include "core/settings/DeviceIdentity.h"
#include "core/settings/UserDefaults.h"
#include "remote/MacRemoteServer.h"

namespace tevanto {

std::string IpcRequestHandler::answer(std::string_view line) {
  const auto request = decodeIpcRequest(line);
  return encodeIpcReply(request ? carryOut(request.value()) : IpcReply{false, request.error(), {}});
}

IpcReply IpcRequestHandler::carryOut(const IpcRequest& request) {
  IpcReply reply{true, {}, {}};
  switch (request.kind) {
    case IpcRequest::Kind::status:
      break;
    case IpcRequest::Kind::keepAwake:
      environment_.runtime.power().setKeepAwake(request.on);
      reply.ok = environment_.runtime.power().isKeepAwakeOn.get() == request.on;
      if (!reply.ok) reply.error = environment_.runtime.power().statusText.get();
      break;
    case IpcRequest::Kind::showSetupWindow:
      environment_.useActivationToken(request.activationToken);
      environment_.application.applicationShouldHandleReopen();
      break;
    case IpcRequest::Kind::reloadDefaults:
      environment_.reloadDefaults();
      break;
    case IpcRequest::Kind::giveWay:
      reply.ok = environment_.giveWay();
      if (!reply.ok) reply.error = "This companion has not lost its display.";
      break;
  }
  reply.status = status();
  return reply;
}

CompanionStatus IpcRequestHandler::status() const {
  const auto& server = environment_.runtime.server();
  const auto& power = environment_.runtime.power();
  const auto& login = environment_.runtime.launchAtLogin();
  CompanionStatus now;
  now.version = TEVANTO_VERSION;
  now.processID = ::getpid();
  now.pairingCode = server.pairingCode.get();
  now.statusText = server.statusText.get();
  now.isClientConnected = server.isClientConnected.get();
  now.isPaired = environment_.defaults.string(kPairingTokenKey).has_value();
  now.isAccessibilityTrusted = server.isAccessibilityTrusted.get();
  now.deviceID = deviceIdentifier(environment_.defaults);
  now.hostName = environment_.computerName;
  now.addresses = environment_.addresses();
  now.remotePort = server.port.get();
  const auto screen = environment_.runtime.screen().state();
  now.isStreaming = screen.isStreaming;
  now.screenStatusText = screen.statusText;
  now.isScreenRecordingTrusted = screen.isScreenRecordingTrusted;
  now.encoder = screen.encoder;
  now.screenPort = screen.port;
  now.keepAwakeOn = power.isKeepAwakeOn.get();
  now.batteryPercent = power.batteryPercent.get();
  now.keepAwakeStatusText = power.statusText.get();
  now.launchAtLoginOn = login.isEnabled.get();
  now.launchAtLoginStatusText = login.statusText.get();
  now.discovery = server.advertising.get();
  return now;
}

}  // namespace tevanto

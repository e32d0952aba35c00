#include "platform/linux/dbus/BusConnection.h"

#include <systemd/sd-bus.h>

#include <cerrno>
#include <cstring>

namespace tevanto {
namespace {

struct MessageUnref {
  void operator()(sd_bus_message* message) const { sd_bus_message_unref(message); }
};
using Message = std::unique_ptr<sd_bus_message, MessageUnref>;

struct SlotUnref {
  void operator()(sd_bus_slot* slot) const { sd_bus_slot_unref(slot); }
};
using Slot = std::unique_ptr<sd_bus_slot, SlotUnref>;

BusError timedOut() { return {ETIMEDOUT, "", std::strerror(ETIMEDOUT)}; }

BusError systemError(int negativeErrno) {
  const int code = negativeErrno < 0 ? -negativeErrno : EIO;
  return {code, "", std::strerror(code)};
}

BusError answeredError(const sd_bus_error* error) {
  const int code = sd_bus_error_get_errno(error);
  return {code > 0 ? code : EIO, error->name ? error->name : "", error->message ? error->message : ""};
}

int append(sd_bus_message* message, const BusArgument& argument) {
  struct Appender {
    sd_bus_message* message;
    int operator()(bool value) const { return sd_bus_message_append(message, "b", static_cast<int>(value)); }
    int operator()(std::int32_t value) const { return sd_bus_message_append(message, "i", value); }
    int operator()(std::uint32_t value) const { return sd_bus_message_append(message, "u", value); }
    int operator()(const std::string& value) const {
      return sd_bus_message_append(message, "s", value.c_str());
    }
    int operator()(const BusVariant& variant) const {
      return sd_bus_message_append(message, "v", "b", static_cast<int>(variant.value));
    }
  };
  return std::visit(Appender{message}, argument);
}

int build(sd_bus* bus, const BusCall& call, Message& built) {
  sd_bus_message* message = nullptr;
  int result = sd_bus_message_new_method_call(bus, &message, call.service.c_str(), call.path.c_str(),
                                              call.interface.c_str(), call.method.c_str());
  if (result < 0) return result;
  built.reset(message);
  result = sd_bus_message_set_auto_start(message, 0);
  for (const auto& argument : call.arguments) {
    if (result >= 0) result = append(message, argument);
  }
  return result;
}

int connectTo(const BusAddress& address, sd_bus** opened) {
  if (address.address.empty()) {
    return address.kind == BusAddress::Kind::system ? sd_bus_open_system(opened) : sd_bus_open_user(opened);
  }
  sd_bus* bus = nullptr;
  int result = sd_bus_new(&bus);
  if (result < 0) return result;
  if (result >= 0) result = sd_bus_set_address(bus, address.address.c_str());
  if (result >= 0) result = sd_bus_set_bus_client(bus, 1);
  if (result >= 0) result = sd_bus_start(bus);
  if (result < 0) {
    sd_bus_unref(bus);
  } else {
    *opened = bus;
  }
  return result;
}

/// A call whose reply is awaited with those of others. It stays where it is while it is awaited.
struct Pending {
  BusReply reply = timedOut();
  std::size_t* awaited = nullptr;  // how many of them are
  Slot slot;

  int send(sd_bus* bus, const BusCall& call, std::chrono::microseconds timeout) {
    Message message;
    int result = build(bus, call, message);
    if (result < 0) return result;
    sd_bus_slot* sent = nullptr;
    result = sd_bus_call_async(bus, &sent, message.get(), &Pending::answered, this,
                               static_cast<std::uint64_t>(timeout.count()));
    if (result < 0) return result;
    slot.reset(sent);
    ++*awaited;
    return result;
  }

  static int answered(sd_bus_message* message, void* self, sd_bus_error*) {
    auto& pending = *static_cast<Pending*>(self);
    const sd_bus_error* error = sd_bus_message_get_error(message);
    pending.reply = error ? BusReply(answeredError(error)) : BusReply(message);
    --*pending.awaited;
    return 1;
  }
};

}  // namespace

void BusConnection::Close::operator()(sd_bus* bus) const { sd_bus_close_unref(bus); }

template <class Done>
int BusConnection::runUntil(sd_bus* bus, std::chrono::steady_clock::time_point deadline, Done done) {
  while (true) {
    int result = 0;
    do {
      result = sd_bus_process(bus, nullptr);
      if (result < 0) return result;
    } while (result > 0 && !done());
    if (done()) return 0;
    const auto left =
        std::chrono::ceil<std::chrono::microseconds>(deadline - std::chrono::steady_clock::now());
    if (left.count() <= 0) return -ETIMEDOUT;
    result = sd_bus_wait(bus, static_cast<std::uint64_t>(left.count()));
    if (result < 0 && result != -EINTR) return result;
  }
}

std::variant<BusConnection, BusError> BusConnection::open(const BusAddress& address,
                                                          std::chrono::milliseconds timeout) {
  const auto deadline = std::chrono::steady_clock::now() + timeout;
  sd_bus* connected = nullptr;
  int result = connectTo(address, &connected);
  if (result < 0) return systemError(result);
  Owner bus(connected);
  // Authentication has a timeout of its own inside sd-bus, but one of more than a minute.
  result = runUntil(connected, deadline, [connected] { return sd_bus_is_ready(connected) > 0; });
  if (result < 0) return systemError(result);
  return BusConnection(std::move(bus), timeout);
}

BusReply BusConnection::call(const BusCall& call) { return std::move(callAll({call}).front()); }

std::vector<BusReply> BusConnection::callAll(const std::vector<BusCall>& calls) {
  const auto deadline = std::chrono::steady_clock::now() + timeout_;
  std::vector<Pending> pending(calls.size());
  std::size_t awaited = 0;
  for (std::size_t i = 0; i < calls.size(); ++i) {
    if (isHung(calls[i].service)) continue;
    pending[i].awaited = &awaited;
    const int result = pending[i].send(bus_.get(), calls[i], timeout_);
    if (result < 0) pending[i].reply = systemError(result);
  }
  const int result = runUntil(bus_.get(), deadline, [&] { return awaited == 0; });
  const bool connectionLost = result < 0 && result != -ETIMEDOUT;
  std::vector<BusReply> replies;
  for (std::size_t i = 0; i < calls.size(); ++i) {
    auto& reply = pending[i].reply;
    if (!reply.ok() && reply.error().isTimeout()) {
      if (connectionLost) {
        reply = systemError(result);
      } else {
        hung_.insert(calls[i].service);
      }
    }
    replies.push_back(std::move(reply));
  }
  return replies;
}

bool BusConnection::isHung(std::string_view service) const { return hung_.contains(service); }

BusReply BusConnection::property(const std::string& service, const std::string& path,
                                 const std::string& interface, const std::string& name) {
  return call({service, path, "org.freedesktop.DBus.Properties", "Get", {interface, name}});
}

BusCall BusConnection::getAll(std::string service, std::string path, std::string interface) {
  return {std::move(service),
          std::move(path),
          "org.freedesktop.DBus.Properties",
          "GetAll",
          {std::move(interface)}};
}

BusReply callOnce(const BusAddress& address, const BusCall& call, std::chrono::milliseconds timeout) {
  auto opened = BusConnection::open(address, timeout);
  if (auto* error = std::get_if<BusError>(&opened)) return std::move(*error);
  return std::get<BusConnection>(opened).call(call);
}

}  // namespace tevanto

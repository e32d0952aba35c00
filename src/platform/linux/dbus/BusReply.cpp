#include "platform/linux/dbus/BusReply.h"

#include <fcntl.h>
#include <systemd/sd-bus.h>

#include <cerrno>
#include <limits>

namespace tevanto {
namespace {

template <class T>
std::optional<T> readBasic(sd_bus_message* message, char type) {
  T value{};
  if (sd_bus_message_read_basic(message, type, &value) <= 0) return std::nullopt;
  return value;
}

template <class Wide, class Narrow>
std::optional<BusValue> readAs(sd_bus_message* message, char type) {
  const auto value = readBasic<Narrow>(message, type);
  return value ? std::optional<BusValue>(Wide(*value)) : std::nullopt;
}

std::optional<BusValue> readText(sd_bus_message* message, char type) {
  const auto text = readBasic<const char*>(message, type);
  return text ? std::optional<BusValue>(std::string(*text)) : std::nullopt;
}

/// The next value when it is of a basic type; nothing was consumed otherwise.
std::optional<BusValue> readValue(sd_bus_message* message) {
  char type = 0;
  if (sd_bus_message_peek_type(message, &type, nullptr) <= 0) return std::nullopt;
  switch (type) {
    case SD_BUS_TYPE_BOOLEAN: {
      const auto value = readBasic<int>(message, type);  // sd-bus gives a boolean as an int
      return value ? std::optional<BusValue>(*value != 0) : std::nullopt;
    }
    case SD_BUS_TYPE_BYTE:
      return readAs<std::uint64_t, std::uint8_t>(message, type);
    case SD_BUS_TYPE_INT16:
      return readAs<std::int64_t, std::int16_t>(message, type);
    case SD_BUS_TYPE_UINT16:
      return readAs<std::uint64_t, std::uint16_t>(message, type);
    case SD_BUS_TYPE_INT32:
      return readAs<std::int64_t, std::int32_t>(message, type);
    case SD_BUS_TYPE_UINT32:
      return readAs<std::uint64_t, std::uint32_t>(message, type);
    case SD_BUS_TYPE_INT64:
      return readAs<std::int64_t, std::int64_t>(message, type);
    case SD_BUS_TYPE_UINT64:
      return readAs<std::uint64_t, std::uint64_t>(message, type);
    case SD_BUS_TYPE_DOUBLE:
      return readAs<double, double>(message, type);
    case SD_BUS_TYPE_STRING:
    case SD_BUS_TYPE_OBJECT_PATH:
      return readText(message, type);
    default:
      return std::nullopt;
  }
}

/// The content of the variant that comes next, and moves past it.
std::optional<BusValue> readVariant(sd_bus_message* message) {
  const char* contents = nullptr;
  char type = 0;
  if (sd_bus_message_peek_type(message, &type, &contents) <= 0 || type != SD_BUS_TYPE_VARIANT || !contents) {
    return std::nullopt;
  }
  const std::string signature = contents;
  if (signature.size() != 1) {
    sd_bus_message_skip(message, "v");
    return std::nullopt;
  }
  if (sd_bus_message_enter_container(message, SD_BUS_TYPE_VARIANT, signature.c_str()) <= 0) {
    return std::nullopt;
  }
  auto value = readValue(message);
  if (!value) sd_bus_message_skip(message, signature.c_str());
  sd_bus_message_exit_container(message);
  return value;
}

const BusValue* member(const BusProperties& properties, std::string_view name) {
  const auto found = properties.find(name);
  return found == properties.end() ? nullptr : &found->second;
}

template <class T>
std::optional<T> property(const BusProperties& properties, std::string_view name) {
  const auto* value = member(properties, name);
  const auto* typed = value ? std::get_if<T>(value) : nullptr;
  return typed ? std::optional<T>(*typed) : std::nullopt;
}

}  // namespace

bool BusError::isNoService() const {
  return name == SD_BUS_ERROR_SERVICE_UNKNOWN || name == SD_BUS_ERROR_NAME_HAS_NO_OWNER;
}

bool BusError::isTimeout() const { return code == ETIMEDOUT; }

std::optional<std::string> stringProperty(const BusProperties& properties, std::string_view name) {
  return property<std::string>(properties, name);
}

std::optional<double> doubleProperty(const BusProperties& properties, std::string_view name) {
  return property<double>(properties, name);
}

std::optional<std::uint64_t> unsignedProperty(const BusProperties& properties, std::string_view name) {
  if (const auto value = property<std::int64_t>(properties, name)) {
    return *value < 0 ? std::nullopt : std::optional(static_cast<std::uint64_t>(*value));
  }
  return property<std::uint64_t>(properties, name);
}

std::optional<bool> boolProperty(const BusProperties& properties, std::string_view name) {
  return property<bool>(properties, name);
}

BusReply::BusReply(sd_bus_message* message) : message_(sd_bus_message_ref(message)) {}

void BusReply::Unref::operator()(sd_bus_message* message) const { sd_bus_message_unref(message); }

sd_bus_message* BusReply::rewound() const {
  if (message_) sd_bus_message_rewind(message_.get(), 1);
  return message_.get();
}

std::optional<std::uint32_t> BusReply::uint32() const {
  auto* message = rewound();
  return message ? readBasic<std::uint32_t>(message, SD_BUS_TYPE_UINT32) : std::nullopt;
}

std::optional<std::string> BusReply::string() const {
  auto* message = rewound();
  auto value = message ? readValue(message) : std::nullopt;
  auto* text = value ? std::get_if<std::string>(&*value) : nullptr;
  return text ? std::optional(std::move(*text)) : std::nullopt;
}

std::optional<std::vector<std::string>> BusReply::strings() const {
  auto* message = rewound();
  const char* contents = nullptr;
  char type = 0;
  if (!message || sd_bus_message_peek_type(message, &type, &contents) <= 0 || type != SD_BUS_TYPE_ARRAY ||
      sd_bus_message_enter_container(message, type, contents) <= 0) {
    return std::nullopt;
  }
  std::vector<std::string> texts;
  while (auto value = readValue(message)) {
    auto* text = std::get_if<std::string>(&*value);
    if (!text) return std::nullopt;
    texts.push_back(std::move(*text));
  }
  return texts;
}

Descriptor BusReply::descriptor() const {
  auto* message = rewound();
  const auto fd = message ? readBasic<int>(message, SD_BUS_TYPE_UNIX_FD) : std::nullopt;
  return fd ? Descriptor(::fcntl(*fd, F_DUPFD_CLOEXEC, 0)) : Descriptor();
}

std::optional<BusProperties> BusReply::properties() const {
  auto* message = rewound();
  if (!message || sd_bus_message_enter_container(message, SD_BUS_TYPE_ARRAY, "{sv}") <= 0) {
    return std::nullopt;
  }
  BusProperties members;
  while (sd_bus_message_enter_container(message, SD_BUS_TYPE_DICT_ENTRY, "sv") > 0) {
    const auto name = readBasic<const char*>(message, SD_BUS_TYPE_STRING);
    if (auto value = readVariant(message); name && value) members.emplace(*name, std::move(*value));
    if (sd_bus_message_exit_container(message) < 0) return std::nullopt;
  }
  return members;
}

std::optional<BusValue> BusReply::variant() const {
  auto* message = rewound();
  if (!message) return std::nullopt;
  const char* contents = nullptr;
  char type = 0;
  if (sd_bus_message_peek_type(message, &type, &contents) <= 0 || type != SD_BUS_TYPE_VARIANT || !contents) {
    return std::nullopt;
  }
  const std::string signature = contents;
  if (signature.front() != SD_BUS_TYPE_STRUCT_BEGIN) return readVariant(message);
  const std::string members = signature.substr(1, signature.size() - 2);
  if (sd_bus_message_enter_container(message, SD_BUS_TYPE_VARIANT, signature.c_str()) <= 0 ||
      sd_bus_message_enter_container(message, SD_BUS_TYPE_STRUCT, members.c_str()) <= 0) {
    return std::nullopt;
  }
  std::optional<BusValue> last;
  while (auto value = readValue(message)) last = std::move(value);
  return last;
}

}  // namespace tevanto

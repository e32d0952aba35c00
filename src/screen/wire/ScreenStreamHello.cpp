#include "screen/wire/ScreenStreamHello.h"

#include <boost/json.hpp>
#include <cmath>
#include <string_view>

#include "screen/wire/ScreenStreamMessage.h"

namespace tevanto {
namespace {

namespace json = boost::json;

/// Deeper nesting fails; a hello itself is one level deep.
constexpr std::size_t kMaxDepth = 32;

/// A double that stands for an integer, exactly, in 64 bits.
std::optional<std::int64_t> integral(double value) {
  constexpr double kLimit = 9223372036854775808.0;  // 2^63
  if (!(value >= -kLimit && value < kLimit) || value != std::trunc(value)) return std::nullopt;
  return static_cast<std::int64_t>(value);
}

std::optional<std::int64_t> integer(const json::object& object, std::string_view key) {
  const auto* value = object.if_contains(key);
  if (!value) return std::nullopt;
  if (const auto* number = value->if_int64()) return *number;
  if (const auto* number = value->if_double()) return integral(*number);
  return std::nullopt;
}

std::optional<json::value> parseObject(std::span<const std::byte> body) {
  if (body.size() > kMaxHelloBytes) return std::nullopt;
  json::parse_options options;
  options.max_depth = kMaxDepth;
  boost::system::error_code error;
  auto document = json::parse({reinterpret_cast<const char*>(body.data()), body.size()}, error, {}, options);
  return error ? std::nullopt : std::optional(std::move(document));
}

}  // namespace

std::optional<ScreenStreamHello> decodeHello(std::span<const std::byte> body) {
  const auto document = parseObject(body);
  const auto* object = document ? document->if_object() : nullptr;
  if (!object) return std::nullopt;
  const auto* token = object->if_contains("token");
  const auto* lowBandwidth = object->if_contains("prefersLowBandwidth");
  const auto width = integer(*object, "width");
  const auto height = integer(*object, "height");
  if (!token || !token->is_string() || !lowBandwidth || !lowBandwidth->is_bool() || !width || !height) {
    return std::nullopt;
  }
  return ScreenStreamHello{std::string(token->get_string()), *width, *height, lowBandwidth->get_bool()};
}

std::vector<std::byte> helloMessage(const ScreenStreamHello& hello) {
  const auto text = json::serialize(json::object{{"token", hello.token},
                                                 {"width", hello.width},
                                                 {"height", hello.height},
                                                 {"prefersLowBandwidth", hello.prefersLowBandwidth}});
  auto message = screenMessage(ScreenMessageType::hello);
  const auto bytes = std::as_bytes(std::span(text));
  message.insert(message.end(), bytes.begin(), bytes.end());
  return message;
}

}  // namespace tevanto

#include "tests/vectors/Vectors.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <boost/json/parse.hpp>
#include <boost/json/value.hpp>
#include <boost/json/value_to.hpp>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <map>
#include <optional>
#include <stdexcept>

namespace tevanto::test {
namespace {

namespace json = boost::json;
namespace fs = std::filesystem;

const fs::path kFolder = TEVANTO_VECTORS;

std::vector<Vector> vectorsIn(const std::string& file) {
  std::ifstream stream(kFolder / file, std::ios::binary);
  const std::string text((std::istreambuf_iterator<char>(stream)), {});
  json::parse_options options;
  options.max_depth = 32;
  const auto document = json::parse(text, {}, options);
  std::vector<Vector> vectors;
  for (const auto& vector : document.as_object().at("vectors").as_array())
    vectors.emplace_back(vector.as_object());
  return vectors;
}

unsigned hexDigit(char digit) {
  if (digit >= '0' && digit <= '9') return static_cast<unsigned>(digit - '0');
  if (digit >= 'a' && digit <= 'f') return static_cast<unsigned>(digit - 'a') + 10;
  throw std::runtime_error("no base16 in lower case");
}

std::string fromHex(std::string_view digits) {
  if (digits.size() % 2 != 0) throw std::runtime_error("half a byte of base16");
  std::string bytes;
  for (std::size_t i = 0; i < digits.size(); i += 2)
    bytes += static_cast<char>(hexDigit(digits[i]) * 16 + hexDigit(digits[i + 1]));
  return bytes;
}

// ---- Values of messages

template <class Record>
using Readers = std::map<std::string, std::function<void(Record&, const json::value&)>, std::less<>>;

template <class Record>
Record recordOf(const json::value& value, const Readers<Record>& readers) {
  Record record;
  for (const auto& [name, member] : value.as_object()) {
    const auto reader = readers.find(std::string_view(name));
    if (reader == readers.end()) throw std::runtime_error("no member of this record: " + std::string(name));
    reader->second(record, member);
  }
  return record;
}

void read(std::string& out, const json::value& value) { out = textOf(value); }
void read(bool& out, const json::value& value) { out = value.as_bool(); }
void read(double& out, const json::value& value) { out = value.to_number<double>(); }
void read(std::int64_t& out, const json::value& value) { out = value.as_int64(); }
void read(RemoteModifier& out, const json::value& value) {
  static const std::map<std::string, RemoteModifier> modifiers = {{"shift", RemoteModifier::shift},
                                                                  {"option", RemoteModifier::option},
                                                                  {"control", RemoteModifier::control},
                                                                  {"command", RemoteModifier::command}};
  out = modifiers.at(textOf(value));
}
void read(RemoteCommand& out, const json::value& value);
void read(RemoteAppInfo& out, const json::value& value);

template <class Element>
void read(std::vector<Element>& out, const json::value& value) {
  for (const auto& element : value.as_array()) read(out.emplace_back(), element);
}
template <class Value>
void read(std::optional<Value>& out, const json::value& value) {
  read(out.emplace(), value);
}

template <class Record, class Value>
auto into(Value Record::*member) {
  return [member](Record& record, const json::value& value) { read(record.*member, value); };
}

void read(RemoteCommand& out, const json::value& value) {
  using C = RemoteCommand;
  static const Readers<C> readers = {
      {"type", into(&C::type)},           {"dx", into(&C::dx)},         {"dy", into(&C::dy)},
      {"clicks", into(&C::clicks)},       {"button", into(&C::button)}, {"key", into(&C::key)},
      {"modifiers", into(&C::modifiers)}, {"text", into(&C::text)},     {"on", into(&C::on)},
      {"level", into(&C::level)},         {"appId", into(&C::appId)},   {"gesture", into(&C::gesture)}};
  out = recordOf(value, readers);
}

void read(RemoteAppInfo& out, const json::value& value) {
  using A = RemoteAppInfo;
  static const Readers<A> readers = {{"name", into(&A::name)},
                                     {"bundleId", into(&A::bundleId)},
                                     {"iconPNGBase64", into(&A::iconPNGBase64)},
                                     {"installedDate", into(&A::installedDate)}};
  out = recordOf(value, readers);
}

}  // namespace

std::string Vector::bytes() const { return bytesOfSample(at("bytes")); }

std::string Vector::text(std::string_view member) const { return textOf(at(member)); }

std::vector<Vector> vectorsOf(const std::string& file, std::string_view kind) {
  auto vectors = vectorsIn(file);
  std::erase_if(vectors, [&](const Vector& vector) { return vector.kind() != kind; });
  if (vectors.empty()) ADD_FAILURE() << file << " has no vectors of the kind " << kind;
  return vectors;
}

std::set<std::string> kindsIn(const std::string& file) {
  std::set<std::string> kinds;
  for (const auto& vector : vectorsIn(file)) kinds.insert(vector.kind());
  return kinds;
}

std::vector<std::string> namesIn(const std::string& file) {
  std::vector<std::string> names;
  for (const auto& vector : vectorsIn(file)) names.push_back(vector.name());
  return names;
}

std::vector<std::string> vectorFiles() {
  std::vector<std::string> files;
  for (const auto& entry : fs::directory_iterator(kFolder)) {
    if (entry.path().extension() == ".json") files.push_back(entry.path().filename().string());
  }
  std::sort(files.begin(), files.end());
  return files;
}

std::string bytesOfSample(const json::value& value) {
  std::string bytes;
  if (const auto* pieces = value.if_array()) {
    for (const auto& piece : *pieces) bytes += bytesOfSample(piece);
    return bytes;
  }
  const auto& piece = value.as_object();
  const auto once = piece.contains("text") ? textOf(piece.at("text")) : fromHex(textOf(piece.at("hex")));
  const auto times = piece.contains("times") ? piece.at("times").as_int64() : 1;
  for (std::int64_t i = 0; i < times; ++i) bytes += once;
  return bytes;
}

std::vector<std::string> listOfBytes(const json::value& values) {
  std::vector<std::string> list;
  for (const auto& value : values.as_array()) list.push_back(bytesOfSample(value));
  return list;
}

std::string textOf(const json::value& value) {
  const auto& text = value.as_string();
  return {text.data(), text.size()};
}

std::vector<std::string> textsOf(const json::value& values) {
  std::vector<std::string> texts;
  read(texts, values);
  return texts;
}

std::string stringOf(std::span<const std::byte> bytes) {
  return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

RemoteMessage messageOf(const json::value& value) {
  using M = RemoteMessage;
  static const Readers<M> readers = {{"type", into(&M::type)},
                                     {"protocolVersion", into(&M::protocolVersion)},
                                     {"sessionNonce", into(&M::sessionNonce)},
                                     {"token", into(&M::token)},
                                     {"code", into(&M::code)},
                                     {"deviceName", into(&M::deviceName)},
                                     {"hostName", into(&M::hostName)},
                                     {"deviceID", into(&M::deviceID)},
                                     {"kind", into(&M::kind)},
                                     {"capabilities", into(&M::capabilities)},
                                     {"command", into(&M::command)},
                                     {"ok", into(&M::ok)},
                                     {"message", into(&M::message)},
                                     {"keepAwakeOn", into(&M::keepAwakeOn)},
                                     {"helperReady", into(&M::helperReady)},
                                     {"batteryPercent", into(&M::batteryPercent)},
                                     {"volume", into(&M::volume)},
                                     {"brightness", into(&M::brightness)},
                                     {"muted", into(&M::muted)},
                                     {"apps", into(&M::apps)},
                                     {"appsHash", into(&M::appsHash)}};
  return recordOf(value, readers);
}

std::vector<RemoteMessage> messagesOf(const json::value& values) {
  std::vector<RemoteMessage> messages;
  for (const auto& value : values.as_array()) messages.push_back(messageOf(value));
  return messages;
}

}  // namespace tevanto::test

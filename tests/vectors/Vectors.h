#pragma once

#include <boost/json/object.hpp>
#include <cstddef>
#include <set>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "remote/message/RemoteMessage.h"

namespace tevanto::test {

/// One sample of the wire; README.md beside this file tells what its members mean. A member that is missing,
/// or of another type, throws, which fails the test.
class Vector {
 public:
  explicit Vector(boost::json::object members) : members_(std::move(members)) {}

  std::string name() const { return text("name"); }
  std::string kind() const { return text("kind"); }
  std::string bytes() const;
  const boost::json::value& value() const { return at("value"); }
  /// What happens to bytes that are refused; empty for all others.
  std::string result() const { return has("result") ? text("result") : std::string(); }
  /// Whether nobody here writes these bytes.
  bool isReadOnly() const { return has("readOnly"); }

  bool has(std::string_view member) const { return members_.contains(member); }
  const boost::json::value& at(std::string_view member) const { return members_.at(member); }
  std::string text(std::string_view member) const;

 private:
  boost::json::object members_;
};

/// All vectors of a kind. None of them is a failure of the running test: nothing would be checked.
std::vector<Vector> vectorsOf(const std::string& file, std::string_view kind);
/// The kinds that occur in a file.
std::set<std::string> kindsIn(const std::string& file);
/// The names of all vectors of a file, in their order.
std::vector<std::string> namesIn(const std::string& file);
/// All files of vectors.
std::vector<std::string> vectorFiles();

/// The bytes that {"text": ...}, {"hex": ...}, with "times" or without, or a list of those stand for.
std::string bytesOfSample(const boost::json::value& value);
/// The same of each element of a list.
std::vector<std::string> listOfBytes(const boost::json::value& values);
std::string textOf(const boost::json::value& value);
std::vector<std::string> textsOf(const boost::json::value& values);

inline std::span<const std::byte> spanOf(std::string_view bytes) { return std::as_bytes(std::span(bytes)); }
std::string stringOf(std::span<const std::byte> bytes);

/// The message that a value describes, member by member and without the decoder of the programs.
RemoteMessage messageOf(const boost::json::value& value);
std::vector<RemoteMessage> messagesOf(const boost::json::value& values);

}  // namespace tevanto::test

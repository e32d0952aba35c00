#include "core/text/ExactJson.h"

#include <boost/json/basic_parser_impl.hpp>
#include <boost/json/value.hpp>
#include <boost/json/value_stack.hpp>
#include <cstdint>
#include <string>

#include "core/text/Decimals.h"

namespace tevanto {
namespace {

namespace json = boost::json;

/// Builds a value from what the parser sees, and reads fractions itself.
class Builder {
 public:
  using Error = boost::system::error_code;
  static constexpr std::size_t max_object_size = json::object::max_size();
  static constexpr std::size_t max_array_size = json::array::max_size();
  static constexpr std::size_t max_key_size = json::string::max_size();
  static constexpr std::size_t max_string_size = json::string::max_size();

  json::value take() { return stack_.release(); }

  bool on_document_begin(Error&) {
    stack_.reset();
    return true;
  }
  bool on_document_end(Error&) { return true; }
  bool on_object_begin(Error&) { return true; }
  bool on_object_end(std::size_t count, Error&) {
    stack_.push_object(count);
    return true;
  }
  bool on_array_begin(Error&) { return true; }
  bool on_array_end(std::size_t count, Error&) {
    stack_.push_array(count);
    return true;
  }
  bool on_key_part(json::string_view part, std::size_t, Error&) {
    stack_.push_chars(part);
    return true;
  }
  bool on_key(json::string_view rest, std::size_t, Error&) {
    stack_.push_key(rest);
    return true;
  }
  bool on_string_part(json::string_view part, std::size_t, Error&) {
    stack_.push_chars(part);
    return true;
  }
  bool on_string(json::string_view rest, std::size_t, Error&) {
    stack_.push_string(rest);
    return true;
  }
  bool on_number_part(json::string_view part, Error&) {
    number_.append(part.data(), part.size());
    return true;
  }
  bool on_int64(std::int64_t number, json::string_view, Error&) {
    number_.clear();
    stack_.push_int64(number);
    return true;
  }
  bool on_uint64(std::uint64_t number, json::string_view, Error&) {
    number_.clear();
    stack_.push_uint64(number);
    return true;
  }
  bool on_double(double, json::string_view rest, Error& error) {
    number_.append(rest.data(), rest.size());
    double exact = 0;
    const auto [end, failed] = fromChars(number_.data(), number_.data() + number_.size(), exact);
    const bool whole = failed == std::errc() && end == number_.data() + number_.size();
    number_.clear();
    if (whole) {
      stack_.push_double(exact);
    } else {
      error = json::error::exponent_overflow;
    }
    return whole;
  }
  bool on_bool(bool flag, Error&) {
    stack_.push_bool(flag);
    return true;
  }
  bool on_null(Error&) {
    stack_.push_null();
    return true;
  }
  bool on_comment_part(json::string_view, Error&) { return true; }
  bool on_comment(json::string_view, Error&) { return true; }

 private:
  json::value_stack stack_;
  std::string number_;  // the digits so far of a number that comes in parts
};

}  // namespace

std::optional<json::object> parseExactObject(std::string_view text, std::size_t maxDepth) {
  json::parse_options options;
  options.max_depth = maxDepth;
  json::basic_parser<Builder> parser(options);
  Builder::Error error;
  const std::size_t read = parser.write_some(false, text.data(), text.size(), error);
  if (error || read != text.size()) return std::nullopt;
  auto parsed = parser.handler().take();
  if (!parsed.is_object()) return std::nullopt;
  return std::move(parsed.as_object());
}

}  // namespace tevanto

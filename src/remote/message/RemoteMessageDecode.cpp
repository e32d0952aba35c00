#include <boost/json/basic_parser_impl.hpp>
#include <cmath>
#include <exception>
#include <limits>

#include "core/text/Decimals.h"
#include "remote/message/RemoteMessageCodec.h"
#include "remote/message/WireField.h"

namespace tevanto {
namespace {

namespace json = boost::json;
using boost::system::error_code;

/// Deeper nesting fails: the parser recurses once for each level. Messages themselves use four levels.
constexpr std::size_t kMaxDepth = 32;
/// Longer lists fail: one of empty strings takes more than ten times the memory of its text, and no computer
/// has as many applications.
constexpr std::size_t kMaxElements = 65536;

/// A double that stands for an integer, exactly, in 64 bits.
std::optional<std::int64_t> integral(double value) {
  constexpr double kLimit = 9223372036854775808.0;  // 2^63
  if (!(value >= -kLimit && value < kLimit) || value != std::trunc(value)) return std::nullopt;
  return static_cast<std::int64_t>(value);
}

/// Fills a message from the events of the parser, without a document in between. Every occurrence of a known
/// member must have its type; of several with one name the last one counts.
class MessageBuilder {
 public:
  static constexpr std::size_t max_object_size = std::numeric_limits<std::size_t>::max();
  static constexpr std::size_t max_array_size = max_object_size;
  static constexpr std::size_t max_key_size = max_object_size;
  static constexpr std::size_t max_string_size = max_object_size;

  explicit MessageBuilder(RemoteMessage& message) : message_(message) {}

  bool on_document_begin(error_code&) { return true; }
  bool on_document_end(error_code&) { return true; }

  bool on_object_begin(error_code& error) {
    if (skips()) return enterSkipped();
    if (place_ == Place::document) return enter(Place::message);
    if (auto* command = slot<std::optional<RemoteCommand>>()) {
      command->emplace();
      return enter(Place::command);
    }
    if (place_ != Place::apps || message_.apps->size() == kMaxElements) return fail(error);
    message_.apps->emplace_back();
    return enter(Place::app);
  }

  bool on_object_end(std::size_t, error_code& error) {
    if (skipDepth_ > 0) return leaveSkipped();
    switch (place_) {
      case Place::app:
        place_ = Place::apps;
        return appNamed_ && appIdentified_ ? true : fail(error);
      case Place::command:
        place_ = Place::message;
        return commandTyped_ ? true : fail(error);
      default:
        place_ = Place::document;
        return messageTyped_ ? true : fail(error);
    }
  }

  bool on_array_begin(error_code& error) {
    if (skips()) return enterSkipped();
    if (auto* strings = slot<std::optional<std::vector<std::string>>>()) {
      strings->emplace();
      return enter(Place::capabilities);
    }
    if (auto* modifiers = slot<std::optional<std::vector<RemoteModifier>>>()) {
      modifiers->emplace();
      return enter(Place::modifiers);
    }
    if (auto* apps = slot<std::optional<std::vector<RemoteAppInfo>>>()) {
      apps->emplace();
      return enter(Place::apps);
    }
    return fail(error);
  }

  bool on_array_end(std::size_t, error_code&) {
    if (skipDepth_ > 0) return leaveSkipped();
    place_ = place_ == Place::modifiers ? Place::command : Place::message;
    return true;
  }

  bool on_key_part(json::string_view part, std::size_t, error_code&) { return collect(part); }
  bool on_string_part(json::string_view part, std::size_t, error_code&) { return collect(part); }

  bool on_key(json::string_view last, std::size_t, error_code&) {
    const auto name = whole(last);
    if (skipDepth_ == 0) findSlot(name);
    pieces_.clear();
    return true;
  }

  bool on_string(json::string_view last, std::size_t, error_code& error) {
    const bool taken = skips() || addText(whole(last));
    pieces_.clear();
    return taken ? true : fail(error);
  }

  // The parser's own conversion may be off by one in the last place; the text is converted exactly instead.
  bool on_double(double rough, json::string_view text, error_code& error) {
    if (skips()) return true;
    double exact = 0;
    const auto [end, fault] = fromChars(text.data(), text.data() + text.size(), exact);
    if (fault == std::errc::result_out_of_range) exact = rough;
    if (auto* number = slot<std::optional<double>>()) {
      *number = exact;
      return std::isfinite(exact) ? true : fail(error);
    }
    auto* integer = slot<std::optional<std::int64_t>>();
    const auto value = integral(exact);
    if (!integer || !value) return fail(error);
    *integer = *value;
    return true;
  }

  bool on_int64(std::int64_t value, json::string_view, error_code& error) {
    if (skips()) return true;
    if (auto* integer = slot<std::optional<std::int64_t>>()) {
      *integer = value;
      return true;
    }
    return addWholeNumber(static_cast<double>(value), error);
  }

  bool on_uint64(std::uint64_t value, json::string_view, error_code& error) {
    return skips() || addWholeNumber(static_cast<double>(value), error);
  }

  bool on_number_part(json::string_view, error_code&) { return true; }

  bool on_bool(bool value, error_code& error) {
    if (skips()) return true;
    auto* flag = slot<std::optional<bool>>();
    if (!flag) return fail(error);
    *flag = value;
    return true;
  }

  bool on_null(error_code& error) {
    if (skips()) return true;
    // Null stands for an absent member; it is no element of a list and no message.
    if (!inObject()) return fail(error);
    std::visit(
        [](auto* slot) {
          if constexpr (!std::is_same_v<decltype(slot), std::string*>) slot->reset();
        },
        slot_);
    markRequired(false);
    return true;
  }

  bool on_comment_part(json::string_view, error_code&) { return true; }
  bool on_comment(json::string_view, error_code&) { return true; }

 private:
  enum class Place { document, message, command, capabilities, modifiers, apps, app };
  using Slot =
      std::variant<std::string*, std::optional<std::string>*, std::optional<bool>*,
                   std::optional<std::int64_t>*, std::optional<double>*,
                   std::optional<std::vector<std::string>>*, std::optional<std::vector<RemoteModifier>>*,
                   std::optional<RemoteCommand>*, std::optional<std::vector<RemoteAppInfo>>*>;

  static bool fail(error_code& error) {
    error = json::make_error_code(json::error::syntax);
    return false;
  }

  bool inObject() const {
    return place_ == Place::message || place_ == Place::command || place_ == Place::app;
  }
  /// Whether the value that comes now belongs to an unknown member.
  bool skips() const { return skipDepth_ > 0 || (inObject() && !known_); }
  bool enterSkipped() {
    ++skipDepth_;
    return true;
  }
  bool leaveSkipped() {
    --skipDepth_;
    return true;
  }

  bool enter(Place place) {
    place_ = place;
    if (place == Place::command) commandTyped_ = false;
    if (place == Place::app) appNamed_ = appIdentified_ = false;
    return true;
  }

  /// Where the value of the member that was named last goes, if that has values of this type.
  template <class Value>
  Value* slot() {
    if (!inObject()) return nullptr;
    auto* const* found = std::get_if<Value*>(&slot_);
    return found ? *found : nullptr;
  }

  void findSlot(std::string_view name) {
    if (place_ == Place::app) return findSlotIn(message_.apps->back(), name);
    if (place_ == Place::command) return findSlotIn(*message_.command, name);
    findSlotIn(message_, name);
  }

  template <class Record>
  void findSlotIn(Record& record, std::string_view name) {
    known_ = false;
    for (const auto& field : wireFields(record)) {
      if (field.name != name) continue;
      known_ = true;
      std::visit([&](auto member) { slot_ = &(record.*member); }, field.member);
      return;
    }
  }

  bool addText(std::string_view text) {
    if (place_ == Place::capabilities) return append(*message_.capabilities, text);
    if (place_ == Place::modifiers) return addModifier(text);
    if (auto* required = slot<std::string>()) {
      required->assign(text);
      markRequired(true);
      return true;
    }
    auto* optional = slot<std::optional<std::string>>();
    if (optional) optional->emplace(text);
    return optional != nullptr;
  }

  bool addModifier(std::string_view name) {
    const auto modifier = modifierNamed(name);
    return modifier && append(*message_.command->modifiers, *modifier);
  }

  template <class Element, class Value>
  static bool append(std::vector<Element>& list, const Value& value) {
    if (list.size() == kMaxElements) return false;
    list.emplace_back(value);
    return true;
  }

  bool addWholeNumber(double value, error_code& error) {
    auto* number = slot<std::optional<double>>();
    if (!number) return fail(error);
    *number = value;
    return true;
  }

  /// Notes whether the required member in `slot_`, if it is one, is there now.
  void markRequired(bool there) {
    const auto* required = slot<std::string>();
    if (!required) return;
    if (required == &message_.type) {
      messageTyped_ = there;
    } else if (place_ == Place::command) {
      commandTyped_ = there;
    } else {
      (required == &message_.apps->back().name ? appNamed_ : appIdentified_) = there;
    }
  }

  bool collect(json::string_view part) {
    pieces_.append(part.data(), part.size());
    return true;
  }

  /// A string with escapes comes in pieces, any other one whole.
  std::string_view whole(json::string_view last) {
    if (pieces_.empty()) return {last.data(), last.size()};
    collect(last);
    return pieces_;
  }

  RemoteMessage& message_;
  Place place_ = Place::document;
  std::size_t skipDepth_ = 0;  // open containers inside the value of an unknown member
  bool known_ = false;         // whether `slot_` holds the place of the member that was named last
  Slot slot_;
  std::string pieces_;
  bool messageTyped_ = false;
  bool commandTyped_ = false;
  bool appNamed_ = false;
  bool appIdentified_ = false;
};

json::parse_options strictOptions() {
  json::parse_options options;
  options.max_depth = kMaxDepth;
  return options;
}

}  // namespace

std::optional<RemoteMessage> decodeRemoteMessage(std::string_view text) {
  std::optional<RemoteMessage> message(std::in_place);
  try {
    json::basic_parser<MessageBuilder> parser(strictOptions(), *message);
    error_code error;
    const std::size_t used = parser.write_some(false, text.data(), text.size(), error);
    if (error || used != text.size()) message.reset();
  } catch (const std::exception&) {  // no memory for what the text unfolds into
    message.reset();
  }
  return message;
}

}  // namespace tevanto

#include "core/text/Text.h"

#include <unicode/brkiter.h>
#include <unicode/unistr.h>

#include <cstdint>
#include <memory>

#include "core/text/IcuLength.h"

namespace tevanto {
namespace {

icu::UnicodeString fromUtf8(std::string_view utf8) {
  return icu::UnicodeString::fromUTF8({utf8.data(), icuLength(utf8.size())});
}

}  // namespace

void forEachGraphemeCluster(std::string_view utf8, const std::function<void(std::u16string_view)>& visit) {
  const icu::UnicodeString text = fromUtf8(utf8);
  UErrorCode status = U_ZERO_ERROR;
  const std::unique_ptr<icu::BreakIterator> clusters(
      icu::BreakIterator::createCharacterInstance(icu::Locale::getRoot(), status));
  if (U_FAILURE(status)) return;
  clusters->setText(text);
  const std::u16string_view units(text.getBuffer(), static_cast<std::size_t>(text.length()));
  std::int32_t start = clusters->first();
  for (std::int32_t end = clusters->next(); end != icu::BreakIterator::DONE;
       start = end, end = clusters->next()) {
    visit(units.substr(static_cast<std::size_t>(start), static_cast<std::size_t>(end - start)));
  }
}

std::string toUtf8(std::u16string_view utf16) {
  std::string utf8;
  icu::UnicodeString(false, utf16.data(), icuLength(utf16.size())).toUTF8String(utf8);
  return utf8;
}

std::string lowerCased(std::string_view utf8) {
  std::string lower;
  fromUtf8(utf8).toLower(icu::Locale::getRoot()).toUTF8String(lower);
  return lower;
}

std::string wellFormedUtf8(std::string_view bytes) {
  std::string utf8;
  fromUtf8(bytes).toUTF8String(utf8);
  return utf8;
}

std::string printable(std::string_view text) {
  const auto clean = wellFormedUtf8(text);
  std::string result;
  for (std::size_t i = 0; i < clean.size(); ++i) {
    const auto byte = static_cast<unsigned char>(clean[i]);
    const auto next = i + 1 < clean.size() ? static_cast<unsigned char>(clean[i + 1]) : 0u;
    if (byte == 0xC2 && next >= 0x80 && next < 0xA0) {  // U+0080 to U+009F: the other control characters
      ++i;
    } else if (byte >= 0x20 && byte != 0x7f) {
      result += clean[i];
    }
  }
  return result;
}

}  // namespace tevanto

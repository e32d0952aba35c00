#include "core/Text.h"

#include <unicode/brkiter.h>
#include <unicode/coll.h>
#include <unicode/unistr.h>

#include <memory>

namespace tevanto {
namespace {

constexpr std::size_t kMaxBytes = std::size_t{1} << 30;  // ICU counts in 32 bits; longer text ends here

icu::UnicodeString fromUtf8(std::string_view utf8) {
  utf8 = utf8.substr(0, kMaxBytes);
  return icu::UnicodeString::fromUTF8(icu::StringPiece(utf8.data(), static_cast<std::int32_t>(utf8.size())));
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
  icu::UnicodeString(false, utf16.data(), static_cast<std::int32_t>(utf16.size())).toUTF8String(utf8);
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

LocalizedOrder::LocalizedOrder() : collator_(nullptr) {
  UErrorCode status = U_ZERO_ERROR;
  // Without a locale the process runs in "C", whose order is that of the bytes; the root order is for people.
  const bool noLocale = std::string_view(icu::Locale::getDefault().getVariant()) == "POSIX";
  const auto& locale = noLocale ? icu::Locale::getRoot() : icu::Locale::getDefault();
  auto* collator = icu::Collator::createInstance(locale, status);
  if (U_FAILURE(status)) return;
  collator->setStrength(icu::Collator::SECONDARY);  // accents count, case does not
  collator_ = collator;
}

LocalizedOrder::~LocalizedOrder() { delete static_cast<icu::Collator*>(collator_); }

int LocalizedOrder::compare(std::string_view a, std::string_view b) const {
  if (!collator_) return a.compare(b);
  UErrorCode status = U_ZERO_ERROR;
  return static_cast<icu::Collator*>(collator_)->compareUTF8(
      icu::StringPiece(a.data(), static_cast<std::int32_t>(a.size())),
      icu::StringPiece(b.data(), static_cast<std::int32_t>(b.size())), status);
}

}  // namespace tevanto

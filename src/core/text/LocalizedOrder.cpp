#include "core/text/LocalizedOrder.h"

#include <unicode/coll.h>

#include <utility>

#include "core/text/IcuLength.h"

namespace tevanto {

struct LocalizedOrder::Collation {
  std::unique_ptr<icu::Collator> collator;  // none when ICU has no data
};

LocalizedOrder::LocalizedOrder() : collation_(std::make_unique<Collation>()) {
  // The locale of a process without one ("C") would sort by bytes: capitals first, accents last.
  const auto& users = icu::Locale::getDefault();
  const auto& locale = std::string_view(users.getVariant()) == "POSIX" ? icu::Locale::getRoot() : users;
  UErrorCode status = U_ZERO_ERROR;
  std::unique_ptr<icu::Collator> collator(icu::Collator::createInstance(locale, status));
  if (U_FAILURE(status)) return;
  collator->setStrength(icu::Collator::SECONDARY);  // accents count, case does not
  collation_->collator = std::move(collator);
}

LocalizedOrder::~LocalizedOrder() = default;

int LocalizedOrder::compare(std::string_view a, std::string_view b) const {
  if (!collation_->collator) return a.compare(b);
  UErrorCode status = U_ZERO_ERROR;
  return collation_->collator->compareUTF8({a.data(), icuLength(a.size())}, {b.data(), icuLength(b.size())},
                                           status);
}

}  // namespace tevanto

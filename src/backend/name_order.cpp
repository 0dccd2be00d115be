#include "backend/name_order.h"

#include <unicode/coll.h>
#include <unicode/locid.h>
#include <unicode/stringpiece.h>

#include <algorithm>
#include <cstring>
#include <memory>

namespace vells::backend {

namespace {

std::unique_ptr<icu::Collator> peopleCollator() {
  icu::Locale locale = icu::Locale::getDefault();
  // Under LANG=C ICU reports en_US_POSIX, whose collation is deliberately
  // ASCII order; nobody reading a list wants that, so the root order stands in.
  if (std::strcmp(locale.getVariant(), "POSIX") == 0) locale = icu::Locale::getRoot();
  UErrorCode status = U_ZERO_ERROR;
  std::unique_ptr<icu::Collator> collator(icu::Collator::createInstance(locale, status));
  if (U_FAILURE(status) || !collator) return nullptr;
  collator->setStrength(icu::Collator::SECONDARY);
  collator->setAttribute(UCOL_NUMERIC_COLLATION, UCOL_ON, status);
  if (U_FAILURE(status)) return nullptr;
  return collator;
}

}  // namespace

void sortForPeople(std::vector<std::string>& names) {
  const std::unique_ptr<icu::Collator> collator = peopleCollator();
  if (!collator) {
    // Without collation data a stable, if plain, order beats none.
    std::sort(names.begin(), names.end());
    return;
  }
  std::sort(names.begin(), names.end(), [&](const std::string& a, const std::string& b) {
    UErrorCode status = U_ZERO_ERROR;
    const UCollationResult order =
        collator->compareUTF8(icu::StringPiece(a), icu::StringPiece(b), status);
    if (U_FAILURE(status) || order == UCOL_EQUAL) return a < b;
    return order == UCOL_LESS;
  });
}

}  // namespace vells::backend

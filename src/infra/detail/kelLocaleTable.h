#pragma once

#include <cstddef>

namespace nx::oss::detail {

/// A spelling of a locale, reduced to upper-case letters and digits, and the standard value that it
/// stands for.
struct LocaleRow {
    const char* key;
    const char* value;
};

/// The rows, ordered by key: one for each standard value, the others aliases.
extern const LocaleRow LOCALE_TABLE[];
constexpr std::size_t LOCALE_COUNT = 339;

/// The upper-case keys of the standard values, in the order in which they are published.
extern const char* const PRIMARY_LOCALES[];
constexpr int PRIMARY_LOCALE_COUNT = 117;

/// The row for a name in any spelling, null when there is none.
const LocaleRow* findLocale(const char* name);

}  // namespace nx::oss::detail

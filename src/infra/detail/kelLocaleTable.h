#pragma once

#include <cstddef>

namespace nx::oss::detail {

/// A spelling of a locale, reduced to upper-case letters and digits, and the standard value that it
/// stands for.
// Why: texts in place. Pointers to them, two in each of hundreds of rows, would have to be set in
// every process that loads the library, which would then hold the table in memory of its own.
struct LocaleRow {
    char key[14];
    char value[5];
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

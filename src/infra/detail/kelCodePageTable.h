#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>

#include <unicode/ucnv.h>

#include "infra/detail/kelKernels.h"

namespace nx::oss::detail {

/// A code page of one- and two-byte characters as two tables: several times as fast as the general
/// converter that they are made from.
///
/// The tables hold what ICU answers when it is asked for each character alone. What they do not
/// hold (longer sequences, characters outside the Basic Multilingual Plane, malformed and unmapped
/// ones, pairs that combine) they leave to ICU: both loops stop there, at the start of a character.
/// Since these code pages have no state between characters, ICU can go on from there.
class CodePageTable {
  public:
    /// The table of the code page that `converter` is open for, made on the first call for it and
    /// kept for the rest of the process. Null for a code page with states, for one that is no table
    /// to ICU, and when there is no memory or no place for it.
    ///
    /// Nothing at all while another thread is here: ask again at the next occasion. So nobody waits
    /// for tables, least of all for a thread that a fork has left behind.
    static std::optional<const CodePageTable*> of(const UConverter* converter);

    /// Decodes to UTF-16, up to the first character that is not in the table or does not fit
    /// `capacity`.
    Progress decode(const char* src, std::size_t length, char16_t* dest,
                    std::size_t capacity) const;

    /// Encodes UTF-16, up to the first unit that is not in the table or does not fit `capacity`.
    Progress encode(const char16_t* src, std::size_t length, char* dest,
                    std::size_t capacity) const;

    /// Whether the table holds this unit.
    bool holds(char16_t unit) const { return bytes_[unit] != NOT_HELD; }

    CodePageTable() = default;

    /// Asks `converter`, whose callbacks stop at errors, for every character. False when the code
    /// page has states.
    bool fill(UConverter* converter);

  private:
    static constexpr std::size_t UNITS = 0x10000;
    static constexpr std::size_t BYTES = 0x100;
    // In bytes_. U+0000 always is left to ICU.
    static constexpr std::uint16_t NOT_HELD = 0;
    // In units_ and in the rows: no character is a surrogate, so their numbers are free. From
    // FIRST_ROW on they name the row for the second byte.
    static constexpr char16_t NO_CHARACTER = 0xD800;
    static constexpr char16_t FIRST_ROW = 0xD801;

    struct Row {
        char16_t units[BYTES];
    };

    static bool isRow(char16_t entry) { return entry >= FIRST_ROW && entry < FIRST_ROW + BYTES; }
    bool fillUnits(UConverter* converter);
    void fillRow(UConverter* converter, unsigned char first, Row& row);
    void fillBytes(UConverter* converter);

    char16_t units_[BYTES];        // by first byte
    std::unique_ptr<Row[]> rows_;  // by second byte
    std::uint16_t bytes_[UNITS];   // by unit: below 0x100 one byte, else two
};

}  // namespace nx::oss::detail

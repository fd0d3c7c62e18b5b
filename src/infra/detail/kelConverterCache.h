#pragma once

#include <cstddef>

#include <unicode/ucnv.h>

#include "infra/detail/kelCodePageName.h"

namespace nx::oss::detail {

class CodePageTable;

/// An open ICU converter for a name, in its initial state, borrowed for one conversion.
///
/// A thread keeps the converters that it used last open, so that borrowing costs no opening.
/// Threads share nothing. Safe in destructors of static and thread-local objects.
class ConverterLease {
  public:
    /// `codePage` is an ICU converter name, null or empty for the default one. Throws
    /// std::bad_alloc.
    explicit ConverterLease(const char* codePage);
    ~ConverterLease();
    ConverterLease(const ConverterLease&) = delete;
    ConverterLease& operator=(const ConverterLease&) = delete;

    /// Null when ICU does not know the name.
    UConverter* get() const;
    /// OTHER when ICU does not know the name.
    CodePageKind kind() const;

    /// Whether the converter treats each character for itself: it forgets everything on a reset,
    /// and may be given its text and its room in pieces. Others look ahead, remember the alphabet
    /// they used last, or lose their place when the room ends inside a character.
    bool isSimple() const;

    /// The tables of the code page, null while there are none. `volume` is how many bytes or code
    /// units are about to be converted: only code pages that carry much are worth the making.
    const CodePageTable* table(std::size_t volume);

    /// An open converter and what is known of it.
    struct Entry {
        static constexpr std::size_t LONGEST_NAME = 63;

        char name[LONGEST_NAME + 1];
        UConverter* converter;
        CodePageKind kind;
        bool simple;
        bool busy;
        bool spent;         // not as new after a reset
        bool tableRefused;  // the code page cannot have one
        std::size_t volume;
        const CodePageTable* table;
    };

  private:
    Entry own_;  // for a converter that is not kept
    Entry* entry_ = nullptr;
};

}  // namespace nx::oss::detail

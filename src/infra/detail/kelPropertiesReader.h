#pragma once

#include <cstddef>

#include <unicode/unistr.h>

#include "infra/detail/kelUnitText.h"

namespace nx::oss::detail {

/// Bytes of properties text in ISO-8859-1; no terminator is needed.
struct PropertiesText {
    const char* data;
    std::size_t length;
};

// All of them advance `pos`, which may stand at or behind the end.

/// CR LF, CR or LF; nothing else.
void skipNewLine(std::size_t& pos, PropertiesText text);
/// Blanks, tabs, and line ends behind a backslash.
void skipWhiteSpace(std::size_t& pos, PropertiesText text);
/// White space with at most one ':' or '=' in it.
void skipAssignOp(std::size_t& pos, PropertiesText text);
/// The rest of the line and its end.
void skipLine(std::size_t& pos, PropertiesText text);

/// Appends what the escape stands for whose backslash is just before `pos`.
void readEscaped(icu::UnicodeString& out, std::size_t& pos, PropertiesText text);

enum class PropertyLine {
    NONE,     ///< nothing was left to read
    NO_PAIR,  ///< a blank line or a comment
    PAIR      ///< key and value are set
};

/// Reads one logical line. `key` and `value` are replaced when it holds a pair. Throws
/// std::bad_alloc.
PropertyLine readPropertyLine(UnitText& key, UnitText& value, std::size_t& pos,
                              PropertiesText text);
PropertyLine readPropertyLine(icu::UnicodeString& key, icu::UnicodeString& value, std::size_t& pos,
                              PropertiesText text);

}  // namespace nx::oss::detail

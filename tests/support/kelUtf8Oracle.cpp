#include "support/kelUtf8Oracle.h"

#include <infra/oss/kelNLSException.h>
#include <infra/oss/kelUTF8Iterator.h>
#include <infra/oss/kelUTF8String.h>

#include <cstdint>
#include <memory>
#include <vector>

#include <unicode/utf8.h>

#include "infra/detail/kelUtf8Scan.h"
#include "reference/kelUtf8Table.h"

namespace nx::oss::test {

namespace {

using Characters = std::vector<std::string>;

/// Characters by ICU; nothing when the text is malformed.
std::optional<std::size_t> countByIcu(std::string_view bytes) {
    const auto* const text = reinterpret_cast<const std::uint8_t*>(bytes.data());
    const auto length = static_cast<int32_t>(bytes.size());
    std::size_t count = 0;
    for (int32_t at = 0; at < length; ++count) {
        UChar32 character = 0;
        U8_NEXT(text, at, length, character);
        if (character < 0) {
            return std::nullopt;
        }
    }
    return count;
}

std::optional<Characters> walk(const char* text) {
    try {
        UTF8Iterator it(text);
        Characters characters;
        for (const char* c = it.getFirstChar(); c != nullptr; c = it.getNextChar()) {
            characters.emplace_back(c);
        }
        const bool counted = static_cast<std::size_t>(it.numChars()) == characters.size();
        return counted ? characters : Characters{"counted otherwise"};
    } catch (const NLSException&) {
        return std::nullopt;
    }
}

std::optional<std::size_t> countOfString(const char* text) {
    try {
        return static_cast<std::size_t>(UTF8String(text).numChars());
    } catch (const NLSException&) {
        return std::nullopt;
    }
}

}  // namespace

std::optional<std::string> differenceInUtf8(std::string_view bytes) {
    // An array of exactly that size, so that a sanitizer sees a read behind it.
    const std::unique_ptr<char[]> exact(new char[bytes.size()]);
    bytes.copy(exact.get(), bytes.size());
    const auto characters = reference::charactersOf(bytes);
    const auto count = characters ? std::make_optional(characters->size()) : std::nullopt;
    if (detail::countWellFormedUtf8(exact.get(), bytes.size()) != count) {
        return "check differs from the table";
    }
    if (countByIcu(bytes) != count) {
        return "table differs from ICU";
    }
    if (detail::countUtf8Characters(exact.get(), bytes.size()) !=
        reference::countByFirstBytes(bytes)) {
        return "lenient count differs";
    }
    const std::string text(bytes.substr(0, bytes.find('\0')));
    if (walk(text.c_str()) != reference::charactersOf(text)) {
        return "walk differs";
    }
    if (countOfString(text.c_str()) != reference::countByFirstBytes(text)) {
        return "count of the string differs";
    }
    return std::nullopt;
}

}  // namespace nx::oss::test

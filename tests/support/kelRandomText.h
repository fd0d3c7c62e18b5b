#pragma once

#include <cstdint>
#include <iterator>
#include <random>
#include <string>

#include <unicode/unistr.h>

namespace nx::test {

/// Texts and bytes that strain a converter: every kind of character beside every other, unpaired
/// surrogates, signatures, characters that converters drop, zeros, malformed sequences.
class RandomText {
  public:
    explicit RandomText(std::uint64_t seed) : engine_(seed) {}

    /// 0 to limit, both included.
    unsigned number(unsigned limit) {
        return std::uniform_int_distribution<unsigned>(0, limit)(engine_);
    }
    bool oneIn(unsigned count) { return number(count - 1) == 0; }
    template <class T, std::size_t N>
    const T& one(const T (&list)[N]) {
        return list[number(N - 1)];
    }

    /// Up to `length` characters, of one kind or of all.
    icu::UnicodeString text(unsigned length) {
        icu::UnicodeString result;
        if (oneIn(16)) {
            result.append(static_cast<char16_t>(oneIn(2) ? 0xFEFF : 0xFFFE));
        }
        const bool mixed = oneIn(2);
        const unsigned kind = number(KINDS - 1);
        for (unsigned i = 0; i < length; ++i) {
            append(result, character(mixed ? number(KINDS - 1) : kind));
        }
        return result;
    }

    /// `length` bytes without any order, or only those that open multiple-byte sequences.
    std::string bytes(unsigned length) {
        const bool high = oneIn(4);
        std::string result;
        for (unsigned i = 0; i < length; ++i) {
            result.push_back(static_cast<char>(high ? 0x80 + number(127) : number(255)));
        }
        return result;
    }

    /// Changes, drops or doubles a few bytes.
    std::string damaged(std::string bytes) {
        for (unsigned left = 1 + number(2); left > 0 && !bytes.empty(); --left) {
            const std::size_t at = number(static_cast<unsigned>(bytes.size() - 1));
            switch (number(2)) {
                case 0:
                    bytes[at] = static_cast<char>(number(255));
                    break;
                case 1:
                    bytes.erase(at, 1 + number(2));
                    break;
                default:
                    bytes.insert(at, 1, bytes[at]);
            }
        }
        return bytes;
    }

  private:
    struct Range {
        UChar32 first;
        UChar32 last;
    };
    // ASCII counts twice. The last of them are unpaired surrogates.
    static constexpr Range RANGES[] = {
        {0x20, 0x7E},     {0x20, 0x7E},     {0x80, 0x24F},      {0x400, 0x4FF},   {0x3040, 0x30FF},
        {0x4E00, 0x9FFF}, {0xAC00, 0xD7A3}, {0x1F300, 0x1F6FF}, {0xD800, 0xDFFF},
    };
    static constexpr Range CONTROL = {0, 0x1F};
    static constexpr Range PRIVATE_USE = {0xE000, 0xF8FF};
    // Converters drop these where the target does not have them.
    static constexpr UChar32 IGNORABLE[] = {0xAD, 0x34F, 0x200D, 0x2060, 0xFE0F, 0xFEFF};
    static constexpr unsigned KINDS = static_cast<unsigned>(std::size(RANGES)) + 3;

    UChar32 within(const Range& range) {
        return range.first +
               static_cast<UChar32>(number(static_cast<unsigned>(range.last - range.first)));
    }

    UChar32 character(unsigned kind) {
        if (kind < std::size(RANGES)) {
            return within(RANGES[kind]);
        }
        switch (kind - std::size(RANGES)) {
            case 0:
                return one(IGNORABLE);
            case 1:
                return within(PRIVATE_USE);
            default:
                return oneIn(4) ? 0 : within(CONTROL);
        }
    }

    // A lone surrogate is a code unit, not a character, to UnicodeString::append.
    static void append(icu::UnicodeString& text, UChar32 character) {
        if (character <= 0xFFFF) {
            text.append(static_cast<char16_t>(character));
        } else {
            text.append(character);
        }
    }

    std::mt19937_64 engine_;
};

}  // namespace nx::test

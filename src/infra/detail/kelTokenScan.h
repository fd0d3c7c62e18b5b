#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string_view>

#include "infra/detail/kelKernels.h"
#include "infra/detail/kelUnitSet.h"

namespace nx::oss::detail {

/// Finds the tokens of a text: the longest pieces without a delimiter.
///
/// Required: a text that begins with a delimiter has an empty first token besides, also when no
/// other one follows. An empty text has no token. Delimiters between two tokens and at the end
/// count once, however many they are, and cost neither memory nor more than their share of the
/// time.
class TokenScan {
  public:
    /// The text and the set stay the caller's and outlive the scan. `spare` units behind the text
    /// can be read, whatever they are.
    TokenScan(std::u16string_view text, const UnitSet& delimiters, std::size_t spare = 0)
        : text_(text), delimiters_(delimiters), spare_(spare) {}

    struct Sizes {
        std::size_t tokens;
        std::size_t units;  ///< of all tokens together
    };

    Sizes measure() {
        Sizes sizes{beginsWithDelimiter() ? std::size_t{1} : 0, 0};
        std::uint64_t inToken = 0;
        for (std::size_t from = 0; from < text_.size(); from += CHUNK) {
            const std::uint64_t* const tokens = read(from);
            for (std::size_t i = 0; i < words(from); ++i) {
                sizes.tokens += countBits(tokens[i] & ~(tokens[i] << 1 | inToken));
                sizes.units += countBits(tokens[i]);
                inToken = tokens[i] >> 63;
            }
        }
        return sizes;
    }

    /// Calls `visit(units, length)` with each token, in order.
    template <class Visit>
    // NOLINTNEXTLINE(readability-function-size): one function keeps the state in registers
    void forEach(Visit visit) {
        if (beginsWithDelimiter()) {
            visit(text_.data(), std::size_t{0});
        }
        const char16_t* begin = text_.data();
        std::uint64_t inToken = 0;
        for (std::size_t from = 0; from < text_.size(); from += CHUNK) {
            const std::uint64_t* const tokens = read(from);
            for (std::size_t i = 0; i < words(from); ++i) {
                const char16_t* const units = text_.data() + from + WORD * i;
                const std::uint64_t before = tokens[i] << 1 | inToken;
                std::uint64_t begins = tokens[i] & ~before;
                const auto findBegin = [&] {
                    // Any place when there is none: the next word looks again.
                    begin = units + __builtin_ctzll(begins | LAST_BIT);
                    begins &= begins - 1;
                };
                if (inToken == 0) {
                    findBegin();
                }
                for (std::uint64_t ends = before & ~tokens[i]; ends != 0; ends &= ends - 1) {
                    const char16_t* const at = units + __builtin_ctzll(ends);
                    visit(begin, static_cast<std::size_t>(at - begin));
                    findBegin();
                }
                inToken = tokens[i] >> 63;
            }
        }
        if (inToken != 0) {
            visit(begin, static_cast<std::size_t>(end() - begin));
        }
    }

    /// Behind what can be read.
    const char16_t* endOfReadable() const { return end() + spare_; }

  private:
    static constexpr std::size_t WORD = 64;
    static constexpr std::size_t CHUNK = 64 * WORD;
    static constexpr std::uint64_t LAST_BIT = std::uint64_t{1} << (WORD - 1);

    /// Sums of two, four and eight bits, and of all bytes in the highest one. Why not the built-in:
    /// it is a call where the processor is not known when the library is compiled.
    static std::size_t countBits(std::uint64_t bits) {
        bits -= bits >> 1 & 0x5555555555555555;
        bits = (bits & 0x3333333333333333) + (bits >> 2 & 0x3333333333333333);
        bits = (bits + (bits >> 4)) & 0x0F0F0F0F0F0F0F0F;
        return static_cast<std::size_t>(bits * 0x0101010101010101 >> 56);
    }

    const char16_t* end() const { return text_.data() + text_.size(); }

    bool beginsWithDelimiter() const { return !text_.empty() && delimiters_.has(text_[0]); }

    /// Units of the chunk that begins at `from`.
    std::size_t units(std::size_t from) const { return std::min(text_.size() - from, CHUNK); }
    std::size_t words(std::size_t from) const { return (units(from) + WORD - 1) / WORD; }

    /// One bit per unit of the chunk, set in tokens. A text of one chunk is read only once.
    const std::uint64_t* read(std::size_t from) {
        if (from != current_) {
            kernels().markUnitsOutside(text_.data() + from, units(from), delimiters_, marks_);
            current_ = from;
        }
        return marks_;
    }

    std::u16string_view text_;
    const UnitSet& delimiters_;
    std::size_t spare_;
    std::size_t current_ = static_cast<std::size_t>(-1);
    std::uint64_t marks_[CHUNK / WORD];
};

}  // namespace nx::oss::detail

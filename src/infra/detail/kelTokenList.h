#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>

namespace nx::oss::detail {

class TokenScan;

/// Units that a short token is copied with: a fixed number, whatever its length, takes no branches
/// that nobody can foresee. The units of a list have room for as many behind them.
constexpr std::size_t COPIED_AT_ONCE = 16;

/// Copies `count` units. When they are not more than COPIED_AT_ONCE, so many are read and written.
[[gnu::always_inline]] inline void copyToken(char16_t* dest, const char16_t* src,
                                             std::size_t count) {
    if (count <= COPIED_AT_ONCE) {
        std::memcpy(dest, src, COPIED_AT_ONCE * sizeof *dest);
    } else {
        std::memcpy(dest, src, count * sizeof *dest);
    }
}

/// The tokens of a text, one behind the other, in one block of memory: four bytes for a token
/// besides its units. Made by make() and given back by `delete`.
class TokenList {
  public:
    /// Null when there are no tokens. Throws std::bad_alloc.
    static TokenList* make(TokenScan& scan);
    static void operator delete(void* block) { ::operator delete(block); }
    TokenList(const TokenList&) = delete;
    TokenList& operator=(const TokenList&) = delete;

    std::uint32_t count() const { return count_; }
    /// Valid as long as the list; `index` is below count(). COPIED_AT_ONCE units can be read.
    std::u16string_view at(std::size_t index) const {
        const std::uint32_t begin = borders()[index];
        return {units() + begin, borders()[index + 1] - begin};
    }

  private:
    explicit TokenList(std::uint32_t count) : count_(count) {}
    void fill(TokenScan& scan);

    // Behind the object: where each token begins among the units, and the last one ends; then the
    // units.
    const std::uint32_t* borders() const {
        return reinterpret_cast<const std::uint32_t*>(this + 1);
    }
    const char16_t* units() const {
        return reinterpret_cast<const char16_t*>(borders() + count_ + 1);
    }

    std::uint32_t count_;
};

}  // namespace nx::oss::detail

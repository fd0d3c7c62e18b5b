#pragma once

#include <algorithm>
#include <cstdint>
#include <iterator>
#include <string_view>

namespace nx::oss::detail {

/// A set of UTF-16 code units, made to be searched for in a text. A surrogate is a unit like any
/// other, so that a character beyond U+FFFF stands for both of its halves.
class UnitSet {
  public:
    UnitSet() = default;
    explicit UnitSet(std::u16string_view members) { addAll(members); }

    /// The members are UTF-16, or ASCII.
    template <class Unit>
    void addAll(std::basic_string_view<Unit> members) {
        for (const Unit unit : members) {
            add(static_cast<char16_t>(unit));
        }
    }
    void add(char16_t unit) {
        if (unit < ASCII_END) {
            ascii_[unit & 15] = static_cast<std::uint8_t>(ascii_[unit & 15] | 1u << (unit >> 4));
            return;
        }
        if (!hasOthers_) {
            std::fill(std::begin(others_), std::end(others_), 0);
            hasOthers_ = true;
        }
        others_[unit / 64] |= std::uint64_t{1} << unit % 64;
    }

    bool has(char16_t unit) const {
        return unit < ASCII_END ? (ascii_[unit & 15] >> (unit >> 4) & 1) != 0
                                : hasOthers_ && (others_[unit / 64] >> unit % 64 & 1) != 0;
    }

    /// Bit h of byte l stands for the unit with the hexadecimal digits h and l.
    const std::uint8_t* ascii() const { return ascii_; }
    /// Whether a member lies outside ASCII.
    bool hasOthers() const { return hasOthers_; }

  private:
    static constexpr char16_t ASCII_END = 0x80;

    std::uint8_t ascii_[16] = {};
    bool hasOthers_ = false;
    // Why not cleared here: that would take longer than most texts, and hardly a set needs it.
    std::uint64_t others_[0x10000 / 64];
};

}  // namespace nx::oss::detail

#pragma once

#include <cstddef>
#include <memory>
#include <string_view>

#include <unicode/unistr.h>

namespace nx::oss::detail {

/// UTF-16 text under construction. It keeps its memory when it is cleared, so that one object can
/// read any number of short texts without allocating.
class UnitText {
  public:
    UnitText() = default;
    UnitText(const UnitText&) = delete;
    UnitText& operator=(const UnitText&) = delete;

    std::u16string_view view() const { return {units_, length_}; }

    void clear() { length_ = 0; }

    void append(char16_t unit) {
        *reserve(1) = unit;
        ++length_;
    }

    /// Room for `count` units behind the text, to be filled before advance(). Throws
    /// std::bad_alloc.
    char16_t* reserve(std::size_t count) {
        if (capacity_ - length_ < count) {
            grow(count);
        }
        return units_ + length_;
    }
    /// Makes the first `count` units of the room part of the text.
    void advance(std::size_t count) { length_ += count; }

  private:
    static constexpr std::size_t INLINE_CAPACITY = 256;

    void grow(std::size_t count);

    char16_t short_[INLINE_CAPACITY];
    std::unique_ptr<char16_t[]> long_;
    char16_t* units_ = short_;
    std::size_t capacity_ = INLINE_CAPACITY;
    std::size_t length_ = 0;
};

/// The units of a text; none for a null one.
inline std::u16string_view viewOf(const icu::UnicodeString& text) {
    return text.isEmpty()
               ? std::u16string_view{}
               : std::u16string_view(text.getBuffer(), static_cast<std::size_t>(text.length()));
}

/// Throws std::bad_alloc, also when the text is longer than a UnicodeString can be.
icu::UnicodeString toUnicodeString(std::u16string_view text);

}  // namespace nx::oss::detail

#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>

#include <unicode/unistr.h>

/// The bytes of a fuzz target's input, taken from the front. What is missing is zero.
class FuzzInput {
  public:
    FuzzInput(const std::uint8_t* data, std::size_t size)
        : rest_(reinterpret_cast<const char*>(data), size) {}

    bool isEmpty() const { return rest_.empty(); }
    unsigned byte() {
        if (rest_.empty()) {
            return 0;
        }
        const auto value = static_cast<unsigned char>(rest_.front());
        rest_.remove_prefix(1);
        return value;
    }
    /// Two bytes, the higher one first.
    int number() {
        const unsigned high = byte();
        return static_cast<int>(high * 256 + byte());
    }
    std::uint64_t word() {
        std::uint64_t value = 0;
        for (unsigned i = 0; i < sizeof value; ++i) {
            value = value << 8 | byte();
        }
        return value;
    }
    std::string bytes(std::size_t wanted) {
        std::string result(rest_.substr(0, wanted));
        rest_.remove_prefix(result.size());
        return result;
    }
    /// Its length in two bytes, then the text.
    std::string text() { return bytes(static_cast<std::size_t>(number())); }
    /// Its length in one byte, then the text.
    std::string shortText() { return bytes(byte()); }
    /// Its length in one byte, then units of two bytes each, the lower one first.
    std::u16string units() {
        const std::string pairs = bytes(2 * static_cast<std::size_t>(byte()));
        std::u16string result;
        for (std::size_t i = 0; i + 1 < pairs.size(); i += 2) {
            result += static_cast<char16_t>(static_cast<unsigned char>(pairs[i]) |
                                            static_cast<unsigned char>(pairs[i + 1]) << 8);
        }
        return result;
    }
    std::string rest() { return bytes(rest_.size()); }

  private:
    std::string_view rest_;
};

/// A finding: what the library did is not what it had to do.
inline void require(bool condition, const char* what) {
    if (!condition) {
        std::fprintf(stderr, "%s\n", what);
        std::abort();
    }
}

inline icu::UnicodeString icuOf(const std::u16string& text) {
    return {text.data(), static_cast<std::int32_t>(text.size())};
}

inline std::u16string unitsOf(const icu::UnicodeString& text) {
    return text.isEmpty()
               ? std::u16string()
               : std::u16string(text.getBuffer(), static_cast<std::size_t>(text.length()));
}

inline std::string utf8Of(const icu::UnicodeString& text) {
    std::string bytes;
    text.toUTF8String(bytes);
    return bytes;
}

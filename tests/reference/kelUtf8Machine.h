#pragma once

#include <cstddef>
#include <optional>

namespace nx::oss::reference {

/// Counts the characters of a Utf8Machine.
class CharacterCount {
  public:
    void character(unsigned /*value*/) { ++count_; }
    void malformed() { wellFormed_ = false; }

    /// Nothing when something was malformed.
    std::optional<std::size_t> count() const {
        return wellFormed_ ? std::make_optional(std::size_t{count_}) : std::nullopt;
    }

  private:
    unsigned count_ = 0;
    bool wellFormed_ = true;
};

/// Keeps what a Utf8Machine reads in UTF-16, with U+FFFD for each malformed sequence: a short text.
class ShortUtf16 {
  public:
    void character(unsigned value) {
        if (value > 0xFFFF) {
            units_[count_++] = static_cast<char16_t>(0xD7C0 + (value >> 10));
            value = 0xDC00 + (value & 0x3FF);
        }
        units_[count_++] = static_cast<char16_t>(value);
    }
    void malformed() { units_[count_++] = 0xFFFD; }

    const char16_t* units() const { return units_; }
    std::size_t count() const { return count_; }

  private:
    char16_t units_[6] = {};
    unsigned count_ = 0;
};

/// UTF-8 decoded one byte after the other by the steps of the Encoding Standard, a second time
/// independently of the table of well-formed sequences. Quick enough for all texts of four bytes,
/// and copied to go on from a beginning in several ways.
template <class Output>
class Utf8Machine {
  public:
    void take(unsigned byte) {
        if (needed_ > 0 && (byte < lower_ || byte > upper_)) {
            needed_ = 0;
            output_.malformed();
        }
        if (needed_ == 0) {
            begin(byte);
            return;
        }
        lower_ = 0x80;
        upper_ = 0xBF;
        value_ = value_ << 6 | (byte & 0x3F);
        if (--needed_ == 0) {
            output_.character(value_);
        }
    }

    /// What was read if the text ends here: inside a character it is malformed.
    Output finished() const {
        Output output = output_;
        if (needed_ > 0) {
            output.malformed();
        }
        return output;
    }

  private:
    void begin(unsigned byte) {
        if (byte <= 0x7F) {
            output_.character(byte);
        } else if (byte >= 0xC2 && byte <= 0xDF) {
            expect(1, byte & 0x1F, 0x80, 0xBF);
        } else if (byte >= 0xE0 && byte <= 0xEF) {
            expect(2, byte & 0xF, byte == 0xE0 ? 0xA0 : 0x80, byte == 0xED ? 0x9F : 0xBF);
        } else if (byte >= 0xF0 && byte <= 0xF4) {
            expect(3, byte & 0x7, byte == 0xF0 ? 0x90 : 0x80, byte == 0xF4 ? 0x8F : 0xBF);
        } else {
            output_.malformed();
        }
    }

    void expect(unsigned needed, unsigned value, unsigned lower, unsigned upper) {
        needed_ = needed;
        value_ = value;
        lower_ = lower;
        upper_ = upper;
    }

    Output output_;
    unsigned needed_ = 0;
    unsigned value_ = 0;
    unsigned lower_ = 0x80;
    unsigned upper_ = 0xBF;
};

/// Characters when each is skipped by the length that its first byte announces, whatever follows.
class SkippingCounter {
  public:
    void take(unsigned byte) {
        if (skipped_ > 0) {
            --skipped_;
            return;
        }
        ++count_;
        valid_ = valid_ && (byte < 0x80 || (byte >= 0xC0 && byte < 0xF8));
        skipped_ = byte < 0xC0 ? 0U : byte < 0xE0 ? 1U : byte < 0xF0 ? 2U : 3U;
    }

    /// Nothing when a byte stood first that cannot.
    std::optional<std::size_t> count() const {
        return valid_ ? std::make_optional(std::size_t{count_}) : std::nullopt;
    }

  private:
    unsigned count_ = 0;
    unsigned skipped_ = 0;
    bool valid_ = true;
};

}  // namespace nx::oss::reference

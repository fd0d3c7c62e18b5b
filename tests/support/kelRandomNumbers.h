#pragma once

#include <cstdint>
#include <cstring>
#include <initializer_list>
#include <iterator>
#include <random>
#include <string>

#include <unicode/unistr.h>

namespace nx::test {

/// Texts that strain a number parser: numbers around every limit of the types, any digits,
/// exponents and hexadecimal forms, the words for infinity and not-a-number, and what a changed
/// character or white space makes of them.
class RandomNumbers {
  public:
    explicit RandomNumbers(std::uint64_t seed) : engine_(seed) {}

    unsigned number(unsigned limit) {
        return std::uniform_int_distribution<unsigned>(0, limit)(engine_);
    }
    bool oneIn(unsigned count) { return number(count - 1) == 0; }
    std::uint64_t bits() { return engine_(); }

    /// Any double by its bits, half of them of ordinary size.
    double real() {
        if (oneIn(2)) {
            return static_cast<double>(static_cast<std::int64_t>(bits() >> number(63))) /
                   static_cast<double>(1 + number(1000000));
        }
        const std::uint64_t pattern = bits();
        double value;
        std::memcpy(&value, &pattern, sizeof value);
        return value;
    }

    icu::UnicodeString text() {
        icu::UnicodeString result = icu::UnicodeString::fromUTF8(ascii());
        if (oneIn(8)) {
            damage(result);
        }
        if (oneIn(4)) {
            result.insert(0, space());
        }
        if (oneIn(4)) {
            result.append(space());
        }
        return result;
    }

  private:
    const char* one(std::initializer_list<const char*> list) {
        return list.begin()[number(static_cast<unsigned>(list.size() - 1))];
    }

    std::string ascii() {
        switch (number(5)) {
            case 0:
                return sign() + std::string(oneIn(4) ? number(12) : 0, '0') + aroundALimit();
            case 1:
                return sign() + digits(1 + number(oneIn(8) ? 800 : 24));
            case 2:
                return sign() + digits(number(20)) + "." + digits(number(20)) + exponent("e");
            case 3:
                return sign() + one({"0x", "0X"}) + hexDigits() + one({"", ".", ".8", ".fF1"}) +
                       exponent("p");
            case 4:
                return sign() + one({"nan", "NaN", "NAN(1a_)", "nan(", "nan(a b)", "inf", "INF",
                                     "infinity", "Infinity", "infin", "1e", "0x", ".", "", "e5"});
            default:
                return soup();
        }
    }

    std::string sign() { return one({"", "", "", "-", "+", "--"}); }

    std::string digits(unsigned count) {
        std::string result;
        for (; count > 0; --count) {
            result.push_back(static_cast<char>('0' + number(9)));
        }
        return result;
    }

    std::string hexDigits() {
        std::string result;
        for (unsigned count = number(20); count > 0; --count) {
            result.push_back("0123456789abcdefABCDEF"[number(21)]);
        }
        return result;
    }

    /// A limit of a type with its last two digits changed, or one of the limits of a double.
    std::string aroundALimit() {
        std::string limit = one({"2147483648", "4294967296", "9223372036854775808",
                                 "18446744073709551616", "9007199254740992", "17976931348623157",
                                 "179769313486231580", "9999999999", "99"});
        limit.resize(limit.size() - 2);
        limit += digits(2);
        return oneIn(4) ? limit + one({"e292", "e291", "e-341", "e-330", "e308", "e309"}) : limit;
    }

    std::string exponent(const char* letter) {
        if (oneIn(3)) {
            return "";
        }
        return letter + std::string(one({"", "-", "+"})) +
               std::to_string(number(oneIn(8) ? 99999 : 330));
    }

    std::string soup() {
        static constexpr char CHARACTERS[] = "0123456789012345+-..eExXpPaAnNiIfFtTyY(),_' ";
        std::string result;
        for (unsigned count = number(12); count > 0; --count) {
            result.push_back(CHARACTERS[number(sizeof CHARACTERS - 2)]);
        }
        return result;
    }

    char16_t oddCharacter() {
        static constexpr char16_t CHARACTERS[] = {0,      0x85,   0xA0,   0x0131, 0x0664,
                                                  0x2007, 0x2212, 0xFF14, 0xD800, 0xFEFF,
                                                  0x0130, u'x',   u',',   u'+',   u' '};
        return CHARACTERS[number(std::size(CHARACTERS) - 1)];
    }

    void damage(icu::UnicodeString& text) {
        const auto at = static_cast<int32_t>(number(static_cast<unsigned>(text.length())));
        switch (number(2)) {
            case 0:
                text.insert(at, oddCharacter());
                break;
            case 1:
                text.remove(at, 1);
                break;
            default:
                text.replace(at, 1, oddCharacter());
        }
    }

    icu::UnicodeString space() {
        static constexpr char16_t SPACES[] = {u' ',   u'\t',  u'\n',  u'\r',  0x1C,
                                              0x1680, 0x2000, 0x2028, 0x205F, 0x3000};
        icu::UnicodeString result;
        for (unsigned count = number(3); count > 0; --count) {
            result.append(SPACES[number(std::size(SPACES) - 1)]);
        }
        return result;
    }

    std::mt19937_64 engine_;
};

}  // namespace nx::test

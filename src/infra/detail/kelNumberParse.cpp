#include "infra/detail/kelNumberParse.h"

#include <locale.h>
#include <stdlib.h>

#include <charconv>
#include <limits>
#include <memory>

#include "infra/detail/kelAsciiText.h"

namespace nx::oss::detail {

namespace {

// Digits that any 64-bit number can have.
constexpr unsigned SAFE_DIGITS = 19;
constexpr std::uint64_t LARGEST = std::numeric_limits<std::uint64_t>::max();

bool isSign(char16_t c) { return c == u'+' || c == u'-'; }

/// Digits at the start of `text`, at most SAFE_DIGITS of them, appended to `value`.
struct DigitRun {
    std::uint64_t value;
    std::size_t length;
};

DigitRun readDigits(std::u16string_view text, std::uint64_t value) {
    std::size_t length = 0;
    while (length < text.size() && isAsciiDigit(text[length])) {
        value = value * 10 + (text[length++] - u'0');
    }
    return {value, length};
}

/// A plain decimal number with an exact quick answer: at most 2^53 as a whole number of digits,
/// scaled by a power of ten that is a double itself. One multiplication or division then rounds
/// once, as it must.
std::optional<double> parseShortDecimal(std::u16string_view text) {
    constexpr double POWERS[] = {1e0,  1e1,  1e2,  1e3,  1e4,  1e5,  1e6,  1e7,
                                 1e8,  1e9,  1e10, 1e11, 1e12, 1e13, 1e14, 1e15,
                                 1e16, 1e17, 1e18, 1e19, 1e20, 1e21, 1e22};
    constexpr std::uint64_t EXACT = std::uint64_t{1} << 53;
    const bool negative = !text.empty() && text.front() == u'-';
    if (!text.empty() && isSign(text.front())) {
        text.remove_prefix(1);
    }
    if (text.size() > SAFE_DIGITS + 1) {
        return std::nullopt;
    }
    DigitRun digits = readDigits(text, 0);
    std::size_t decimals = 0;
    std::size_t end = digits.length;
    if (end < text.size() && text[end] == u'.') {
        const DigitRun behind = readDigits(text.substr(end + 1), digits.value);
        decimals = behind.length;
        digits = {behind.value, digits.length + decimals};
        end += 1 + decimals;
    }
    if (end != text.size() || digits.length == 0 || digits.length > SAFE_DIGITS ||
        digits.value > EXACT) {
        return std::nullopt;
    }
    const double value = static_cast<double>(digits.value) / POWERS[decimals];
    return negative ? -value : value;
}

/// ASCII text narrowed into an array that most numbers fit; one NUL follows it.
class NarrowText {
  public:
    explicit NarrowText(std::u16string_view text) : length_(text.size()) {
        if (length_ >= sizeof short_) {
            long_ = std::make_unique<char[]>(length_ + 1);
            data_ = long_.get();
        }
        char16_t seen = 0;
        for (std::size_t i = 0; i < length_; ++i) {
            seen = static_cast<char16_t>(seen | text[i]);
            data_[i] = static_cast<char>(text[i]);
        }
        data_[length_] = '\0';
        ascii_ = seen < 0x80;
    }

    bool isAscii() const { return ascii_; }
    const char* begin() const { return data_; }
    const char* end() const { return data_ + length_; }

  private:
    char short_[512];
    std::unique_ptr<char[]> long_;
    char* data_ = short_;
    std::size_t length_;
    bool ascii_;
};

double strtodInCLocale(const char* text, char** end) {
    static const locale_t cLocale = newlocale(LC_ALL_MASK, "C", nullptr);
    return strtod_l(text, end, cLocale);
}

}  // namespace

std::optional<std::uint64_t> parseUnsigned(std::u16string_view text, unsigned mostDigits) {
    if (text.empty() || text.size() > mostDigits) {
        return std::nullopt;
    }
    const DigitRun first = readDigits(text.substr(0, SAFE_DIGITS), 0);
    if (first.length == text.size()) {
        return first.value;
    }
    // A twentieth digit may not fit any more.
    if (first.length != SAFE_DIGITS || !isAsciiDigit(text.back())) {
        return std::nullopt;
    }
    const auto digit = static_cast<std::uint64_t>(text.back() - u'0');
    return first.value > (LARGEST - digit) / 10 ? LARGEST : first.value * 10 + digit;
}

std::optional<std::int64_t> parseSigned(std::u16string_view text, unsigned mostDigits) {
    using Limits = std::numeric_limits<std::int64_t>;
    const bool negative = !text.empty() && text.front() == u'-';
    if (!text.empty() && isSign(text.front())) {
        text.remove_prefix(1);
    }
    const std::optional<std::uint64_t> magnitude = parseUnsigned(text, mostDigits);
    if (!magnitude) {
        return std::nullopt;
    }
    if (*magnitude > static_cast<std::uint64_t>(Limits::max())) {
        return negative ? Limits::min() : Limits::max();
    }
    const auto value = static_cast<std::int64_t>(*magnitude);
    return negative ? -value : value;
}

std::optional<double> parseDouble(std::u16string_view text) {
    if (const std::optional<double> value = parseShortDecimal(text)) {
        return value;
    }
    const NarrowText narrow(text);
    if (text.empty() || !narrow.isAscii()) {
        return std::nullopt;
    }
    double value = 0;
    const auto parsed = std::from_chars(narrow.begin(), narrow.end(), value);
    if (parsed.ec == std::errc{} && parsed.ptr == narrow.end()) {
        return value;
    }
    // A leading plus, hexadecimal numbers, over- and underflow: rare, and strtod's to decide.
    char* end = nullptr;
    value = strtodInCLocale(narrow.begin(), &end);
    if (end != narrow.end()) {
        return std::nullopt;
    }
    return value;
}

}  // namespace nx::oss::detail

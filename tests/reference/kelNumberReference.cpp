#include "reference/kelNumberReference.h"

#include <locale.h>
#include <stdlib.h>

#include <cmath>
#include <cstddef>
#include <cstdio>

namespace nx::oss::reference {

namespace {

locale_t plainLocale() {
    static const locale_t locale = newlocale(LC_ALL_MASK, "C", nullptr);
    return locale;
}

/// The C locale in this thread for a scope.
class PlainLocale {
  public:
    PlainLocale() : before_(uselocale(plainLocale())) {}
    ~PlainLocale() { uselocale(before_); }
    PlainLocale(const PlainLocale&) = delete;
    PlainLocale& operator=(const PlainLocale&) = delete;

  private:
    locale_t before_;
};

std::string utf8Of(const icu::UnicodeString& text) {
    std::string result;
    trimmed(text).toUTF8String(result);
    return result;
}

bool isInteger(const std::string& text, bool allowSign, std::size_t mostDigits) {
    const bool hasSign = allowSign && !text.empty() && (text[0] == '-' || text[0] == '+');
    const std::string digits = text.substr(hasSign ? 1 : 0);
    return !digits.empty() && digits.size() <= mostDigits &&
           digits.find_first_not_of("0123456789") == std::string::npos;
}

template <class Value>
std::optional<Value> scan(const icu::UnicodeString& text, bool allowSign, std::size_t mostDigits,
                          const char* format) {
    const PlainLocale plain;
    const std::string bytes = utf8Of(text);
    Value value = 0;
    if (!isInteger(bytes, allowSign, mostDigits) ||
        std::sscanf(bytes.c_str(), format, &value) != 1) {
        return std::nullopt;
    }
    return value;
}

template <class... Values>
std::string printed(const char* format, Values... values) {
    const PlainLocale plain;
    char text[2048];
    const int length = std::snprintf(text, sizeof text, format, values...);
    return {text, static_cast<std::size_t>(length)};
}

}  // namespace

icu::UnicodeString trimmed(const icu::UnicodeString& text) {
    icu::UnicodeString result(text);
    return result.trim();
}

std::optional<std::int32_t> int32Of(const icu::UnicodeString& text) {
    return scan<std::int32_t>(text, true, 10, "%d");
}

std::optional<std::uint32_t> uint32Of(const icu::UnicodeString& text) {
    return scan<std::uint32_t>(text, false, 10, "%u");
}

std::optional<std::int64_t> int64Of(const icu::UnicodeString& text) {
    return scan<std::int64_t>(text, true, 19, "%ld");
}

std::optional<std::uint64_t> uint64Of(const icu::UnicodeString& text) {
    return scan<std::uint64_t>(text, false, 20, "%lu");
}

std::optional<double> doubleOf(const icu::UnicodeString& text) {
    const std::string bytes = utf8Of(text);
    char* end = nullptr;
    const double value = strtod_l(bytes.c_str(), &end, plainLocale());
    if (bytes.empty() || end != bytes.c_str() + bytes.size() || std::isinf(value)) {
        return std::nullopt;
    }
    return value;
}

std::string textOf(std::int64_t value) { return printed("%ld", value); }

std::string textOf(std::uint64_t value) { return printed("%lu", value); }

std::string textOf(double value) { return printed("%f", value); }

std::string hexTextOf(std::uint64_t value, bool upperCase) {
    return upperCase ? printed("X'%lX'", value) : printed("X'%lx'", value);
}

}  // namespace nx::oss::reference

#include <infra/oss/kelFormatter.h>

#include <infra/oss/kelNLSException.h>
#include <infra/oss/kelNLSUtility.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <memory>
#include <new>
#include <string_view>
#include <utility>

#include <unicode/datefmt.h>
#include <unicode/fmtable.h>
#include <unicode/numfmt.h>

#include "infra/detail/kelAsciiText.h"
#include "infra/detail/kelDecimalText.h"
#include "infra/detail/kelHexText.h"
#include "infra/detail/kelKernels.h"
#include "infra/detail/kelNumberParse.h"
#include "infra/detail/kelRaise.h"
#include "infra/detail/kelUnicodeBuffer.h"

namespace nx::oss {

namespace {

constexpr const char* FILE_NAME = "kelFormatter.cpp";
constexpr const char* BAD_NUMBER = "ERR_STR_TO_NUM_CONV_ERR";

constexpr unsigned DIGITS_32 = 10;
constexpr unsigned DIGITS_INT64 = 19;
constexpr unsigned DIGITS_UINT64 = 20;

/// A null text has no buffer.
std::u16string_view viewOf(const icu::UnicodeString& text) {
    return text.isEmpty()
               ? std::u16string_view{}
               : std::u16string_view(text.getBuffer(), static_cast<std::size_t>(text.length()));
}

/// Why: ASCII characters above the blank are no white space, so most texts need neither ICU nor a
/// copy.
bool needsNoTrimming(std::u16string_view text) {
    const auto isPlain = [](char16_t c) { return c > u' ' && c < 0x7F; };
    return !text.empty() && isPlain(text.front()) && isPlain(text.back());
}

icu::UnicodeString trimmed(const icu::UnicodeString& text) {
    icu::UnicodeString copy(text);
    copy.trim();
    // ICU makes both null that find no memory.
    return text.isBogus() ? copy : detail::requireText(std::move(copy));
}

[[noreturn]] void raiseBadNumber(const char* type, const icu::UnicodeString& text) {
    // A null text is an empty one in the error as well.
    detail::raise<NLSException>({BAD_NUMBER, FILE_NAME}, type,
                                text.isBogus() ? icu::UnicodeString() : text);
}

/// `parse(Number&, text)` tells whether the text is a number.
template <class Number, class Parse>
[[gnu::noinline]] Number parseTrimmedOrRaise(const icu::UnicodeString& text, const char* type,
                                             Parse parse) {
    const icu::UnicodeString plain = trimmed(text);
    Number value{};
    if (!parse(value, viewOf(plain))) {
        raiseBadNumber(type, plain);
    }
    return value;
}

template <class Number, class Parse>
Number parseOrRaise(const icu::UnicodeString& text, const char* type, Parse parse) {
    const std::u16string_view view = viewOf(text);
    Number value{};
    return needsNoTrimming(view) && parse(value, view)
               ? value
               : parseTrimmedOrRaise<Number>(text, type, parse);
}

/// Required: only the number of digits is checked; a 32-bit type keeps the low 32 bits.
template <class Value>
Value parseSigned(const icu::UnicodeString& text, const char* type, unsigned mostDigits) {
    return static_cast<Value>(parseOrRaise<std::int64_t>(
        text, type, [mostDigits](std::int64_t& value, std::u16string_view digits) {
            return detail::parseSigned(value, digits, mostDigits);
        }));
}

template <class Value>
Value parseUnsigned(const icu::UnicodeString& text, const char* type, unsigned mostDigits) {
    return static_cast<Value>(parseOrRaise<std::uint64_t>(
        text, type, [mostDigits](std::uint64_t& value, std::u16string_view digits) {
            return detail::parseUnsigned(value, digits, mostDigits);
        }));
}

/// Infinities are refused; NaNs are not.
bool parseFinite(double& value, std::u16string_view text) {
    return detail::parseDouble(value, text) && !std::isinf(value);
}

/// Appends at most `longest` units: `write(units)` puts them there and returns their end. ICU would
/// drop them silently when `out` is null.
template <class Write>
[[gnu::always_inline]] inline icu::UnicodeString& appendUnits(icu::UnicodeString& out,
                                                              std::size_t longest, Write write) {
    if (out.isBogus()) {
        out.remove();
    }
    const auto length = static_cast<std::size_t>(out.length());
    // Why not always: only ICU's own way of appending leaves room for more.
    if (length == 0 || longest <= static_cast<std::size_t>(out.getCapacity()) - length) {
        char16_t* const units = detail::writableBuffer(out, length + longest);
        out.releaseBuffer(static_cast<int32_t>(write(units + length) - units));
        return out;
    }
    char16_t units[detail::LONGEST_DECIMAL_TEXT];
    return detail::requireAppended(out.append(units, static_cast<int32_t>(write(units) - units)));
}

icu::UnicodeString& appendAscii(icu::UnicodeString& out, const char* text, std::size_t length) {
    return appendUnits(out, length, [=](char16_t* units) {
        detail::kernels().latin1ToUtf16(text, length, units);
        return units + length;
    });
}

template <class Integer>
icu::UnicodeString& appendDecimal(icu::UnicodeString& out, Integer value) {
    return appendUnits(out, detail::LONGEST_INTEGER_TEXT,
                       [value](char16_t* units) { return detail::writeDecimal(units, value); });
}

icu::UnicodeString& appendDecimal(icu::UnicodeString& out, double value) {
    char text[detail::LONGEST_DECIMAL_TEXT];
    const char* const end = detail::writeDecimal(text, value);
    return appendAscii(out, text, static_cast<std::size_t>(end - text));
}

template <class Number>
icu::UnicodeString& appendFormatted(icu::UnicodeString& out, const icu::NumberFormat& format,
                                    Number value) {
    if (out.isBogus()) {
        out.remove();
    }
    return detail::requireAppended(format.format(value, out));
}

/// Parses a number of `format`; false when there is none.
bool parseNumber(icu::Formattable& number, const icu::NumberFormat& format,
                 const icu::UnicodeString& text) {
    UErrorCode status = U_ZERO_ERROR;
    number.setDate(0);
    format.parse(text, number, status);
    const bool found = U_SUCCESS(status) != 0;
    // ICU does not say that it lacks memory for a number that it has found: it gives none.
    if (found && number.getType() == icu::Formattable::kDate) {
        detail::raiseBadAlloc();
    }
    return found;
}

}  // namespace

int hasValidDigits(const char* text, bool allowSign) {
    if (text == nullptr || *text == '\0') {
        return -1;
    }
    if (allowSign && (*text == '-' || *text == '+')) {
        ++text;
    }
    int count = 0;
    for (; *text != '\0'; ++text, ++count) {
        if (!detail::isAsciiDigit(*text)) {
            return -1;
        }
    }
    return count;
}

Formatter::Formatter() : Formatter(SHORT, MEDIUM, nullptr) {}

Formatter::Formatter(Style dateStyle, Style timeStyle, const char* localeName)
    : dateStyle_(dateStyle), timeStyle_(timeStyle) {
    setSettings(dateStyle, timeStyle, localeName);
}

Formatter::~Formatter() {
    delete dateFormat_;
    delete timeFormat_;
    delete dateTimeFormat_;
    delete numberFormat_;
}

void Formatter::setSettings(Style dateStyle, Style timeStyle, const char* localeName) {
    NLSUtility& locales = NLSUtility::getInstance();
    const bool named = localeName != nullptr && *localeName != '\0';
    const char* const name =
        named ? locales.getStandardLocaleValue(localeName) : locales.getEnvironmentLocale();
    if (std::strcmp(locale_, name) == 0) {
        // Nothing that this object shows depends on the styles of its formats, so a change of
        // styles alone makes no new ones.
        dateStyle_ = dateStyle;
        timeStyle_ = timeStyle;
        return;
    }
    icu::Locale locale;
    locales.getLocale(locale, name);
    // Required: the formats are made in the styles that the object has now; the new ones are only
    // stored.
    const auto style = [this](Style wanted) {
        return static_cast<icu::DateFormat::EStyle>(getICUStyle(wanted));
    };
    std::unique_ptr<icu::DateFormat> date(
        icu::DateFormat::createDateInstance(style(dateStyle_), locale));
    std::unique_ptr<icu::DateFormat> time(
        icu::DateFormat::createTimeInstance(style(timeStyle_), locale));
    std::unique_ptr<icu::DateFormat> dateTime(
        icu::DateFormat::createDateTimeInstance(style(dateStyle_), style(timeStyle_), locale));
    UErrorCode status = U_ZERO_ERROR;
    std::unique_ptr<icu::NumberFormat> number(icu::NumberFormat::createInstance(locale, status));
    if (!date || !time || !dateTime || !number) {  // there is no number format where it failed
        detail::raise<NLSException>({"ERR_OUT_OF_MEMORY", FILE_NAME}, "Formatter::setSettings()");
    }
    std::memset(locale_, 0, sizeof locale_);
    std::memcpy(locale_, name, strnlen(name, sizeof locale_ - 1));
    dateStyle_ = dateStyle;
    timeStyle_ = timeStyle;
    delete std::exchange(dateFormat_, date.release());
    delete std::exchange(timeFormat_, time.release());
    delete std::exchange(dateTimeFormat_, dateTime.release());
    delete std::exchange(numberFormat_, number.release());
}

const char* Formatter::getLocale() const { return locale_; }

Formatter::Style Formatter::getDateStyle() const { return dateStyle_; }

Formatter::Style Formatter::getTimeStyle() const { return timeStyle_; }

Formatter::Style Formatter::getICUStyle(Style style) const {
    return style >= FULL && style <= SHORT ? style : SHORT;
}

std::int32_t Formatter::stringToInt32(const icu::UnicodeString& text) {
    return parseSigned<std::int32_t>(text, "int32_t", DIGITS_32);
}

std::uint32_t Formatter::stringToUint32(const icu::UnicodeString& text) {
    return parseUnsigned<std::uint32_t>(text, "uint32_t", DIGITS_32);
}

std::int64_t Formatter::stringToInt64(const icu::UnicodeString& text) {
    return parseSigned<std::int64_t>(text, "int64_t", DIGITS_INT64);
}

std::uint64_t Formatter::stringToUint64(const icu::UnicodeString& text) {
    return parseUnsigned<std::uint64_t>(text, "uint64_t", DIGITS_UINT64);
}

double Formatter::stringToDouble(const icu::UnicodeString& text) {
    return parseOrRaise<double>(text, "double", parseFinite);
}

double Formatter::stringToDouble(const char* text) {
    if (text == nullptr) {
        raiseBadNumber("double", u"NULL");
    }
    return stringToDouble(detail::requireText(icu::UnicodeString::fromUTF8(text)));
}

void Formatter::int32ToString(icu::UnicodeString& out, int value) {
    appendDecimal(out, static_cast<long>(value));
}

void Formatter::uint32ToString(icu::UnicodeString& out, unsigned int value) {
    appendDecimal(out, static_cast<unsigned long>(value));
}

void Formatter::int64ToString(icu::UnicodeString& out, long value) { appendDecimal(out, value); }

void Formatter::uint64ToString(icu::UnicodeString& out, unsigned long value) {
    appendDecimal(out, value);
}

void Formatter::doubleToString(icu::UnicodeString& out, double value) { appendDecimal(out, value); }

int Formatter::doubleToString(char* dest, int destLength, double value) {
    char text[detail::LONGEST_DECIMAL_TEXT];
    const auto length = static_cast<int>(detail::writeDecimal(text, value) - text);
    // Required: the test leaves the terminator out although it is written.
    if (dest == nullptr || destLength < length) {
        return length + 1;
    }
    std::memcpy(dest, text, static_cast<std::size_t>(length));
    dest[length] = '\0';
    return length;
}

icu::UnicodeString& Formatter::formatHex(icu::UnicodeString& out, unsigned long value,
                                         bool upperCase) {
    char text[detail::LONGEST_HEX_LITERAL];
    out.remove();
    const char* const end = detail::writeHexLiteral(text, value, upperCase);
    return appendAscii(out, text, static_cast<std::size_t>(end - text));
}

Formatter& Formatter::getDefaultInstance() {
    // Why: never destroyed, since other threads may format until the process is gone.
    alignas(Formatter) static unsigned char storage[sizeof(Formatter)];
    static Formatter* const instance = new (storage) Formatter;
    return *instance;
}

icu::UnicodeString& Formatter::formatNumber(icu::UnicodeString& appendTo, long value) const {
    return appendFormatted(appendTo, *numberFormat_, static_cast<int64_t>(value));
}

icu::UnicodeString& Formatter::formatNumber(icu::UnicodeString& appendTo,
                                            unsigned long value) const {
    // ICU's integers end at the largest signed one.
    constexpr unsigned long LARGEST = std::numeric_limits<long>::max();
    return value > LARGEST ? appendDecimal(appendTo, value)
                           : formatNumber(appendTo, static_cast<long>(value));
}

icu::UnicodeString& Formatter::formatNumber(icu::UnicodeString& appendTo, double value) const {
    return appendFormatted(appendTo, *numberFormat_, value);
}

icu::UnicodeString& Formatter::formatNumber(icu::UnicodeString& appendTo, float value) const {
    return formatNumber(appendTo, static_cast<double>(value));
}

icu::UnicodeString& Formatter::formatNumber(icu::UnicodeString& appendTo, signed char value) const {
    return formatNumber(appendTo, static_cast<long>(value));
}

icu::UnicodeString& Formatter::formatNumber(icu::UnicodeString& appendTo, short value) const {
    return formatNumber(appendTo, static_cast<long>(value));
}

icu::UnicodeString& Formatter::formatNumber(icu::UnicodeString& appendTo, int value) const {
    return formatNumber(appendTo, static_cast<long>(value));
}

icu::UnicodeString& Formatter::formatNumber(icu::UnicodeString& appendTo,
                                            unsigned char value) const {
    return formatNumber(appendTo, static_cast<long>(value));
}

icu::UnicodeString& Formatter::formatNumber(icu::UnicodeString& appendTo,
                                            unsigned short value) const {
    return formatNumber(appendTo, static_cast<long>(value));
}

icu::UnicodeString& Formatter::formatNumber(icu::UnicodeString& appendTo,
                                            unsigned int value) const {
    return formatNumber(appendTo, static_cast<long>(value));
}

bool Formatter::parseAs(int& value, const icu::UnicodeString& text) const {
    icu::Formattable number;
    if (!parseNumber(number, *numberFormat_, text) || number.getType() != icu::Formattable::kLong) {
        return false;
    }
    value = number.getLong();
    return true;
}

bool Formatter::parseAs(long& value, const icu::UnicodeString& text) const {
    icu::Formattable number;
    if (!parseNumber(number, *numberFormat_, text) ||
        (number.getType() != icu::Formattable::kInt64 &&
         number.getType() != icu::Formattable::kLong)) {
        return false;
    }
    value = number.getInt64();
    return true;
}

bool Formatter::parseAs(double& value, const icu::UnicodeString& text) const {
    icu::Formattable number;
    if (!parseNumber(number, *numberFormat_, text) ||
        number.getType() != icu::Formattable::kDouble) {
        return false;
    }
    value = number.getDouble();
    return true;
}

}  // namespace nx::oss

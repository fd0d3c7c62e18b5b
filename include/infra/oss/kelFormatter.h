#pragma once

#include <cstdint>

#include <unicode/unistr.h>

#include <infra/oss/kelExport.h>

U_NAMESPACE_BEGIN
class DateFormat;
class NumberFormat;
U_NAMESPACE_END

namespace nx::oss {

/// Number of ASCII digits of NUL-terminated `text`, which must hold nothing else; -1 otherwise and
/// for a null or empty `text`. With `allowSign` one leading '-' or '+' is skipped, and a lone sign
/// gives 0.
KELINFRA_EXPORT int hasValidDigits(const char* text, bool allowSign);

/// Turns text into numbers and numbers into text.
///
/// The static operations are strict and do not depend on any locale: '.' is the decimal separator,
/// and the locale of the process is neither read nor changed. The others present numbers by the
/// conventions of one locale, with ICU.
///
/// Errors are thrown as NLSException with file "kelFormatter.cpp". Memory exhaustion ends in
/// std::bad_alloc; a text that was to be appended to is null (bogus) then.
///
/// Thread-safety: the static operations may run in any number of threads. A Formatter may be shared
/// by threads that only format and parse; setSettings() must not run beside other uses of the
/// object.
class KELINFRA_EXPORT Formatter {
  public:
    /// Styles of dates and times; other values count as SHORT. The numbers are those of ICU's
    /// styles.
    enum Style : int { FULL = 0, LONG = 1, MEDIUM = 2, SHORT = 3 };

    /// Short dates, medium times, the environment's locale. Throws as setSettings.
    Formatter();
    /// Styles and locale as they are given. Throws as setSettings.
    Formatter(Style dateStyle, Style timeStyle, const char* localeName);
    Formatter(const Formatter&) = delete;
    Formatter& operator=(const Formatter&) = delete;
    ~Formatter();

    /// Chooses locale and styles. `localeName` is any spelling that NLSUtility knows; an unknown
    /// one means the default locale, null or "" the environment's.
    ///
    /// Careful: when the locale changes, the formats are made in the styles that the object had
    /// before the call; only then are the new styles stored.
    ///
    /// Throws "ERR_OUT_OF_MEMORY" ("Formatter::setSettings()") when ICU cannot make a format;
    /// nothing is changed then.
    void setSettings(Style dateStyle, Style timeStyle, const char* localeName);

    /// The standard name of the locale, such as "enUS". Valid as long as the object.
    const char* getLocale() const;
    /// The style of dates, as it was given.
    Style getDateStyle() const;
    /// The style of times, as it was given.
    Style getTimeStyle() const;
    /// The ICU style with the same meaning, SHORT for values that are no style.
    Style getICUStyle(Style style) const;

    /// Parses a plain number of ASCII digits: white space around it, as UnicodeString::trim knows
    /// it, is ignored; everything else but digits, and one sign for the signed types, is refused.
    /// The number of digits, leading zeros included, is limited to 10 for the 32-bit types, 19 and
    /// 20 for signed and unsigned 64-bit ones.
    ///
    /// Careful: that is the only range check. What still overflows is cut to the low 32 bits for
    /// the 32-bit types ("4294967296" gives 0) and to the largest or smallest value for the 64-bit
    /// ones.
    ///
    /// Throws "ERR_STR_TO_NUM_CONV_ERR" (type such as "int32_t", text without the white space).
    static std::int32_t stringToInt32(const icu::UnicodeString& text);
    /// As stringToInt32(), for "uint32_t".
    static std::uint32_t stringToUint32(const icu::UnicodeString& text);
    /// As stringToInt32(), for "int64_t".
    static std::int64_t stringToInt64(const icu::UnicodeString& text);
    /// As stringToInt32(), for "uint64_t".
    static std::uint64_t stringToUint64(const icu::UnicodeString& text);

    /// Parses what strtod accepts in the "C" locale, hexadecimal numbers and "nan" included, with
    /// nothing but white space around it.
    ///
    /// Throws "ERR_STR_TO_NUM_CONV_ERR" ("double", text without the white space) for anything else,
    /// for values that overflow and for infinities.
    static double stringToDouble(const icu::UnicodeString& text);
    /// The same for NUL-terminated UTF-8. A null `text` throws with the arguments "double", "NULL".
    /// Malformed bytes are refused as any other text.
    static double stringToDouble(const char* text);

    /// Appends the decimal text of a number to `out`, as DataBuffer::appendNumber writes it.
    static void int32ToString(icu::UnicodeString& out, int value);
    /// As int32ToString().
    static void uint32ToString(icu::UnicodeString& out, unsigned int value);
    /// As int32ToString().
    static void int64ToString(icu::UnicodeString& out, long value);
    /// As int32ToString().
    static void uint64ToString(icu::UnicodeString& out, unsigned long value);
    /// As int32ToString(): the text of printf("%lf") in the "C" locale.
    static void doubleToString(icu::UnicodeString& out, double value);

    /// Writes the text of printf("%lf") in the "C" locale with its terminator and returns its
    /// length L, the terminator not counted. When `dest` is null or `destLength` below L, writes
    /// nothing and returns L + 1, the size needed.
    ///
    /// Careful: a `destLength` of exactly L counts as enough, yet L + 1 bytes are written. Pass the
    /// size of the array minus one.
    static int doubleToString(char* dest, int destLength, double value);

    /// Sets `out` to the hexadecimal text of `value` without leading zeros, "X'FF'" (`upperCase`)
    /// or "X'ff'", and returns it.
    static icu::UnicodeString& formatHex(icu::UnicodeString& out, unsigned long value,
                                         bool upperCase);

    /// The shared default-constructed formatter of the process, made on first use and usable until
    /// the process is gone: by threads that still run at exit, and by destructors of static
    /// objects. Threads may share it as long as none calls its setSettings(). Throws as
    /// setSettings.
    static Formatter& getDefaultInstance();

    /// Appends the number by the conventions of the locale to `appendTo` and returns it.
    ///
    /// Careful: unsigned long values above the largest signed one are written without grouping.
    icu::UnicodeString& formatNumber(icu::UnicodeString& appendTo, signed char value) const;
    icu::UnicodeString& formatNumber(icu::UnicodeString& appendTo, short value) const;
    icu::UnicodeString& formatNumber(icu::UnicodeString& appendTo, int value) const;
    icu::UnicodeString& formatNumber(icu::UnicodeString& appendTo, long value) const;
    icu::UnicodeString& formatNumber(icu::UnicodeString& appendTo, unsigned char value) const;
    icu::UnicodeString& formatNumber(icu::UnicodeString& appendTo, unsigned short value) const;
    icu::UnicodeString& formatNumber(icu::UnicodeString& appendTo, unsigned int value) const;
    icu::UnicodeString& formatNumber(icu::UnicodeString& appendTo, unsigned long value) const;
    icu::UnicodeString& formatNumber(icu::UnicodeString& appendTo, float value) const;
    icu::UnicodeString& formatNumber(icu::UnicodeString& appendTo, double value) const;

    /// Parses the number at the start of `text` by the conventions of the locale; white space is
    /// not skipped, and what follows the number is ignored. False, and `value` unchanged, when
    /// there is none or when it is of another kind: an int takes what fits 32 bits, a long what
    /// fits 64, a double only what is no such integer ("42" is false).
    bool parseAs(int& value, const icu::UnicodeString& text) const;
    bool parseAs(long& value, const icu::UnicodeString& text) const;
    bool parseAs(double& value, const icu::UnicodeString& text) const;

  private:
    char locale_[65] = {};
    Style dateStyle_;
    Style timeStyle_;
    icu::DateFormat* dateFormat_ = nullptr;
    icu::DateFormat* timeFormat_ = nullptr;
    icu::DateFormat* dateTimeFormat_ = nullptr;
    icu::NumberFormat* numberFormat_ = nullptr;
};

}  // namespace nx::oss

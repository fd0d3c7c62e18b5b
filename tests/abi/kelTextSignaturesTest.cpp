// The operations, constructors and constants of conversion, UTF-8 texts, numbers, locales and
// tokens.
#include <infra/oss/kelConverter.h>
#include <infra/oss/kelFormatter.h>
#include <infra/oss/kelNLSUtility.h>
#include <infra/oss/kelStringTokenizer.h>
#include <infra/oss/kelUTF8Iterator.h>
#include <infra/oss/kelUTF8String.h>

#include <cstdint>
#include <type_traits>

#include <gtest/gtest.h>

#include "kelSignatures.h"

namespace nx::oss {
namespace {

using namespace signatures;

// --- Converter ----------------------------------------------------------------------------------

using C = Converter;

static_assert(std::is_empty_v<C> && std::is_default_constructible_v<C>);
static_assert(std::is_same_v<decltype(C::debugMode), bool>);

TEST(ConverterSignatures, OfOperations) {
    declares<int (*)(char*, int, Bytes, bool, String), &C::convert>();
    declares<int (*)(char*, int, Bytes, String), &C::convert>();
    declares<int (*)(char*, int, Bytes, String), &C::convertToBytes>();
    declares<int (*)(char*, int, Bytes, bool, Bytes, int, Bytes, bool), &C::convert>();
    declares<int (*)(char*, int, Bytes, Bytes, int, Bytes), &C::convert>();
    declares<int (*)(char*, int, Bytes, Bytes, Bytes), &C::convert>();
    declares<int (*)(char*, int, Bytes, Bytes, int, Bytes), &C::convertToBytes>();
    declares<int (*)(char*, int, Bytes, Bytes, Bytes), &C::convertToBytes>();
    declares<void (*)(bool), &C::setDebugging>();
    declares<bool*, &C::debugMode>();
}

template <unsigned long N>
void declareBufferForm() {
    declares<char* (*)(SizeableBuffer<char, N>&, Bytes, String), &C::convert<N>>();
    static_assert(std::is_same_v<decltype(C::convert(std::declval<SizeableBuffer<char, N>&>(),
                                                     nullptr, UnicodeString())),
                                 char*>);
}

TEST(ConverterSignatures, OfTheBufferForm) {
    declareBufferForm<1026>();
    declareBufferForm<512>();
    declareBufferForm<3>();
}

// --- UTF8Iterator -------------------------------------------------------------------------------

using I = UTF8Iterator;

static_assert(!std::is_polymorphic_v<I>);
static_assert(std::is_default_constructible_v<I>);
static_assert(CONSTRUCTS<I, Bytes> && CONVERTS<I, Bytes>);
static_assert(CONSTRUCTS<I, UnicodeString&> && CONVERTS<I, UnicodeString&>);
static_assert(!CONSTRUCTS<I, UnicodeString> && !std::is_constructible_v<I, String>);
static_assert(std::is_copy_constructible_v<I> && !std::is_copy_assignable_v<I>);

TEST(Utf8IteratorSignatures, OfOperations) {
    declares<Gives<I, bool, Bytes>, &I::setString>();
    declares<Gives<I, Bytes>, &I::getFirstChar>();
    declares<Gives<I, Bytes>, &I::getNextChar>();
    declares<Reads<I, bool>, &I::hasMoreChars>();
    declares<Reads<I, bool>, &I::isEmpty>();
    declares<Reads<I, int>, &I::length>();
    declares<Reads<I, int>, &I::numChars>();
    declares<Reads<I, Bytes>, &I::getString>();
}

// --- UTF8String ---------------------------------------------------------------------------------

using S = UTF8String;

static_assert(DERIVES<S, DataBuffer> && std::has_virtual_destructor_v<S> && COPYABLE<S>);
static_assert(std::is_default_constructible_v<S>);
static_assert(CONSTRUCTS<S, UnicodeString> && CONVERTS<S, String>);
static_assert(CONSTRUCTS<S, int> && !CONVERTS<S, int>);
static_assert(CONSTRUCTS<S, Bytes> && !CONVERTS<S, Bytes>);
static_assert(!CONSTRUCTS<S, UnicodeString, Bytes>);
static_assert(std::is_assignable_v<S&, Bytes>);  // a literal is a UnicodeString

TEST(Utf8StringSignatures, OfOperations) {
    declares < Gives<S, S&, const S&>, &S::operator=>();
    declares < Gives<S, S&, String>, &S::operator=>();
    declares<Reads<S, Bytes>, &S::getString>();
    declares<Reads<S, int, char*, int, Bytes>, &S::getString>();
    declares<Reads<S, void, UnicodeString&>, &S::getString>();
    declares<Reads<S, bool, I&>, &S::getUTF8Iterator>();
    declares<Reads<S, int>, &S::numChars>();
    declares<Does<S, int, const S&>, &S::insertString>();
    declares<Does<S, int, String>, &S::insertString>();
    declares<Does<S, int, Bytes, int>, &S::insertString>();
    declares<Does<S, int, Bytes>, &S::insertString>();
    declares<Does<S, const S&>, &S::appendString>();
    declares<Does<S, String>, &S::appendString>();
    declares<Does<S, Bytes, int>, &S::appendString>();
    declares<Does<S, Bytes>, &S::appendString>();
    declares<Reads<S, int, Bytes>, &S::compare>();
    declares<Reads<S, int, const S&>, &S::compare>();
}

constexpr auto APPEND = [](auto& text, auto&&... arguments)
    -> decltype(text.appendString(static_cast<decltype(arguments)>(arguments)...)) {};

// The forms of the base class with another code page are out of reach, so the text stays UTF-8.
static_assert(std::is_invocable_v<decltype(APPEND), DataBuffer&, String, Bytes>);
static_assert(!std::is_invocable_v<decltype(APPEND), S&, String, Bytes>);
static_assert(!std::is_invocable_v<decltype(APPEND), S&, const DataBuffer&>);

static_assert(std::is_same_v<decltype(UTF8DATA), const unsigned char[95]>);
static_assert(std::is_same_v<decltype(LCHARDATA), const unsigned char[95]>);
static_assert(std::is_same_v<decltype(LOCAL_to_UTF8), unsigned char[256]>);
static_assert(std::is_same_v<decltype(UTF8_to_LOCAL), unsigned char[256]>);
static_assert(std::is_same_v<decltype(TABLES_ARE_BUILT), int>);

TEST(Utf8StringSignatures, OfFreeFunctionsAndTables) {
    declares<int (*)(char*, int), &cLCHAR>();
    declares<int (*)(char*), &cUTF8>();
    declares<const unsigned char(*)[95], &UTF8DATA>();
    declares<const unsigned char(*)[95], &LCHARDATA>();
    declares<unsigned char(*)[256], &LOCAL_to_UTF8>();
    declares<unsigned char(*)[256], &UTF8_to_LOCAL>();
    declares<int*, &TABLES_ARE_BUILT>();
}

// --- Formatter ----------------------------------------------------------------------------------

using F = Formatter;

static_assert(std::is_same_v<std::underlying_type_t<F::Style>, int>);
static_assert(std::is_convertible_v<F::Style, int>);  // unscoped
static_assert(F::FULL == 0 && F::LONG == 1 && F::MEDIUM == 2 && F::SHORT == 3);
static_assert(!std::is_polymorphic_v<F> && NEVER_COPIED<F>);
static_assert(std::is_default_constructible_v<F>);
static_assert(CONSTRUCTS<F, F::Style, F::Style, Bytes>);

TEST(FormatterSignatures, OfParsers) {
    declares<int (*)(Bytes, bool), &hasValidDigits>();
    declares<std::int32_t (*)(String), &F::stringToInt32>();
    declares<std::uint32_t (*)(String), &F::stringToUint32>();
    declares<std::int64_t (*)(String), &F::stringToInt64>();
    declares<std::uint64_t (*)(String), &F::stringToUint64>();
    declares<double (*)(String), &F::stringToDouble>();
    declares<double (*)(Bytes), &F::stringToDouble>();
    declares<Reads<F, bool, int&, String>, &F::parseAs>();
    declares<Reads<F, bool, long&, String>, &F::parseAs>();
    declares<Reads<F, bool, double&, String>, &F::parseAs>();
}

TEST(FormatterSignatures, OfTexts) {
    declares<void (*)(UnicodeString&, int), &F::int32ToString>();
    declares<void (*)(UnicodeString&, unsigned int), &F::uint32ToString>();
    declares<void (*)(UnicodeString&, long), &F::int64ToString>();
    declares<void (*)(UnicodeString&, unsigned long), &F::uint64ToString>();
    declares<void (*)(UnicodeString&, double), &F::doubleToString>();
    declares<int (*)(char*, int, double), &F::doubleToString>();
    declares<UnicodeString& (*)(UnicodeString&, unsigned long, bool), &F::formatHex>();
}

template <class... Numbers>
void declareFormats() {
    (declares<Reads<F, UnicodeString&, UnicodeString&, Numbers>, &F::formatNumber>(), ...);
}

TEST(FormatterSignatures, OfFormats) {
    declareFormats<signed char, short, int, long, unsigned char, unsigned short, unsigned int,
                   unsigned long, float, double>();
}

TEST(FormatterSignatures, OfSettings) {
    declares<F& (*)(), &F::getDefaultInstance>();
    declares<Does<F, F::Style, F::Style, Bytes>, &F::setSettings>();
    declares<Reads<F, Bytes>, &F::getLocale>();
    declares<Reads<F, F::Style>, &F::getDateStyle>();
    declares<Reads<F, F::Style>, &F::getTimeStyle>();
    declares<Reads<F, F::Style, F::Style>, &F::getICUStyle>();
}

// --- NLSUtility ---------------------------------------------------------------------------------

using N = NLSUtility;

static_assert(std::is_aggregate_v<NLSConfigEntry>);
static_assert(std::is_same_v<decltype(NLSConfigEntry::key), Bytes>);
static_assert(std::is_same_v<decltype(NLSConfigEntry::value), Bytes>);
static_assert(!std::is_polymorphic_v<N> && NEVER_COPIED<N>);
static_assert(std::is_same_v<decltype(N::DEFAULT_LOCALE), const char* const>);
static_assert(std::is_same_v<decltype(N::UTF8_CODE_PAGE), const char* const>);

TEST(NlsUtilitySignatures, OfOperations) {
    declares<N& (*)(), &N::getInstance>();
    declares<Reads<N, bool, Bytes>, &N::isSupported>();
    declares<Reads<N, Bytes, Bytes>, &N::getStandardLocaleValue>();
    declares<Reads<N, void, icu::Locale&, Bytes>, &N::getLocale>();
    declares<Reads<N, Bytes>, &N::getDefaultLocale>();
    declares<Gives<N, Bytes>, &N::getEnvironmentLocale>();
    declares<Bytes (*)(), &N::getDefaultCodePage>();
    declares<Bytes (*)(), &N::getCommandWindowCodePage>();
    declares<Reads<N, const char* const*>, &N::getPrimaryLocales>();
    declares<Reads<N, int>, &N::getNumPrimaryLocales>();
    declares<int (*)(NLSConfigEntry*, NLSConfigEntry*), &compare>();
    declares<const char* const*, &N::DEFAULT_LOCALE>();
    declares<const char* const*, &N::UTF8_CODE_PAGE>();
    EXPECT_STREQ(N::DEFAULT_LOCALE, "enUS");
    EXPECT_STREQ(N::UTF8_CODE_PAGE, "UTF-8");
}

// --- StringTokenizer ----------------------------------------------------------------------------

using T = StringTokenizer;

static_assert(!std::is_polymorphic_v<T> && NEVER_COPIED<T>);
static_assert(!std::is_default_constructible_v<T>);
static_assert(CONSTRUCTS<T, UnicodeString, Bytes> && CONSTRUCTS<T, UnicodeString>);
static_assert(!CONSTRUCTS<T, UnicodeString, Bytes, Bytes>);
static_assert(CONSTRUCTS<T, Bytes, Bytes, Bytes>);
static_assert(CONSTRUCTS<T, Bytes, Bytes> && CONSTRUCTS<T, Bytes>);

TEST(StringTokenizerSignatures, OfOperations) {
    declares<Does<T, String, String>, &T::parseString>();
    declares<Gives<T, Bytes>, &T::getFirstToken>();
    declares<Gives<T, Bytes>, &T::getNextToken>();
    declares<Gives<T, UnicodeString>, &T::getFirstTokenString>();
    declares<Gives<T, UnicodeString>, &T::getNextTokenString>();
    declares<Reads<T, bool>, &T::hasMoreTokens>();
    declares<Reads<T, int>, &T::countTokens>();
}

}  // namespace
}  // namespace nx::oss

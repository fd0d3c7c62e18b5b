// What programs that were compiled against an earlier build of the library rely on in the classes
// of text, numbers, streams and settings: sizes, order of fields, virtual tables, and the exact
// type of every operation, which the shared object has to export.
#include <iosfwd>
#include <list>
#include <map>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include <infra/oss/kelBuildVersion.h>
#include <infra/oss/kelByteArrayOutputStream.h>
#include <infra/oss/kelFormatter.h>
#include <infra/oss/kelInputStream.h>
#include <infra/oss/kelNLSUtility.h>
#include <infra/oss/kelPrintStream.h>
#include <infra/oss/kelStringTokenizer.h>
#include <infra/oss/kelUTF8Iterator.h>
#include <infra/oss/kelUTF8String.h>
#include <infra/util/kelBase64.h>
#include <infra/util/kelExtendedProperties.h>

#include "kelObjectStorage.h"

namespace nx::oss {
namespace {

using icu::UnicodeString;
using layout::expectDestructorSlots;
using layout::numberAt;
using layout::require;
using layout::slot;
using layout::word;
using util::ExtendedProperties;

template <class T, class... P>
using Does = void (T::*)(P...);
template <class T, class R, class... P>
using Gives = R (T::*)(P...);
template <class T, class R, class... P>
using Reads = R (T::*)(P...) const;

// --- DataBuffer ---------------------------------------------------------------------------------

using D = DataBuffer;

static_assert(sizeof(D) == 4128);
static_assert(std::has_virtual_destructor_v<D>);
static_assert(std::is_default_constructible_v<D>);
static_assert(std::is_copy_constructible_v<D> && std::is_copy_assignable_v<D>);
static_assert(std::is_constructible_v<D, int> && !std::is_convertible_v<int, D>);
static_assert(std::is_constructible_v<D, const char*> && !std::is_convertible_v<const char*, D>);
static_assert(std::is_constructible_v<D, const UnicodeString&, const char*>);
static_assert(!std::is_constructible_v<D, const UnicodeString&>);
static_assert(std::is_assignable_v<D&, const UnicodeString&>);
static_assert(std::is_same_v<decltype(OSS_DB_HEXSTRINGS), const char[256][3]>);

TEST(DataBufferAbi, HoldsInlineStoragePointerCapacityAndLength) {
    const D small("abc");
    EXPECT_EQ(small.getString(), reinterpret_cast<const char*>(&small) + 8);
    EXPECT_EQ(word(small, 514), small.getString());
    EXPECT_EQ(numberAt(small, 4120), 4096);
    EXPECT_EQ(numberAt(small, 4124), 3);
    const D large(5000);
    EXPECT_EQ(word(large, 514), large.getString());
    EXPECT_EQ(numberAt(large, 4120), 5000);
    EXPECT_EQ(numberAt(large, 4124), 0);
}

TEST(DataBufferAbi, HasOperationsOfTheseTypes) {
    require<Does<D, bool>>(&D::clear);
    require<Reads<D, const char*>>(&D::getString);
    require<Reads<D, int>>(&D::length);
    require<Reads<D, int>>(&D::capacity);
    require<Does<D, int, const char*, int>>(&D::saveString);
    require<Does<D, const char*>>(&D::appendString);
    require<Does<D, const char*, int>>(&D::appendString);
    require<Does<D, const D&>>(&D::appendString);
    require<Does<D, const UnicodeString&, const char*>>(&D::appendString);
    require<Does<D, int, const char*>>(&D::insertString);
    require<Does<D, int, const char*, int>>(&D::insertString);
    require<Does<D, int, const D&>>(&D::insertString);
    require<Does<D, int, const UnicodeString&, const char*>>(&D::insertString);
    require<Does<D, int, const char*, int, bool>>(&D::saveBinary);
    require<Does<D, const char*, int, bool>>(&D::appendBinary);
    require<Does<D, int, const char*, int, bool>>(&D::insertBinary);
    require<Reads<D, int, char*, int>>(&D::getBinary);
    require<Reads<D, int, int, const char*>>(&D::indexOf);
    require<Reads<D, int, int, int, const char*>>(&D::indexOf);
    require<Reads<D, int, const char*>>(&D::occurrences);
    require<Gives<D, int, const char*, const char*, int>>(&D::replace);
    require<Gives<D, int, const char*, const char*, int, int>>(&D::replace);
    require<Gives<D, int, const char*, const char*>>(&D::replaceAll);
    require<Gives<D, D&, const D&>>(&D::operator=);
    require<Gives<D, D&, const UnicodeString&>>(&D::operator=);
}

template <class... Numbers>
void requireNumbers() {
    (require<Does<D, Numbers>>(&D::appendNumber), ...);
    (require<Does<D, int, Numbers>>(&D::insertNumber), ...);
}

TEST(DataBufferAbi, TakesNumbersOfEveryType) {
    requireNumbers<long, int, short, signed char, unsigned long, unsigned int, unsigned short,
                   unsigned char, double, float>();
}

// --- UTF8String, UTF8Iterator -------------------------------------------------------------------

using S = UTF8String;
using I = UTF8Iterator;

static_assert(sizeof(S) == 4128);
static_assert(std::has_virtual_destructor_v<S>);
static_assert(std::is_convertible_v<S*, D*>);  // public
static_assert(std::is_default_constructible_v<S>);
static_assert(std::is_copy_constructible_v<S> && std::is_copy_assignable_v<S>);
static_assert(std::is_convertible_v<const UnicodeString&, S>);
static_assert(std::is_constructible_v<S, int> && !std::is_convertible_v<int, S>);
static_assert(std::is_constructible_v<S, const char*> && !std::is_convertible_v<const char*, S>);

TEST(Utf8StringAbi, HasOperationsOfTheseTypes) {
    require<Reads<S, const char*>>(&S::getString);
    require<Reads<S, int, char*, int, const char*>>(&S::getString);
    require<Reads<S, void, UnicodeString&>>(&S::getString);
    require<Reads<S, bool, I&>>(&S::getUTF8Iterator);
    require<Reads<S, int>>(&S::numChars);
    require<Does<S, int, const S&>>(&S::insertString);
    require<Does<S, int, const UnicodeString&>>(&S::insertString);
    require<Does<S, int, const char*, int>>(&S::insertString);
    require<Does<S, int, const char*>>(&S::insertString);
    require<Does<S, const S&>>(&S::appendString);
    require<Does<S, const UnicodeString&>>(&S::appendString);
    require<Does<S, const char*, int>>(&S::appendString);
    require<Does<S, const char*>>(&S::appendString);
    require<Reads<S, int, const char*>>(&S::compare);
    require<Reads<S, int, const S&>>(&S::compare);
    require<Gives<S, S&, const S&>>(&S::operator=);
    require<Gives<S, S&, const UnicodeString&>>(&S::operator=);
    require<int (*)(char*, int)>(&cLCHAR);
    require<int (*)(char*)>(&cUTF8);
}

static_assert(std::is_same_v<decltype(UTF8DATA), const unsigned char[95]>);
static_assert(std::is_same_v<decltype(LCHARDATA), const unsigned char[95]>);
static_assert(std::is_same_v<decltype(LOCAL_to_UTF8), unsigned char[256]>);
static_assert(std::is_same_v<decltype(UTF8_to_LOCAL), unsigned char[256]>);
static_assert(std::is_same_v<decltype(TABLES_ARE_BUILT), int>);

TEST(Utf8StringAbi, ExportsTheTables) {
    EXPECT_EQ(UTF8DATA[94], '~');
    EXPECT_EQ(LCHARDATA[0], ' ');
    char text[] = "a";
    cUTF8(text);
    EXPECT_EQ(TABLES_ARE_BUILT, 1);
    EXPECT_EQ(LOCAL_to_UTF8[255], 255);
    EXPECT_EQ(UTF8_to_LOCAL[255], 255);
    EXPECT_STREQ(OSS_DB_HEXSTRINGS[255], "ff");
}

static_assert(sizeof(I) == 4136);
static_assert(!std::is_polymorphic_v<I>);
static_assert(std::is_default_constructible_v<I> && std::is_copy_constructible_v<I>);
static_assert(!std::is_copy_assignable_v<I>);
static_assert(std::is_convertible_v<const char*, I> && std::is_convertible_v<UnicodeString&, I>);
static_assert(!std::is_constructible_v<I, const UnicodeString&>);

TEST(Utf8IteratorAbi, HoldsItsFieldsInTheirOrder) {
    I iterator("a\xC3\xA9z");
    iterator.getFirstChar();
    EXPECT_EQ(iterator.getString(), reinterpret_cast<const char*>(&iterator));
    EXPECT_EQ(word(iterator, 513), iterator.getString());
    EXPECT_EQ(iterator.getNextChar(), reinterpret_cast<const char*>(&iterator) + 4112);
    EXPECT_EQ(numberAt(iterator, 4120), 3) << "the next character";
    EXPECT_EQ(numberAt(iterator, 4124), 3) << "characters";
    EXPECT_EQ(numberAt(iterator, 4128), 4) << "bytes";
}

TEST(Utf8IteratorAbi, HasOperationsOfTheseTypes) {
    require<Gives<I, bool, const char*>>(&I::setString);
    require<Gives<I, const char*>>(&I::getFirstChar);
    require<Gives<I, const char*>>(&I::getNextChar);
    require<Reads<I, bool>>(&I::hasMoreChars);
    require<Reads<I, bool>>(&I::isEmpty);
    require<Reads<I, int>>(&I::length);
    require<Reads<I, int>>(&I::numChars);
    require<Reads<I, const char*>>(&I::getString);
}

// --- Formatter, NLSUtility ----------------------------------------------------------------------

using F = Formatter;

static_assert(sizeof(F) == 112);
static_assert(!std::is_polymorphic_v<F>);
static_assert(std::is_default_constructible_v<F>);
static_assert(std::is_constructible_v<F, F::Style, F::Style, const char*>);
static_assert(!std::is_copy_constructible_v<F> && !std::is_copy_assignable_v<F>);
static_assert(std::is_same_v<std::underlying_type_t<F::Style>, int>);
static_assert(std::is_convertible_v<F::Style, int>);  // unscoped
static_assert(F::FULL == 0 && F::LONG == 1 && F::MEDIUM == 2 && F::SHORT == 3);

TEST(FormatterAbi, HoldsLocaleStylesAndFourFormats) {
    const F formatter(F::LONG, F::MEDIUM, "deDE");
    EXPECT_EQ(formatter.getLocale(), reinterpret_cast<const char*>(&formatter));
    EXPECT_EQ(numberAt(formatter, 68), 1);
    EXPECT_EQ(numberAt(formatter, 72), 2);
    for (std::size_t i = 10; i < 14; ++i) {
        EXPECT_NE(word(formatter, i), nullptr);
    }
}

TEST(FormatterAbi, HasOperationsOfTheseTypes) {
    require<int (*)(const char*, bool)>(&hasValidDigits);
    require<std::int32_t (*)(const UnicodeString&)>(&F::stringToInt32);
    require<std::uint32_t (*)(const UnicodeString&)>(&F::stringToUint32);
    require<std::int64_t (*)(const UnicodeString&)>(&F::stringToInt64);
    require<std::uint64_t (*)(const UnicodeString&)>(&F::stringToUint64);
    require<double (*)(const UnicodeString&)>(&F::stringToDouble);
    require<double (*)(const char*)>(&F::stringToDouble);
    require<void (*)(UnicodeString&, int)>(&F::int32ToString);
    require<void (*)(UnicodeString&, unsigned int)>(&F::uint32ToString);
    require<void (*)(UnicodeString&, long)>(&F::int64ToString);
    require<void (*)(UnicodeString&, unsigned long)>(&F::uint64ToString);
    require<void (*)(UnicodeString&, double)>(&F::doubleToString);
    require<int (*)(char*, int, double)>(&F::doubleToString);
    require<UnicodeString& (*)(UnicodeString&, unsigned long, bool)>(&F::formatHex);
    require<F& (*)()>(&F::getDefaultInstance);
    require<Does<F, F::Style, F::Style, const char*>>(&F::setSettings);
    require<Reads<F, const char*>>(&F::getLocale);
    require<Reads<F, F::Style>>(&F::getDateStyle);
    require<Reads<F, F::Style>>(&F::getTimeStyle);
    require<Reads<F, F::Style, F::Style>>(&F::getICUStyle);
    require<Reads<F, bool, int&, const UnicodeString&>>(&F::parseAs);
    require<Reads<F, bool, long&, const UnicodeString&>>(&F::parseAs);
    require<Reads<F, bool, double&, const UnicodeString&>>(&F::parseAs);
}

template <class... Numbers>
void requireFormats() {
    (require<Reads<F, UnicodeString&, UnicodeString&, Numbers>>(&F::formatNumber), ...);
}

TEST(FormatterAbi, FormatsNumbersOfEveryType) {
    requireFormats<signed char, short, int, long, unsigned char, unsigned short, unsigned int,
                   unsigned long, float, double>();
}

using N = NLSUtility;

static_assert(sizeof(NLSConfigEntry) == 16);
static_assert(std::is_aggregate_v<NLSConfigEntry>);
static_assert(!std::is_copy_constructible_v<N> && !std::is_copy_assignable_v<N>);
static_assert(std::is_same_v<decltype(N::DEFAULT_LOCALE), const char* const>);
static_assert(std::is_same_v<decltype(N::UTF8_CODE_PAGE), const char* const>);

TEST(NlsUtilityAbi, HasOperationsOfTheseTypes) {
    require<int (*)(NLSConfigEntry*, NLSConfigEntry*)>(&compare);
    require<N& (*)()>(&N::getInstance);
    require<Reads<N, bool, const char*>>(&N::isSupported);
    require<Reads<N, const char*, const char*>>(&N::getStandardLocaleValue);
    require<Reads<N, void, icu::Locale&, const char*>>(&N::getLocale);
    require<Reads<N, const char*>>(&N::getDefaultLocale);
    require<Gives<N, const char*>>(&N::getEnvironmentLocale);
    require<const char* (*)()>(&N::getDefaultCodePage);
    require<const char* (*)()>(&N::getCommandWindowCodePage);
    require<Reads<N, const char* const*>>(&N::getPrimaryLocales);
    require<Reads<N, int>>(&N::getNumPrimaryLocales);
    EXPECT_STREQ(N::DEFAULT_LOCALE, "enUS");
    EXPECT_STREQ(N::UTF8_CODE_PAGE, "UTF-8");
}

// --- Streams ------------------------------------------------------------------------------------

using A = ByteArrayOutputStream;
using P = PrintStream;

static_assert(sizeof(InputStream) == 8 && std::is_abstract_v<InputStream>);
static_assert(sizeof(OutputStream) == 8 && std::is_abstract_v<OutputStream>);
static_assert(std::has_virtual_destructor_v<InputStream>);
static_assert(std::has_virtual_destructor_v<OutputStream>);
static_assert(sizeof(A) == 32);
static_assert(std::is_convertible_v<A*, OutputStream*>);  // public
static_assert(!std::is_default_constructible_v<A>);
static_assert(std::is_constructible_v<A, char*, unsigned long>);
static_assert(sizeof(P) == 8 && std::has_virtual_destructor_v<P>);
static_assert(!std::is_base_of_v<OutputStream, P>);
static_assert(std::is_same_v<decltype(ossOut), PrintStream*>);

/// Writes down which of its operations was called.
struct RecordingOutput : OutputStream {
    void close() override { calls.emplace_back("close"); }
    void flush() override { calls.emplace_back("flush"); }
    void write(const char*, unsigned long, unsigned long) override { calls.emplace_back("block"); }
    void write(const char*) override { calls.emplace_back("text"); }
    void write(char) override { calls.emplace_back("character"); }
    std::vector<std::string> calls;
};

struct RecordingInput : InputStream {
    void close() override { calls.emplace_back("close"); }
    unsigned long read(char*, unsigned long, unsigned long) override {
        calls.emplace_back("block");
        return 0;
    }
    unsigned long read(char*) override {
        calls.emplace_back("character");
        return 0;
    }
    std::vector<std::string> calls;
};

TEST(StreamAbi, KeepsTheOrderOfTheOutputSlots) {
    RecordingOutput out;
    slot<void (*)(void*)>(out, 2)(&out);
    slot<void (*)(void*)>(out, 3)(&out);
    slot<void (*)(void*, const char*, unsigned long, unsigned long)>(out, 4)(&out, "", 0, 0);
    slot<void (*)(void*, const char*)>(out, 5)(&out, "");
    slot<void (*)(void*, char)>(out, 6)(&out, 'c');
    EXPECT_EQ(out.calls,
              (std::vector<std::string>{"close", "flush", "block", "text", "character"}));
}

TEST(StreamAbi, KeepsTheOrderOfTheInputSlots) {
    RecordingInput in;
    char c = 0;
    slot<void (*)(void*)>(in, 2)(&in);
    slot<unsigned long (*)(void*, char*, unsigned long, unsigned long)>(in, 3)(&in, &c, 0, 0);
    slot<unsigned long (*)(void*, char*)>(in, 4)(&in, &c);
    EXPECT_EQ(in.calls, (std::vector<std::string>{"close", "block", "character"}));
}

TEST(StreamAbi, HoldsArraySizeAndCount) {
    char array[3];
    A out(array, 3);
    out.write('a');
    EXPECT_EQ(word(out, 1), array);
    EXPECT_EQ(layout::number(out, 2), 3u);
    EXPECT_EQ(layout::number(out, 3), 1u);
}

TEST(StreamAbi, HasOperationsOfTheseTypes) {
    using In = InputStream;
    using Out = OutputStream;
    require<Does<In>>(&In::close);
    require<Gives<In, unsigned long, char*, unsigned long, unsigned long>>(&In::read);
    require<Gives<In, unsigned long, char*>>(&In::read);
    require<Does<Out>>(&Out::close);
    require<Does<Out>>(&Out::flush);
    require<Does<Out, const char*, unsigned long, unsigned long>>(&Out::write);
    require<Does<Out, const char*>>(&Out::write);
    require<Does<Out, char>>(&Out::write);
    require<Does<A, char>>(&A::write);
    require<Reads<A, unsigned long>>(&A::getCount);
    require<P* (*)()>(&P::getPrintStream);
}

template <class... Values>
void requireOutput() {
    (require<Gives<P, P&, Values>>(&P::operator<<), ...);
}

TEST(PrintStreamAbi, TakesValuesOfEveryType) {
    requireOutput<const UnicodeString&, const char*, char, double, float, unsigned long,
                  unsigned int, unsigned short, unsigned char, long, int, short, signed char>();
    EXPECT_EQ(ossOut, &P::printStream);
}

// --- Base64 -------------------------------------------------------------------------------------

using B = util::Base64;

static_assert(std::is_empty_v<B> && !std::is_default_constructible_v<B>);
static_assert(std::is_same_v<decltype(B::fillChar), const unsigned short>);

TEST(Base64Abi, HasOperationsOfTheseTypes) {
    require<std::size_t (*)(std::size_t)>(&B::encodeSize);
    require<std::size_t (*)(std::size_t)>(&B::decodeSize);
    using Encode = std::size_t (*)(unsigned short*, std::size_t, const char*, std::size_t);
    using EncodeIn = std::size_t (*)(unsigned short*, std::size_t, const char*, std::size_t, bool);
    require<EncodeIn>(&B::encode);
    require<Encode>(&B::encode);
    require<Encode>(&B::encodeSafe);
    using Decode = std::size_t (*)(char*, std::size_t, const unsigned short*, std::size_t);
    using DecodeIn = std::size_t (*)(char*, std::size_t, const unsigned short*, std::size_t, bool);
    require<DecodeIn>(&B::decode);
    require<Decode>(&B::decode);
    require<Decode>(&B::decodeSafe);
    require<wchar_t (*)(char, bool)>(&B::encode);
    require<char (*)(unsigned short, bool)>(&B::decode);
    require<void (*)(char*, std::size_t&, std::size_t, char)>(&B::setDestValue);
}

// --- StringTokenizer, BuildVersion --------------------------------------------------------------

using T = StringTokenizer;
using V = BuildVersion;

static_assert(sizeof(T) == 4280);
static_assert(!std::is_polymorphic_v<T>);
static_assert(!std::is_copy_constructible_v<T> && !std::is_copy_assignable_v<T>);
static_assert(std::is_constructible_v<T, const UnicodeString&>);
static_assert(std::is_constructible_v<T, const UnicodeString&, const char*>);
static_assert(!std::is_constructible_v<T, const UnicodeString&, const char*, const char*>);
static_assert(std::is_constructible_v<T, const char*>);
static_assert(std::is_constructible_v<T, const char*, const char*, const char*>);
static_assert(sizeof(V) == 4 * sizeof(UnicodeString) && !std::is_polymorphic_v<V>);
static_assert(std::is_copy_constructible_v<V> && std::is_default_constructible_v<V>);
static_assert(std::is_assignable_v<V&, V&> && !std::is_assignable_v<V&, const V&>);

TEST(StringTokenizerAbi, HoldsBothTokensCodePageIndexCountAndTokens) {
    T tokenizer("ab cd ef", nullptr, "UTF-8");
    tokenizer.getNextTokenString();
    tokenizer.getNextToken();
    const char* const begin = reinterpret_cast<const char*>(&tokenizer);
    EXPECT_EQ(*reinterpret_cast<const UnicodeString*>(begin), u"ab");
    EXPECT_STREQ(reinterpret_cast<const D*>(begin + 64)->getString(), "cd");
    EXPECT_STREQ(begin + 4192, "UTF-8");
    EXPECT_EQ(numberAt(tokenizer, 4260), 2);
    EXPECT_EQ(numberAt(tokenizer, 4264), 3);
    EXPECT_NE(word(tokenizer, 534), nullptr);
    tokenizer.parseString(u"", u"");
    EXPECT_EQ(word(tokenizer, 534), nullptr);
}

TEST(StringTokenizerAbi, HasOperationsOfTheseTypes) {
    require<Does<T, const UnicodeString&, const UnicodeString&>>(&T::parseString);
    require<Gives<T, const char*>>(&T::getFirstToken);
    require<Gives<T, const char*>>(&T::getNextToken);
    require<Gives<T, UnicodeString>>(&T::getFirstTokenString);
    require<Gives<T, UnicodeString>>(&T::getNextTokenString);
    require<Reads<T, bool>>(&T::hasMoreTokens);
    require<Reads<T, int>>(&T::countTokens);
}

TEST(BuildVersionAbi, HoldsTheProtocolVersionBeforeTheProductVersion) {
    const V version("2.0-1.2-77");
    const auto* const fields = reinterpret_cast<const UnicodeString*>(&version);
    EXPECT_EQ(fields, &version.getBuildVersion());
    EXPECT_EQ(fields + 1, &version.getProtocolVersion());
    EXPECT_EQ(fields + 2, &version.getProductVersion());
    EXPECT_EQ(fields + 3, &version.getBuildNumberString());
    EXPECT_EQ(fields[1], u"1.2");
    EXPECT_EQ(fields[2], u"2.0");
}

TEST(BuildVersionAbi, HasOperationsOfTheseTypes) {
    require<Gives<V, V&, V&>>(&V::operator=);
    require<Reads<V, const UnicodeString&>>(&V::getBuildVersion);
    require<Reads<V, const UnicodeString&>>(&V::getProductVersion);
    require<Reads<V, const UnicodeString&>>(&V::getProtocolVersion);
    require<Reads<V, const UnicodeString&>>(&V::getBuildNumberString);
    require<Does<V>>(&V::tokenizeBuildVersionString);
}

// --- ExtendedProperties -------------------------------------------------------------------------

using E = ExtendedProperties;
using Map = std::map<UnicodeString, UnicodeString>;

static_assert(sizeof(E) == 8 + sizeof(Map) + sizeof(std::list<UnicodeString>) + 8);
static_assert(std::has_virtual_destructor_v<E> && !std::is_base_of_v<std::exception, E>);
static_assert(std::is_default_constructible_v<E>);
static_assert(!std::is_copy_constructible_v<E> && !std::is_copy_assignable_v<E>);
static_assert(std::is_same_v<E::const_iterator, Map::const_iterator>);
static_assert(E::charTab == 9 && E::charLineFeed == 10 && E::charReturn == 13 &&
              E::charBlank == 32 && E::charExclMark == 33 && E::charPound == 35 &&
              E::charPercent == 37 && E::charColon == 58 && E::charEquals == 61 &&
              E::charEscape == 92 && E::charN == 110 && E::charR == 114 && E::charT == 116 &&
              E::charU == 117);
static_assert(std::is_same_v<decltype(E::charTab), const char>);

TEST(ExtendedPropertiesAbi, HoldsTheMapAndThenTheIncludeNames) {
    E properties;
    properties.putProperty("a", "1");
    properties.putProperty("b", "2");
    properties.addInclude("name");
    const char* const begin = reinterpret_cast<const char*>(&properties);
    const auto* const map = reinterpret_cast<const Map*>(begin + 8);
    EXPECT_EQ(map->size(), 2u);
    EXPECT_TRUE(map->begin() == properties.begin());
    EXPECT_EQ(reinterpret_cast<const char*>(&properties.getIncludes()), begin + 8 + sizeof(Map));
}

TEST(ExtendedPropertiesAbi, HasOperationsOfTheseTypes) {
    using String = const UnicodeString&;
    require<Does<E, const E&>>(&E::copy);
    require<Does<E, String, String>>(&E::putProperty);
    require<Does<E, String, int>>(&E::putPropertyAsInt32);
    require<Does<E, String, unsigned int>>(&E::putPropertyAsUint32);
    require<Does<E, String, long>>(&E::putPropertyAsInt64);
    require<Does<E, String, unsigned long>>(&E::putPropertyAsUint64);
    require<Reads<E, bool, String>>(&E::hasProperty);
    require<Does<E, String>>(&E::removeProperty);
    require<Reads<E, E::const_iterator>>(&E::begin);
    require<Reads<E, E::const_iterator>>(&E::end);
    require<Reads<E, std::pair<UnicodeString, UnicodeString>, const E::const_iterator&>>(&E::get);
    require<Reads<E, const UnicodeString*, String, const UnicodeString*, bool>>(&E::getProperty);
    require<Reads<E, UnicodeString, String, String>>(&E::getProperty);
    require<Reads<E, String, String>>(&E::requireProperty);
    require<Does<E>>(&E::resolveProperties);
    require<Does<E, std::list<UnicodeString>&, String, UnicodeString&>>(&E::resolveProperty);
    require<Does<E, String>>(&E::addInclude);
    require<Reads<E, const std::list<UnicodeString>&>>(&E::getIncludes);
}

/// The three forms of a typed getter.
template <class T>
void requireGetter(Reads<E, T, const UnicodeString&, const T*> core,
                   Reads<E, T, const UnicodeString&, T> withDefault,
                   Reads<E, T, const UnicodeString&> required) {
    require(core);
    require(withDefault);
    require(required);
}

TEST(ExtendedPropertiesAbi, HasThreeGettersOfEachType) {
    requireGetter<bool>(&E::getPropertyAsBoolean, &E::getPropertyAsBoolean,
                        &E::requirePropertyAsBoolean);
    requireGetter<int>(&E::getPropertyAsInt32, &E::getPropertyAsInt32, &E::requirePropertyAsInt32);
    requireGetter<unsigned int>(&E::getPropertyAsUInt32, &E::getPropertyAsUInt32,
                                &E::requirePropertyAsUInt32);
    requireGetter<long>(&E::getPropertyAsInt64, &E::getPropertyAsInt64, &E::requirePropertyAsInt64);
    requireGetter<unsigned long>(&E::getPropertyAsUInt64, &E::getPropertyAsUInt64,
                                 &E::requirePropertyAsUInt64);
    requireGetter<double>(&E::getPropertyAsDouble, &E::getPropertyAsDouble,
                          &E::requirePropertyAsDouble);
}

TEST(ExtendedPropertiesAbi, ReadsAndWritesThroughOperationsOfTheseTypes) {
    using Bytes = const char*;
    using Skip = void (*)(std::size_t&, Bytes, std::size_t);
    require<Does<E, Bytes, std::size_t>>(&E::load);
    require<Does<E, Bytes, std::size_t, bool, bool>>(&E::loadFromString);
    require<Does<E, Bytes, std::size_t>>(&E::loadFromString);
    require<Does<E, const UnicodeString&>>(&E::loadFromString);
    require<Gives<E, bool, std::size_t&, Bytes, std::size_t>>(&E::loadLine);
    require<void (*)(UnicodeString&, std::size_t&, Bytes, std::size_t)>(&E::readEscaped);
    require<Skip>(&E::skipAssignOp);
    require<Skip>(&E::skipWhiteSpace);
    require<Skip>(&E::skipNewLine);
    require<Skip>(&E::skipLine);
    require<Does<E, OutputStream&>>(&E::store);
    require<void (*)(OutputStream&, const UnicodeString&, bool, bool)>(&E::writeString);
    require<Does<E, std::ostream&>>(&E::list);
    EXPECT_STREQ(E::EncodingISOLatin1, "ISO8859_1");
    EXPECT_STREQ(E::backupFileSuffix, ".kvbk");
}

TEST(TextAbi, HasTheDeletingDestructorInItsSecondSlot) {
    expectDestructorSlots(new D(5000));
    expectDestructorSlots(new S(std::string(5000, 'x').c_str()));
    expectDestructorSlots(new A(nullptr, 0));
    expectDestructorSlots(new RecordingInput);
    auto* const properties = new E;
    properties->putProperty("a", "1");
    expectDestructorSlots(properties);
}

}  // namespace
}  // namespace nx::oss

// What programs that were compiled against an earlier build of the library rely on in the classes
// of text, numbers, streams and settings: sizes, order of fields and virtual tables.
#include <cstddef>
#include <list>
#include <map>
#include <string>
#include <type_traits>
#include <vector>

#include <gtest/gtest.h>

#include <unicode/numfmt.h>
#include <unicode/smpdtfmt.h>

#include <infra/oss/kelBuildVersion.h>
#include <infra/oss/kelByteArrayOutputStream.h>
#include <infra/oss/kelFormatter.h>
#include <infra/oss/kelInputStream.h>
#include <infra/oss/kelNLSUtility.h>
#include <infra/oss/kelPrintStream.h>
#include <infra/oss/kelStringTokenizer.h>
#include <infra/oss/kelUTF8Iterator.h>
#include <infra/oss/kelUTF8String.h>
#include <infra/util/kelExtendedProperties.h>

#include "kelObjectStorage.h"

namespace nx::oss {
namespace {

using icu::UnicodeString;
using layout::expectDestructorSlots;
using layout::numberAt;
using layout::slot;
using layout::word;
using util::ExtendedProperties;

// --- DataBuffer ---------------------------------------------------------------------------------

using D = DataBuffer;

static_assert(sizeof(D) == 4128);

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

// --- UTF8String, UTF8Iterator -------------------------------------------------------------------

using S = UTF8String;
using I = UTF8Iterator;

static_assert(sizeof(S) == 4128);

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

// --- Formatter, NLSUtility ----------------------------------------------------------------------

using F = Formatter;

static_assert(sizeof(F) == 112);
static_assert(!std::is_polymorphic_v<F>);

TEST(FormatterAbi, HoldsLocaleAndStyles) {
    const F formatter(F::LONG, F::MEDIUM, "deDE");
    EXPECT_EQ(formatter.getLocale(), reinterpret_cast<const char*>(&formatter));
    EXPECT_EQ(numberAt(formatter, 68), 1);
    EXPECT_EQ(numberAt(formatter, 72), 2);
}

/// The pattern of the date format that a word of the object points to.
UnicodeString patternAt(const F& formatter, std::size_t index) {
    const auto* const format = static_cast<const icu::DateFormat*>(word(formatter, index));
    UnicodeString pattern;
    return dynamic_cast<const icu::SimpleDateFormat&>(*format).toPattern(pattern);
}

TEST(FormatterAbi, HoldsTheFormatsOfDateTimeBothAndNumbersInThisOrder) {
    const F formatter(F::LONG, F::MEDIUM, "deDE");
    EXPECT_EQ(patternAt(formatter, 10), u"d. MMMM y");
    EXPECT_EQ(patternAt(formatter, 11), u"HH:mm:ss");
    EXPECT_TRUE(patternAt(formatter, 12).startsWith(u"d. MMMM y"));
    EXPECT_TRUE(patternAt(formatter, 12).endsWith(u"HH:mm:ss"));
    UnicodeString number;
    static_cast<const icu::NumberFormat*>(word(formatter, 13))->format(1234567, number);
    EXPECT_EQ(number, u"1.234.567");
}

static_assert(sizeof(NLSConfigEntry) == 16);
static_assert(offsetof(NLSConfigEntry, key) == 0 && offsetof(NLSConfigEntry, value) == 8);

// --- Streams ------------------------------------------------------------------------------------

using A = ByteArrayOutputStream;
using P = PrintStream;

static_assert(sizeof(InputStream) == 8 && std::is_abstract_v<InputStream>);
static_assert(sizeof(OutputStream) == 8 && std::is_abstract_v<OutputStream>);
static_assert(sizeof(A) == 32);
static_assert(sizeof(P) == 8 && std::has_virtual_destructor_v<P>);

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

// --- StringTokenizer, BuildVersion --------------------------------------------------------------

using T = StringTokenizer;
using V = BuildVersion;

static_assert(sizeof(T) == 4280);
static_assert(!std::is_polymorphic_v<T>);
static_assert(sizeof(V) == 4 * sizeof(UnicodeString) && !std::is_polymorphic_v<V>);

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

// --- ExtendedProperties -------------------------------------------------------------------------

using E = ExtendedProperties;
using Map = std::map<UnicodeString, UnicodeString>;

static_assert(sizeof(E) == 8 + sizeof(Map) + sizeof(std::list<UnicodeString>) + 8);

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

#include <infra/util/kelExtendedProperties.h>

#include <algorithm>
#include <sstream>
#include <string>

#include <gtest/gtest.h>
#include <infra/oss/kelByteArrayOutputStream.h>
#include <infra/oss/kelIOException.h>

#include "support/kelPropertiesSupport.h"
#include "support/kelRaises.h"

namespace nx::util {
namespace {

using icu::UnicodeString;
using test::hex4;
using test::pairsOf;
using test::RecordingStream;
using test::Report;
using test::shown;
using test::ShownPairs;
using test::stored;

const std::string HEADER = "#saved by ExtendedProperties on \r\n";

std::string written(const UnicodeString& text, bool escapeBlank, bool escapeSpecial) {
    RecordingStream stream;
    ExtendedProperties::writeString(stream, text, escapeBlank, escapeSpecial);
    EXPECT_EQ(stream.characters, static_cast<int>(stream.written.size()));
    EXPECT_EQ(stream.flushed, 0);
    return stream.written;
}

// --- One string ---------------------------------------------------------------------------------

TEST(ExtendedPropertiesWriteString, WritesEveryCharacterBelow128AsTheFlagsSay) {
    const std::string special = "\r\n\t!#\\:=";
    const std::string letters = "rnt!#\\:=";
    for (int c = 0; c < 128; ++c) {
        const std::string plain(1, static_cast<char>(c));
        const std::size_t found = special.find(static_cast<char>(c));
        const std::string escaped =
            found == std::string::npos ? plain : std::string("\\") + letters[found];
        const std::string blank = c == ' ' ? "\\ " : plain;
        const UnicodeString text(static_cast<UChar32>(c));
        EXPECT_EQ(written(text, false, false), plain) << c;
        EXPECT_EQ(written(text, true, false), blank) << c;
        EXPECT_EQ(written(text, false, true), escaped) << c;
        EXPECT_EQ(written(text, true, true), c == ' ' ? blank : escaped) << c;
    }
}

TEST(ExtendedPropertiesWriteString, WritesEveryUnitAbove127AsFourDigitsWhateverTheFlags) {
    for (unsigned unit = 128; unit <= 0xFFFF; ++unit) {
        const UnicodeString text(static_cast<char16_t>(unit));
        const std::string wanted = "\\u" + hex4(unit);
        ASSERT_EQ(written(text, false, false), wanted);
        ASSERT_EQ(written(text, true, true), wanted);
    }
}

// Required: a character above U+FFFF is lost.
TEST(ExtendedPropertiesWriteString, WritesASupplementaryCharacterTwiceAsItsLow16Bits) {
    EXPECT_EQ(written(UnicodeString(static_cast<UChar32>(0x1F600)), true, true), "\\uF600\\uF600");
    EXPECT_EQ(written(UnicodeString(static_cast<UChar32>(0x10000)), false, false),
              "\\u0000\\u0000");
    EXPECT_EQ(written(UnicodeString(static_cast<UChar32>(0x10FFFF)), false, false),
              "\\uFFFF\\uFFFF");
    EXPECT_EQ(written(UnicodeString(static_cast<UChar32>(0x2003D)), true, true), "\\u003D\\u003D");
    EXPECT_EQ(written(UnicodeString(u"a").append(static_cast<UChar32>(0x1F600)).append(u'b'), false,
                      false),
              "a\\uF600\\uF600b");
}

TEST(ExtendedPropertiesWriteString, WritesLoneSurrogatesAsTheyAre) {
    const char16_t lead = 0xD83D;
    const char16_t trail = 0xDE00;
    const auto units = [](std::initializer_list<char16_t> list) {
        UnicodeString text;
        for (const char16_t unit : list) {
            text.append(unit);
        }
        return text;
    };
    EXPECT_EQ(written(units({lead}), true, true), "\\uD83D");
    EXPECT_EQ(written(units({trail}), true, true), "\\uDE00");
    EXPECT_EQ(written(units({trail, lead}), true, true), "\\uDE00\\uD83D");
    EXPECT_EQ(written(units({lead, u'a', trail}), true, true), "\\uD83Da\\uDE00");
    EXPECT_EQ(written(units({lead, lead, trail}), true, true), "\\uD83D\\uF600\\uF600");
    EXPECT_EQ(written(units({lead, trail, trail}), true, true), "\\uF600\\uF600\\uDE00");
}

TEST(ExtendedPropertiesWriteString, WritesNothingForEmptyAndNullText) {
    UnicodeString null;
    null.setToBogus();
    EXPECT_EQ(written("", true, true), "");
    EXPECT_EQ(written(null, true, true), "");
}

TEST(ExtendedPropertiesWriteString, EscapesEveryBlankNotOnlyLeadingOnes) {
    EXPECT_EQ(written(" a b ", true, false), "\\ a\\ b\\ ");
    EXPECT_EQ(written(" a=b ", true, true), "\\ a\\=b\\ ");
    EXPECT_EQ(written(" a=b ", false, true), " a\\=b ");
    EXPECT_EQ(written(" a=b ", true, false), "\\ a=b\\ ");
}

// --- The whole set ------------------------------------------------------------------------------

TEST(ExtendedPropertiesStore, WritesTheHeaderWithNothingBehindItsLastBlank) {
    ExtendedProperties properties;
    EXPECT_EQ(stored(properties), "#saved by ExtendedProperties on \r\n");
}

TEST(ExtendedPropertiesStore, WritesPairsInKeyOrder) {
    ExtendedProperties properties;
    properties.putProperty("b", "2");
    properties.putProperty("B", "");
    properties.putProperty("", "x");
    EXPECT_EQ(stored(properties), HEADER + "=x\r\nB=\r\nb=2\r\n");
}

TEST(ExtendedPropertiesStore, EscapesBlanksInKeysOnly) {
    ExtendedProperties properties;
    properties.putProperty("a b:c", " x=y\n");
    EXPECT_EQ(stored(properties), HEADER + "a\\ b\\:c= x\\=y\\n\r\n");
}

TEST(ExtendedPropertiesStore, WritesLatin1CharactersAsDigits) {
    ExtendedProperties properties;
    test::load(properties, "k=\xE9");
    EXPECT_EQ(shown(properties.requireProperty("k")), "{00E9}");
    EXPECT_EQ(stored(properties), HEADER + "k=\\u00E9\r\n");
}

TEST(ExtendedPropertiesStore, WritesControlCharactersAsTheyAre) {
    ExtendedProperties properties;
    properties.putProperty("k", UnicodeString(u"\0\x01\x7F\f", 4));
    EXPECT_EQ(stored(properties), HEADER + "k=" + std::string("\0\x01\x7F\f", 4) + "\r\n");
}

TEST(ExtendedPropertiesStore, EscapesNoPercentSign) {
    ExtendedProperties properties;
    properties.putProperty("k%", "%a%");
    EXPECT_EQ(stored(properties), HEADER + "k%=%a%\r\n");
}

TEST(ExtendedPropertiesStore, WritesIncludesUnescapedInTheirOrder) {
    ExtendedProperties properties;
    properties.putProperty("a", "1");
    properties.addInclude("z=1 #!:\\\t.cfg");
    properties.addInclude(u"\u00E9");
    properties.addInclude("");
    properties.addInclude("z");
    EXPECT_EQ(stored(properties), HEADER +
                                      "#include z=1 #!:\\\t.cfg\r\n#include \\u00E9\r\n#include "
                                      "\r\n#include z\r\na=1\r\n");
}

TEST(ExtendedPropertiesStore, WritesLineEndsInIncludesAsTheyAre) {
    ExtendedProperties properties;
    properties.addInclude("x\r\ny=1");
    EXPECT_EQ(stored(properties), HEADER + "#include x\r\ny=1\r\n");
}

TEST(ExtendedPropertiesStore, ReadsIncludesBackAsComments) {
    ExtendedProperties properties;
    properties.putProperty("a", "1");
    properties.addInclude("other");
    ExtendedProperties read;
    test::load(read, stored(properties));
    EXPECT_EQ(pairsOf(read), (ShownPairs{{"a", "1"}}));
    EXPECT_TRUE(read.getIncludes().empty());
}

TEST(ExtendedPropertiesStore, WritesSingleCharactersAndLineEndsOnlyAndFlushesOnce) {
    ExtendedProperties properties;
    properties.addInclude("i");
    properties.putProperty("k", u"v\u00E9");
    RecordingStream stream;
    properties.store(stream);
    EXPECT_EQ(stream.written, HEADER + "#include i\r\nk=v\\u00E9\r\n");
    EXPECT_EQ(stream.texts, (std::vector<std::string>{"\r\n", "\r\n", "\r\n"}));
    EXPECT_EQ(stream.characters, static_cast<int>(stream.written.size()) - 3 * 2);
    EXPECT_EQ(stream.blocks, 0);
    EXPECT_EQ(stream.flushed, 1);
    EXPECT_EQ(stream.writtenBeforeFlush, stream.written);
    EXPECT_EQ(stream.closed, 0);
}

TEST(ExtendedPropertiesStore, ChangesNothingInTheSet) {
    ExtendedProperties properties;
    properties.addInclude("i");
    properties.putProperty("k", "%k%");
    const std::string first = stored(properties);
    EXPECT_EQ(stored(properties), first);
    EXPECT_EQ(pairsOf(properties), (ShownPairs{{"k", "%k%"}}));
}

TEST(ExtendedPropertiesStore, PassesErrorsOfTheStreamOnAndLeavesWhatWasWritten) {
    class Limited : public RecordingStream {
      public:
        explicit Limited(std::size_t limit) : limit_(limit) {}
        using RecordingStream::write;
        void write(char c) override {
            if (written.size() == limit_) {
                throw std::string("full");
            }
            RecordingStream::write(c);
        }

      private:
        std::size_t limit_;
    };
    ExtendedProperties properties;
    properties.putProperty("key", "value");
    Limited stream(HEADER.size() + 6);
    EXPECT_THROW(properties.store(stream), std::string);
    EXPECT_EQ(stream.written, HEADER + "key=va");
    EXPECT_EQ(stream.flushed, 0);
    EXPECT_EQ(stream.closed, 0);
}

TEST(ExtendedPropertiesStore, WritesToAByteArray) {
    ExtendedProperties properties;
    properties.putProperty("k", "v");
    char bytes[64];
    oss::ByteArrayOutputStream fits(bytes, sizeof bytes);
    properties.store(fits);
    EXPECT_EQ(std::string(bytes, HEADER.size() + 5), HEADER + "k=v\r\n");
    char few[4];
    oss::ByteArrayOutputStream full(few, sizeof few);
    EXPECT_THROW(properties.store(full), oss::IOException);
    EXPECT_EQ(std::string(few, 3), "#sa");
}

/// Escapes, characters of four digits, empty texts, and pairs of all lengths.
void fillVaried(ExtendedProperties& properties) {
    properties.addInclude("name");
    properties.putProperty("", "");
    properties.putProperty("a b", " c=\t\r\n!#:\\");
    properties.putProperty(u"\u00E9", u"\u4E00 and more");
    properties.putProperty("long", UnicodeString(300, u'v', 300));
}

TEST(ExtendedPropertiesStore, FillsAByteArrayOfAnySizeUpToItsEnd) {
    ExtendedProperties properties;
    fillVaried(properties);
    const std::string whole = stored(properties);
    for (std::size_t size = 0; size <= whole.size() + 2'000; ++size) {
        std::string bytes(size + 1, '?');
        oss::ByteArrayOutputStream out(&bytes[0], size);
        const std::size_t fitting = std::min(size, whole.size());
        if (fitting < whole.size()) {
            EXPECT_RAISES(oss::IOException, properties.store(out),
                          Report("ERR_BUFFER_SIZE_TOO_SMALL")
                              .at("kelByteArrayOutputStream.cpp", 47)
                              .with({std::to_string(size)}));
        } else {
            properties.store(out);
        }
        ASSERT_EQ(out.getCount(), fitting) << size;
        ASSERT_EQ(bytes, whole.substr(0, fitting) + std::string(size + 1 - fitting, '?'));
    }
}

TEST(ExtendedPropertiesStore, GivesEachCharacterToAClassDerivedFromTheByteArray) {
    class Counting : public oss::ByteArrayOutputStream {
      public:
        using ByteArrayOutputStream::ByteArrayOutputStream;
        using ByteArrayOutputStream::write;
        void write(char c) override {
            ++characters;
            ByteArrayOutputStream::write(c);
        }
        unsigned long characters = 0;
    };
    ExtendedProperties properties;
    fillVaried(properties);
    char bytes[4096];
    Counting out(bytes, sizeof bytes);
    properties.store(out);
    EXPECT_EQ(std::string(bytes, out.getCount()), stored(properties));
    EXPECT_EQ(out.characters, out.getCount());
}

// --- Round trips --------------------------------------------------------------------------------

ShownPairs roundTrip(const UnicodeString& key, const UnicodeString& value) {
    ExtendedProperties properties;
    properties.putProperty(key, value);
    return test::readPairs(stored(properties));
}

TEST(ExtendedPropertiesRoundTrip, KeepsEveryCharacterOfTheBasicPlane) {
    ExtendedProperties properties;
    ShownPairs wanted;
    for (unsigned unit = 0; unit <= 0xFFFF; ++unit) {
        if ((unit < 0xD800 || unit > 0xDFFF) && (unit < 0xFDD0 || unit > 0xFDEF) && unit < 0xFFFE) {
            const auto c = static_cast<char16_t>(unit);
            properties.putProperty(UnicodeString(c).append(u'k'), UnicodeString(u"v").append(c));
            wanted.emplace_back(shown(UnicodeString(c)) + "k", "v" + shown(UnicodeString(c)));
        }
    }
    EXPECT_TRUE(test::readPairs(stored(properties)) == wanted);
}

TEST(ExtendedPropertiesRoundTrip, KeepsEmptyKeysAndValues) {
    EXPECT_EQ(roundTrip("", ""), (ShownPairs{{"", ""}}));
    EXPECT_EQ(roundTrip("", "v"), (ShownPairs{{"", "v"}}));
    EXPECT_EQ(roundTrip("k", ""), (ShownPairs{{"k", ""}}));
    EXPECT_EQ(roundTrip(" \t\r\n!#:=\\ ", "\t\r\n!#:=\\ "),
              (ShownPairs{{" {0009}{000D}{000A}!#:=\\ ", "{0009}{000D}{000A}!#:=\\ "}}));
}

// Required: values are written without escaped blanks.
TEST(ExtendedPropertiesRoundTrip, LosesBlanksAtTheStartOfAValue) {
    EXPECT_EQ(roundTrip("a b:c", " x=y\n"), (ShownPairs{{"a b:c", "x=y{000A}"}}));
    EXPECT_EQ(roundTrip("k", "   "), (ShownPairs{{"k", ""}}));
    EXPECT_EQ(roundTrip("k", "\t v "), (ShownPairs{{"k", "{0009} v "}}));
}

TEST(ExtendedPropertiesRoundTrip, LosesSupplementaryCharactersSurrogatesAndNoncharacters) {
    EXPECT_EQ(roundTrip("k", UnicodeString(static_cast<UChar32>(0x1F600))),
              (ShownPairs{{"k", "{F600}{F600}"}}));
    EXPECT_EQ(roundTrip("k", UnicodeString(static_cast<char16_t>(0xD83D))),
              (ShownPairs{{"k", "uD83D"}}));
    EXPECT_EQ(roundTrip("k", UnicodeString(static_cast<char16_t>(0xFFFF))),
              (ShownPairs{{"k", "uFFFF"}}));
}

// --- Listing ------------------------------------------------------------------------------------

TEST(ExtendedPropertiesList, WritesPairsInFullWithoutEscapes) {
    ExtendedProperties properties;
    properties.putProperty("b c", "=:#!\\ \t");
    properties.putProperty(u"\u00E9", u"\u4E00");
    properties.putProperty("", "x");
    properties.putProperty("l", UnicodeString(10'000, u'v', 10'000));
    properties.addInclude("not listed");
    std::ostringstream os;
    properties.list(os);
    EXPECT_EQ(os.str(), "-- listing properties --\n=x\nb c==:#!\\ \t\nl=" +
                            std::string(10'000, 'v') + "\n\xC3\xA9=\xE4\xB8\x80\n");
}

TEST(ExtendedPropertiesList, OfAnEmptySetIsItsTitle) {
    ExtendedProperties properties;
    std::ostringstream os;
    properties.list(os);
    EXPECT_EQ(os.str(), "-- listing properties --\n");
}

// The stream insertion of ICU hands text on as a C string.
TEST(ExtendedPropertiesList, CutsTextsAtANul) {
    ExtendedProperties properties;
    properties.putProperty(UnicodeString(u"k\0x", 3), UnicodeString(u"v\0y", 3));
    std::ostringstream os;
    properties.list(os);
    EXPECT_EQ(os.str(), "-- listing properties --\nk=v\n");
}

TEST(ExtendedPropertiesList, FlushesAfterEveryLine) {
    class Counting : public std::stringbuf {
      public:
        int flushed = 0;

      protected:
        int sync() override {
            ++flushed;
            return 0;
        }
    };
    ExtendedProperties properties;
    properties.putProperty("a", "1");
    properties.putProperty("b", "2");
    Counting buffer;
    std::ostream os(&buffer);
    properties.list(os);
    EXPECT_EQ(buffer.flushed, 3);
}

}  // namespace
}  // namespace nx::util

#include <algorithm>

#include <infra/oss/kelConverter.h>

#include <gtest/gtest.h>

#include "support/kelCodePages.h"
#include "support/kelGuardedBuffer.h"

namespace nx::oss {
namespace {

using icu::UnicodeString;
using test::GuardedBuffer;

struct Row {
    const char* codePage;
    const char16_t* text;
    std::string bytes;
};

std::ostream& operator<<(std::ostream& out, const Row& row) { return out << row.codePage; }

const Row ROWS[] = {
    {"UTF-8", u"a\u00E9\u3042\U0001F600", "a\xC3\xA9\xE3\x81\x82\xF0\x9F\x98\x80"},
    {"utf-8", u"a\u00E9\u3042\U0001F600", "a\xC3\xA9\xE3\x81\x82\xF0\x9F\x98\x80"},
    {"UTF-16", u"a\u00E9\u3042", {"\xFF\xFE\x61\x00\xE9\x00\x42\x30", 8}},
    {"UTF-16LE", u"a\u00E9\u3042", {"\x61\x00\xE9\x00\x42\x30", 6}},
    {"UTF-16BE", u"a\u00E9\U0001F600", {"\x00\x61\x00\xE9\xD8\x3D\xDE\x00", 8}},
    // Aliases of "UTF-16BE,version=1" and "UTF-16LE,version=1", which write a byte order mark.
    {"UnicodeBig", u"a\u3042", {"\xFE\xFF\x00\x61\x30\x42", 6}},
    {"UnicodeLittle", u"a\u3042", {"\xFF\xFE\x61\x00\x42\x30", 6}},
    {"UTF-32", u"a\u3042", {"\xFF\xFE\x00\x00\x61\x00\x00\x00\x42\x30\x00\x00", 12}},
    {"UTF-7", u"a\u00E9\u3042", "a+AOkwQg-"},
    {"CESU-8", u"a\U0001F600", "a\xED\xA0\xBD\xED\xB8\x80"},
    {"SCSU", u"a\u00E9\u044F", "a\xE9\x12\xCF"},
    {"BOCU-1", u"a\u00E9", "\xB1\xD0\x76"},
    {"ISO-8859-1", u"a\u00E9\u00FF", "a\xE9\xFF"},
    {"ISO-8859-15", u"\u20AC\u00E9", "\xA4\xE9"},
    {"windows-1252", u"\u20AC\u2019", "\x80\x92"},
    {"KOI8-R", u"\u044F", "\xD1"},
    {"Big5", u"a\u4E2D", "a\xA4\xA4"},
    {"US-ASCII", u"a~", "a~"},
    {"Shift_JIS", u"a\u3042", "a\x82\xA0"},
    {"EUC-JP", u"a\u3042", "a\xA4\xA2"},
    {"EUC-KR", u"\uAC00", "\xB0\xA1"},
    {"GB18030", u"\u00E9\u4E2D\U0001F600", "\xA8\xA6\xD6\xD0\x94\x39\xFC\x36"},
    // The stream starts by selecting ASCII.
    {"HZ", u"a\u4E2Db", "~}a~{VP~}b"},
    {"ibm-930", u"A\u3042", "\xC1\x0E\x44\x81\x0F"},
    {"ISO-2022-JP", u"a\u3042b", "a\x1B$B$\"\x1B(Bb"},
    {"IMAP-mailbox-name", u"a\u00E9&", "a&AOk-&-"},
};

class ConverterCodePages : public testing::TestWithParam<Row> {
  protected:
    int size() const { return static_cast<int>(GetParam().bytes.size()); }
    UnicodeString text() const { return GetParam().text; }
    const char* codePage() const { return GetParam().codePage; }
    const std::string& bytes() const { return GetParam().bytes; }
};

TEST_P(ConverterCodePages, TheBytesFormWritesTheBytesAndNothingBehindThem) {
    GuardedBuffer dest(size() + 8);
    EXPECT_EQ(Converter::convertToBytes(dest.data(), size() + 8, codePage(), text()), size());
    EXPECT_EQ(dest.first(bytes().size()), bytes());
    EXPECT_TRUE(dest.untouchedAfter(bytes().size()));
}

TEST_P(ConverterCodePages, TheTextFormAddsOneZeroByteWhateverTheUnitSize) {
    GuardedBuffer dest(size() + 8);
    EXPECT_EQ(Converter::convert(dest.data(), size() + 8, codePage(), text()), size() + 1);
    EXPECT_EQ(dest.first(bytes().size() + 1), bytes() + '\0');
    EXPECT_TRUE(dest.untouchedAfter(bytes().size() + 1));
}

TEST_P(ConverterCodePages, TheSizeQueryReturnsWhatTheConversionReturns) {
    EXPECT_EQ(Converter::convertToBytes(nullptr, 0, codePage(), text()), size());
    EXPECT_EQ(Converter::convert(nullptr, 0, codePage(), text()), size() + 1);
}

TEST_P(ConverterCodePages, BytesAreReadBack) {
    const std::string wanted = [this] {
        std::string utf8;
        return text().toUTF8String(utf8);
    }();
    // "utf-8" and a target of the same name would copy.
    GuardedBuffer dest(64);
    ASSERT_EQ(Converter::convert(dest.data(), 64, "UTF8", bytes().data(), size(), codePage()),
              static_cast<int>(wanted.size()) + 1);
    EXPECT_EQ(dest.first(wanted.size() + 1), wanted + '\0');
    EXPECT_TRUE(dest.untouchedAfter(wanted.size() + 1));
    EXPECT_EQ(Converter::convert(nullptr, 0, "UTF8", bytes().data(), size(), codePage()),
              static_cast<int>(wanted.size()) + 1);
}

INSTANTIATE_TEST_SUITE_P(All, ConverterCodePages, testing::ValuesIn(ROWS));

TEST(ConverterCodePageTable, HasARowForEveryCodePageOfTheList) {
    for (const char* codePage : test::CODE_PAGES) {
        EXPECT_TRUE(std::any_of(std::begin(ROWS), std::end(ROWS), [&](const Row& row) {
            return std::string(row.codePage) == codePage;
        })) << codePage;
    }
}

}  // namespace
}  // namespace nx::oss

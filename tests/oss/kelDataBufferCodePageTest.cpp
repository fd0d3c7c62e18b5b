// Unicode text in a DataBuffer: the bytes of many code pages, inserted in place and while growing.
#include <infra/oss/kelDataBuffer.h>

#include <string>

#include <gtest/gtest.h>

namespace nx::oss {
namespace {

using icu::UnicodeString;

std::string contentOf(const DataBuffer& buffer) {
    EXPECT_EQ(buffer.getString()[buffer.length()], '\0');
    return {buffer.getString(), static_cast<std::size_t>(buffer.length())};
}

struct Encoded {
    const char* name;
    UnicodeString text;
    const char* codePage;
    std::string bytes;
};

void PrintTo(const Encoded& encoded, std::ostream* out) { *out << encoded.name; }

class DataBufferCodePage : public testing::TestWithParam<Encoded> {};

TEST_P(DataBufferCodePage, IsThatOfTheBytesAppended) {
    DataBuffer buffer("<");
    buffer.appendString(GetParam().text, GetParam().codePage);
    EXPECT_EQ(contentOf(buffer), "<" + GetParam().bytes);
}

TEST_P(DataBufferCodePage, IsThatOfTheBytesInserted) {
    DataBuffer buffer("<>");
    buffer.insertString(1, GetParam().text, GetParam().codePage);
    EXPECT_EQ(contentOf(buffer), "<" + GetParam().bytes + ">");
}

TEST_P(DataBufferCodePage, IsThatOfTheBytesInANewBuffer) {
    const DataBuffer buffer(GetParam().text, GetParam().codePage);
    EXPECT_EQ(contentOf(buffer), GetParam().bytes);
}

// The bytes fill the inline storage to its last character, and then are one too many.
TEST_P(DataBufferCodePage, FillsTheInlineStorageExactly) {
    const int count = static_cast<int>(GetParam().bytes.size());
    for (const int room : {count, count - 1}) {
        const std::string front(static_cast<std::size_t>(4096 - room), 'f');
        DataBuffer appended(front.c_str());
        appended.appendString(GetParam().text, GetParam().codePage);
        DataBuffer inserted(front.c_str());
        inserted.insertString(0, GetParam().text, GetParam().codePage);
        if (room == count) {
            EXPECT_EQ(contentOf(appended), front + GetParam().bytes);
            EXPECT_EQ(contentOf(inserted), GetParam().bytes + front);
            EXPECT_EQ(appended.capacity(), 4096);
            EXPECT_EQ(inserted.capacity(), 4096);
        } else {
            const std::string text = GetParam().bytes.c_str();  // up to the first NUL
            EXPECT_EQ(contentOf(appended), front + text);
            EXPECT_EQ(contentOf(inserted), text + front);
            EXPECT_EQ(appended.capacity(), 4097 + 4096);
            EXPECT_EQ(inserted.capacity(), 4097 + 4096);
        }
    }
}

INSTANTIATE_TEST_SUITE_P(
    Names, DataBufferCodePage,
    testing::Values(Encoded{"Default", u"a\u00E9\u20AC", nullptr, "a\xC3\xA9\xE2\x82\xAC"},
                    Encoded{"Empty", u"a\u00E9\u20AC", "", "a\xC3\xA9\xE2\x82\xAC"},
                    Encoded{"Utf8", u"a\u00E9\U0001F600", "UTF-8", "a\xC3\xA9\xF0\x9F\x98\x80"},
                    Encoded{"Utf8Alias", u"\u00E9", "utf8", "\xC3\xA9"},
                    Encoded{"Latin1", u"a\u00E9", "ISO8859_1", "a\xE9"},
                    Encoded{"Windows", u"\u20AC", "windows-1252", "\x80"},
                    Encoded{"Cyrillic", u"\u044F", "KOI8-R", "\xD1"},
                    Encoded{"ShiftJis", u"\u3042", "Shift_JIS", "\x82\xA0"},
                    Encoded{"EucJp", u"\u3042", "EUC-JP", "\xA4\xA2"},
                    Encoded{"AsciiSubstitute", u"a\u4E00", "US-ASCII", "a\x1A"},
                    Encoded{"EmbeddedNul", UnicodeString(u"a\0b", 3), "UTF-8",
                            std::string("a\0b", 3)},
                    Encoded{"Utf16Be", u"ab", "UTF-16BE", std::string("\0a\0b", 4)},
                    Encoded{"Utf16Le", u"ab", "UTF-16LE", std::string("a\0b\0", 4)},
                    Encoded{"Utf16Signed", u"a", "UTF16", std::string("\xFF\xFE\x61\0", 4)},
                    Encoded{"Utf32Le", u"a", "UTF-32LE", std::string("a\0\0\0", 4)}),
    [](const auto& param) { return std::string(param.param.name); });

TEST(DataBufferCodePages, ABogusTextIsNothingInAnyOfThem) {
    UnicodeString bogus;
    bogus.setToBogus();
    DataBuffer buffer("abc");
    for (const char* const codePage :
         {static_cast<const char*>(nullptr), "", "UTF-8", "ISO-8859-1", "KOI8-R", "UTF16"}) {
        buffer.appendString(bogus, codePage);
        buffer.insertString(1, bogus, codePage);
        EXPECT_EQ(contentOf(DataBuffer(bogus, codePage)), "");
    }
    EXPECT_EQ(contentOf(buffer), "abc");
}

// Converters drop such a character where the code page does not have it.
TEST(DataBufferCodePages, ATextOfIgnorableCharactersConvertsToNothing) {
    DataBuffer buffer("abc");
    buffer.appendString(u"\u200D\u200D", "US-ASCII");
    buffer.insertString(1, u"\u200D", "US-ASCII");
    EXPECT_EQ(contentOf(buffer), "abc");
}

}  // namespace
}  // namespace nx::oss

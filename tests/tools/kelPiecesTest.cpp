// Pieces of every code page that there is, against ICU's conversion of the whole.

#include <gtest/gtest.h>

#include <unicode/ucnv.h>
#include <unicode/unistr.h>

#include <memory>
#include <set>

#include "kelconv/kelCodePage.h"
#include "kelconv/kelPieces.h"

namespace {

using tools::CodePage;
using tools::PieceDecoder;
using tools::PieceEncoder;

constexpr std::size_t PIECE = 256;

using Converter = std::unique_ptr<UConverter, decltype(&ucnv_close)>;

/// A new one for each use: some keep a state that a reset does not reach.
Converter openConverter(const std::string& name) {
    UErrorCode error = U_ZERO_ERROR;
    return {ucnv_open(name.c_str(), &error), &ucnv_close};
}

icu::UnicodeString decodeWithIcu(const std::string& name, const std::string& bytes) {
    const Converter converter = openConverter(name);
    UErrorCode error = U_ZERO_ERROR;
    return icu::UnicodeString(bytes.data(), static_cast<int>(bytes.size()), converter.get(), error);
}

std::string encodeWithIcu(const std::string& name, const icu::UnicodeString& text) {
    const Converter converter = openConverter(name);
    UErrorCode error = U_ZERO_ERROR;
    std::string bytes(static_cast<std::size_t>(text.length()) * 16 + 64, '\0');
    const int length =
        text.extract(bytes.data(), static_cast<int>(bytes.size()), converter.get(), error);
    EXPECT_TRUE(U_SUCCESS(error));
    bytes.resize(static_cast<std::size_t>(length));
    return bytes;
}

/// Characters of many scripts that the code page has.
std::vector<UChar32> charactersOf(const std::string& name) {
    std::vector<UChar32> kept;
    for (const UChar32 character :
         {0x41,   0x7A,   0x7E,   0x5C,   0x2B,   0xE9,   0xDF,    0x416,
          0x3B1,  0x5D0,  0x627,  0x905,  0xE01,  0x20AC, 0x3042,  0x30AB,
          0xFF76, 0x4E2D, 0x6587, 0x8A9E, 0xAC00, 0xD55C, 0x20BB7, 0x1F600}) {
        const icu::UnicodeString text(character);
        if (decodeWithIcu(name, encodeWithIcu(name, text)) == text) {
            kept.push_back(character);
        }
    }
    return kept;
}

/// Lines of several lengths in which those characters stand in groups and alone.
icu::UnicodeString sampleOf(const std::vector<UChar32>& characters) {
    icu::UnicodeString text;
    unsigned random = 1;
    for (int line = 0; line < 60; ++line) {
        for (int i = 0; i < 4 + line % 30; ++i) {
            random = random * 1103515245U + 12345U;
            text.append(characters[(random >> 16U) % characters.size()]);
            if ((random >> 8U & 3U) == 0) {
                text.append(u' ');
            }
        }
        text.append(u'\n');
    }
    return text;
}

struct Decoded {
    icu::UnicodeString text;
    std::string bytes;
    std::size_t pieces = 0;
};

Decoded decodeInPieces(const CodePage& page, const std::string& bytes, std::size_t step) {
    Decoded all;
    PieceDecoder decoder(page, PIECE);
    const auto keep = [&all](const PieceDecoder::Piece& piece) {
        all.text += piece.text;
        all.bytes += piece.bytes;
        ++all.pieces;
    };
    for (std::size_t i = 0; i < bytes.size(); i += step) {
        decoder.add(std::string_view(bytes).substr(i, step));
        for (PieceDecoder::Piece piece; decoder.take(piece);) {
            keep(piece);
        }
    }
    keep(decoder.takeRest());
    return all;
}

std::string encodeInPieces(const CodePage& page, const icu::UnicodeString& text) {
    std::string bytes;
    PieceEncoder encoder(page);
    for (int i = 0; i < text.length();) {
        const int end = i + 37 < text.length() ? text.getChar32Start(i + 37) : text.length();
        bytes += encoder.put(icu::UnicodeString(text, i, end - i));
        i = end;
    }
    return bytes + encoder.putRest();
}

TEST(Pieces, OfEveryCodePageMakeUpTheWhole) {
    std::size_t pages = 0;
    std::set<std::string> inOnePiece;
    for (const tools::CodePageNames& names : tools::listCodePages()) {
        SCOPED_TRACE(names.name);
        const std::vector<UChar32> characters = charactersOf(names.name);
        if (characters.empty()) {
            continue;
        }
        const icu::UnicodeString text = sampleOf(characters);
        const std::string bytes = encodeWithIcu(names.name, text);
        const icu::UnicodeString expected = decodeWithIcu(names.name, bytes);
        const CodePage page(names.name);
        const Decoded decoded = decodeInPieces(page, bytes, 100);
        EXPECT_EQ(decoded.text, expected);
        EXPECT_EQ(decoded.bytes, bytes);
        if (decoded.pieces < 3) {
            inOnePiece.insert(names.name);
        }
        EXPECT_EQ(decodeWithIcu(names.name, encodeInPieces(page, text)), expected);
        ++pages;
    }
    EXPECT_GE(pages, 200U);
    EXPECT_EQ(inOnePiece, std::set<std::string>{"SCSU"});
}

TEST(Pieces, KeepTheByteOrderOfAMark) {
    const CodePage page("UTF-16");
    std::string big = "\xFE\xFF";
    std::string little = "\xFF\xFE";
    icu::UnicodeString expected;
    for (int i = 0; i < 1000; ++i) {
        big += std::string("\x30\x42", 2);
        little += std::string("\x42\x30", 2);
        expected.append(char16_t{0x3042});
    }
    EXPECT_EQ(decodeInPieces(page, big, 33).text, expected);
    EXPECT_EQ(decodeInPieces(page, little, 33).text, expected);
    EXPECT_GT(decodeInPieces(page, little, 33).pieces, 5U);
}

TEST(Pieces, AreWrittenWithOneMark) {
    const CodePage page("UTF-16");
    PieceEncoder encoder(page);
    EXPECT_EQ(encoder.signature().size(), 2U);
    const std::string first = encoder.put(icu::UnicodeString(u'a'));
    EXPECT_EQ(first.size(), 4U);
    EXPECT_EQ(encoder.put(icu::UnicodeString(u'a')), first.substr(2));
    EXPECT_EQ(encoder.putRest(), "");
}

TEST(Pieces, KeepACharacterOfSeveralBytesTogetherAtEveryPlace) {
    for (const char* const name : {"UTF-8", "Shift_JIS", "EUC-JP", "GB18030", "UTF-16BE"}) {
        const CodePage page(name);
        for (std::size_t shift = 0; shift < 8; ++shift) {
            icu::UnicodeString text(static_cast<int>(shift), u'a', static_cast<int>(shift));
            for (int i = 0; i < 300; ++i) {
                text.append(char16_t{0x8A9E});
            }
            EXPECT_EQ(decodeInPieces(page, page.encode(text), 7).text, text) << name << shift;
        }
    }
}

TEST(Pieces, KeepTheStateOfALongSectionWithoutLineEnd) {
    icu::UnicodeString text;
    for (int i = 0; i < 2000; ++i) {
        text.append(char16_t{0x3042});
    }
    for (const char* const name : {"ISO-2022-JP", "ISO-2022-KR", "HZ", "ibm-1390"}) {
        const CodePage page(name);
        const Decoded decoded = decodeInPieces(page, page.encode(text), 50);
        EXPECT_EQ(decoded.text, text) << name;
        EXPECT_GT(decoded.pieces, 5U) << name;
    }
}

TEST(Pieces, MalformedBytesDecodeAsInTheWhole) {
    std::string bytes;
    for (int i = 0; i < 400; ++i) {
        bytes += "a\xC3\xE2\x82 \xFF\xF0\x9F";
    }
    for (const char* const name : {"UTF-8", "Shift_JIS", "GB18030", "UTF-16LE"}) {
        EXPECT_EQ(decodeInPieces(CodePage(name), bytes, 10).text, decodeWithIcu(name, bytes))
            << name;
    }
}

}  // namespace

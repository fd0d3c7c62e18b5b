// Tries every row of the tables in docs/properties-format.md that show a text and what it holds, or
// pairs and how they are stored.
#include <infra/oss/kelByteArrayOutputStream.h>
#include <infra/util/kelExtendedProperties.h>
#include <infra/util/kelPropertiesException.h>

#include <algorithm>
#include <fstream>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

namespace nx::util {
namespace {

using icu::UnicodeString;
using Pairs = std::vector<std::pair<UnicodeString, UnicodeString>>;

/// A line of a table: the texts of its cells, each without the back quotes around its parts.
using Row = std::vector<std::string>;

Row cellsOf(const std::string& line) {
    Row cells;
    for (std::size_t at = 2, end = 0; (end = line.find(" |", at)) != std::string::npos;
         at = end + 3) {
        cells.emplace_back();
        for (const char c : line.substr(at, end - at)) {
            if (c != '`') {
                cells.back() += c;
            }
        }
    }
    return cells;
}

/// The rows whose first cell begins with a literal.
std::vector<Row> rowsOfDocument() {
    std::ifstream file(DOCUMENT);
    std::vector<Row> rows;
    for (std::string line; std::getline(file, line);) {
        if (line.rfind("| `\"", 0) == 0) {
            rows.push_back(cellsOf(line));
        }
    }
    return rows;
}

/// Reads "\n", "\xHH", "\uXXXX" and the like as the compiler does; any other character stands for
/// itself.
char16_t readCharacter(std::string_view& rest) {
    const auto take = [&rest](std::size_t length) {
        const std::string taken(rest.substr(0, length));
        rest.remove_prefix(length);
        return taken;
    };
    const char first = take(1)[0];
    if (first != '\\') {
        return static_cast<unsigned char>(first);
    }
    const char letter = take(1)[0];
    switch (letter) {
        case 'x':
            return static_cast<char16_t>(std::stoul(take(2), nullptr, 16));
        case 'u':
            return static_cast<char16_t>(std::stoul(take(4), nullptr, 16));
        case 'n':
            return u'\n';
        case 'r':
            return u'\r';
        case 't':
            return u'\t';
        case 'f':
            return u'\f';
        default:
            EXPECT_TRUE(letter == '\\' || letter == '"') << letter;
            return static_cast<unsigned char>(letter);
    }
}

/// Takes a literal and the `separator` behind it.
UnicodeString readLiteral(std::string_view& rest, std::string_view separator) {
    EXPECT_EQ(rest.substr(0, 1), "\"");
    rest.remove_prefix(1);
    UnicodeString text;
    while (!rest.empty() && rest.front() != '"') {
        text.append(readCharacter(rest));
    }
    EXPECT_EQ(rest.substr(0, 1), "\"");
    rest.remove_prefix(std::min(rest.size(), 1 + separator.size()));
    return text;
}

Pairs readPairs(std::string_view rest) {
    Pairs pairs;
    while (!rest.empty() && rest != "nothing") {
        const UnicodeString key = readLiteral(rest, " = ");
        pairs.emplace_back(key, readLiteral(rest, ", "));
    }
    return pairs;
}

/// The bytes that a literal stands for.
std::string readBytes(std::string_view literal) {
    const UnicodeString text = readLiteral(literal, "");
    std::string bytes;
    for (int i = 0; i < text.length(); ++i) {
        bytes += static_cast<char>(text.charAt(i));
    }
    return bytes;
}

Pairs pairsOf(const ExtendedProperties& properties) {
    return {properties.begin(), properties.end()};
}

std::string reportOf(const PropertiesException& failure) {
    UnicodeString text;
    std::string utf8;
    return failure.messages.getFirstMessage().toString(text).toUTF8String(utf8);
}

void expectReading(const std::string& bytes, const std::string& expected) {
    ExtendedProperties properties;
    try {
        properties.loadFromString(bytes.data(), bytes.size());
        EXPECT_EQ(pairsOf(properties), readPairs(expected));
    } catch (const PropertiesException& failure) {
        EXPECT_EQ(reportOf(failure), expected);
    }
}

std::string stored(ExtendedProperties& properties) {
    char text[256];
    oss::ByteArrayOutputStream out(text, sizeof text);
    properties.store(out);
    return {text, out.getCount()};
}

void expectStoring(const Row& row) {
    ExtendedProperties properties;
    for (const auto& [key, value] : readPairs(row[0])) {
        properties.putProperty(key, value);
    }
    const std::string text = stored(properties);
    EXPECT_EQ(text, "#saved by ExtendedProperties on \r\n" + readBytes(row[1]));
    expectReading(text, row[2]);
}

TEST(PropertiesFormatDocument, ShowsWhatTheLibraryDoes) {
    unsigned reading = 0;
    unsigned storing = 0;
    for (const Row& row : rowsOfDocument()) {
        SCOPED_TRACE(row[0]);
        if (row.size() == 3) {
            ++storing;
            expectStoring(row);
        } else {
            ASSERT_EQ(row.size(), 2u);
            ++reading;
            expectReading(readBytes(row[0]), row[1]);
        }
    }
    EXPECT_EQ(reading, 48u);
    EXPECT_EQ(storing, 9u);
}

}  // namespace
}  // namespace nx::util

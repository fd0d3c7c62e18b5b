#include <infra/oss/kelByteArrayOutputStream.h>
#include <infra/oss/kelByteBuffer.h>
#include <infra/oss/kelConverter.h>
#include <infra/oss/kelDataBuffer.h>
#include <infra/oss/kelFormatter.h>
#include <infra/oss/kelStringTokenizer.h>
#include <infra/oss/kelUTF8Iterator.h>
#include <infra/oss/kelUTF8String.h>
#include <infra/util/kelBase64.h>
#include <unicode/unistr.h>

#include <algorithm>
#include <string>
#include <vector>

#include "kelGrowth.h"

namespace nx::oss::bench {

namespace {

using util::Base64;

int lengthOf(const std::string& text) { return static_cast<int>(text.size()); }
int32_t unitsOf(std::size_t size) { return static_cast<int32_t>(size); }

/// Every fourth character is the one that searches look for.
std::shared_ptr<DataBuffer> searchedText(std::size_t size) {
    std::string text(size, 'a');
    for (std::size_t i = 3; i < size; i += 4) {
        text[i] = 'b';
    }
    return std::make_shared<DataBuffer>(text.c_str());
}

// --- DataBuffer ---------------------------------------------------------------------------------

Run appendCharacters(std::size_t size) {
    return [size] {
        auto buffer = std::make_shared<DataBuffer>();
        for (std::size_t i = 0; i < size; ++i) {
            buffer->appendString("x", 1);
        }
        return buffer;
    };
}

Run appendBlocks(std::size_t size) {
    return [size, block = std::string(4096, 'x')] {
        auto buffer = std::make_shared<DataBuffer>();
        for (std::size_t i = 0; i < size; i += block.size()) {
            buffer->appendString(block.data(), lengthOf(block));
        }
        return buffer;
    };
}

Run appendNumbers(std::size_t size) {
    return [size] {
        auto buffer = std::make_shared<DataBuffer>();
        for (std::size_t i = 0; i < size; ++i) {
            buffer->appendNumber(static_cast<unsigned long>(i));
        }
        return buffer;
    };
}

Run insertPiecesAtTheFront(std::size_t size) {
    return [piece = std::string(std::max<std::size_t>(1, size / 16), 'x')] {
        auto buffer = std::make_shared<DataBuffer>();
        for (int i = 0; i < 16; ++i) {
            buffer->insertString(0, piece.c_str(), lengthOf(piece));
        }
        return buffer;
    };
}

Run searchInVain(std::size_t size) {
    // Every place starts like the text looked for.
    return [buffer = std::make_shared<DataBuffer>(std::string(size, 'a').c_str()),
            wanted = std::string(1000, 'a') + "b"] {
        keep(buffer->indexOf(0, wanted.c_str()));
        return Held();
    };
}

Run countOccurrences(std::size_t size) {
    return [buffer = searchedText(size)] {
        keep(buffer->occurrences("b"));
        return Held();
    };
}

Run replaceBy(std::size_t size, const char* wanted, const char* replacement) {
    return [buffer = searchedText(size), wanted, replacement] {
        auto copy = std::make_shared<DataBuffer>(*buffer);
        copy->replaceAll(wanted, replacement);
        return copy;
    };
}

Run appendBinary(std::size_t size) {
    return [bytes = std::string(size, '\x5A')] {
        auto buffer = std::make_shared<DataBuffer>();
        buffer->appendBinary(bytes.data(), lengthOf(bytes), /*upperCase=*/true);
        return buffer;
    };
}

Run getBinary(std::size_t size) {
    auto buffer = std::make_shared<DataBuffer>();
    const std::string bytes(size, '\x5A');
    buffer->appendBinary(bytes.data(), lengthOf(bytes), /*upperCase=*/true);
    return [buffer, out = std::make_shared<std::vector<char>>(size)] {
        keep(buffer->getBinary(out->data(), static_cast<int>(out->size())));
        return Held();
    };
}

Run copyBuffer(std::size_t size) {
    return [buffer = searchedText(size)] { return std::make_shared<DataBuffer>(*buffer); };
}

Run assignText(std::size_t size) {
    return [text = icu::UnicodeString(unitsOf(size), u'\u00E9', unitsOf(size))] {
        auto buffer = std::make_shared<DataBuffer>();
        *buffer = text;
        return buffer;
    };
}

Run appendBytes(std::size_t size) {
    return [size, block = std::string(64, 'x')] {
        auto buffer = std::make_shared<ByteBuffer>(0);
        for (std::size_t i = 0; i < size; i += block.size()) {
            buffer->append(block.data(), block.size());
        }
        return buffer;
    };
}

Run writeBytes(std::size_t size) {
    return [bytes = std::make_shared<std::vector<char>>(size)] {
        ByteArrayOutputStream stream(bytes->data(), bytes->size());
        for (std::size_t i = 0; i < bytes->size(); ++i) {
            stream.write('x');
        }
        keep(stream.getCount());
        return Held();
    };
}

// --- Characters ---------------------------------------------------------------------------------

/// Every second character has two bytes.
std::string accentedText(std::size_t size) {
    std::string text;
    for (std::size_t i = 0; i < size; ++i) {
        text += i % 2 == 0 ? "e" : "\u00E9";
    }
    return text;
}

Run countCharacters(std::size_t size) {
    return [text = std::make_shared<UTF8String>(accentedText(size).c_str())] {
        keep(text->numChars());
        return Held();
    };
}

Run walkCharacters(std::size_t size) {
    return [text = accentedText(size)] {
        auto it = std::make_shared<UTF8Iterator>(text.c_str());
        for (const char* c = it->getFirstChar(); c != nullptr; c = it->getNextChar()) {
            keep(c);
        }
        return it;
    };
}

Run encodeText(std::size_t size, const char* codePage, char16_t character) {
    return [text = icu::UnicodeString(unitsOf(size), character, unitsOf(size)), codePage,
            out = std::make_shared<std::vector<char>>(3 * size)] {
        keep(Converter::convertToBytes(out->data(), static_cast<int>(out->size()), codePage, text));
        return Held();
    };
}

Run transcode(std::size_t size, const char* to) {
    return [text = accentedText(size), to, out = std::make_shared<std::vector<char>>(2 * size)] {
        keep(Converter::convertToBytes(out->data(), static_cast<int>(out->size()), to, text.data(),
                                       lengthOf(text), "UTF-8"));
        return Held();
    };
}

std::size_t digitsOf(std::vector<unsigned short>& digits, const std::string& bytes) {
    return Base64::encode(digits.data(), digits.size(), bytes.data(), bytes.size());
}

Run encodeBase64(std::size_t size) {
    return [bytes = std::string(size, '\x5A'),
            digits = std::make_shared<std::vector<unsigned short>>(Base64::encodeSize(size))] {
        keep(digitsOf(*digits, bytes));
        return Held();
    };
}

Run decodeBase64(std::size_t size) {
    auto digits = std::make_shared<std::vector<unsigned short>>(Base64::encodeSize(size));
    require(digitsOf(*digits, std::string(size, '\x5A')) == digits->size(), "Base64::encode");
    return [digits, out = std::make_shared<std::vector<char>>(size)] {
        keep(Base64::decode(out->data(), out->size(), digits->data(), digits->size()));
        return Held();
    };
}

Run parseNumber(std::size_t size) {
    return [text = "0." + std::string(size, '7')] {
        keep(Formatter::stringToDouble(text.c_str()));
        return Held();
    };
}

// --- Tokens -------------------------------------------------------------------------------------

/// `size` tokens of `letters` letters.
icu::UnicodeString wordsOf(std::size_t size, int letters) {
    icu::UnicodeString text;
    for (std::size_t i = 0; i < size; ++i) {
        text.append(icu::UnicodeString(letters, u'w', letters)).append(u' ');
    }
    return text;
}

Run splitOnly(std::size_t size) {
    return [text = wordsOf(size, 5)] { return std::make_shared<StringTokenizer>(text); };
}

Run splitAndTakeStrings(std::size_t size, int letters) {
    return [text = wordsOf(size, letters)] {
        auto tokenizer = std::make_shared<StringTokenizer>(text);
        while (tokenizer->hasMoreTokens()) {
            keep(tokenizer->getNextTokenString());
        }
        return tokenizer;
    };
}

Run splitAndTakeBytes(std::size_t size) {
    return [text = wordsOf(size, 5)] {
        auto tokenizer = std::make_shared<StringTokenizer>(text);
        while (tokenizer->hasMoreTokens()) {
            keep(tokenizer->getNextToken());
        }
        return tokenizer;
    };
}

Run splitRunOfDelimiters(std::size_t size) {
    return [text = icu::UnicodeString(unitsOf(size), u' ', unitsOf(size)).append(u'w')] {
        return std::make_shared<StringTokenizer>(text);
    };
}

Run splitByManyDelimiters(std::size_t size) {
    icu::UnicodeString delimiters;
    for (std::size_t i = 0; i < size; ++i) {
        delimiters.append(static_cast<char16_t>(0x3000 + i % 0x4000));
    }
    return [text = wordsOf(size, 1), delimiters] {
        auto tokenizer = std::make_shared<StringTokenizer>("");
        tokenizer->parseString(text, delimiters);
        return tokenizer;
    };
}

}  // namespace

void addTextGrowth() {
    addGrowth({"DataBuffer appended, one character each", GIBIBYTE, 1, appendCharacters});
    addGrowth({"DataBuffer appended, 4,096 bytes each", GIBIBYTE, 1, appendBlocks});
    addGrowth({"DataBuffer appended, one number each", GIBIBYTE / 16, 8, appendNumbers});
    addGrowth(
        {"DataBuffer inserted at the front, in 16 pieces", GIBIBYTE, 1, insertPiecesAtTheFront});
    addGrowth({"DataBuffer::indexOf, in vain, worst case", GIBIBYTE, 1, searchInVain});
    addGrowth({"DataBuffer::occurrences", GIBIBYTE, 1, countOccurrences});
    addGrowth({"DataBuffer::replaceAll, growing", GIBIBYTE / 2, 1.5,
               [](std::size_t size) { return replaceBy(size, "b", "cde"); }});
    addGrowth({"DataBuffer::replaceAll, shrinking", GIBIBYTE, 0.75,
               [](std::size_t size) { return replaceBy(size, "ab", "c"); }});
    // Two digits for a byte.
    addGrowth({"DataBuffer::appendBinary", GIBIBYTE / 2, 2, appendBinary});
    addGrowth({"DataBuffer::getBinary", GIBIBYTE / 2, 2, getBinary});
    addGrowth({"DataBuffer copied", GIBIBYTE, 1, copyBuffer});
    addGrowth({"DataBuffer assigned a UnicodeString", GIBIBYTE / 2, 2, assignText});
    addGrowth({"ByteBuffer appended, 64 bytes each", GIBIBYTE - 4096, 1, appendBytes});
    addGrowth({"ByteArrayOutputStream written", GIBIBYTE, 1, writeBytes});
    addGrowth({"UTF8String::numChars", GIBIBYTE / 2, 1.5, countCharacters});
    addGrowth({"UTF8Iterator set and walked", GIBIBYTE / 2, 1.5, walkCharacters});
    addGrowth({"Converter, UTF-16 to UTF-8", GIBIBYTE / 4, 2,
               [](std::size_t size) { return encodeText(size, "UTF-8", u'\u00E9'); }});
    addGrowth({"Converter, UTF-16 to Shift_JIS", GIBIBYTE / 8, 2,
               [](std::size_t size) { return encodeText(size, "Shift_JIS", u'\u3042'); }});
    addGrowth({"Converter, UTF-8 to UTF-16LE", GIBIBYTE / 4, 1.5,
               [](std::size_t size) { return transcode(size, "UTF-16LE"); }});
    addGrowth({"Converter, UTF-8 to ISO-8859-1", GIBIBYTE / 4, 1.5,
               [](std::size_t size) { return transcode(size, "ISO-8859-1"); }});
    addGrowth({"Base64::encode", GIBIBYTE / 2, 1, encodeBase64});
    addGrowth({"Base64::decode", GIBIBYTE / 2, 1, decodeBase64});
    addGrowth({"Formatter::stringToDouble, digits", LARGEST_SET, 1, parseNumber});
}

void addTokenGrowth() {
    addGrowth({"StringTokenizer, not taken", MOST_TOKENS, 12, splitOnly});
    addGrowth({"StringTokenizer, short strings", MOST_TOKENS, 12,
               [](std::size_t size) { return splitAndTakeStrings(size, 5); }});
    addGrowth({"StringTokenizer, long strings", MOST_TOKENS, 82,
               [](std::size_t size) { return splitAndTakeStrings(size, 40); }});
    addGrowth({"StringTokenizer, bytes", MOST_TOKENS, 12, splitAndTakeBytes});
    addGrowth({"StringTokenizer, delimiters only", GIBIBYTE / 4, 2, splitRunOfDelimiters});
    addGrowth(
        {"StringTokenizer, as many delimiters as words", MOST_TOKENS, 4, splitByManyDelimiters});
}

}  // namespace nx::oss::bench

#include <infra/oss/kelConverter.h>
#include <infra/oss/kelStringTokenizer.h>
#include <infra/oss/kelUTF8Iterator.h>
#include <infra/oss/kelUTF8String.h>
#include <infra/util/kelBase64.h>
#include <unicode/unistr.h>

#include <string>
#include <vector>

#include "kelInstructionProbe.h"

namespace nx::oss::bench {

namespace {

using util::Base64;

constexpr std::size_t CAPACITY = 16'384;
alignas(64) char bytes_out[CAPACITY];
alignas(64) unsigned short digits_out[CAPACITY];

constexpr int SIZES[] = {8, 32, 4096};

struct Script {
    const char* name;
    std::u16string pattern;  // of a length that divides the sizes
};

const Script& ascii() {
    static const Script script{"ASCII", u"Plain words here"};
    return script;
}

const Script& latin() {
    static const Script script{"Latin", u"Stra\u00DFe, caf\u00E9 5 "};
    return script;
}

const Script& cjk() {
    static const Script script{"CJK", u"\u65E5\u672C\u8A9E\u306E\u6587\u7AE0\u3067\u3059"};
    return script;
}

icu::UnicodeString textOf(const Script& script, int size) {
    std::u16string text;
    while (text.size() < static_cast<std::size_t>(size)) {
        text += script.pattern;
    }
    return icu::UnicodeString(text.data(), size);
}

std::string utf8Of(const Script& script, int size) {
    std::string utf8;
    return textOf(script, size).toUTF8String(utf8);
}

std::string labelled(const std::string& what, const Script& script, int size) {
    return what + ", " + script.name + ", " + std::to_string(size) + " characters";
}

// --- Converter ----------------------------------------------------------------------------------

void countEncoding(const char* codePage, const Script& script, int size) {
    count(labelled(std::string("Converter, UTF-16 to ") + codePage, script, size),
          [text = textOf(script, size), codePage] {
              keep(Converter::convert(bytes_out, CAPACITY, codePage, text));
          });
}

void countTranscoding(const char* to, const char* from, const Script& script, int size) {
    const icu::UnicodeString text = textOf(script, size);
    const int length = Converter::convertToBytes(bytes_out, CAPACITY, from, text);
    count(labelled(std::string("Converter, ") + from + " to " + to, script, size),
          [source = std::string(bytes_out, static_cast<std::size_t>(length)), to, from] {
              keep(Converter::convertToBytes(bytes_out, CAPACITY, to, source.data(),
                                             static_cast<int>(source.size()), from));
          });
}

void countConverter() {
    for (const int size : SIZES) {
        for (const Script* script : {&ascii(), &latin(), &cjk()}) {
            countEncoding("UTF-8", *script, size);
            countTranscoding("UTF-16LE", "UTF-8", *script, size);
            countTranscoding("UTF-8", "UTF-16LE", *script, size);
        }
        countEncoding("ISO-8859-1", latin(), size);
        countTranscoding("ISO-8859-1", "UTF-8", latin(), size);
        countTranscoding("UTF-8", "ISO-8859-1", latin(), size);
        countEncoding("Shift_JIS", cjk(), size);
        countTranscoding("Shift_JIS", "UTF-8", cjk(), size);
        countTranscoding("UTF-8", "Shift_JIS", cjk(), size);
    }
    count("Converter, size query, Latin, 4096 characters",
          [text = textOf(latin(), 4096)] { keep(Converter::convert(nullptr, 0, "UTF-8", text)); });
    count("Converter constructed and destroyed", [] { keep(Converter()); });
}

// --- Base64 -------------------------------------------------------------------------------------

void countBase64() {
    for (const std::size_t size : {48U, 3000U}) {
        const std::string source(size, '\x5A');
        const std::size_t length = Base64::encode(digits_out, CAPACITY, source.data(), size);
        const std::vector<unsigned short> digits(digits_out, digits_out + length);
        const std::string suffix = ", " + std::to_string(size) + " bytes";
        count("Base64::encode" + suffix, [source] {
            keep(Base64::encode(digits_out, CAPACITY, source.data(), source.size()));
        });
        count("Base64::encodeSafe" + suffix, [source] {
            keep(Base64::encodeSafe(digits_out, CAPACITY, source.data(), source.size()));
        });
        count("Base64::decode" + suffix, [digits] {
            keep(Base64::decode(bytes_out, CAPACITY, digits.data(), digits.size()));
        });
    }
}

// --- UTF-8 --------------------------------------------------------------------------------------

void walk(UTF8Iterator& it) {
    for (const char* c = it.getFirstChar(); c != nullptr; c = it.getNextChar()) {
        keep(c);
    }
}

void countUtf8() {
    for (const int size : SIZES) {
        for (const Script* script : {&ascii(), &latin(), &cjk()}) {
            const std::string utf8 = utf8Of(*script, size);
            count(labelled("UTF8Iterator set", *script, size),
                  [utf8] { keep(UTF8Iterator(utf8.c_str())); });
            UTF8Iterator it(utf8.c_str());
            count(labelled("UTF8Iterator walked", *script, size), [&it] { walk(it); });
            const UTF8String text(utf8.c_str());
            count(labelled("UTF8String::numChars", *script, size),
                  [&text] { keep(text.numChars()); });
        }
    }
    count("UTF8String from UTF-16, Latin, 32 characters",
          [text = textOf(latin(), 32)] { keep(UTF8String(text)); });
    count("UTF8String to UTF-16, Latin, 32 characters",
          [text = UTF8String(utf8Of(latin(), 32).c_str())] {
              icu::UnicodeString out;
              text.getString(out);
              keep(out);
          });
}

icu::UnicodeString words(int number) {
    icu::UnicodeString text;
    for (int i = 0; i < number; ++i) {
        text.append(u"token", 5).append(u' ');
    }
    return text;
}

}  // namespace

void countText() {
    countConverter();
    countBase64();
    countUtf8();
}

void countTokens() {
    for (const int number : {8, 1000}) {
        const icu::UnicodeString text = words(number);
        const std::string suffix = ", " + std::to_string(number) + " tokens";
        count("StringTokenizer constructed" + suffix, [text] { keep(StringTokenizer(text)); });
        count("StringTokenizer constructed, three delimiters" + suffix,
              [text] { keep(StringTokenizer(text, " ,;")); });
        StringTokenizer tokenizer(text);
        count("StringTokenizer::getNextTokenString" + suffix, [&tokenizer] {
            for (keep(tokenizer.getFirstTokenString()); tokenizer.hasMoreTokens();) {
                keep(tokenizer.getNextTokenString());
            }
        });
        count("StringTokenizer::getNextToken" + suffix, [&tokenizer] {
            for (keep(tokenizer.getFirstToken()); tokenizer.hasMoreTokens();) {
                keep(tokenizer.getNextToken());
            }
        });
    }
}

}  // namespace nx::oss::bench

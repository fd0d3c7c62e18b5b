#include <infra/oss/kelByteArrayOutputStream.h>
#include <infra/oss/kelDataBuffer.h>
#include <infra/oss/kelMessage.h>
#include <infra/oss/kelStringTokenizer.h>
#include <infra/oss/kelUTF8Iterator.h>
#include <infra/oss/kelUTF8String.h>
#include <infra/util/kelExtendedProperties.h>
#include <malloc.h>

#include <cstdio>
#include <functional>
#include <memory>
#include <ostream>
#include <string>
#include <vector>

#include "kelBench.h"

// How long operations take on ever larger texts and sets. Each size is twice the one before, and so
// should be the time.

namespace nx::oss::bench {

namespace {

using util::ExtendedProperties;

constexpr std::size_t SIZES[] = {62'500, 125'000, 250'000, 500'000, 1'000'000};

using Run = std::function<void()>;

/// `prepare(size)` returns what is timed.
template <class Prepare>
void addGrowth(const std::string& what, Prepare prepare) {
    for (const std::size_t size : SIZES) {
        addRow(what + ", " + std::to_string(size), "kelinfra",
               [prepare, size](benchmark::State& state) {
                   const Run run = prepare(size);
                   for (auto step : state) {
                       run();
                   }
                   state.counters["elements"] = static_cast<double>(size);
               });
    }
}

// --- Text buffers -------------------------------------------------------------------------------

int lengthOf(const std::string& text) { return static_cast<int>(text.size()); }

/// Every fourth character is the one that searches look for.
std::shared_ptr<DataBuffer> textOf(std::size_t size) {
    std::string text(size, 'a');
    for (std::size_t i = 3; i < size; i += 4) {
        text[i] = 'b';
    }
    return std::make_shared<DataBuffer>(text.c_str());
}

Run appendCharacters(std::size_t size) {
    return [size] {
        DataBuffer buffer;
        for (std::size_t i = 0; i < size; ++i) {
            buffer.appendString("x", 1);
        }
        benchmark::DoNotOptimize(buffer.getString());
    };
}

Run appendNumbers(std::size_t size) {
    return [size] {
        DataBuffer buffer;
        for (std::size_t i = 0; i < size; ++i) {
            buffer.appendNumber(static_cast<unsigned long>(i));
        }
        benchmark::DoNotOptimize(buffer.getString());
    };
}

Run insertPiecesAtTheFront(std::size_t size) {
    return [piece = std::string(size / 16, 'x')] {
        DataBuffer buffer;
        for (int i = 0; i < 16; ++i) {
            buffer.insertString(0, piece.c_str(), lengthOf(piece));
        }
        benchmark::DoNotOptimize(buffer.getString());
    };
}

Run searchInVain(std::size_t size) {
    // Every place starts like the text looked for.
    return [buffer = std::make_shared<DataBuffer>(std::string(size, 'a').c_str()),
            wanted = std::string(1000, 'a') + "b"] {
        benchmark::DoNotOptimize(buffer->indexOf(0, wanted.c_str()));
    };
}

Run countOccurrences(std::size_t size) {
    return [buffer = textOf(size)] { benchmark::DoNotOptimize(buffer->occurrences("b")); };
}

Run replaceBy(std::size_t size, const char* wanted, const char* replacement) {
    return [buffer = textOf(size), wanted, replacement] {
        DataBuffer copy(*buffer);
        benchmark::DoNotOptimize(copy.replaceAll(wanted, replacement));
    };
}

Run appendBinary(std::size_t size) {
    return [bytes = std::string(size, '\x5A')] {
        DataBuffer buffer;
        buffer.appendBinary(bytes.data(), lengthOf(bytes), /*upperCase=*/true);
        benchmark::DoNotOptimize(buffer.getString());
    };
}

Run saveBinary(std::size_t size) {
    return [bytes = std::string(size, '\x5A'),
            buffer = std::make_shared<DataBuffer>(std::string(2 * size + 3, 'x').c_str())] {
        buffer->saveBinary(0, bytes.data(), lengthOf(bytes), /*upperCase=*/true);
        benchmark::DoNotOptimize(buffer->getString());
    };
}

Run getBinary(std::size_t size) {
    auto buffer = std::make_shared<DataBuffer>();
    const std::string bytes(size, '\x5A');
    buffer->appendBinary(bytes.data(), lengthOf(bytes), /*upperCase=*/true);
    return [buffer, out = std::make_shared<std::vector<char>>(size)] {
        benchmark::DoNotOptimize(buffer->getBinary(out->data(), static_cast<int>(out->size())));
    };
}

Run copyBuffer(std::size_t size) {
    return [buffer = textOf(size)] {
        DataBuffer copy(*buffer);
        benchmark::DoNotOptimize(copy.getString());
    };
}

Run assignText(std::size_t size) {
    return [text = icu::UnicodeString(static_cast<int32_t>(size), u'\u00E9',
                                      static_cast<int32_t>(size))] {
        DataBuffer buffer;
        buffer = text;
        benchmark::DoNotOptimize(buffer.getString());
    };
}

std::string accentedText(std::size_t size) {
    std::string text;
    for (std::size_t i = 0; i < size; ++i) {
        text += i % 2 == 0 ? "e" : "\u00E9";
    }
    return text;
}

Run countCharacters(std::size_t size) {
    return [text = std::make_shared<UTF8String>(accentedText(size).c_str())] {
        benchmark::DoNotOptimize(text->numChars());
    };
}

Run walkCharacters(std::size_t size) {
    return [text = accentedText(size)] {
        UTF8Iterator it;
        require(it.setString(text.c_str()), "UTF8Iterator");
        it.getFirstChar();
        while (it.hasMoreChars()) {
            benchmark::DoNotOptimize(it.getNextChar());
        }
    };
}

Run writeBytes(std::size_t size) {
    return [bytes = std::make_shared<std::vector<char>>(size)] {
        ByteArrayOutputStream stream(bytes->data(), bytes->size());
        for (std::size_t i = 0; i < bytes->size(); ++i) {
            stream.write('x');
        }
        benchmark::DoNotOptimize(stream.getCount());
    };
}

Run addBinaryArgument(std::size_t size) {
    return [bytes = std::string(size, '\x5A')] {
        Message message;
        message.addBinary(bytes.data(), lengthOf(bytes));
        benchmark::DoNotOptimize(message);
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

Run splitAndTakeStrings(std::size_t size, int letters) {
    return [text = wordsOf(size, letters)] {
        StringTokenizer tokenizer(text);
        while (tokenizer.hasMoreTokens()) {
            benchmark::DoNotOptimize(tokenizer.getNextTokenString());
        }
    };
}

Run splitAndTakeBytes(std::size_t size) {
    return [text = wordsOf(size, 5)] {
        StringTokenizer tokenizer(text);
        while (tokenizer.hasMoreTokens()) {
            benchmark::DoNotOptimize(tokenizer.getNextToken());
        }
    };
}

Run splitRunOfDelimiters(std::size_t size) {
    const auto length = static_cast<int32_t>(size);
    return [text = icu::UnicodeString(length, u' ', length).append(u'w')] {
        const StringTokenizer tokenizer(text);
        benchmark::DoNotOptimize(tokenizer.countTokens());
    };
}

Run splitByManyDelimiters(std::size_t size) {
    icu::UnicodeString delimiters;
    for (std::size_t i = 0; i < size; ++i) {
        delimiters.append(static_cast<char16_t>(0x3000 + i % 0x4000));
    }
    return [text = wordsOf(size, 1), delimiters] {
        StringTokenizer tokenizer("");
        tokenizer.parseString(text, delimiters);
        benchmark::DoNotOptimize(tokenizer.countTokens());
    };
}

// --- Settings -----------------------------------------------------------------------------------

std::string keyOf(std::size_t i) {
    char key[32];
    std::snprintf(key, sizeof key, "option%07zu", i);
    return key;
}

icu::UnicodeString textKeyOf(std::size_t i) { return icu::UnicodeString::fromUTF8(keyOf(i)); }

/// `line(i)` for each i below `size`.
template <class Line>
std::string linesOf(std::size_t size, Line line) {
    std::string text;
    for (std::size_t i = 0; i < size; ++i) {
        text += line(i);
    }
    return text;
}

std::string plainLine(std::size_t i) { return keyOf(i) + "=" + std::to_string(i) + "\n"; }

Run loading(std::string text, bool resolve = false) {
    return [text = std::move(text), resolve] {
        ExtendedProperties properties;
        properties.loadFromString(text.data(), text.size(), /*flag=*/false, resolve);
        benchmark::DoNotOptimize(properties.begin());
    };
}

Run loadPlain(std::size_t size) { return loading(linesOf(size, plainLine)); }

Run loadBackwards(std::size_t size) {
    return loading(linesOf(size, [size](std::size_t i) { return plainLine(size - i); }));
}

Run loadShuffled(std::size_t size) {
    return loading(linesOf(size, [size](std::size_t i) { return plainLine(i * 7'919 % size); }));
}

Run loadRepeatedKey(std::size_t size) {
    return loading(linesOf(size, [](std::size_t i) { return plainLine(i % 2); }));
}

Run loadContinuedLines(std::size_t size) {
    return loading("key=" + linesOf(size, [](std::size_t) { return "part \\\n   "; }));
}

Run loadHugeEscapedValue(std::size_t size) {
    return loading("key=" + linesOf(size, [](std::size_t) { return "\\u00e9\\t"; }) + "\n");
}

Run loadComments(std::size_t size) {
    return loading(linesOf(size, [](std::size_t) { return "# a comment\n"; }));
}

Run loadLongCommonStarts(std::size_t size) {
    return loading(linesOf(size, [size](std::size_t i) {
        return std::string(100, 'x') + plainLine(i * 7'919 % size);
    }));
}

Run loadDeepReferences(std::size_t size) {
    return loading(linesOf(size,
                           [size](std::size_t i) {
                               return i + 1 == size ? plainLine(i)
                                                    : keyOf(i) + "=%" + keyOf(i + 1) + "%\n";
                           }),
                   /*resolve=*/true);
}

Run loadManyReferencesInOneValue(std::size_t size) {
    return loading("a=1\nb=" + linesOf(size, [](std::size_t) { return "%a%,"; }) + "\n",
                   /*resolve=*/true);
}

Run loadReferencesToOne(std::size_t size) {
    return loading("a=1\n" + linesOf(size, [](std::size_t i) { return keyOf(i) + "=%a%/%a%\n"; }),
                   /*resolve=*/true);
}

std::shared_ptr<ExtendedProperties> propertiesOf(std::size_t size) {
    auto properties = std::make_shared<ExtendedProperties>();
    const std::string text = linesOf(size, plainLine);
    properties->load(text.data(), text.size());
    return properties;
}

std::vector<icu::UnicodeString> keysOf(std::size_t size) {
    std::vector<icu::UnicodeString> keys;
    for (std::size_t i = 0; i < size; ++i) {
        keys.push_back(textKeyOf(i * 7'919 % size));
    }
    return keys;
}

Run lookUp(std::size_t size) {
    return [properties = propertiesOf(size), keys = keysOf(size)] {
        for (const icu::UnicodeString& key : keys) {
            benchmark::DoNotOptimize(properties->requireProperty(key));
        }
    };
}

Run putAndRemove(std::size_t size) {
    return [keys = keysOf(size)] {
        ExtendedProperties properties;
        for (const icu::UnicodeString& key : keys) {
            properties.putProperty(key, key);
        }
        for (const icu::UnicodeString& key : keys) {
            properties.removeProperty(key);
        }
        benchmark::DoNotOptimize(properties.begin());
    };
}

Run copySet(std::size_t size) {
    return [properties = propertiesOf(size)] {
        ExtendedProperties copy;
        copy.copy(*properties);
        benchmark::DoNotOptimize(copy.begin());
    };
}

Run storeSet(std::size_t size) {
    return
        [properties = propertiesOf(size), bytes = std::make_shared<std::vector<char>>(64 * size)] {
            ByteArrayOutputStream stream(bytes->data(), bytes->size());
            properties->store(stream);
            benchmark::DoNotOptimize(stream.getCount());
        };
}

class Discarding : public std::streambuf {
  protected:
    int overflow(int c) override { return c; }
    std::streamsize xsputn(const char*, std::streamsize count) override { return count; }
};

Run listSet(std::size_t size) {
    return [properties = propertiesOf(size)] {
        Discarding nowhere;
        std::ostream out(&nowhere);
        properties->list(out);
    };
}

// Pages that have been used once stay with the process: otherwise the larger sizes measure how the
// system hands out pages.
void keepPages() {
    mallopt(M_TRIM_THRESHOLD, -1);
    mallopt(M_MMAP_MAX, 0);
}

void addText() {
    addGrowth("DataBuffer appended, one character each", appendCharacters);
    addGrowth("DataBuffer appended, one number each", appendNumbers);
    addGrowth("DataBuffer inserted at the front, in 16 pieces", insertPiecesAtTheFront);
    addGrowth("DataBuffer::indexOf, in vain, worst case", searchInVain);
    addGrowth("DataBuffer::occurrences", countOccurrences);
    addGrowth("DataBuffer::replaceAll, growing",
              [](std::size_t size) { return replaceBy(size, "b", "cde"); });
    addGrowth("DataBuffer::replaceAll, shrinking",
              [](std::size_t size) { return replaceBy(size, "ab", "c"); });
    addGrowth("DataBuffer::appendBinary", appendBinary);
    addGrowth("DataBuffer::saveBinary", saveBinary);
    addGrowth("DataBuffer::getBinary", getBinary);
    addGrowth("DataBuffer copied", copyBuffer);
    addGrowth("DataBuffer assigned a UnicodeString", assignText);
    addGrowth("UTF8String::numChars", countCharacters);
    addGrowth("UTF8Iterator set and walked", walkCharacters);
    addGrowth("ByteArrayOutputStream written", writeBytes);
    addGrowth("Message::addBinary", addBinaryArgument);
}

void addTokens() {
    addGrowth("StringTokenizer, short strings",
              [](std::size_t size) { return splitAndTakeStrings(size, 5); });
    addGrowth("StringTokenizer, long strings",
              [](std::size_t size) { return splitAndTakeStrings(size, 40); });
    addGrowth("StringTokenizer, bytes", splitAndTakeBytes);
    addGrowth("StringTokenizer, delimiters only", splitRunOfDelimiters);
    addGrowth("StringTokenizer, as many delimiters as words", splitByManyDelimiters);
}

void addSettings() {
    addGrowth("settings loaded, in key order", loadPlain);
    addGrowth("settings loaded, backwards", loadBackwards);
    addGrowth("settings loaded, shuffled", loadShuffled);
    addGrowth("settings loaded, two keys again and again", loadRepeatedKey);
    addGrowth("settings loaded, keys with a long common start", loadLongCommonStarts);
    addGrowth("settings loaded, one value of continued lines", loadContinuedLines);
    addGrowth("settings loaded, one value of escapes", loadHugeEscapedValue);
    addGrowth("settings loaded, comments only", loadComments);
    addGrowth("settings resolved, one chain", loadDeepReferences);
    addGrowth("settings resolved, one value of references", loadManyReferencesInOneValue);
    addGrowth("settings resolved, references to one value", loadReferencesToOne);
    addGrowth("settings looked up", lookUp);
    addGrowth("settings put and removed, shuffled", putAndRemove);
    addGrowth("settings copied", copySet);
    addGrowth("settings stored", storeSet);
    addGrowth("settings listed", listSet);
}

}  // namespace

}  // namespace nx::oss::bench

int main(int argc, char** argv) {
    using namespace nx::oss::bench;
    initialize(argc, argv);
    keepPages();
    addText();
    addTokens();
    addSettings();
    return run();
}

#include <infra/oss/kelDataBuffer.h>

#include <algorithm>
#include <cstring>
#include <functional>
#include <memory>
#include <random>
#include <vector>

#include "kelDataBufferBench.h"

namespace nx::oss::bench {

namespace {

/// Words of lower-case letters, and the needle where asked.
std::string words(std::size_t size, std::size_t distance) {
    std::mt19937 random(20230612);
    std::uniform_int_distribution<int> letter('a', 'z');
    std::uniform_int_distribution<int> wordLength(2, 9);
    std::string text;
    std::size_t next = distance;
    while (text.size() < size - NEEDLE.size() - 10) {
        for (int left = wordLength(random); left > 0; --left) {
            text += static_cast<char>(letter(random));
        }
        text += ' ';
        if (text.size() >= next) {
            text += NEEDLE;
            next += distance;
        }
    }
    text.resize(size - NEEDLE.size(), '.');
    return text.append(NEEDLE);
}

std::size_t countNeedles(const std::string& text) {
    std::size_t count = 0;
    for (std::size_t at = 0; (at = text.find(NEEDLE, at)) != std::string::npos;
         at += NEEDLE.size()) {
        ++count;
    }
    return count;
}

std::string replaced(const std::string& text, std::string_view replacement) {
    std::string out;
    std::size_t copied = 0;
    for (std::size_t at = 0; (at = text.find(NEEDLE, copied)) != std::string::npos;
         copied = at + NEEDLE.size()) {
        out.append(text, copied, at - copied).append(replacement);
    }
    return out.append(text, copied);
}

std::vector<SearchSample> makeSearchSamples() {
    std::vector<SearchSample> samples;
    for (const auto& [name, size] :
         {std::pair{"4 KiB", std::size_t{4096}}, std::pair{"1 MiB", std::size_t{1} << 20},
          std::pair{"16 MiB", std::size_t{1} << 24}}) {
        const std::string often = words(size, 1000);
        samples.push_back({name, words(size, size), often, countNeedles(often),
                           replaced(often, LONGER), replaced(often, SHORTER)});
    }
    return samples;
}

constexpr char LOWER_DIGITS[] = "0123456789abcdef";

std::string hexText(const std::string& bytes) {
    std::string digits;
    for (const char byte : bytes) {
        digits += LOWER_DIGITS[static_cast<unsigned char>(byte) >> 4];
        digits += LOWER_DIGITS[static_cast<unsigned char>(byte) & 15];
    }
    return digits;
}

std::vector<HexSample> makeHexSamples() {
    std::mt19937 random(20230613);
    std::vector<HexSample> samples;
    for (const auto& [name, size] :
         {std::pair{"16 B", std::size_t{16}}, std::pair{"4 KiB", std::size_t{4096}},
          std::pair{"1 MiB", std::size_t{1} << 20}}) {
        std::string bytes(size, '\0');
        std::generate(bytes.begin(), bytes.end(),
                      [&random] { return static_cast<char>(random()); });
        samples.push_back({name, bytes, hexText(bytes)});
    }
    return samples;
}

std::size_t appendCounted(std::size_t count) {
    DataBuffer buffer;
    for (std::size_t i = 0; i < count; ++i) {
        buffer.appendString(APPENDED.data(), static_cast<int>(APPENDED.size()));
    }
    return static_cast<std::size_t>(buffer.length());
}

std::size_t appendTerminated(std::size_t count) {
    DataBuffer buffer;
    for (std::size_t i = 0; i < count; ++i) {
        buffer.appendString(terminatedText());
    }
    return static_cast<std::size_t>(buffer.length());
}

std::size_t appendTerminatedToString(std::size_t count) {
    std::string text;
    for (std::size_t i = 0; i < count; ++i) {
        text.append(terminatedText());
    }
    return text.size();
}

std::size_t appendToString(std::size_t count) {
    std::string text;
    for (std::size_t i = 0; i < count; ++i) {
        text.append(APPENDED);
        benchmark::DoNotOptimize(text.data());
    }
    return text.size();
}

std::size_t appendToArray(std::size_t count) {
    static std::vector<char> array(1'000'000 * APPENDED.size());
    char* end = array.data();
    for (std::size_t i = 0; i < count; ++i) {
        std::memcpy(end, APPENDED.data(), APPENDED.size());
        end += APPENDED.size();
        benchmark::DoNotOptimize(end);
    }
    return static_cast<std::size_t>(end - array.data());
}

void addAppends() {
    addAppend("kelinfra", appendCounted);
    addAppend("std::string", appendToString);
    addAppend("(limit) one array", appendToArray);
    addAppend("kelinfra", appendTerminated, TERMINATED);
    addAppend("std::string", appendTerminatedToString, TERMINATED);
}

std::shared_ptr<DataBuffer> bufferOf(const std::string& text) {
    return std::make_shared<DataBuffer>(text.c_str());
}

std::size_t countByStrstr(const char* text) {
    std::size_t count = 0;
    while ((text = std::strstr(text, NEEDLE.data())) != nullptr) {
        text += NEEDLE.size();
        ++count;
    }
    return count;
}

const char* findByMemmem(const char* text, const char* end) {
    return static_cast<const char*>(
        memmem(text, static_cast<std::size_t>(end - text), NEEDLE.data(), NEEDLE.size()));
}

std::size_t countByMemmem(const std::string& text) {
    std::size_t count = 0;
    const char* at = text.data();
    const char* const end = at + text.size();
    while ((at = findByMemmem(at, end)) != nullptr) {
        at += NEEDLE.size();
        ++count;
    }
    return count;
}

std::string replaceByMemmem(const std::string& text, std::string_view replacement) {
    std::string out;
    out.reserve(text.size());
    const char* copied = text.data();
    const char* const end = copied + text.size();
    while (const char* const at = findByMemmem(copied, end)) {
        out.append(copied, at).append(replacement);
        copied = at + NEEDLE.size();
    }
    return out.append(copied, end);
}

template <class Searcher>
void addSearcher(const SearchSample& sample, const std::string& contender,
                 const Searcher& searcher) {
    addCompared(indexOfWorkload(sample), contender, indexOfNeedle(sample), [&sample, searcher] {
        const auto at = std::search(sample.once.begin(), sample.once.end(), searcher);
        return static_cast<std::size_t>(at - sample.once.begin());
    });
}

void addSearches(const SearchSample& sample) {
    const std::string indexOf = indexOfWorkload(sample);
    addCompared(indexOf, "kelinfra", indexOfNeedle(sample), [buffer = bufferOf(sample.once)] {
        return static_cast<std::size_t>(buffer->indexOf(0, NEEDLE.data()));
    });
    addCompared(indexOf, "strstr", indexOfNeedle(sample), [&sample] {
        return static_cast<std::size_t>(std::strstr(sample.once.c_str(), NEEDLE.data()) -
                                        sample.once.c_str());
    });
    addCompared(indexOf, "memmem", indexOfNeedle(sample), [&sample] {
        const char* const text = sample.once.data();
        return static_cast<std::size_t>(findByMemmem(text, text + sample.once.size()) - text);
    });
    addCompared(indexOf, "std::string", indexOfNeedle(sample),
                [&sample] { return sample.once.find(NEEDLE); });
    addSearcher(sample, "std Boyer-Moore-Horspool",
                std::boyer_moore_horspool_searcher(NEEDLE.begin(), NEEDLE.end()));
    const std::string occurrences = occurrencesWorkload(sample);
    addCompared(occurrences, "kelinfra", sample.matches, [buffer = bufferOf(sample.often)] {
        return static_cast<std::size_t>(buffer->occurrences(NEEDLE.data()));
    });
    addCompared(occurrences, "strstr", sample.matches,
                [&sample] { return countByStrstr(sample.often.c_str()); });
    addCompared(occurrences, "memmem", sample.matches,
                [&sample] { return countByMemmem(sample.often); });
    addCompared(occurrences, "std::string", sample.matches,
                [&sample] { return countNeedles(sample.often); });
}

/// A buffer that compares with text.
struct ResultBuffer : DataBuffer {
    using DataBuffer::DataBuffer;
    bool operator==(const std::string& text) const {
        return std::string_view(getString(), static_cast<std::size_t>(length())) == text;
    }
};

void addReplacing(const SearchSample& sample) {
    addReplace(sample, "kelinfra",
               [buffer = std::make_shared<ResultBuffer>(sample.often.c_str())](
                   std::string_view replacement) {
                   ResultBuffer copy(*buffer);
                   copy.replaceAll(NEEDLE.data(), replacement.data());
                   return copy;
               });
    addReplace(sample, "memmem", [&sample](std::string_view replacement) {
        return replaceByMemmem(sample.often, replacement);
    });
}

struct DigitValues {
    constexpr DigitValues() {
        for (unsigned i = 0; i < 256; ++i) {
            values[i] = 0xFF;
        }
        for (unsigned i = 0; i < 16; ++i) {
            values[static_cast<unsigned char>("0123456789abcdef"[i])] =
                static_cast<unsigned char>(i);
            values[static_cast<unsigned char>("0123456789ABCDEF"[i])] =
                static_cast<unsigned char>(i);
        }
    }
    unsigned of(char digit) const { return values[static_cast<unsigned char>(digit)]; }

    unsigned char values[256] = {};
};

constexpr DigitValues DIGIT_VALUES;

std::string decodeByTable(const std::string& digits) {
    std::string bytes(digits.size() / 2, '\0');
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        const unsigned high = DIGIT_VALUES.of(digits[2 * i]);
        const unsigned low = DIGIT_VALUES.of(digits[2 * i + 1]);
        if ((high | low) > 15) {
            return {};
        }
        bytes[i] = static_cast<char>(high << 4 | low);
    }
    return bytes;
}

std::string encodeByTable(const std::string& bytes) {
    std::string digits(2 * bytes.size(), '\0');
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        digits[2 * i] = LOWER_DIGITS[static_cast<unsigned char>(bytes[i]) >> 4];
        digits[2 * i + 1] = LOWER_DIGITS[static_cast<unsigned char>(bytes[i]) & 15];
    }
    return digits;
}

void addOurHex(const HexSample& sample) {
    const auto size = static_cast<int>(sample.bytes.size());
    const std::string quoted = "X'" + sample.digits + "'";
    addCompared(encodeWorkload(sample), "kelinfra", quoted,
                [&sample, size, buffer = std::make_shared<DataBuffer>()] {
                    buffer->clear(/*keepBytes=*/true);
                    buffer->appendBinary(sample.bytes.data(), size, /*upperCase=*/false);
                    return std::string_view(buffer->getString(),
                                            static_cast<std::size_t>(buffer->length()));
                });
    addCompared(decodeWorkload(sample), "kelinfra", sample.bytes,
                [size, buffer = bufferOf(quoted),
                 out = std::make_shared<std::string>(sample.bytes.size(), '\0')] {
                    buffer->getBinary(out->data(), size);
                    return std::string_view(*out);
                });
}

void addHex(const HexSample& sample) {
    addOurHex(sample);
    addCompared(encodeWorkload(sample), "table loop", sample.digits,
                [&sample] { return encodeByTable(sample.bytes); });
    addCompared(decodeWorkload(sample), "table loop", sample.bytes,
                [&sample] { return decodeByTable(sample.digits); });
}

void addPeers([[maybe_unused]] const std::vector<SearchSample>& texts,
              [[maybe_unused]] const std::vector<HexSample>& hexes) {
#ifdef KELINFRA_BENCH_FMT
    addFmtAppend();
#endif
#ifdef KELINFRA_BENCH_ABSL
    addAbslAppend();
    std::for_each(texts.begin(), texts.end(), [](const auto& sample) { addAbsl(sample); });
    std::for_each(hexes.begin(), hexes.end(), [](const auto& sample) { addAbsl(sample); });
#endif
#ifdef KELINFRA_BENCH_BOOST
    std::for_each(texts.begin(), texts.end(), [](const auto& sample) { addBoost(sample); });
    std::for_each(hexes.begin(), hexes.end(), [](const auto& sample) { addBoost(sample); });
#endif
#ifdef KELINFRA_BENCH_GLIB
    addGlibAppend();
    std::for_each(texts.begin(), texts.end(), [](const auto& sample) { addGlib(sample); });
#endif
#ifdef KELINFRA_BENCH_POCO
    std::for_each(texts.begin(), texts.end(), [](const auto& sample) { addPoco(sample); });
    std::for_each(hexes.begin(), hexes.end(), [](const auto& sample) { addPoco(sample); });
#endif
#ifdef KELINFRA_BENCH_QT
    addQtAppend();
    std::for_each(texts.begin(), texts.end(), [](const auto& sample) { addQt(sample); });
    std::for_each(hexes.begin(), hexes.end(), [](const auto& sample) { addQt(sample); });
#endif
}

}  // namespace
}  // namespace nx::oss::bench

int main(int argc, char** argv) {
    using namespace nx::oss::bench;
    initializeWithPeers(argc, argv);
    const auto texts = makeSearchSamples();
    const auto hexes = makeHexSamples();
    addAppends();
    std::for_each(texts.begin(), texts.end(), addSearches);
    std::for_each(texts.begin(), texts.end(), addReplacing);
    std::for_each(hexes.begin(), hexes.end(), addHex);
    addPeers(texts, hexes);
    return run();
}

#include "kelTokenizerBench.h"

#include <unicode/unistr.h>

#include <infra/oss/kelStringTokenizer.h>

#include <cstring>
#include <memory>
#include <random>
#include <type_traits>

namespace nx::oss::bench {

namespace {

struct NamedSize {
    const char* name;
    std::size_t characters;
};
constexpr NamedSize SIZES[] = {{"64 B", 64}, {"4 KiB", 4096}, {"1 MiB", 1 << 20}};

/// Words of one to twelve letters; now and then there is more than a blank between them.
TokenSample sampleOf(const NamedSize& size) {
    constexpr const char* SEPARATORS[] = {" ", " ", " ", " ", " ", " ", ", ", "\r\n", "\t", "  "};
    std::mt19937 random(20);
    TokenSample sample;
    sample.size = size.name;
    while (sample.bytes.size() < size.characters) {
        for (auto length = 1 + random() % 12; length > 0; --length) {
            sample.bytes.push_back(static_cast<char>('a' + random() % 26));
        }
        sample.bytes += SEPARATORS[random() % std::size(SEPARATORS)];
    }
    sample.bytes.resize(size.characters);
    sample.units.assign(sample.bytes.begin(), sample.bytes.end());
    std::string copy = sample.bytes;
    for (char* token = std::strtok(copy.data(), DELIMITERS); token != nullptr;
         token = std::strtok(nullptr, DELIMITERS)) {
        sample.tokens.emplace_back(token);
    }
    return sample;
}

void addOurs(const TokenSample& sample) {
    addSplit<char>(sample, "kelinfra", [](const std::string& text, auto take) {
        StringTokenizer tokenizer(text.c_str(), DELIMITERS);
        while (tokenizer.hasMoreTokens()) {
            take(tokenizer.getNextToken());
        }
    });
    addSplit<char16_t>(
        sample, "kelinfra",
        [text = icu::UnicodeString(sample.units.data(), static_cast<int>(sample.units.size()))](
            const std::u16string&, auto take) {
            StringTokenizer tokenizer(text, DELIMITERS);
            while (tokenizer.hasMoreTokens()) {
                const icu::UnicodeString token = tokenizer.getNextTokenString();
                take({token.getBuffer(), static_cast<std::size_t>(token.length())});
            }
        });
}

template <class Unit>
class Table {
  public:
    explicit Table(const char* members) {
        for (; *members != '\0'; ++members) {
            isMember_[static_cast<unsigned char>(*members)] = true;
        }
    }
    bool has(Unit unit) const {
        const auto value = static_cast<std::make_unsigned_t<Unit>>(unit);
        return value < 256 && isMember_[value];
    }

  private:
    bool isMember_[256] = {};
};

/// One unit at a time, by a table.
template <class Unit, class Take>
void scan(const std::basic_string<Unit>& text, Take take) {
    const Table<Unit> delimiters(DELIMITERS);
    const Unit* const end = text.data() + text.size();
    for (const Unit* at = text.data(); at < end;) {
        const Unit* const begin = at;
        while (at < end && !delimiters.has(*at)) {
            ++at;
        }
        if (at > begin) {
            take({begin, static_cast<std::size_t>(at - begin)});
        }
        while (at < end && delimiters.has(*at)) {
            ++at;
        }
    }
}

template <class Unit, class Take>
void scanToVector(const std::basic_string<Unit>& text, Take take) {
    std::vector<std::basic_string<Unit>> tokens;
    scan(text, [&tokens](std::basic_string_view<Unit> token) { tokens.emplace_back(token); });
    for (const auto& token : tokens) {
        take(token);
    }
}

void addPlain(const TokenSample& sample) {
    addSplit<char>(sample, "strtok_r on a copy", [](const std::string& text, auto take) {
        std::string copy = text;
        char* state = nullptr;
        for (const char* token = strtok_r(copy.data(), DELIMITERS, &state); token != nullptr;
             token = strtok_r(nullptr, DELIMITERS, &state)) {
            take(token);
        }
    });
    addSplit<char>(sample, "scan to vector<string>",
                   [](const std::string& text, auto take) { scanToVector(text, take); });
    addSplit<char>(sample, "(limit) scan to views",
                   [](const std::string& text, auto take) { scan(text, take); });
    addSplit<char16_t>(sample, "scan to vector<u16string>",
                       [](const std::u16string& text, auto take) { scanToVector(text, take); });
    addSplit<char16_t>(sample, "(limit) scan to views",
                       [](const std::u16string& text, auto take) { scan(text, take); });
}

}  // namespace

}  // namespace nx::oss::bench

int main(int argc, char** argv) {
    using namespace nx::oss::bench;
    initializeWithPeers(argc, argv);
    for (const NamedSize& size : SIZES) {
        const TokenSample sample = sampleOf(size);
        addOurs(sample);
        addPlain(sample);
        addIcu(sample);
#ifdef KELINFRA_BENCH_ABSL
        addAbsl(sample);
#endif
#ifdef KELINFRA_BENCH_BOOST
        addBoost(sample);
#endif
#ifdef KELINFRA_BENCH_GLIB
        addGlib(sample);
#endif
#ifdef KELINFRA_BENCH_POCO
        addPoco(sample);
#endif
#ifdef KELINFRA_BENCH_QT
        addQt(sample);
#endif
    }
    return run();
}

#include "kelConverterSamples.h"

#include <unicode/unistr.h>

#include <array>
#include <cstring>
#include <random>
#include <string_view>

#include "kelBench.h"

namespace nx::oss::bench {

namespace {

using namespace std::string_view_literals;

constexpr std::array ASCII_WORDS{u"the "sv,     u"port "sv,     u"of "sv,      u"server "sv,
                                 u"4711 "sv,    u"answers, "sv, u"request "sv, u"a "sv,
                                 u"(index) "sv, u"text. "sv};
constexpr std::array LATIN_WORDS{u"Größe "sv, u"élève, "sv, u"für "sv,      u"text "sv,
                                 u"über "sv,  u"señor "sv,  u"naïve "sv,    u"Straße. "sv,
                                 u"page "sv,  u"où "sv,     u"dokument "sv, u"à "sv,
                                 u"søger "sv, u"index "sv,  u"çà "sv};
// Every character is in JIS X 0208.
constexpr std::array CJK_WORDS{u"日本語"sv,   u"の"sv,     u"文字"sv, u"を"sv,     u"変換"sv,
                               u"する。"sv,   u"検索"sv,   u"東京"sv, u"、"sv,     u"ひらがな"sv,
                               u"カタカナ"sv, u"図書館"sv, u"資料"sv, u"新しい"sv, u"情報"sv};
constexpr std::array EMOJI_WORDS{u"\U0001F600"sv,
                                 u"\U0001F44D\U0001F3FD "sv,
                                 u"\u2764\uFE0F"sv,
                                 u"\U0001F389\U0001F389\U0001F389"sv,
                                 u"ok "sv,
                                 u"\U0001F468\u200D\U0001F469\u200D\U0001F467 "sv,
                                 u"\U0001F602\U0001F923"sv,
                                 u"\U0001F680! "sv,
                                 u"\U0001F1EB\U0001F1EE"sv,
                                 u"\U0001F64F"sv,
                                 u"\u2615 "sv};

template <std::size_t N>
std::u16string drawText(const std::array<std::u16string_view, N>& words, std::size_t characters) {
    std::mt19937 random(20111U);
    std::u16string text;
    while (text.size() < characters) {
        text += words[random() % N];
    }
    text.resize(characters);
    return text;
}

struct Plan {
    const char* name;
    const char* from;
    const char* to;
    Script script;
};

constexpr Plan PLANS[] = {
    {"UTF-16 -> UTF-8, ASCII", nullptr, "UTF-8", Script::ASCII},
    {"UTF-16 -> UTF-8, Latin", nullptr, "UTF-8", Script::LATIN},
    {"UTF-16 -> UTF-8, CJK", nullptr, "UTF-8", Script::CJK},
    {"UTF-16 -> ISO-8859-1", nullptr, "ISO-8859-1", Script::LATIN},
    {"UTF-16 -> Shift_JIS", nullptr, "Shift_JIS", Script::CJK},
    {"UTF-8 -> UTF-16LE, ASCII", "UTF-8", "UTF-16LE", Script::ASCII},
    {"UTF-8 -> UTF-16LE, Latin", "UTF-8", "UTF-16LE", Script::LATIN},
    {"UTF-8 -> UTF-16LE, CJK", "UTF-8", "UTF-16LE", Script::CJK},
    {"UTF-8 -> ISO-8859-1", "UTF-8", "ISO-8859-1", Script::LATIN},
    {"ISO-8859-1 -> UTF-8", "ISO-8859-1", "UTF-8", Script::LATIN},
    {"Shift_JIS -> UTF-8", "Shift_JIS", "UTF-8", Script::CJK},
    {"UTF-8 -> Shift_JIS", "UTF-8", "Shift_JIS", Script::CJK},
};

constexpr std::size_t SHORT_TEXT = 32;
constexpr std::size_t LONG_TEXT = 65536;

Conversion conversionOf(const Plan& plan, std::size_t characters) {
    const std::u16string text = textOf(plan.script, characters);
    return {std::string(plan.name) + (characters == SHORT_TEXT ? ", 32 chars" : ", 64 Ki chars"),
            plan.from,
            plan.to,
            text,
            plan.from == nullptr ? std::string() : inCodePage(text, plan.from),
            inCodePage(text, plan.to)};
}

}  // namespace

std::u16string textOf(Script script, std::size_t characters) {
    switch (script) {
        case Script::ASCII:
            return drawText(ASCII_WORDS, characters);
        case Script::LATIN:
            return drawText(LATIN_WORDS, characters);
        case Script::EMOJI:
            return drawText(EMOJI_WORDS, characters);
        default:
            return drawText(CJK_WORDS, characters);
    }
}

std::string inCodePage(const std::u16string& text, const char* codePage) {
    const icu::UnicodeString string(text.data(), static_cast<int32_t>(text.size()));
    std::string bytes(text.size() * 4, '\0');
    const int32_t length = string.extract(0, string.length(), bytes.data(),
                                          static_cast<uint32_t>(bytes.size()), codePage);
    require(length > 0 && static_cast<std::size_t>(length) <= bytes.size(), codePage);
    bytes.resize(static_cast<std::size_t>(length));
    return bytes;
}

std::string Conversion::textBytes() const {
    std::string bytes(text.size() * sizeof(char16_t), '\0');
    std::memcpy(bytes.data(), text.data(), bytes.size());
    return bytes;
}

std::size_t Conversion::sourceSize() const {
    return fromText() ? text.size() * sizeof(char16_t) : source.size();
}

const std::vector<Conversion>& conversions() {
    static const std::vector<Conversion> all = [] {
        std::vector<Conversion> list;
        for (const std::size_t characters : {SHORT_TEXT, LONG_TEXT}) {
            for (const Plan& plan : PLANS) {
                list.push_back(conversionOf(plan, characters));
            }
        }
        return list;
    }();
    return all;
}

}  // namespace nx::oss::bench

// Formats and parses numbers by the conventions of a locale and compares with ICU, also after a
// change of settings.
//
// Input: the name of a locale, a letter, a value of eight bytes, then a text to parse.
//
// No allocation fails here: ICU 72 itself reads through a null pointer when memory runs out while
// it makes a format.

#include <cstring>
#include <map>
#include <memory>

#include <unicode/numfmt.h>

#include <infra/oss/kelFormatter.h>
#include <infra/oss/kelNLSUtility.h>

#include "kelFuzzInput.h"
#include "support/kelNumberOracle.h"

namespace {

using icu::UnicodeString;
using nx::oss::Formatter;
using nx::oss::NLSUtility;

/// A formatter and ICU's format of the same locale. They are kept: making one takes long.
struct Formats {
    explicit Formats(const std::string& standard)
        : ours(Formatter::SHORT, Formatter::SHORT, standard.c_str()) {
        // Two letters of language, two of country: "enUS".
        const icu::Locale locale(standard.substr(0, 2).c_str(), standard.substr(2).c_str());
        UErrorCode status = U_ZERO_ERROR;
        wanted.reset(icu::NumberFormat::createInstance(locale, status));
        require(U_SUCCESS(status) != 0, "format of ICU");
        require(ours.getLocale() == standard, "locale of the formatter");
    }

    Formatter ours;
    std::unique_ptr<icu::NumberFormat> wanted;
};

const Formats& formatsOf(const std::string& standard) {
    static std::map<std::string, Formats> all;
    return all.try_emplace(standard, standard).first->second;
}

template <class Number, class Wide>
void compareText(const Formats& formats, Number value, Wide wide) {
    UnicodeString found(u"<");
    UnicodeString wanted(u"<");
    formats.ours.formatNumber(found, value);
    formats.wanted->format(wide, wanted);
    require(found == wanted, "text of a number");
}

void compareTexts(const Formats& formats, std::uint64_t word) {
    const auto signedWord = static_cast<std::int64_t>(word);
    compareText(formats, static_cast<long>(word), signedWord);
    compareText(formats, static_cast<int>(word), std::int64_t{static_cast<int>(word)});
    compareText(formats, static_cast<short>(word), std::int64_t{static_cast<short>(word)});
    compareText(formats, static_cast<unsigned char>(word), static_cast<std::int64_t>(word & 0xFF));
    compareText(formats, static_cast<unsigned>(word), static_cast<std::int64_t>(word & 0xFFFFFFFF));
    double real = 0;
    std::memcpy(&real, &word, sizeof real);
    compareText(formats, real, real);
    if (signedWord >= 0) {
        compareText(formats, word, signedWord);
        return;
    }
    UnicodeString plain;
    formats.ours.formatNumber(plain, word);
    require(utf8Of(plain) == std::to_string(word), "text of a large number");
}

void compareChange(unsigned styles, const std::string& standard) {
    Formatter formatter(Formatter::FULL, Formatter::LONG, "deDE");
    const auto dateStyle = static_cast<Formatter::Style>(styles % 6);
    const auto timeStyle = static_cast<Formatter::Style>(styles / 6);
    formatter.setSettings(dateStyle, timeStyle, standard.c_str());
    require(formatter.getLocale() == standard, "locale");
    require(formatter.getDateStyle() == dateStyle, "date style");
    require(formatter.getTimeStyle() == timeStyle, "time style");
    UnicodeString found;
    UnicodeString wanted;
    formatter.formatNumber(found, -1234567.5);
    formatsOf(standard).wanted->format(-1234567.5, wanted);
    require(found == wanted, "text after a change");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    FuzzInput input(data, size);
    const std::string name = input.shortText();
    const std::string standard = NLSUtility::getInstance().getStandardLocaleValue(name.c_str());
    const Formats& formats = formatsOf(standard);
    const unsigned operation = input.byte();
    compareTexts(formats, input.word());
    // Seldom: making the four formats of a locale takes a thousand times as long as the rest.
    if (operation >= 0xF8) {
        compareChange(operation % 8 * 5, standard);
    }
    require(!nx::oss::test::differenceInParsing(formats.ours, *formats.wanted,
                                                UnicodeString::fromUTF8(input.rest())),
            "parsing a number");
    return 0;
}

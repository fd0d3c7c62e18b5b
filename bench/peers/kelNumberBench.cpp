#include <infra/oss/kelDataBuffer.h>
#include <infra/oss/kelFormatter.h>
#include <infra/oss/kelNLSUtility.h>
#include <unicode/datefmt.h>
#include <unicode/numfmt.h>

#include <charconv>
#include <cinttypes>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string_view>

#include "kelNumberBench.h"

namespace nx::oss::bench {

namespace {

icu::UnicodeString unicode(const std::string& text) { return icu::UnicodeString::fromUTF8(text); }

std::string bytesOf(const icu::UnicodeString& text) {
    std::string bytes;
    return text.toUTF8String(bytes);
}

std::string bytesOf(std::string_view text) { return std::string(text); }

const auto UNICODE = [](const std::string& text) { return unicode(text); };
const auto BYTES = [](const auto& text) { return bytesOf(text); };

/// from_chars of the whole text; NUMBER_REFUSED ends the program when it is none.
template <class Number>
Number fromChars(const char* begin, const char* end) {
    Number value{};
    const auto done = std::from_chars(begin, end, value);
    require(done.ec == std::errc{} && done.ptr == end, "from_chars");
    return value;
}

template <class Number>
Number fromCharsOfUnicode(const icu::UnicodeString& text) {
    char bytes[64];
    const int length = text.length();
    require(length <= 64, "from_chars");
    const char16_t* const units = text.getBuffer();
    for (int i = 0; i < length; ++i) {
        bytes[i] = static_cast<char>(units[i]);
    }
    return fromChars<Number>(bytes, bytes + length);
}

/// `cRead` is one of strtol() and its like, `scanned` the format of sscanf() for the whole text.
template <class Number, class CRead>
void addStandardParsers(const Numbers<Number>& numbers, CRead cRead, const char* scanned) {
    addParser(numbers, "from_chars", [](const std::string& text) {
        return fromChars<Number>(text.data(), text.data() + text.size());
    });
    addParser(numbers, "from_chars of UTF-16", UNICODE, fromCharsOfUnicode<Number>);
    addParser(numbers, "strtol, strtod", [cRead](const std::string& text) {
        char* end = nullptr;
        const Number value = cRead(text.c_str(), &end);
        require(end == text.c_str() + text.size(), "strtol, strtod");
        return value;
    });
    addParser(numbers, "sscanf", [scanned](const std::string& text) {
        Number value{};
        int length = 0;
        require(std::sscanf(text.c_str(), scanned, &value, &length) == 1 &&
                    length == static_cast<int>(text.size()),
                "sscanf");
        return value;
    });
}

std::shared_ptr<icu::NumberFormat> plainIcuFormat() {
    UErrorCode status = U_ZERO_ERROR;
    std::shared_ptr<icu::NumberFormat> format(
        icu::NumberFormat::createInstance(icu::Locale::getEnglish(), status));
    require(U_SUCCESS(status), "NumberFormat");
    format->setGroupingUsed(false);
    return format;
}

/// Takes what begins with a number, and no text for what it is: partial.
template <class Number>
void addIcuParser(const Numbers<Number>& numbers) {
    addParser(numbers, "(partial) ICU NumberFormat", UNICODE,
              [format = plainIcuFormat()](const icu::UnicodeString& text) {
                  icu::Formattable number;
                  UErrorCode status = U_ZERO_ERROR;
                  format->parse(text, number, status);
                  if constexpr (std::is_floating_point_v<Number>) {
                      return number.getDouble(status);
                  } else {
                      return static_cast<Number>(number.getInt64(status));
                  }
              });
}

void addParsers(const NumberSamples& samples) {
    addParser(samples.parsedInt32, "kelinfra", UNICODE,
              [](const icu::UnicodeString& text) { return Formatter::stringToInt32(text); });
    addParser(samples.parsedInt64, "kelinfra", UNICODE,
              [](const icu::UnicodeString& text) { return Formatter::stringToInt64(text); });
    for (const auto* numbers : {&samples.parsedMoney, &samples.parsedExact}) {
        addParser(*numbers, "kelinfra", UNICODE,
                  [](const icu::UnicodeString& text) { return Formatter::stringToDouble(text); });
        addStandardParsers(
            *numbers, [](const char* text, char** end) { return std::strtod(text, end); }, "%lf%n");
        addIcuParser(*numbers);
    }
    addStandardParsers(
        samples.parsedInt32,
        [](const char* text, char** end) {
            return static_cast<std::int32_t>(std::strtol(text, end, 10));
        },
        "%" SCNd32 "%n");
    addStandardParsers(
        samples.parsedInt64,
        [](const char* text, char** end) { return std::strtoll(text, end, 10); }, "%" SCNd64 "%n");
    addIcuParser(samples.parsedInt32);
    addIcuParser(samples.parsedInt64);
}

template <class... Format>
char* toChars(char* begin, char* end, Format... format) {
    return std::to_chars(begin, end, format...).ptr;
}

/// The forms of std::to_chars; `format` follows the value.
template <class Number, class... Format>
void addStandardPrinters(const Numbers<Number>& numbers, Format... format) {
    addPrinter(numbers, "to_chars", [format...](Number value) {
        char text[512];
        return std::string(text, toChars(text, text + sizeof text, value, format...));
    });
    addPrinter(
        numbers, "to_chars to UTF-16",
        [format...](Number value) {
            char text[512];
            const char* const end = toChars(text, text + sizeof text, value, format...);
            return icu::UnicodeString(text, static_cast<int32_t>(end - text), US_INV);
        },
        BYTES);
    addPrinter(
        numbers, "(limit) to_chars to an array",
        [format...](Number value) {
            static char text[512];
            const char* const end = toChars(text, text + sizeof text, value, format...);
            return std::string_view(text, static_cast<std::size_t>(end - text));
        },
        BYTES);
}

template <class Number>
void addCPrinter(const Numbers<Number>& numbers, const char* format) {
    addPrinter(numbers, "snprintf", [format](Number value) {
        char text[512];
        const int length = std::snprintf(text, sizeof text, format, value);
        return std::string(text, static_cast<std::size_t>(length));
    });
}

std::string_view doubleInArray(double value) {
    static char text[512];
    const int length = Formatter::doubleToString(text, sizeof text - 1, value);
    return {text, static_cast<std::size_t>(length)};
}

void addDoublePrinters(const Numbers<double>& numbers) {
    addPrinter(
        numbers, "kelinfra, to UnicodeString",
        [](double value) {
            icu::UnicodeString out;
            Formatter::doubleToString(out, value);
            return out;
        },
        BYTES);
    addPrinter(numbers, "kelinfra, to an array", doubleInArray, BYTES);
    addStandardPrinters(numbers, std::chars_format::fixed, 6);
    addCPrinter(numbers, "%lf");
}

void addIntegerPrinters(const Numbers<std::int64_t>& numbers) {
    addPrinter(
        numbers, "kelinfra, to UnicodeString",
        [](std::int64_t value) {
            icu::UnicodeString out;
            Formatter::int64ToString(out, value);
            return out;
        },
        BYTES);
    addStandardPrinters(numbers);
    addCPrinter(numbers, "%ld");
    addPrinter(
        numbers, "ICU NumberFormat",
        [format = plainIcuFormat()](std::int64_t value) {
            icu::UnicodeString out;
            return format->format(value, out);
        },
        BYTES);
}

/// Numbers appended to one buffer, which begins afresh behind every thousand.
template <class Number>
void addAppending(const Numbers<Number>& numbers, const std::string& workload) {
    std::string expected;
    for (const std::string& text : numbers.texts) {
        expected += text;
    }
    const auto append = [values = numbers.values](DataBuffer& buffer) {
        buffer.clear(/*keepBytes=*/true);
        for (const Number value : values) {
            buffer.appendNumber(value);
        }
    };
    auto buffer = std::make_shared<DataBuffer>();
    append(*buffer);
    require(buffer->getString() == expected, workload);
    addRow(workload, "kelinfra", [append, buffer](benchmark::State& state) {
        while (state.KeepRunningBatch(1000)) {
            append(*buffer);
            benchmark::ClobberMemory();
        }
    });
    addRow(workload, "to_chars + std::string", [values = numbers.values](benchmark::State& state) {
        std::string text;
        while (state.KeepRunningBatch(1000)) {
            text = std::string();
            for (const Number value : values) {
                char digits[512];
                char* end = nullptr;
                if constexpr (std::is_floating_point_v<Number>) {
                    end = toChars(digits, digits + 512, value, std::chars_format::fixed, 6);
                } else {
                    end = toChars(digits, digits + 512, value);
                }
                text.append(digits, end);
            }
            benchmark::DoNotOptimize(text.data());
        }
    });
}

const std::vector<std::string> LOCALE_NAMES = {
    "en_US", "EN-us", "enu", "de_CH", "zhTW", "pt_BR", "iw", "sr_RS", "xx_YY",
};
const std::vector<std::string> LOCALE_NAMES_WITH_CODE_SET = {
    "en_US.UTF-8", "de_DE.ISO-8859-1", "ja_JP.eucJP", "pt_BR.UTF-8", "xx_YY.UTF-8",
};

void addLocaleNames(const std::string& workload, const std::vector<std::string>& names) {
    addPerItem(workload, "kelinfra", names,
               [&utility = NLSUtility::getInstance()](const std::string& name) {
                   return utility.getStandardLocaleValue(name.c_str());
               });
    addPerItem(workload, "ICU canonical name", names, [](const std::string& name) {
        char canonical[ULOC_FULLNAME_CAPACITY];
        UErrorCode status = U_ZERO_ERROR;
        return uloc_canonicalize(name.c_str(), canonical, sizeof canonical, &status);
    });
}

/// The four formats of one locale.
struct IcuFormats {
    explicit IcuFormats(const icu::Locale& locale)
        : date(icu::DateFormat::createDateInstance(icu::DateFormat::kShort, locale)),
          time(icu::DateFormat::createTimeInstance(icu::DateFormat::kMedium, locale)),
          dateTime(icu::DateFormat::createDateTimeInstance(icu::DateFormat::kShort,
                                                           icu::DateFormat::kMedium, locale)),
          number(icu::NumberFormat::createInstance(locale, status)) {}

    UErrorCode status = U_ZERO_ERROR;
    std::unique_ptr<icu::DateFormat> date;
    std::unique_ptr<icu::DateFormat> time;
    std::unique_ptr<icu::DateFormat> dateTime;
    std::unique_ptr<icu::NumberFormat> number;
};

void addFormatterConstruction() {
    const std::string workload = "make the four formats of a locale";
    const std::vector<std::string> names = {"deDE"};
    addPerItem(workload, "kelinfra", names, [](const std::string& name) {
        return std::make_unique<Formatter>(Formatter::SHORT, Formatter::MEDIUM, name.c_str());
    });
    addPerItem(workload, "ICU", names, [](const std::string&) {
        return std::make_unique<IcuFormats>(icu::Locale("de", "DE"));
    });
    const std::string change = "change the styles of a formatter";
    addPerItem(
        change, "kelinfra", names,
        [formatter = std::make_shared<Formatter>(Formatter::SHORT, Formatter::MEDIUM, "deDE"),
         style = Formatter::SHORT](const std::string& name) mutable {
            style = style == Formatter::SHORT ? Formatter::LONG : Formatter::SHORT;
            formatter->setSettings(style, Formatter::MEDIUM, name.c_str());
            return style;
        });
}

template <class Number>
std::vector<icu::UnicodeString> unicodeTexts(const Numbers<Number>& numbers,
                                             const icu::NumberFormat& format) {
    std::vector<icu::UnicodeString> texts;
    for (const Number value : numbers.values) {
        format.format(value, texts.emplace_back());
    }
    return texts;
}

template <class Number>
void addFormatted(const std::string& what, const Numbers<Number>& numbers) {
    const auto ours = std::make_shared<Formatter>(Formatter::SHORT, Formatter::MEDIUM, "enUS");
    const auto icus = std::make_shared<IcuFormats>(icu::Locale("en", "US"));
    const auto texts = unicodeTexts(numbers, *icus->number);
    for (std::size_t i = 0; i < texts.size(); ++i) {
        icu::UnicodeString out;
        require(ours->formatNumber(out, numbers.values[i]) == texts[i], "formatNumber " + what);
    }
    addPerItem("format " + what + " by locale", "kelinfra", numbers.values, [ours](Number value) {
        icu::UnicodeString out;
        ours->formatNumber(out, value);
        return out;
    });
    addPerItem("format " + what + " by locale", "ICU", numbers.values, [icus](Number value) {
        icu::UnicodeString out;
        icus->number->format(value, out);
        return out;
    });
    addPerItem("parse " + what + " by locale", "kelinfra", texts,
               [ours](const icu::UnicodeString& text) {
                   Number value{};
                   require(ours->parseAs(value, text), "parseAs");
                   return value;
               });
    addPerItem("parse " + what + " by locale", "ICU", texts,
               [icus](const icu::UnicodeString& text) {
                   icu::Formattable number;
                   UErrorCode status = U_ZERO_ERROR;
                   icus->number->parse(text, number, status);
                   return number.getDouble();
               });
}

void addPeers([[maybe_unused]] const NumberSamples& samples) {
#ifdef KELINFRA_BENCH_ABSL
    addAbsl(samples);
#endif
#ifdef KELINFRA_BENCH_BOOST
    addBoost(samples);
#endif
#ifdef KELINFRA_BENCH_FASTFLOAT
    addFastFloat(samples);
#endif
#ifdef KELINFRA_BENCH_FMT
    addFmt(samples);
#endif
#ifdef KELINFRA_BENCH_GLIB
    addGlib(samples);
#endif
#ifdef KELINFRA_BENCH_POCO
    addPoco(samples);
#endif
#ifdef KELINFRA_BENCH_QT
    addQt(samples);
#endif
}

void addAll() {
    const NumberSamples samples = makeNumberSamples();
    addParsers(samples);
    addDoublePrinters(samples.printedSmall);
    addDoublePrinters(samples.printedLarge);
    addIntegerPrinters(samples.printedInt64);
    addAppending(samples.printedInt64, "append int64 to a buffer");
    addAppending(samples.printedSmall, "append double to a buffer");
    addPeers(samples);
    addLocaleNames("standard name of a locale", LOCALE_NAMES);
    addLocaleNames("standard name of a locale with a code set", LOCALE_NAMES_WITH_CODE_SET);
    addFormatterConstruction();
    addFormatted("int64", samples.printedInt64);
    addFormatted("double", samples.printedSmall);
}

}  // namespace
}  // namespace nx::oss::bench

int main(int argc, char** argv) {
    using namespace nx::oss::bench;
    initializeWithPeers(argc, argv);
    addAll();
    return run();
}

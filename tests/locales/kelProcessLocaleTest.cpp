#include <infra/oss/kelDataBuffer.h>
#include <infra/oss/kelFormatter.h>
#include <infra/oss/kelMessage.h>
#include <infra/oss/kelNLSException.h>
#include <infra/oss/kelNLSUtility.h>
#include <infra/oss/kelUTF8String.h>

#include <locale.h>

#include <atomic>
#include <clocale>
#include <functional>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "infra/util/kelExtendedProperties.h"
#include "support/kelRaises.h"

namespace nx::oss {
namespace {

using icu::UnicodeString;

std::string processLocale() { return std::setlocale(LC_ALL, nullptr); }

std::string textOf(const std::function<void(UnicodeString&)>& write) {
    UnicodeString out;
    write(out);
    return test::utf8(out);
}

bool refusesADouble(const char* text) {
    try {
        Formatter::stringToDouble(text);
        return false;
    } catch (const NLSException&) {
        return true;
    }
}

std::string appendedDouble() {
    DataBuffer buffer;
    buffer.appendNumber(-1234.5);
    return buffer.getString();
}

double doubleProperty() {
    util::ExtendedProperties properties;
    properties.putProperty("rate", "2.5");
    return properties.getPropertyAsDouble("rate", 0.0);
}

std::string englishNumber() {
    static const Formatter english(Formatter::SHORT, Formatter::SHORT, "en_US");
    UnicodeString out;
    return test::utf8(english.formatNumber(out, 1234.5));
}

std::string germanNumber() {
    Formatter formatter(Formatter::SHORT, Formatter::SHORT, "en_US");
    formatter.setSettings(Formatter::SHORT, Formatter::SHORT, "de_DE");
    UnicodeString out;
    return test::utf8(formatter.formatNumber(out, 1234.5));
}

double parsedNumber() {
    static const Formatter english(Formatter::SHORT, Formatter::SHORT, "en_US");
    double value = 0;
    english.parseAs(value, u"1,234.5");
    return value;
}

struct Operation {
    const char* name;
    std::function<bool()> works;
};

const std::vector<Operation>& operations() {
    static const std::vector<Operation> list = {
        {"stringToInt32", [] { return Formatter::stringToInt32(u" -42 ") == -42; }},
        {"stringToUint32", [] { return Formatter::stringToUint32(u"42") == 42; }},
        {"stringToInt64", [] { return Formatter::stringToInt64(u"-42") == -42; }},
        {"stringToUint64", [] { return Formatter::stringToUint64(u"42") == 42; }},
        {"short double", [] { return Formatter::stringToDouble(u"2.5") == 2.5; }},
        {"long double", [] { return Formatter::stringToDouble("1234.56789012345678901e2") > 1e5; }},
        {"hexadecimal double", [] { return Formatter::stringToDouble("0x1.8p0") == 1.5; }},
        {"double with a plus", [] { return Formatter::stringToDouble("+1.5e0") == 1.5; }},
        {"tiny double", [] { return Formatter::stringToDouble("1.5e-999") == 0.0; }},
        {"double with a comma", [] { return refusesADouble("2,5") && refusesADouble("0x1,8p0"); }},
        {"overflowing double", [] { return refusesADouble("1e999"); }},
        {"int32ToString",
         [] {
             return textOf([](auto& out) { Formatter::int32ToString(out, -1234567); }) ==
                    "-1234567";
         }},
        {"uint64ToString",
         [] {
             return textOf([](auto& out) { Formatter::uint64ToString(out, 1234567); }) == "1234567";
         }},
        {"doubleToString",
         [] {
             return textOf([](auto& out) { Formatter::doubleToString(out, 1.5); }) == "1.500000";
         }},
        {"doubleToString of bytes",
         [] {
             char bytes[9];
             return Formatter::doubleToString(bytes, 9, 1.5) == 8 &&
                    std::string(bytes) == "1.500000";
         }},
        {"formatHex",
         [] { return textOf([](auto& out) { Formatter::formatHex(out, 255, true); }) == "X'FF'"; }},
        {"formatNumber", [] { return englishNumber() == "1,234.5"; }},
        {"setSettings", [] { return germanNumber() == "1.234,5"; }},
        {"parseAs", [] { return parsedNumber() == 1234.5; }},
        {"DataBuffer", [] { return appendedDouble() == "-1234.500000"; }},
        {"properties", [] { return doubleProperty() == 2.5; }},
        {"locale with an i",
         [] {
             return NLSUtility::getInstance().getStandardLocaleValue("it_it") ==
                    std::string("itIT");
         }},
        {"locale with a letter of Latin-1",
         [] {
             return NLSUtility::getInstance().getStandardLocaleValue("de\xE9_DE") ==
                    std::string("deDE");
         }},
        {"environment",
         [] {
             return NLSUtility::getInstance().isSupported(
                 NLSUtility::getInstance().getEnvironmentLocale());
         }},
        {"UTF8String", [] { return UTF8String(UnicodeString(u"\u0131")).numChars() == 1; }},
    };
    return list;
}

TEST(ProcessLocale, IsNeitherUsedNorChangedByAnyOperation) {
    const std::string before = processLocale();
    const locale_t thread = uselocale(nullptr);
    for (const Operation& operation : operations()) {
        EXPECT_TRUE(operation.works()) << operation.name;
        EXPECT_EQ(processLocale(), before) << operation.name;
        EXPECT_EQ(uselocale(nullptr), thread) << operation.name;
    }
}

TEST(ProcessLocale, IsNeverSeenChangedByAnotherThread) {
    constexpr int ENOUGH = 2000;
    const std::string before = processLocale();
    std::atomic<int> looks{0};
    std::atomic<int> changes{0};
    std::atomic<bool> done{false};
    std::thread watcher([&] {
        while (!done) {
            changes += processLocale() != before;
            ++looks;
        }
    });
    for (int rounds = 0; rounds < 200 || looks < ENOUGH; ++rounds) {
        for (const Operation& operation : operations()) {
            EXPECT_TRUE(operation.works()) << operation.name;
        }
    }
    done = true;
    watcher.join();
    EXPECT_GE(looks, ENOUGH);
    EXPECT_EQ(changes, 0);
}

}  // namespace
}  // namespace nx::oss

#include <infra/util/kelExtendedProperties.h>

#include <cmath>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <infra/util/kelPropertiesException.h>

#include "support/kelPropertiesSupport.h"
#include "support/kelRaises.h"

namespace nx::util {
namespace {

using icu::UnicodeString;
using test::pairsOf;
using test::Report;
using test::shown;
using test::ShownPairs;

constexpr const char* FILE_NAME = "src/infra/util/kelExtendedProperties";

Report missing(const char* key) {
    return Report("ERR_PROPERTY_MISSING").at(FILE_NAME, 629).with({key});
}

Report wrongType(unsigned long line, std::vector<std::string> arguments) {
    return Report("ERR_PROPERTY_WRONG_TYPE").at(FILE_NAME, line).with(std::move(arguments));
}

/// A set with one pair, "n" = `value`.
class One : public ExtendedProperties {
  public:
    explicit One(const UnicodeString& value) { putProperty("n", value); }
};

TEST(ExtendedPropertiesGet, GivesTheAddressOfTheStoredValue) {
    const One properties("v");
    const UnicodeString def("d");
    EXPECT_EQ(properties.getProperty("n", &def, false), &properties.begin()->second);
    EXPECT_EQ(properties.getProperty("n", nullptr, true), &properties.begin()->second);
}

TEST(ExtendedPropertiesGet, GivesTheDefaultAsGivenForAnAbsentKey) {
    const One properties("v");
    const UnicodeString def("d");
    EXPECT_EQ(properties.getProperty("N", &def, false), &def);
    EXPECT_EQ(properties.getProperty("", nullptr, false), nullptr);
}

TEST(ExtendedPropertiesGet, RaisesForAnAbsentRequiredKeyEvenWithADefault) {
    const One properties("v");
    const UnicodeString def("d");
    EXPECT_RAISES(PropertiesException, properties.getProperty("m", nullptr, true), missing("m"));
    EXPECT_RAISES(PropertiesException, properties.getProperty("m", &def, true), missing("m"));
    EXPECT_RAISES(PropertiesException, properties.getProperty("", &def, true), missing(""));
}

TEST(ExtendedPropertiesGet, WithADefaultNeverRaises) {
    const One properties("v");
    EXPECT_EQ(shown(properties.getProperty("n", UnicodeString("d"))), "v");
    EXPECT_EQ(shown(properties.getProperty("m", UnicodeString("d"))), "d");
}

TEST(ExtendedPropertiesRequire, GivesTheStoredValueOrRaises) {
    const One properties(" v ");
    EXPECT_EQ(shown(properties.requireProperty("n")), " v ");
    EXPECT_RAISES(PropertiesException, properties.requireProperty("m"), missing("m"));
}

TEST(ExtendedPropertiesGet, CarriesLongAndOddKeysInTheError) {
    const ExtendedProperties properties;
    const std::string key(3000, 'k');
    EXPECT_RAISES(PropertiesException, properties.requireProperty(UnicodeString::fromUTF8(key)),
                  missing(key.c_str()));
    EXPECT_RAISES(PropertiesException, properties.requireProperty(UnicodeString(u"\u00E9\u4E00")),
                  missing("\xC3\xA9\xE4\xB8\x80"));
}

TEST(ExtendedPropertiesGet, ExpandsNoReference) {
    One properties("%x%");
    properties.putProperty("x", "1");
    EXPECT_EQ(shown(properties.getProperty("n", UnicodeString())), "%x%");
    EXPECT_RAISES(PropertiesException, properties.requirePropertyAsInt32("n"),
                  wrongType(724, {"n", "%x%", "integer"}));
}

TEST(ExtendedPropertiesException, HasItsName) {
    try {
        ExtendedProperties().requireProperty("m");
        FAIL();
    } catch (const oss::BaseException& e) {
        EXPECT_STREQ(e.what(), "PropertiesException");
    }
}

// --- The three forms of every typed getter ------------------------------------------------------

/// Calls the three getters of a type.
template <class T>
struct Getters {
    T (ExtendedProperties::*core)(const UnicodeString&, const T*) const;
    T (ExtendedProperties::*withDefault)(const UnicodeString&, T) const;
    T (ExtendedProperties::*required)(const UnicodeString&) const;
    T stored;
    T def;
};

template <class T>
void expectThreeForms(const Getters<T>& get, const char* text) {
    const One properties(text);
    const ExtendedProperties empty;
    EXPECT_EQ((properties.*get.core)("n", nullptr), get.stored);
    EXPECT_EQ((properties.*get.core)("n", &get.def), get.stored);
    EXPECT_EQ((properties.*get.withDefault)("n", get.def), get.stored);
    EXPECT_EQ((properties.*get.required)("n"), get.stored);
    EXPECT_EQ((empty.*get.core)("n", &get.def), get.def);
    EXPECT_EQ((empty.*get.withDefault)("n", get.def), get.def);
    EXPECT_RAISES(PropertiesException, (empty.*get.core)("n", nullptr), missing("n"));
    EXPECT_RAISES(PropertiesException, (empty.*get.required)("n"), missing("n"));
    // White space around the value does not count, and the stored value keeps it.
    const One padded(UnicodeString(u" \t\n\u3000\u2003") + text + UnicodeString(u"\f \r\n"));
    EXPECT_EQ((padded.*get.required)("n"), get.stored);
    EXPECT_EQ(shown(padded.begin()->second),
              " {0009}{000A}{3000}{2003}" + std::string(text) + "{000C} {000D}{000A}");
}

template <class T>
void expectWrongType(const Getters<T>& get, const UnicodeString& text, unsigned long line,
                     const char* trimmed, const char* word) {
    const One properties(text);
    const Report report = wrongType(line, {"n", trimmed, word});
    EXPECT_RAISES(PropertiesException, (properties.*get.core)("n", nullptr), report);
    EXPECT_RAISES(PropertiesException, (properties.*get.core)("n", &get.def), report);
    EXPECT_RAISES(PropertiesException, (properties.*get.withDefault)("n", get.def), report);
    EXPECT_RAISES(PropertiesException, (properties.*get.required)("n"), report);
    EXPECT_EQ(pairsOf(properties), (ShownPairs{{"n", shown(text)}}));
}

using P = ExtendedProperties;
const Getters<bool> BOOLEAN{&P::getPropertyAsBoolean, &P::getPropertyAsBoolean,
                            &P::requirePropertyAsBoolean, true, false};
const Getters<int> INT32{&P::getPropertyAsInt32, &P::getPropertyAsInt32, &P::requirePropertyAsInt32,
                         -42, 5};
const Getters<unsigned int> UINT32{&P::getPropertyAsUInt32, &P::getPropertyAsUInt32,
                                   &P::requirePropertyAsUInt32, 42u, 5u};
const Getters<long> INT64{&P::getPropertyAsInt64, &P::getPropertyAsInt64,
                          &P::requirePropertyAsInt64, -42L, 5L};
const Getters<unsigned long> UINT64{&P::getPropertyAsUInt64, &P::getPropertyAsUInt64,
                                    &P::requirePropertyAsUInt64, 42UL, 5UL};
const Getters<double> DOUBLE{&P::getPropertyAsDouble, &P::getPropertyAsDouble,
                             &P::requirePropertyAsDouble, -2.5, 0.25};

TEST(ExtendedPropertiesGetters, HaveThreeFormsEach) {
    expectThreeForms(BOOLEAN, "true");
    expectThreeForms(INT32, "-42");
    expectThreeForms(UINT32, "42");
    expectThreeForms(INT64, "-42");
    expectThreeForms(UINT64, "42");
    expectThreeForms(DOUBLE, "-2.5");
}

/// Of every getter, for a value that is no number and no word.
void expectWrongTypes(const UnicodeString& value, const char* kept) {
    expectWrongType(BOOLEAN, value, 686, kept, "boolean");
    expectWrongType(INT32, value, 724, kept, "integer");
    expectWrongType(UINT32, value, 761, kept, "integer");
    expectWrongType(INT64, value, 808, kept, "int64");
    expectWrongType(UINT64, value, 844, kept, "longint");
    expectWrongType(DOUBLE, value, 890, kept, "double");
}

TEST(ExtendedPropertiesGetters, NameTheKeyTheTrimmedValueAndTheType) {
    expectWrongType(BOOLEAN, " On ", 686, "On", "boolean");
    expectWrongTypes(" 42x ", "42x");
}

TEST(ExtendedPropertiesGetters, RefuseTheEmptyValue) {
    for (const char* const value : {"", "  ", "\t\n"}) {
        expectWrongTypes(value, "");
    }
}

TEST(ExtendedPropertiesGetters, DoNotTrimNoBreakSpaces) {
    const UnicodeString value(u"\u00A01\u00A0");
    const char* const kept =
        "\xC2\xA0"
        "1\xC2\xA0";
    expectWrongTypes(value, kept);
    expectWrongType(INT32, UnicodeString(u"1\u0085"), 724, "1\xC2\x85", "integer");
}

TEST(ExtendedPropertiesGetters, RefuseTextBehindANul) {
    const UnicodeString value(u"1\0", 2);
    const std::string kept("1\0", 2);
    const One properties(value);
    EXPECT_RAISES(PropertiesException, properties.requirePropertyAsInt32("n"),
                  wrongType(724, {"n", kept, "integer"}));
    EXPECT_RAISES(PropertiesException, properties.requirePropertyAsBoolean("n"),
                  wrongType(686, {"n", kept, "boolean"}));
    EXPECT_RAISES(PropertiesException, properties.requirePropertyAsDouble("n"),
                  wrongType(890, {"n", kept, "double"}));
}

TEST(ExtendedPropertiesGetters, RefuseANullValueAndNameItSo) {
    UnicodeString null;
    null.setToBogus();
    expectWrongTypes(null, "<null>");
}

TEST(ExtendedPropertiesGetters, KeepTheKeyAsItIsInTheError) {
    ExtendedProperties properties;
    properties.putProperty("  k ", "x");
    EXPECT_RAISES(PropertiesException, properties.requirePropertyAsInt64("  k "),
                  wrongType(808, {"  k ", "x", "int64"}));
    EXPECT_RAISES(PropertiesException, properties.requirePropertyAsInt64("k"), missing("k"));
}

TEST(ExtendedPropertiesGetters, ReturnTheDefaultUnparsed) {
    const ExtendedProperties properties;
    EXPECT_EQ(properties.getPropertyAsInt32("n", 5), 5);
    EXPECT_EQ(properties.getPropertyAsUInt32("n", 0u), 0u);
    EXPECT_EQ(properties.getPropertyAsInt64("n", 0L), 0L);
    EXPECT_EQ(properties.getPropertyAsUInt64("n", 0UL), 0UL);
    EXPECT_EQ(properties.getPropertyAsBoolean("n", false), false);
    EXPECT_EQ(properties.getPropertyAsBoolean("n", true), true);
    EXPECT_TRUE(std::isnan(properties.getPropertyAsDouble("n", std::nan(""))));
}

// --- Words and numbers --------------------------------------------------------------------------

TEST(ExtendedPropertiesBoolean, KnowsEightWords) {
    for (const char* const word : {"true", "yes", "on", "1", " on ", "\t1\n"}) {
        EXPECT_TRUE(One(word).requirePropertyAsBoolean("n")) << word;
        EXPECT_TRUE(One(word).getPropertyAsBoolean("n", false)) << word;
    }
    for (const char* const word : {"false", "no", "off", "0", " off ", "\t0\n"}) {
        EXPECT_FALSE(One(word).requirePropertyAsBoolean("n")) << word;
        EXPECT_FALSE(One(word).getPropertyAsBoolean("n", true)) << word;
    }
}

TEST(ExtendedPropertiesBoolean, RefusesEveryOtherText) {
    for (const char* const word :
         {"TRUE", "True", "Yes", "YES",   "On",         "ON",  "FALSE", "No",
          "Off",  "2",    "00",  "01",    "-1",         "+1",  "t",     "f",
          "y",    "n",    "tru", "truee", "true false", "o n", "1.0",   "true%"}) {
        expectWrongType(BOOLEAN, word, 686, word, "boolean");
    }
    expectWrongType(BOOLEAN, UnicodeString(u"\uFF11"), 686, "\xEF\xBC\x91", "boolean");
}

TEST(ExtendedPropertiesInt32, ReadsWhatTheParserAccepts) {
    EXPECT_EQ(One("2147483647").requirePropertyAsInt32("n"), 2147483647);
    EXPECT_EQ(One("-2147483648").requirePropertyAsInt32("n"), -2147483647 - 1);
    EXPECT_EQ(One("+7").requirePropertyAsInt32("n"), 7);
    EXPECT_EQ(One("0000000042").requirePropertyAsInt32("n"), 42);
    // Ten digits are accepted whatever they say.
    EXPECT_EQ(One("9999999999").requirePropertyAsInt32("n"), 1410065407);
    EXPECT_EQ(One("4294967296").requirePropertyAsInt32("n"), 0);
}

TEST(ExtendedPropertiesInt32, RefusesWhatIsNoNumber) {
    for (const char* const text : {"42x", "-", "+", "--1", "1 2", "1.0", "1e3", "0x10", "1,000",
                                   "12345678901", "00000000042", "abc"}) {
        expectWrongType(INT32, text, 724, text, "integer");
    }
}

TEST(ExtendedPropertiesUInt32, ReadsWhatTheParserAccepts) {
    EXPECT_EQ(One("0").requirePropertyAsUInt32("n"), 0u);
    EXPECT_EQ(One("4294967295").requirePropertyAsUInt32("n"), 4294967295u);
    EXPECT_EQ(One("4294967296").requirePropertyAsUInt32("n"), 0u);
}

TEST(ExtendedPropertiesUInt32, NamesUint32ForSignedNumbers) {
    for (const char* const text : {"-1", "+7", "-2147483648", "-0", "-9999999999"}) {
        expectWrongType(UINT32, text, 761, text, "uint32");
    }
}

TEST(ExtendedPropertiesUInt32, NamesIntegerForAnythingElse) {
    for (const char* const text : {"abc", "-", "+", "12345678901", "-12345678901", "1.5", "- 1"}) {
        expectWrongType(UINT32, text, 761, text, "integer");
    }
}

TEST(ExtendedPropertiesInt64, ReadsWhatTheParserAccepts) {
    EXPECT_EQ(One("9223372036854775807").requirePropertyAsInt64("n"), 9223372036854775807L);
    EXPECT_EQ(One("-9223372036854775808").requirePropertyAsInt64("n"), -9223372036854775807L - 1);
    EXPECT_EQ(One("9999999999999999999").requirePropertyAsInt64("n"), 9223372036854775807L);
    EXPECT_EQ(One("-9999999999999999999").requirePropertyAsInt64("n"), -9223372036854775807L - 1);
    EXPECT_EQ(One("+7").requirePropertyAsInt64("n"), 7L);
}

TEST(ExtendedPropertiesInt64, RefusesWhatIsNoNumber) {
    for (const char* const text : {"abc", "-", "10000000000000000000", "1.0", "0x1"}) {
        expectWrongType(INT64, text, 808, text, "int64");
    }
}

TEST(ExtendedPropertiesUInt64, ReadsWhatTheParserAccepts) {
    EXPECT_EQ(One("18446744073709551615").requirePropertyAsUInt64("n"), 18446744073709551615UL);
    EXPECT_EQ(One("99999999999999999999").requirePropertyAsUInt64("n"), 18446744073709551615UL);
}

TEST(ExtendedPropertiesUInt64, NamesUint64ForSignedNumbers) {
    for (const char* const text : {"-1", "+7", "-9223372036854775808", "-9999999999999999999"}) {
        expectWrongType(UINT64, text, 844, text, "uint64");
    }
}

TEST(ExtendedPropertiesUInt64, NamesLongintForAnythingElse) {
    for (const char* const text :
         {"abc", "-", "+", "100000000000000000000", "-10000000000000000000", "1.5"}) {
        expectWrongType(UINT64, text, 844, text, "longint");
    }
}

TEST(ExtendedPropertiesDouble, ReadsWhatTheParserAccepts) {
    EXPECT_EQ(One("2.5").requirePropertyAsDouble("n"), 2.5);
    EXPECT_EQ(One("-1e3").requirePropertyAsDouble("n"), -1000.0);
    EXPECT_EQ(One(".5").requirePropertyAsDouble("n"), 0.5);
    EXPECT_EQ(One("0x10").requirePropertyAsDouble("n"), 16.0);
    EXPECT_TRUE(std::isnan(One("nan").requirePropertyAsDouble("n")));
}

TEST(ExtendedPropertiesDouble, RefusesWhatIsNoFiniteNumber) {
    for (const char* const text : {"1.5x", "1,5", "1e999", "-1e999", "inf", "-Infinity", "1 2"}) {
        expectWrongType(DOUBLE, text, 890, text, "double");
    }
}

}  // namespace
}  // namespace nx::util

#include <infra/oss/kelNLSUtility.h>

#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <iterator>
#include <set>
#include <string>
#include <type_traits>

#include <gtest/gtest.h>
#include <unicode/locid.h>

#include "support/kelLocaleSpellings.h"

namespace nx::oss {
namespace {

using test::LOCALE_ALIASES;
using test::LocaleSpelling;
using test::STANDARD_LOCALES;

NLSUtility& locales() { return NLSUtility::getInstance(); }

std::string valueOf(const std::string& name) {
    return locales().getStandardLocaleValue(name.c_str());
}

// ASCII only: the functions of the C library follow the process locale.
std::string shifted(std::string text, char first, char last, int distance) {
    for (char& c : text) {
        if (c >= first && c <= last) {
            c = static_cast<char>(c + distance);
        }
    }
    return text;
}

std::string upper(const std::string& text) { return shifted(text, 'a', 'z', 'A' - 'a'); }
std::string lower(const std::string& text) { return shifted(text, 'A', 'Z', 'a' - 'A'); }

/// Checks a key in every spelling that reduces to it.
void expectSpellings(const std::string& key, const std::string& value) {
    std::string spread;
    for (const char c : key) {
        spread += std::string("_-@") + c;
    }
    for (const std::string& name :
         {key, lower(key), lower(key.substr(0, 2)) + "_" + key.substr(2),
          lower(key.substr(0, 2)) + "-" + lower(key.substr(2)), key + ".UTF-8", key + ".utf8",
          lower(key) + ".ISO-8859-15", key + ".", " " + key + "\t", key + "\xC3\xA9", spread}) {
        EXPECT_EQ(valueOf(name), value) << name;
        EXPECT_TRUE(locales().isSupported(name.c_str())) << name;
    }
}

void expectUnknown(const std::string& name) {
    EXPECT_EQ(valueOf(name), "enUS") << name;
    EXPECT_FALSE(locales().isSupported(name.c_str())) << name;
}

/// What a fresh process makes of its environment.
std::string environmentLocaleUnder(const char* variable) {
    int ends[2];
    if (pipe(ends) != 0) {
        return "no pipe";
    }
    const pid_t child = fork();
    if (child == 0) {
        dup2(ends[1], STDOUT_FILENO);
        setenv("LC_ALL", variable, 1);
        unsetenv("KELINFRA_LOCALE");
        execl("/proc/self/exe", "self", "--gtest_filter=NLSUtilityChild.*",
              "--gtest_also_run_disabled_tests", "--gtest_brief=1", static_cast<char*>(nullptr));
        _exit(127);
    }
    close(ends[1]);
    std::string text;
    char piece[256];
    for (ssize_t got = 0; (got = read(ends[0], piece, sizeof piece)) > 0;) {
        text.append(piece, static_cast<std::size_t>(got));
    }
    close(ends[0]);
    waitpid(child, nullptr, 0);
    const std::size_t begin = text.find('<');
    const std::size_t end = text.find('>', begin);
    return begin == std::string::npos ? "nothing" : text.substr(begin + 1, end - begin - 1);
}

// --- The table ----------------------------------------------------------------------------------

TEST(NLSUtilityTable, Has117StandardValuesAnd222Aliases) {
    EXPECT_EQ(std::size(STANDARD_LOCALES), 117u);
    EXPECT_EQ(std::size(LOCALE_ALIASES), 222u);
    std::set<std::string> keys;
    for (const char* const value : STANDARD_LOCALES) {
        keys.insert(upper(value));
    }
    for (const LocaleSpelling& alias : LOCALE_ALIASES) {
        keys.insert(alias.key);
    }
    EXPECT_EQ(keys.size(), 339u);
}

TEST(NLSUtilityTable, HoldsEveryStandardValueInEverySpelling) {
    for (const char* const value : STANDARD_LOCALES) {
        expectSpellings(upper(value), value);
    }
}

TEST(NLSUtilityTable, HoldsEveryAliasInEverySpelling) {
    for (const LocaleSpelling& alias : LOCALE_ALIASES) {
        expectSpellings(alias.key, alias.value);
    }
}

TEST(NLSUtilityTable, HoldsNoOtherNameOfUpToFourLetters) {
    std::set<std::string> keys;
    for (const char* const value : STANDARD_LOCALES) {
        keys.insert(upper(value));
    }
    for (const LocaleSpelling& alias : LOCALE_ALIASES) {
        keys.insert(alias.key);
    }
    std::size_t supported = 0;
    std::string name;
    const auto count = [&](const auto& self, std::size_t left) -> void {
        supported += !name.empty() && locales().isSupported(name.c_str());
        for (char c = 'A'; left > 0 && c <= 'Z'; ++c) {
            name.push_back(c);
            self(self, left - 1);
            name.pop_back();
        }
    };
    count(count, 4);
    EXPECT_EQ(supported, 338u) << "all but DEFAULTLOCALE";
}

TEST(NLSUtilityTable, KeepsAliasesOutsideTheirLanguage) {
    EXPECT_EQ(valueOf("EST"), "etEE");
    EXPECT_EQ(valueOf("SLK"), "skSK");
    EXPECT_EQ(valueOf("NR"), "shSP");
    EXPECT_EQ(valueOf("SRL"), "shSP");
    EXPECT_EQ(valueOf("IW"), "heIL");
    EXPECT_EQ(valueOf("IN"), "idID");
}

TEST(NLSUtilityCompare, OrdersKeysByUnsignedBytesWithExactResults) {
    NLSConfigEntry a{"AR", "x"};
    NLSConfigEntry longer{"ARZ", "x"};
    NLSConfigEntry z{"Z", "x"};
    NLSConfigEntry high{"\xC3", "x"};
    NLSConfigEntry next{"AS", "x"};
    NLSConfigEntry same{"AR", "y"};
    EXPECT_EQ(compare(&a, &z), -1);
    EXPECT_EQ(compare(&z, &a), 1);
    EXPECT_EQ(compare(&a, &next), -1);
    EXPECT_EQ(compare(&next, &a), 1);
    EXPECT_EQ(compare(&a, &longer), -1);
    EXPECT_EQ(compare(&longer, &a), 1);
    EXPECT_EQ(compare(&z, &high), -1);
    EXPECT_EQ(compare(&high, &z), 1);
    EXPECT_EQ(compare(&a, &same), 0);
}

TEST(NLSUtilityPrimaryLocales, AreTheUpperCaseKeysInTheirOrder) {
    ASSERT_EQ(locales().getNumPrimaryLocales(), 117);
    const char* const* const keys = locales().getPrimaryLocales();
    for (std::size_t i = 0; i < 117; ++i) {
        EXPECT_EQ(keys[i], upper(STANDARD_LOCALES[i]));
    }
}

// --- Names --------------------------------------------------------------------------------------

TEST(NLSUtilityNames, AreFoldedToTheStandardValue) {
    for (const char* const name : {"en_US", "EN-us", "enu", "en_US.UTF-8", "en-US.UTF-8", "ENU"}) {
        EXPECT_EQ(valueOf(name), "enUS") << name;
        EXPECT_TRUE(locales().isSupported(name)) << name;
    }
    EXPECT_EQ(valueOf("pt_BR"), "ptBR");
    EXPECT_EQ(valueOf("ptb"), "ptBR");
    EXPECT_EQ(valueOf("iw"), "heIL");
    EXPECT_EQ(valueOf("deu"), "deDE");
    EXPECT_TRUE(locales().isSupported("ENG"));
}

TEST(NLSUtilityNames, ThatAreUnknownBecomeTheDefaultSilently) {
    for (const char* const name : {"ENUSX", "xx", "zh_Hant", "zh_Hant_TW", "sr_RS", "de_DE_EURO",
                                   "en_US_POSIX", "C", "POSIX", ".", "_", "@", "\xC3\xA9"}) {
        expectUnknown(name);
    }
    EXPECT_STREQ(locales().getStandardLocaleValue(""), "enUS");
    EXPECT_STREQ(locales().getStandardLocaleValue(nullptr), "enUS");
    EXPECT_FALSE(locales().isSupported(""));
    EXPECT_FALSE(locales().isSupported(nullptr));
}

TEST(NLSUtilityNames, LoseWhatFollowsTheFirstPeriodOnlyInTheSecondLookup) {
    EXPECT_EQ(valueOf("de_DE.UTF-8@euro"), "deDE");
    EXPECT_EQ(valueOf("de.DE"), "deDE") << "the whole name comes first: DEDE";
    EXPECT_EQ(valueOf("de.CH"), "deCH");
    EXPECT_EQ(valueOf("de.ISO.8859"), "deDE");
    EXPECT_EQ(valueOf("es.t"), "etEE");
    expectUnknown("de_DE@euro");
    expectUnknown(".de_DE.UTF-8");
}

TEST(NLSUtilityNames, AreCutAfter63Bytes) {
    const std::string dashes(58, '-');
    EXPECT_EQ(valueOf(dashes + "de_CHxxxxx"), "deCH");
    EXPECT_EQ(valueOf(dashes + "de_CH"), "deCH");
    EXPECT_EQ(valueOf("-" + dashes + "de_CH"), "deDE") << "de_C is left, which is deDE";
    EXPECT_EQ(valueOf(std::string(61, '-') + "de_CH"), "deDE") << "de is left";
    expectUnknown(std::string(62, '-') + "de_CH");
    expectUnknown(std::string(63, '-') + "deDE");
    EXPECT_EQ(valueOf("deDE" + std::string(59, '-') + "x"), "deDE");
    EXPECT_EQ(valueOf("deDE." + std::string(5000, 'x')), "deDE");
    EXPECT_EQ(valueOf("de_DE" + std::string(58, ' ') + ".x"), "deDE");
    expectUnknown(std::string(63, 'A'));
    expectUnknown(std::string(10000, 'A'));
}

TEST(NLSUtilityNames, DropEveryByteThatIsNoAsciiLetterOrDigit) {
    for (unsigned byte = 1; byte <= 0xFF; ++byte) {
        const bool kept = (byte >= '0' && byte <= '9') || (byte >= 'A' && byte <= 'Z') ||
                          (byte >= 'a' && byte <= 'z');
        const std::string name = std::string("de_") + static_cast<char>(byte) + "CH";
        EXPECT_EQ(valueOf(name), kept ? "enUS" : "deCH") << byte;
    }
}

TEST(NLSUtilityDefault, IsTheRowOfTheDefaultLocale) {
    EXPECT_STREQ(locales().getDefaultLocale(), "enUS");
    EXPECT_EQ(valueOf("DEFAULTLOCALE"), "enUS");
    EXPECT_EQ(valueOf("default_locale"), "enUS");
    EXPECT_TRUE(locales().isSupported("DefaultLocale"));
    EXPECT_STREQ(NLSUtility::DEFAULT_LOCALE, "enUS");
    EXPECT_STREQ(NLSUtility::UTF8_CODE_PAGE, "UTF-8");
}

TEST(NLSUtilityInstance, IsOneAndAnotherObjectAnswersTheSame) {
    EXPECT_EQ(&NLSUtility::getInstance(), &NLSUtility::getInstance());
    {
        NLSUtility other;
        EXPECT_STREQ(other.getStandardLocaleValue("iw"), "heIL");
        EXPECT_TRUE(other.isSupported("iw"));
    }
    EXPECT_EQ(valueOf("iw"), "heIL") << "the end of one object takes nothing from the others";
    EXPECT_FALSE(std::is_copy_constructible_v<NLSUtility>);
}

// --- ICU locales --------------------------------------------------------------------------------

TEST(NLSUtilityGetLocale, HasLanguageAndCountryOfEveryStandardValue) {
    for (const char* const value : STANDARD_LOCALES) {
        icu::Locale locale("xx");
        locales().getLocale(locale, value);
        EXPECT_EQ(locale.getLanguage(), std::string(value, 2));
        EXPECT_STREQ(locale.getCountry(), value + 2);
        EXPECT_STREQ(locale.getVariant(), "");
        EXPECT_STREQ(locale.getName(), (std::string(value, 2) + "_" + (value + 2)).c_str());
    }
}

TEST(NLSUtilityGetLocale, TakesAnySpelling) {
    icu::Locale locale;
    locales().getLocale(locale, "de_CH");
    EXPECT_STREQ(locale.getName(), "de_CH");
    locales().getLocale(locale, "DES.UTF-8");
    EXPECT_STREQ(locale.getName(), "de_CH");
    locales().getLocale(locale, "iw");
    EXPECT_STREQ(locale.getName(), "he_IL");
}

TEST(NLSUtilityGetLocale, OfAnUnknownNameIsTheDefaultOfTheLibrary) {
    icu::Locale locale("de", "DE");
    locales().getLocale(locale, "xx");
    EXPECT_STREQ(locale.getName(), "en_US");
}

TEST(NLSUtilityGetLocale, WithoutANameIsTheDefaultOfIcu) {
    const icu::Locale before = icu::Locale::getDefault();
    UErrorCode status = U_ZERO_ERROR;
    icu::Locale::setDefault(icu::Locale("fr", "CA", "X"), status);
    ASSERT_TRUE(U_SUCCESS(status));
    for (const char* const name : {"", static_cast<const char*>(nullptr)}) {
        icu::Locale locale("de", "DE");
        locales().getLocale(locale, name);
        EXPECT_EQ(locale, icu::Locale("fr", "CA", "X"));
    }
    icu::Locale::setDefault(before, status);
}

// --- Environment --------------------------------------------------------------------------------

TEST(NLSUtilityEnvironment, FollowsTheDefaultOfIcu) {
    const icu::Locale before = icu::Locale::getDefault();
    UErrorCode status = U_ZERO_ERROR;
    const LocaleSpelling cases[] = {{"de_CH", "deCH"}, {"fr", "frFR"},          {"iw_IL", "heIL"},
                                    {"nb_NO", "noNO"}, {"en_US_POSIX", "enUS"}, {"sr_RS", "enUS"},
                                    {"nn_NO", "noNO"}, {"de_DE_EURO", "enUS"},  {"xx", "enUS"}};
    for (const LocaleSpelling& one : cases) {
        icu::Locale::setDefault(icu::Locale(one.key), status);
        EXPECT_STREQ(locales().getEnvironmentLocale(), one.value) << one.key;
    }
    icu::Locale::setDefault(before, status);
}

TEST(NLSUtilityEnvironment, ComesFromTheVariablesOfTheProcess) {
    EXPECT_EQ(environmentLocaleUnder("de_CH.UTF-8"), "deCH UTF-8");
    EXPECT_EQ(environmentLocaleUnder("de_DE.ISO-8859-1"), "deDE UTF-8");
    EXPECT_EQ(environmentLocaleUnder("ja_JP.eucJP"), "jaJP UTF-8");
    EXPECT_EQ(environmentLocaleUnder("tr_TR.UTF-8"), "trTR UTF-8");
    EXPECT_EQ(environmentLocaleUnder("C"), "enUS UTF-8");
    EXPECT_EQ(environmentLocaleUnder("C.UTF-8"), "enUS UTF-8");
    EXPECT_EQ(environmentLocaleUnder("POSIX"), "enUS UTF-8");
    EXPECT_EQ(environmentLocaleUnder(""), "enUS UTF-8");
}

TEST(NLSUtilityChild, DISABLED_PrintsItsEnvironment) {
    std::printf("<%s %s>\n", locales().getEnvironmentLocale(), NLSUtility::getDefaultCodePage());
}

TEST(NLSUtilityCodePage, IsUtf8AtTheSameAddressAlways) {
    const char* const first = NLSUtility::getDefaultCodePage();
    EXPECT_STREQ(first, "UTF-8");
    EXPECT_EQ(NLSUtility::getDefaultCodePage(), first);
}

TEST(NLSUtilityCodePage, OfTheCommandWindowIsACopyOfTheDefault) {
    const char* const first = NLSUtility::getCommandWindowCodePage();
    EXPECT_STREQ(first, "UTF-8");
    EXPECT_EQ(NLSUtility::getCommandWindowCodePage(), first);
    EXPECT_NE(first, NLSUtility::getDefaultCodePage());
}

}  // namespace
}  // namespace nx::oss

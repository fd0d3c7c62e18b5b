#include <dlfcn.h>

#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <infra/oss/kelConverter.h>
#include <infra/oss/kelDataBuffer.h>
#include <infra/oss/kelNLSException.h>
#include <infra/oss/kelStringTokenizer.h>
#include <unicode/ucnv.h>

#include "infra/detail/kelConverterCache.h"
#include "support/kelConverterReports.h"

namespace {

std::vector<std::string> asked;

}  // namespace

// ICU's functions have its version in their names.
#define NAME_OF_EXPANDED(function) #function
#define NAME_OF(function) NAME_OF_EXPANDED(function)

/// Takes the place of ICU's function in this program: notes the name and passes it on.
UConverter* ucnv_open(const char* name, UErrorCode* status) {
    static const auto open =
        reinterpret_cast<decltype(&ucnv_open)>(dlsym(RTLD_NEXT, NAME_OF(ucnv_open)));
    asked.emplace_back(name == nullptr ? "the default" : name);
    return open(name, status);
}

namespace nx::oss {
namespace {

class CodePageName : public ::testing::Test {
  protected:
    CodePageName() { asked.clear(); }
};

TEST_F(CodePageName, IsWhatIcuIsAskedFor) {
    char text[8];
    EXPECT_EQ(Converter::convert(text, sizeof text, "KOI8-R", u"\u0430"), 2);
    EXPECT_EQ(asked, std::vector<std::string>{"KOI8-R"});
}

TEST_F(CodePageName, ThatIsNullOrEmptyMakesIcuChooseItsDefault) {
    const detail::ConverterLease null(nullptr);
    EXPECT_NE(null.get(), nullptr);
    const detail::ConverterLease empty("");
    EXPECT_NE(empty.get(), nullptr);
    EXPECT_EQ(asked, (std::vector<std::string>{"the default", "the default"}));
}

// With ICU_DATA set, ICU opens the file "<folder>/icudt72l/<name>.cnv".
TEST_F(CodePageName, WithASlashIsUnknownAndNeverReachesIcu) {
    for (const char* const name : {"../../tmp/own", "/tmp/own", "UTF-16/own", "own/", "/"}) {
        SCOPED_TRACE(name);
        char text[8];
        EXPECT_RAISES(NLSException, Converter::convert(text, sizeof text, name, u"a"),
                      test::conversionError("UTF-16", name));
        EXPECT_EQ(StringTokenizer("a b", " ", name).countTokens(), 0);
        DataBuffer buffer;
        buffer.appendString(u"a", name);
        EXPECT_EQ(buffer.length(), 0);
    }
    EXPECT_EQ(asked, std::vector<std::string>{});
}

// Names that others choose do not fill memory with converters.
TEST_F(CodePageName, IsKeptOpenForTheLastEightOnly) {
    const auto convertWith = [](const char* name) {
        char text[8];
        Converter::convert(text, sizeof text, name, u"a");
    };
    const std::vector<const char*> eight = {"IBM850",       "IBM852",       "IBM855",
                                            "IBM857",       "windows-1250", "windows-1251",
                                            "windows-1252", "windows-1253"};
    for (int round = 0; round < 3; ++round) {
        for (const char* const name : eight) {
            convertWith(name);
        }
    }
    EXPECT_EQ(asked.size(), 8u);
    convertWith("windows-1254");
    EXPECT_EQ(asked.size(), 9u);
    convertWith("IBM850");
    EXPECT_EQ(asked.size(), 10u);
}

// ICU's reset leaves behind which substitution character comes next.
TEST_F(CodePageName, IsOpenedAgainOnceAfterACharacterThatItDoesNotHave) {
    char text[8];
    EXPECT_EQ(Converter::convert(text, sizeof text, "IBM862", u"\u4E00"), 2);
    EXPECT_EQ(asked.size(), 1u);
    for (int round = 0; round < 3; ++round) {
        EXPECT_EQ(Converter::convert(text, sizeof text, "IBM862", u"a"), 2);
        EXPECT_EQ(asked.size(), 2u);
    }
    EXPECT_EQ(Converter::convert(text, sizeof text, "IBM862", u"\u4E00"), 2);
    EXPECT_EQ(Converter::convert(text, sizeof text, "IBM862", u"a"), 2);
    EXPECT_EQ(asked.size(), 3u);
}

}  // namespace
}  // namespace nx::oss

#include <infra/oss/kelBuildVersion.h>

#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "support/kelRaises.h"

namespace nx::oss {
namespace {

using icu::UnicodeString;

/// Build, product and protocol version and build number; "<null>" for null ones.
std::vector<std::string> fieldsOf(const BuildVersion& version) {
    return {test::utf8(version.getBuildVersion()), test::utf8(version.getProductVersion()),
            test::utf8(version.getProtocolVersion()), test::utf8(version.getBuildNumberString())};
}

using Fields = std::vector<std::string>;

const Fields LIBRARY = {"1.0.0.0-1.1-579", "1.0.0.0", "1.1", "579"};

TEST(BuildVersion, IsThatOfTheLibraryByDefault) { EXPECT_EQ(fieldsOf(BuildVersion()), LIBRARY); }

struct Row {
    const char* name;
    const char* text;
    Fields fields;
};

const Row ROWS[] = {
    {"OfAnotherBuild", "2.0.1.3-1.2-77", {"2.0.1.3-1.2-77", "2.0.1.3", "1.2", "77"}},
    {"WithAFourthPart", "2.0-1.2-77-x", {"2.0-1.2-77-x", "2.0", "1.2", "77"}},
    {"WithTwoParts", "2.0-1.2", {"2.0-1.2", "2.0", "1.2", ""}},
    {"WithOnePart", "2.0", {"2.0", "2.0", "", ""}},
    {"WithNothing", "", {"", "", "", ""}},
    {"WithASeparatorAtTheStart", "-1.1-5", {"-1.1-5", "", "1.1", "5"}},
    {"WithSeparatorsAtTheStart", "--1.1-5", {"--1.1-5", "", "1.1", "5"}},
    {"WithTwoSeparators", "a--b", {"a--b", "a", "b", ""}},
    {"WithASeparatorAtTheEnd", "a-b-c-", {"a-b-c-", "a", "b", "c"}},
    {"WithNothingElse", "-", {"-", "", "", ""}},
    {"WithBlanks", " 1 - 2 - 3 ", {" 1 - 2 - 3 ", " 1 ", " 2 ", " 3 "}},
    {"WithOtherSeparators", "1_2 3", {"1_2 3", "1_2 3", "", ""}},
};

class BuildVersionOf : public testing::TestWithParam<Row> {};

TEST_P(BuildVersionOf, TextHasTheseParts) {
    EXPECT_EQ(fieldsOf(BuildVersion(GetParam().text)), GetParam().fields);
}

INSTANTIATE_TEST_SUITE_P(Rows, BuildVersionOf, testing::ValuesIn(ROWS),
                         [](const auto& test) { return std::string(test.param.name); });

TEST(BuildVersion, OfANullTextHasEmptyParts) {
    UnicodeString bogus;
    bogus.setToBogus();
    EXPECT_EQ(fieldsOf(BuildVersion(bogus)), (Fields{"<null>", "", "", ""}));
}

TEST(BuildVersion, KeepsLongParts) {
    const std::string product(1000, 'p'), protocol(100, 'q'), number(30, '9');
    const std::string text = product + "-" + protocol + "-" + number;
    EXPECT_EQ(fieldsOf(BuildVersion(UnicodeString::fromUTF8(text))),
              (Fields{text, product, protocol, number}));
}

TEST(BuildVersion, KeepsNothingOfItsArgument) {
    std::u16string storage = u"7.0-7.1-77, and some more to make the text long";
    const BuildVersion version(
        UnicodeString(false, storage.data(), static_cast<int>(storage.size())));
    storage.assign(storage.size(), u'z');
    EXPECT_EQ(fieldsOf(version)[0], "7.0-7.1-77, and some more to make the text long");
}

TEST(BuildVersionTokenize, TwiceGivesTheSameParts) {
    BuildVersion version("2.0.1.3-1.2-77");
    version.tokenizeBuildVersionString();
    version.tokenizeBuildVersionString();
    EXPECT_EQ(fieldsOf(version), (Fields{"2.0.1.3-1.2-77", "2.0.1.3", "1.2", "77"}));
}

TEST(BuildVersionCopy, HasAllFields) {
    const BuildVersion original("2.0-1.2-77-x");
    const BuildVersion copy(original);
    EXPECT_EQ(fieldsOf(copy), fieldsOf(original));
    EXPECT_EQ(fieldsOf(copy), (Fields{"2.0-1.2-77-x", "2.0", "1.2", "77"}));
}

TEST(BuildVersionAssignment, TakesAllFieldsAndReturnsItsObject) {
    BuildVersion source("2.0-1.2-77-x");
    BuildVersion target;
    EXPECT_EQ(&(target = source), &target);
    EXPECT_EQ(fieldsOf(target), (Fields{"2.0-1.2-77-x", "2.0", "1.2", "77"}));
    EXPECT_EQ(fieldsOf(source), fieldsOf(target));
}

TEST(BuildVersionAssignment, ToItselfChangesNothing) {
    BuildVersion version("2.0-1.2-77");
    BuildVersion& same = version;
    version = same;
    EXPECT_EQ(fieldsOf(version), (Fields{"2.0-1.2-77", "2.0", "1.2", "77"}));
}

TEST(BuildVersionAssignment, TakesNeitherConstObjectsNorTemporaries) {
    using V = BuildVersion;
    EXPECT_TRUE((std::is_assignable_v<V&, V&>));
    EXPECT_FALSE((std::is_assignable_v<V&, const V&>));
    EXPECT_FALSE((std::is_assignable_v<V&, V>));
    EXPECT_TRUE(std::is_copy_constructible_v<V>);
    EXPECT_TRUE((std::is_constructible_v<V, V>));
}

TEST(BuildVersionGetters, ReferToTheFields) {
    const BuildVersion version;
    EXPECT_EQ(&version.getBuildVersion(), &version.getBuildVersion());
    EXPECT_TRUE((std::is_same_v<decltype(version.getProductVersion()), const UnicodeString&>));
    EXPECT_TRUE((std::is_same_v<decltype(version.getProtocolVersion()), const UnicodeString&>));
    EXPECT_TRUE((std::is_same_v<decltype(version.getBuildNumberString()), const UnicodeString&>));
    EXPECT_FALSE(std::is_polymorphic_v<BuildVersion>);
}

}  // namespace
}  // namespace nx::oss

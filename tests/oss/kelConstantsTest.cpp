#include <infra/oss/kelConstants.h>

#include <string>

#include <gtest/gtest.h>

#include <infra/oss/kelDebugBuffer.h>

namespace nx::oss {
namespace {

TEST(Constants, HaveTheirSizes) {
    EXPECT_EQ(Constants::MAXIMUM_PATH_BLOCK_SIZE, 128u);
    EXPECT_EQ(Constants::FILE_NAME_SIZE, 256u);
    EXPECT_EQ(Constants::PATH_SIZE, 256u);
    EXPECT_EQ(Constants::FUNC_NAME_SIZE, 128u);
    EXPECT_EQ(Constants::COMP_NAME_SIZE, 64u);
    EXPECT_EQ(Constants::MAXIMUM_MESSAGE_ID_NAME_SIZE, 64u);
    EXPECT_EQ(Constants::LOCALE_NAME_SIZE, 64u);
    EXPECT_EQ(Constants::CODEPAGE_NAME_SIZE, 64u);
    EXPECT_EQ(Constants::DATABUFFER_BUFFER_SIZE, 4096u);
    EXPECT_EQ(Constants::MAXIMUM_MESSAGE_ARGUMENT_SIZE, 1024u);
    EXPECT_EQ(Constants::MAXIMUM_XML_ELEMENT_NAME_SIZE, 128u);
    EXPECT_EQ(Constants::MAXIMUM_DIGIT_NUMERIC_STRING_SIZE, 20u);
    EXPECT_EQ(Constants::MAXIMUM_NUMBER_FILES_ROTATION, 10u);
    EXPECT_EQ(Constants::INITIAL_MESSAGE_ARGUMENT_ARRAY_SIZE, 6u);
}

struct StringRow {
    const char* actual;
    const char* expected;
};

class ConstantsStrings : public testing::TestWithParam<StringRow> {};

TEST_P(ConstantsStrings, HaveTheirText) { EXPECT_STREQ(GetParam().actual, GetParam().expected); }

INSTANTIATE_TEST_SUITE_P(Characters, ConstantsStrings,
                         testing::Values(StringRow{Constants::CONSTANT_STRING_UTF_8, "UTF-8"},
                                         StringRow{Constants::CONSTANT_STRING_OPEN_ANGLE, "<"},
                                         StringRow{Constants::CONSTANT_STRING_CLOSE_ANGLE, ">"},
                                         StringRow{Constants::CONSTANT_STRING_AMPERSAND, "&"},
                                         StringRow{Constants::CONSTANT_STRING_SINGLE_QUOTE, "\x27"},
                                         StringRow{Constants::CONSTANT_STRING_DOUBLE_QUOTE, "\x22"},
                                         StringRow{Constants::CONSTANT_STRING_SPACE, "\x20"},
                                         StringRow{Constants::CONSTANT_STRING_EQUAL, "="},
                                         StringRow{Constants::CONSTANT_STRING_BACKSLASH, "\x5C"}));

INSTANTIATE_TEST_SUITE_P(Xml, ConstantsStrings,
                         testing::Values(StringRow{Constants::XML_OPEN_START_ELEMENT_TAG, "<"},
                                         StringRow{Constants::XML_OPEN_END_ELEMENT_TAG, "</"},
                                         StringRow{Constants::XML_OPEN_PI_TAG, "<?"},
                                         StringRow{Constants::XML_CLOSE_TAG, ">"},
                                         StringRow{Constants::XML_CLOSE_PI_TAG, "?>"},
                                         StringRow{Constants::XML_ESCAPED_OPEN_ANGLE, "&lt;"},
                                         StringRow{Constants::XML_ESCAPED_CLOSE_ANGLE, "&gt;"},
                                         StringRow{Constants::XML_ESCAPED_AMPERSAND, "&amp;"},
                                         StringRow{Constants::XML_ESCAPED_DOUBLE_QUOTE, "&quot;"},
                                         StringRow{Constants::XML_ESCAPED_SINGLE_QUOTE, "&apos;"},
                                         StringRow{Constants::XML_ESCAPED_BACKSLASH, "&#x5C;"},
                                         StringRow{Constants::XML_CDATA_START, "<![CDATA["},
                                         StringRow{Constants::XML_CDATA_END, "]]>"}));

INSTANTIATE_TEST_SUITE_P(
    DocumentKeys, ConstantsStrings,
    testing::Values(StringRow{Constants::DOCUMENT_CONSTRUCTOR_NAME, "ctor.name"},
                    StringRow{Constants::DOCUMENT_CONSTRUCTOR_CONFIG, "ctor.config"},
                    StringRow{Constants::DOCUMENT_CONSTRUCTOR_DATA, "ctor.doc.data"}));

TEST(DebugBuffer, Reserves4096BytesAndHasNoInstanceUntilTheHostSetsOne) {
    EXPECT_EQ(DebugBuffer::bufsz_, 4096u);
    EXPECT_EQ(DebugBuffer::instance_, nullptr);
}

TEST(DebugBuffer, KeepsTheInstanceThatTheHostSets) {
    DebugBuffer buffer;
    DebugBuffer::instance_ = &buffer;
    EXPECT_EQ(DebugBuffer::instance_, &buffer);
    DebugBuffer::instance_ = nullptr;
}

}  // namespace
}  // namespace nx::oss

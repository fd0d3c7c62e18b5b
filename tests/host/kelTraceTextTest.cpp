#include <infra/oss/kelBuildVersion.h>
#include <infra/oss/kelByteArrayOutputStream.h>
#include <infra/oss/kelDataBuffer.h>
#include <infra/oss/kelFormatter.h>
#include <infra/oss/kelIOException.h>
#include <infra/oss/kelNLSException.h>
#include <infra/oss/kelNLSUtility.h>
#include <infra/oss/kelStringTokenizer.h>
#include <infra/oss/kelUTF8Iterator.h>
#include <infra/oss/kelUTF8String.h>
#include <infra/util/kelBase64.h>
#include <infra/util/kelExtendedProperties.h>

#include <algorithm>
#include <functional>
#include <initializer_list>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "kelRecordingHost.h"
#include "support/kelRepeatedText.h"

namespace nx::oss {
namespace {

using icu::UnicodeString;
using test::contains;
using test::Events;
using test::eventsOf;
using test::expectBracket;
using test::expectExitOnly;
using test::expectNothing;

TEST(TraceDataBuffer, LivesAndDiesWithExitsOnly) {
    std::optional<DataBuffer> buffer;
    expectExitOnly(1264, [&] { buffer.emplace(); });
    expectExitOnly(1265, [&] { buffer.reset(); });
    expectExitOnly(1264, [&] { buffer.emplace(5000); });
    expectExitOnly(1264, [&] { buffer.emplace("abc"); });
    expectExitOnly(1264, [&] { buffer.emplace(UnicodeString("abc"), "UTF-8"); });
    const DataBuffer other("abc");
    expectExitOnly(1264, [&] { buffer.emplace(other); });
}

TEST(TraceDataBuffer, BracketsEveryFormOfAppendString) {
    DataBuffer buffer;
    const DataBuffer other("abc");
    expectBracket(1268, [&] { buffer.appendString("abc"); });
    expectBracket(1268, [&] { buffer.appendString("abc", 2); });
    expectBracket(1268, [&] { buffer.appendString(other); });
    expectBracket(1268, [&] { buffer.appendString(UnicodeString("abc"), "UTF-8"); });
}

TEST(TraceDataBuffer, BracketsEveryFormOfInsertString) {
    DataBuffer buffer;
    const DataBuffer other("abc");
    expectBracket(1269, [&] { buffer.insertString(0, "abc"); });
    expectBracket(1269, [&] { buffer.insertString(0, "abc", 2); });
    expectBracket(1269, [&] { buffer.insertString(0, other); });
    expectBracket(1269, [&] { buffer.insertString(0, UnicodeString("abc"), "UTF-8"); });
}

template <class Number>
void expectNumberBrackets() {
    DataBuffer buffer;
    expectBracket(1270, [&] { buffer.appendNumber(Number(1)); });
    expectBracket(1271, [&] { buffer.insertNumber(0, Number(1)); });
}

TEST(TraceDataBuffer, BracketsNumbersOfEveryType) {
    expectNumberBrackets<long>();
    expectNumberBrackets<int>();
    expectNumberBrackets<short>();
    expectNumberBrackets<signed char>();
    expectNumberBrackets<unsigned long>();
    expectNumberBrackets<unsigned int>();
    expectNumberBrackets<unsigned short>();
    expectNumberBrackets<unsigned char>();
    expectNumberBrackets<double>();
    expectNumberBrackets<float>();
}

TEST(TraceDataBuffer, BracketsTheBinaryForm) {
    DataBuffer buffer;
    expectBracket(1272, [&] { buffer.saveBinary(0, "\1\2", 2, true); });
    buffer.clear();
    expectBracket(1272, [&] { buffer.appendBinary("\1\2", 2, true); });
    char bytes[8];
    expectBracket(1273, [&] { buffer.getBinary(bytes, 8); });
    expectBracket(1272, [&] { buffer.insertBinary(0, "\1\2", 2, true); });
}

TEST(TraceDataBuffer, BracketsSearchReplacementAndTheRest) {
    DataBuffer buffer("a-b-c");
    expectBracket(1267, [&] { buffer.saveString(0, "a", 1); });
    expectBracket(1274, [&] { static_cast<void>(buffer.indexOf(0, "b")); });
    expectBracket(1274, [&] { static_cast<void>(buffer.indexOf(0, 5, "b")); });
    expectBracket(1275, [&] { static_cast<void>(buffer.occurrences("-")); });
    expectBracket(1276, [&] { buffer.replace("-", "+", 1); });
    expectBracket(1276, [&] { buffer.replace("-", "+", 1, 1); });
    expectBracket(1277, [&] { buffer.replaceAll("+", "-"); });
    expectBracket(1266, [&] { buffer.clear(); });
    expectBracket(1266, [&] { buffer.clear(true); });
}

TEST(TraceDataBuffer, RecordsTheOperationsThatOthersGoThrough) {
    DataBuffer buffer;
    EXPECT_EQ(eventsOf([&] { buffer.appendString("abc"); }), (Events{1268, 1267, -1267, -1268}));
    EXPECT_EQ(eventsOf([&] { buffer.insertString(0, "abc"); }), (Events{1269, 1267, -1267, -1269}));
    EXPECT_TRUE(contains(eventsOf([&] { buffer = UnicodeString("abc"); }), {1266, -1266, 1268}));
}

TEST(TraceDataBuffer, SavesTheBinaryFormAsText) {
    DataBuffer buffer;
    const Events events = {1272, 1267, -1267, -1272};
    EXPECT_EQ(eventsOf([&] { buffer.saveBinary(0, "a", 1, true); }), events);
    EXPECT_EQ(eventsOf([&] { buffer.appendBinary("a", 1, true); }), events);
    EXPECT_EQ(eventsOf([&] { buffer.insertBinary(0, "a", 1, true); }), events);
    EXPECT_EQ(eventsOf([&] { buffer.saveBinary(0, "a", 0, true); }), (Events{1272, -1272}));
    const std::string large(3000, 'a');
    EXPECT_EQ(eventsOf([&] { buffer.appendBinary(large.c_str(), 3000, true); }),
              (Events{1272, 1267, 1266, -1266, -1267, -1272}));
}

TEST(TraceDataBuffer, CountsTheMatchesBeforeItReplaces) {
    DataBuffer buffer("a-b-c");
    EXPECT_EQ(eventsOf([&] { buffer.replaceAll("-", "+"); }),
              (Events{1277, 1275, -1275, 1276, -1276, -1277}));
    EXPECT_STREQ(buffer.getString(), "a+b+c");
    EXPECT_EQ(eventsOf([&] { buffer.replace("+", "-", 2); }),
              (Events{1276, 1275, -1275, 1276, -1276, -1276}));
    EXPECT_STREQ(buffer.getString(), "a+b-c");
}

TEST(TraceDataBuffer, ReplacesNothingWithoutAMatch) {
    DataBuffer buffer("a-b-c");
    const Events none = {1277, 1275, -1275, -1277};
    EXPECT_EQ(eventsOf([&] { buffer.replaceAll("x", "+"); }), none);
    EXPECT_EQ(eventsOf([&] { buffer.replaceAll(nullptr, "+"); }), none);
    EXPECT_EQ(eventsOf([&] { buffer.replace("x", "+", 1); }), (Events{1276, 1275, -1275, -1276}));
    EXPECT_STREQ(buffer.getString(), "a-b-c");
}

TEST(TraceDataBuffer, SearchesOnlyForAnEndThatCanBe) {
    const DataBuffer buffer("abc");
    EXPECT_EQ(eventsOf([&] { static_cast<void>(buffer.indexOf(0, 3, "b")); }),
              (Events{1274, 1274, -1274, -1274}));
    EXPECT_EQ(eventsOf([&] { static_cast<void>(buffer.indexOf(0, -1, "b")); }),
              (Events{1274, -1274}));
}

TEST(TraceDataBuffer, RecordsNothingForItsCounters) {
    const DataBuffer buffer("abc");
    expectNothing([&] {
        static_cast<void>(buffer.length());
        static_cast<void>(buffer.capacity());
        static_cast<void>(buffer.getString());
    });
}

TEST(TraceDataBuffer, LeavesOutTheExitOfAFailure) {
    DataBuffer buffer;
    const Events binary = eventsOf([&] { buffer.getBinary(nullptr, 0); });
    ASSERT_FALSE(binary.empty());
    EXPECT_EQ(binary.front(), 1273);
    EXPECT_EQ(std::count(binary.begin(), binary.end(), -1273), 0);
    const Events text = eventsOf([&] { buffer.appendString(UnicodeString("a"), "UTF-16"); });
    ASSERT_FALSE(text.empty());
    EXPECT_EQ(text.front(), 1268);
    EXPECT_EQ(std::count(text.begin(), text.end(), -1268), 0);
}

TEST(TraceDataBuffer, AddsArgumentsOfErrorsWithoutReadingTheList) {
    DataBuffer buffer;
    const Events events = eventsOf([&] { buffer.appendString(UnicodeString("a"), "UTF-16"); });
    EXPECT_EQ(std::count(events.begin(), events.end(), -1338), 0);
    EXPECT_EQ(std::count(events.begin(), events.end(), 1335), 1);
}

TEST(TraceUtf8Iterator, LivesAndDiesWithExitsOnly) {
    std::optional<UTF8Iterator> iterator;
    expectExitOnly(1278, [&] { iterator.emplace(); });
    EXPECT_EQ(eventsOf([&] { iterator.reset(); }), Events{-1279});
    expectExitOnly(1278, [&] { iterator.emplace("abc"); });
    UnicodeString text("abc");
    expectExitOnly(1278, [&] { iterator.emplace(text); });
    const UTF8Iterator other("abc");
    expectExitOnly(1278, [&] { iterator.emplace(other); });
}

TEST(TraceUtf8Iterator, BracketsSetStringAndLeavesTheStepsWithAnExit) {
    UTF8Iterator iterator;
    expectBracket(1280, [&] { iterator.setString("ab"); });
    expectExitOnly(1281, [&] { iterator.getFirstChar(); });
    EXPECT_EQ(eventsOf([&] { iterator.getNextChar(); }), Events{-1282});
    EXPECT_EQ(eventsOf([&] { iterator.getNextChar(); }), Events{-1282}) << "at the end";
    expectNothing([&] {
        static_cast<void>(iterator.hasMoreChars());
        static_cast<void>(iterator.isEmpty());
        static_cast<void>(iterator.length());
        static_cast<void>(iterator.numChars());
        static_cast<void>(iterator.getString());
    });
}

TEST(TraceUtf8Iterator, BracketsASetStringThatRefusesTheText) {
    constexpr std::size_t TOO_MANY = std::size_t{1} << 31;
    const test::RepeatedText text("a", TOO_MANY);
    UTF8Iterator iterator;
    expectBracket(1280, [&] { EXPECT_FALSE(iterator.setString(text.data())); });
    EXPECT_TRUE(iterator.isEmpty());
    EXPECT_TRUE(iterator.setString("a"));
    expectBracket(1280, [&] { EXPECT_FALSE(iterator.setString("b")); });
    EXPECT_STREQ(iterator.getString(), "a");
}

TEST(TraceUtf8Iterator, RecordsTheSetStringOfItsConstructors) {
    EXPECT_TRUE(contains(eventsOf([] { UTF8Iterator("abc"); }), {1280, -1280, -1278, -1279}));
}

TEST(TraceUtf8Iterator, LeavesOutTheExitsOfAMalformedText) {
    const Events events = eventsOf([] { UTF8Iterator("\xFF"); });
    EXPECT_EQ(std::count(events.begin(), events.end(), 1280), 1);
    EXPECT_EQ(std::count(events.begin(), events.end(), -1280), 0);
    EXPECT_EQ(std::count(events.begin(), events.end(), -1278), 0);
}

TEST(TraceStringTokenizer, LivesAndDiesWithExitsOnly) {
    std::optional<StringTokenizer> tokenizer;
    for (const auto& construct : std::initializer_list<std::function<void()>>{
             [&] { tokenizer.emplace("a b"); }, [&] { tokenizer.emplace(UnicodeString("a b")); }}) {
        tokenizer.reset();
        EXPECT_EQ(eventsOf(construct),
                  (Events{1266, -1266, -1264, 1285, 1266, -1266, -1285, -1283}))
            << "its buffer is made like any other; parsing clears it";
    }
    const Events destruction = eventsOf([&] { tokenizer.reset(); });
    EXPECT_EQ(destruction, (Events{-1284, -1265})) << "its buffer is destroyed after it";
}

TEST(TraceStringTokenizer, BracketsParseStringAndLeavesTheTokensWithAnExit) {
    StringTokenizer tokenizer("a b c");
    expectBracket(1285, [&] { tokenizer.parseString(u"d e f", u" "); });
    expectExitOnly(1286, [&] { tokenizer.getFirstToken(); });
    expectExitOnly(1287, [&] { tokenizer.getNextToken(); });
    EXPECT_EQ(eventsOf([&] { tokenizer.getFirstTokenString(); }), Events{-1288});
    EXPECT_EQ(eventsOf([&] { tokenizer.getNextTokenString(); }), Events{-1289});
    expectNothing([&] {
        static_cast<void>(tokenizer.hasMoreTokens());
        static_cast<void>(tokenizer.countTokens());
    });
}

TEST(TraceStringTokenizer, RecordsTheBufferThatItsBytesGoThrough) {
    StringTokenizer tokenizer("a b");
    EXPECT_TRUE(contains(eventsOf([&] { tokenizer.getFirstToken(); }),
                         {1266, -1266, 1268, 1267, -1267, -1268, -1286}));
    tokenizer.getNextToken();
    EXPECT_EQ(eventsOf([&] { tokenizer.getNextToken(); }), (Events{1266, -1266, -1287}))
        << "when the tokens are exhausted";
    EXPECT_TRUE(contains(eventsOf([&] { tokenizer.parseString(u"", u""); }), {1266, -1266}));
}

TEST(TraceStringTokenizer, LeavesOutTheExitOfARefusedCodePage) {
    StringTokenizer tokenizer("", nullptr, "UTF-16");
    tokenizer.parseString(u"a", u"");
    const Events events = eventsOf([&] { tokenizer.getFirstToken(); });
    EXPECT_TRUE(contains(events, {1268}));
    EXPECT_EQ(std::count(events.begin(), events.end(), -1286), 0);
}

TEST(TraceBuildVersion, HasNoEventsOfItsOwnBesideItsTokenizer) {
    std::unique_ptr<BuildVersion> version;
    const Events events = eventsOf([&] { version = std::make_unique<BuildVersion>(); });
    EXPECT_EQ(std::count(events.begin(), events.end(), -1283), 1);
    EXPECT_EQ(std::count(events.begin(), events.end(), -1289), 3) << "three tokens are asked for";
    EXPECT_EQ(std::count(events.begin(), events.end(), -1288), 0);
    EXPECT_EQ(std::count(events.begin(), events.end(), -1284), 1);
    expectNothing([&] {
        static_cast<void>(version->getBuildVersion());
        static_cast<void>(version->getProductVersion());
        static_cast<void>(version->getProtocolVersion());
        static_cast<void>(version->getBuildNumberString());
        BuildVersion copy(*version);
        copy = *version;
    });
}

TEST(TraceUtf8String, RecordsWhatItsDataBufferRecords) {
    std::optional<UTF8String> text;
    expectExitOnly(1264, [&] { text.emplace("abc"); });
    expectBracket(1268, [&] { text->appendString("abc"); });
    expectBracket(1269, [&] { text->insertString(0, UnicodeString("abc")); });
    expectNothing([&] {
        static_cast<void>(text->numChars());
        static_cast<void>(text->compare("abc"));
        static_cast<void>(text->getString());
    });
    expectExitOnly(1265, [&] { text.reset(); });
}

TEST(TraceByteArrayOutputStream, RecordsConstructionAndDestructionOnly) {
    char array[1];
    std::optional<ByteArrayOutputStream> stream;
    EXPECT_EQ(eventsOf([&] { stream.emplace(array, 1); }), Events{-1253});
    expectNothing([&] {
        stream->write('a');
        stream->write("");
        stream->flush();
        stream->close();
        static_cast<void>(stream->getCount());
    });
    EXPECT_EQ(eventsOf([&] { stream.reset(); }), Events{-1254});
}

TEST(TraceNlsUtility, RecordsItsLookups) {
    NLSUtility::getInstance();
    std::optional<NLSUtility> utility;
    EXPECT_EQ(eventsOf([&] { utility.emplace(); }), Events{-1342});
    EXPECT_EQ(eventsOf([] { NLSUtility::getInstance(); }), Events{-1344});
    expectBracket(1345, [&] { static_cast<void>(utility->isSupported("deDE")); });
    expectBracket(1346, [&] { utility->getStandardLocaleValue("de_DE"); });
    icu::Locale locale;
    expectBracket(1347, [&] { utility->getLocale(locale, "de_DE"); });
    expectBracket(1348, [&] { utility->getEnvironmentLocale(); });
    EXPECT_EQ(eventsOf([&] { utility.reset(); }), Events{-1343});
}

TEST(TraceNlsUtility, RecordsNothingForDefaultsAndLists) {
    const NLSUtility& utility = NLSUtility::getInstance();
    expectNothing([&] {
        utility.getDefaultLocale();
        NLSUtility::getDefaultCodePage();
        NLSUtility::getCommandWindowCodePage();
        utility.getPrimaryLocales();
        static_cast<void>(utility.getNumPrimaryLocales());
    });
}

/// Every identifier stands in the block of the classes that have one.
void expectKnownSerials(const Events& events) {
    for (const long event : events) {
        EXPECT_GE(std::abs(event), 1253);
        EXPECT_LE(std::abs(event), 1348);
    }
}

TEST(TraceFormatter, HasNoEventsOfItsOwn) {
    UnicodeString text;
    expectKnownSerials(eventsOf([&] {
        Formatter formatter(Formatter::SHORT, Formatter::LONG, "deDE");
        formatter.formatNumber(text, 5);
        Formatter::stringToInt32("42");
        Formatter::formatHex(text, 1, true);
    }));
    char number[32];
    expectNothing([&] { Formatter::doubleToString(number, 31, 1.5); });
}

TEST(TraceExtendedProperties, HasNoEventsOfItsOwn) {
    util::ExtendedProperties properties;
    expectKnownSerials(eventsOf([&] {
        properties.loadFromString("a=%b%\nb=1\n", 10);
        properties.requirePropertyAsInt32("a");
        properties.putPropertyAsInt64("c", 1);
    }));
}

TEST(TraceExtendedProperties, HasNoEventsWhereNothingTracedIsCalled) {
    util::ExtendedProperties properties;
    util::ExtendedProperties other;
    expectNothing([&] {
        properties.loadFromString("a=%b%\nb=1\n", 10);
        properties.resolveProperties();
        properties.requirePropertyAsUInt64("a");
        properties.getPropertyAsDouble("b", 0.5);
        properties.getPropertyAsBoolean("a", false);
        properties.removeProperty("b");
        other.copy(properties);
    });
}

TEST(TraceExtendedProperties, RecordsTheConversionOfAText) {
    util::ExtendedProperties properties;
    EXPECT_EQ(eventsOf([&] { properties.loadFromString(UnicodeString("a=1\n")); }),
              (Events{1262, -1262, 1262, -1262}));
}

TEST(TraceBase64, HasNoEventsOfItsOwn) {
    unsigned short units[4];
    char bytes[3];
    expectNothing([&] {
        EXPECT_EQ(util::Base64::encode(units, 4, "abc", 3), 4u);
        EXPECT_EQ(util::Base64::encodeSafe(units, util::Base64::encodeSize(3), "abc", 3), 4u);
        EXPECT_EQ(util::Base64::decode(bytes, util::Base64::decodeSize(4), units, 4), 3u);
        EXPECT_EQ(util::Base64::decodeSafe(bytes, 3, units, 4), 3u);
        EXPECT_EQ(util::Base64::encode('\0', false), L'A');
        EXPECT_EQ(util::Base64::decode(u'B', true), 1);
        std::size_t position = 0;
        util::Base64::setDestValue(bytes, position, 3, 'a');
    });
    units[0] = '!';
    const Events events = eventsOf([&] { util::Base64::decode(bytes, 3, units, 4); });
    ASSERT_FALSE(events.empty());  // of the list that the error carries
    expectKnownSerials(events);
}

struct MaskRow {
    unsigned long mask;
    Events events;
};

TEST(TraceMask, SelectsEntryAndExitOfATextOperation) {
    DataBuffer buffer("abc");
    const MaskRow rows[] = {
        {0, {}},    {0x1, {1275}},  {0x2, {-1275}},  {0x3, {1275, -1275}},
        {0x80, {}}, {0x81, {1275}}, {0x82, {-1275}}, {0x20000, {1275, -1275}},
    };
    for (const MaskRow& row : rows) {
        test::hostMask = row.mask;
        EXPECT_EQ(eventsOf([&] { static_cast<void>(buffer.occurrences("b")); }), row.events)
            << std::hex << row.mask;
    }
    test::hostMask = 0x20000;
}

}  // namespace
}  // namespace nx::oss

#include <infra/oss/kelMessage.h>

#include <climits>
#include <clocale>
#include <limits>
#include <string>
#include <vector>

#include <unicode/curramt.h>

#include <infra/oss/kelMessageList.h>

#include "support/kelRaises.h"

namespace nx::oss {
namespace {

using test::utf8;

std::string printed(const Message& message) {
    icu::UnicodeString text;
    message.toString(text);
    return utf8(text);
}

std::vector<std::string> argumentsOf(const Message& message) {
    std::vector<std::string> arguments;
    for (const auto& argument : message.getMessageArgs()) {
        arguments.push_back(utf8(argument));
    }
    return arguments;
}

using Texts = std::vector<std::string>;

// What addArgument stores for one value.
template <class... Values>
std::string stored(const Values&... values) {
    Message message;
    message.addArgument(values...);
    const Texts arguments = argumentsOf(message);
    return arguments.size() == 1 ? arguments.front()
                                 : "<" + std::to_string(arguments.size()) + " arguments>";
}

// What addMessageArg stores for one value.
std::string storedFormattable(const icu::Formattable& value) {
    Message message;
    message.addMessageArg(value);
    const Texts arguments = argumentsOf(message);
    return arguments.size() == 1 ? arguments.front()
                                 : "<" + std::to_string(arguments.size()) + " arguments>";
}

Message fullRecord() {
    Message message("ID", Message::LEVEL_4, "file.cpp", 17);
    message.setMessageText("text");
    message.addArgument("a");
    message.addArgument("b");
    return message;
}

void expectCleared(const Message& message) {
    EXPECT_TRUE(message.getMessageID().isBogus());
    EXPECT_TRUE(message.getMessageText().isBogus());
    EXPECT_EQ(message.getMessageLevel(), Message::DEFAULT);
    EXPECT_TRUE(message.getFileName().isBogus());
    EXPECT_EQ(message.getLineNumber(), 0u);
    EXPECT_EQ(message.getMessageArgsCount(), 0u);
    EXPECT_TRUE(message.getMessageArgs().empty());
}

void expectFullRecord(const Message& message) {
    EXPECT_EQ(utf8(message.getMessageID()), "ID");
    EXPECT_EQ(utf8(message.getMessageText()), "text");
    EXPECT_EQ(message.getMessageLevel(), Message::LEVEL_4);
    EXPECT_EQ(utf8(message.getFileName()), "file.cpp");
    EXPECT_EQ(message.getLineNumber(), 17u);
    EXPECT_EQ(argumentsOf(message), (Texts{"a", "b"}));
}

// --- Construction -------------------------------------------------------------------------------

TEST(MessageConstructor, WithoutArgumentsGivesAClearedRecord) {
    const Message message;
    expectCleared(message);
    EXPECT_EQ(message.getNext(), nullptr);
}

TEST(MessageConstructor, WithPositionLeavesTheTextEmptyNotNull) {
    const Message message("ID", Message::SEVERE, "file.cpp", ULONG_MAX);
    EXPECT_EQ(utf8(message.getMessageID()), "ID");
    EXPECT_EQ(message.getMessageLevel(), Message::SEVERE);
    EXPECT_EQ(utf8(message.getFileName()), "file.cpp");
    EXPECT_EQ(message.getLineNumber(), 18446744073709551615u);
    EXPECT_FALSE(message.getMessageText().isBogus());
    EXPECT_TRUE(message.getMessageText().isEmpty());
    EXPECT_EQ(message.getMessageArgsCount(), 0u);
    EXPECT_EQ(message.getNext(), nullptr);
}

TEST(MessageConstructor, WithTextLeavesTheFileNameEmptyNotNull) {
    const Message message("ID", "text", Message::LEVEL_8);
    EXPECT_EQ(utf8(message.getMessageID()), "ID");
    EXPECT_EQ(utf8(message.getMessageText()), "text");
    EXPECT_EQ(message.getMessageLevel(), Message::LEVEL_8);
    EXPECT_FALSE(message.getFileName().isBogus());
    EXPECT_TRUE(message.getFileName().isEmpty());
    EXPECT_EQ(message.getLineNumber(), 0u);
    EXPECT_EQ(message.getMessageArgsCount(), 0u);
    EXPECT_EQ(message.getNext(), nullptr);
}

TEST(MessageConstructor, TakesANullFileNameAsAnEmptyOne) {
    const Message message("ID", Message::DEFAULT, nullptr, 1);
    EXPECT_FALSE(message.getFileName().isBogus());
    EXPECT_TRUE(message.getFileName().isEmpty());
}

TEST(MessageConstructor, ConvertsTheFileNameFromUtf8) {
    const Message message("ID", Message::DEFAULT, "\xC3\xA9.cpp", 1);
    EXPECT_EQ(message.getFileName(), icu::UnicodeString(u"\u00E9.cpp"));
}

TEST(MessageConstructor, KeepsANullIdentifierNull) {
    icu::UnicodeString null;
    null.setToBogus();
    EXPECT_TRUE(Message(null, Message::DEFAULT, "f", 1).getMessageID().isBogus());
    EXPECT_TRUE(Message("ID", null, Message::DEFAULT).getMessageText().isBogus());
}

TEST(MessageCopy, TakesEveryFieldButTheLink) {
    MessageList list;
    list.addMessage(fullRecord());
    list.addMessage(Message());
    ASSERT_NE(list.getHead()->getNext(), nullptr);
    const Message copy(*list.getHead());
    expectFullRecord(copy);
    EXPECT_EQ(copy.getNext(), nullptr);
}

TEST(MessageCopy, KeepsNullStringsNullAndEmptyOnesEmpty) {
    expectCleared(Message(Message()));
    const Message copy(Message("ID", Message::DEFAULT, nullptr, 0));
    EXPECT_FALSE(copy.getMessageText().isBogus());
    EXPECT_FALSE(copy.getFileName().isBogus());
}

TEST(MessageCopy, IsIndependentOfItsSource) {
    Message source = fullRecord();
    const Message copy(source);
    source.addArgument("c");
    source.setMessageID("other");
    expectFullRecord(copy);
}

TEST(MessageAssignment, TakesEveryFieldButTheLink) {
    MessageList list;
    list.addMessage(fullRecord());
    list.addMessage(Message());
    Message target("old", "old", Message::SEVERE);
    target.addArgument("old");
    target = *list.getHead();
    expectFullRecord(target);
    EXPECT_EQ(target.getNext(), nullptr);
}

TEST(MessageAssignment, LeavesTheLinkOfARecordInAListAlone) {
    MessageList list;
    list.addMessage(Message("A", "", Message::DEFAULT));
    list.addMessage(Message("B", "", Message::DEFAULT));
    list.getFirstMessage() = fullRecord();
    ASSERT_NE(list.getHead()->getNext(), nullptr);
    EXPECT_EQ(utf8(list.getHead()->getNext()->getMessageID()), "B");
    EXPECT_EQ(list.count(), 2u);
}

TEST(MessageAssignment, OfARecordToItselfChangesNothing) {
    Message message = fullRecord();
    const Message& alias = message;
    message = alias;
    expectFullRecord(message);
}

// --- Clearing and replacing ---------------------------------------------------------------------

TEST(MessageClear, ReturnsToTheStateOfANewRecord) {
    Message message = fullRecord();
    message.clear();
    expectCleared(message);
}

TEST(MessageClear, LeavesTheLinkAlone) {
    MessageList list;
    list.addMessage(Message());
    list.addMessage(Message());
    const Message* const next = list.getHead()->getNext();
    ASSERT_NE(next, nullptr);
    list.getFirstMessage().clear();
    EXPECT_EQ(list.getHead()->getNext(), next);
}

TEST(MessageSetMessage, WithPositionLeavesTheTextNull) {
    Message message = fullRecord();
    message.setMessage("NEW", Message::SEVERE, "new.cpp", 5);
    EXPECT_EQ(utf8(message.getMessageID()), "NEW");
    EXPECT_TRUE(message.getMessageText().isBogus());
    EXPECT_EQ(message.getMessageLevel(), Message::SEVERE);
    EXPECT_EQ(utf8(message.getFileName()), "new.cpp");
    EXPECT_EQ(message.getLineNumber(), 5u);
    EXPECT_EQ(message.getMessageArgsCount(), 0u);
}

TEST(MessageSetMessage, WithTextLeavesTheFileNameNull) {
    Message message = fullRecord();
    message.setMessage("NEW", "new text", Message::SEVERE);
    EXPECT_EQ(utf8(message.getMessageID()), "NEW");
    EXPECT_EQ(utf8(message.getMessageText()), "new text");
    EXPECT_EQ(message.getMessageLevel(), Message::SEVERE);
    EXPECT_TRUE(message.getFileName().isBogus());
    EXPECT_EQ(message.getLineNumber(), 0u);
    EXPECT_EQ(message.getMessageArgsCount(), 0u);
}

TEST(MessageSetMessage, WithARecordTakesAllItsFields) {
    Message message("old", "old", Message::SEVERE);
    message.setMessage(fullRecord());
    expectFullRecord(message);
}

TEST(MessageSetMessage, DiscardsOldArgumentsWhateverTheSourceHas) {
    Message one;
    one.addArgument("x");
    for (const unsigned long oldCount : {0u, 1u, 2u, 3u, 7u}) {
        Message message;
        for (unsigned long i = 0; i < oldCount; ++i) {
            message.addArgument("old");
        }
        message.setMessage(one);
        EXPECT_EQ(argumentsOf(message), Texts{"x"}) << oldCount;
        message.setMessage(Message());
        EXPECT_EQ(message.getMessageArgsCount(), 0u) << oldCount;
    }
}

TEST(MessageSetMessage, WithItselfLeavesTheRecordCleared) {
    Message message = fullRecord();
    message.setMessage(message);
    expectCleared(message);
}

TEST(MessageSetMessage, ClearsBeforeItReadsAnIdentifierOfTheSameRecord) {
    Message message = fullRecord();
    message.setMessage(message.getMessageID(), Message::SEVERE, "f", 1);
    EXPECT_TRUE(message.getMessageID().isBogus());
}

TEST(MessageSetMessage, LeavesTheLinkAlone) {
    MessageList list;
    list.addMessage(Message());
    list.addMessage(Message());
    const Message* const next = list.getHead()->getNext();
    Message& first = list.getFirstMessage();
    first.setMessage("A", Message::DEFAULT, "f", 1);
    EXPECT_EQ(first.getNext(), next);
    first.setMessage("A", "text", Message::DEFAULT);
    EXPECT_EQ(first.getNext(), next);
    first.setMessage(fullRecord());
    EXPECT_EQ(first.getNext(), next);
}

// --- Setters and getters ------------------------------------------------------------------------

TEST(MessageIdentifier, HasTwoSettersAndTwoGettersForOneField) {
    Message message;
    message.setMessageID(icu::UnicodeString("A"));
    EXPECT_EQ(utf8(message.getMessageCode()), "A");
    message.setMessageID("B\xC3\xA9");
    EXPECT_EQ(utf8(message.getMessageCode()), "B\xC3\xA9");
    message.setMessageCode(icu::UnicodeString("C"));
    EXPECT_EQ(utf8(message.getMessageID()), "C");
    message.setMessageCode("D");
    EXPECT_EQ(utf8(message.getMessageID()), "D");
    EXPECT_EQ(&message.getMessageID(), &message.getMessageCode());
}

TEST(MessageText, HasFourSettersAndTwoGettersForOneField) {
    Message message;
    message.setMessageText(icu::UnicodeString("A"));
    EXPECT_EQ(utf8(message.getFormattedMessage()), "A");
    message.setMessageText("B\xC3\xA9");
    EXPECT_EQ(utf8(message.getFormattedMessage()), "B\xC3\xA9");
    message.setFormattedMessage(icu::UnicodeString("C"));
    EXPECT_EQ(utf8(message.getMessageText()), "C");
    message.setFormattedMessage("D");
    EXPECT_EQ(utf8(message.getMessageText()), "D");
    EXPECT_EQ(&message.getMessageText(), &message.getFormattedMessage());
}

TEST(MessageSetters, TakeANullCharacterStringAsAnEmptyOne) {
    const char* const null = nullptr;
    Message message;
    message.setMessageID(null);
    message.setMessageText(null);
    message.setFileName(null);
    EXPECT_FALSE(message.getMessageID().isBogus());
    EXPECT_FALSE(message.getMessageText().isBogus());
    EXPECT_FALSE(message.getFileName().isBogus());
    EXPECT_EQ(printed(message), ": []");
}

TEST(MessageSetters, KeepNullStringsNull) {
    icu::UnicodeString null;
    null.setToBogus();
    Message message = fullRecord();
    message.setMessageID(null);
    message.setMessageText(null);
    message.setFileName(null);
    EXPECT_TRUE(message.getMessageID().isBogus());
    EXPECT_TRUE(message.getMessageText().isBogus());
    EXPECT_TRUE(message.getFileName().isBogus());
}

TEST(MessageSetters, TakeAFieldOfTheSameRecord) {
    Message message = fullRecord();
    message.setMessageText(message.getMessageText());
    message.setMessageID(message.getFileName());
    EXPECT_EQ(utf8(message.getMessageText()), "text");
    EXPECT_EQ(utf8(message.getMessageID()), "file.cpp");
}

TEST(MessageSetters, HoldIdentifierTextAndFileNameOfAnyLength) {
    const std::string longText(100000, 'x');
    Message message;
    message.setMessageID(longText.c_str());
    message.setMessageText(longText.c_str());
    message.setFileName(longText.c_str());
    message.addArgument(longText.c_str(), nullptr);
    EXPECT_EQ(message.getMessageID().length(), 100000);
    EXPECT_EQ(message.getMessageText().length(), 100000);
    EXPECT_EQ(message.getFileName().length(), 100000);
    EXPECT_EQ(message.getMessageArgs().front().length(), 100000);
    EXPECT_EQ(printed(message).size(), 300000u + 4 + 5);
}

TEST(MessageSetFileName, TakesTextAndBytes) {
    Message message;
    message.setFileName("\xC3\xA9");
    EXPECT_EQ(message.getFileName(), icu::UnicodeString(u"\u00E9"));
    message.setFileName(icu::UnicodeString(u"\u4E00"));
    EXPECT_EQ(message.getFileName(), icu::UnicodeString(u"\u4E00"));
}

TEST(MessageSetters, ReadBytesAsUtf8WhateverTheProcessLocale) {
    const char* const old = std::setlocale(LC_ALL, nullptr);
    const std::string saved = old == nullptr ? "C" : old;
    for (const char* locale : {"C", "C.UTF-8", "de_DE.ISO-8859-1"}) {
        std::setlocale(LC_ALL, locale);  // stays as it is where the locale is not installed
        Message message;
        message.setMessageID("\xC3\xA9");
        EXPECT_EQ(message.getMessageID(), icu::UnicodeString(u"\u00E9")) << locale;
    }
    std::setlocale(LC_ALL, saved.c_str());
}

TEST(MessageLevel, IsStoredWithoutValidation) {
    Message message;
    for (const int level : {1, 2, 4, 8, 0, 3, 5, -1, INT_MAX, INT_MIN}) {
        message.setMessageLevel(static_cast<Message::Level>(level));
        EXPECT_EQ(static_cast<int>(message.getMessageLevel()), level);
        EXPECT_EQ(message.isSevere(), level == 1) << level;
    }
}

TEST(MessageLevel, IsStoredWithoutValidationByConstructorsAndSetMessage) {
    const auto strange = static_cast<Message::Level>(77);
    EXPECT_EQ(Message("", strange, "", 0).getMessageLevel(), strange);
    EXPECT_EQ(Message("", "", strange).getMessageLevel(), strange);
    Message message;
    message.setMessage("", strange, "", 0);
    EXPECT_EQ(message.getMessageLevel(), strange);
    message.setMessage("", "", strange);
    EXPECT_EQ(Message(message).getMessageLevel(), strange);
}

TEST(MessageLevel, HasFourNumbers) {
    EXPECT_EQ(Message::SEVERE, 1);
    EXPECT_EQ(Message::DEFAULT, 2);
    EXPECT_EQ(Message::LEVEL_4, 4);
    EXPECT_EQ(Message::LEVEL_8, 8);
}

TEST(MessageUintToMessageLevel, PassesThreeNumbersThroughAndMapsTheRestToDefault) {
    EXPECT_EQ(Message::uintToMessageLevel(1), Message::SEVERE);
    EXPECT_EQ(Message::uintToMessageLevel(4), Message::LEVEL_4);
    EXPECT_EQ(Message::uintToMessageLevel(8), Message::LEVEL_8);
    for (const unsigned long number :
         {0ul, 2ul, 3ul, 5ul, 6ul, 7ul, 9ul, 16ul, 0x100000001ul, 0x100000008ul, ULONG_MAX}) {
        EXPECT_EQ(Message::uintToMessageLevel(number), Message::DEFAULT) << number;
    }
}

TEST(MessageSetLineNumber, KeepsAll64Bits) {
    Message message;
    message.setLineNumber(ULONG_MAX);
    EXPECT_EQ(message.getLineNumber(), 18446744073709551615u);
}

// --- Arguments: text ----------------------------------------------------------------------------

TEST(MessageAddArgument, AppendsInTheOrderOfTheCalls) {
    Message message;
    message.addArgument("first");
    message.addArgument(2);
    message.addArgument("third", nullptr);
    message.addArgumentAsHex(4, true);
    EXPECT_EQ(argumentsOf(message), (Texts{"first", "2", "third", "X'4'"}));
    EXPECT_EQ(message.getMessageArgsCount(), 4u);
}

TEST(MessageAddArgument, HasNoLimitOnTheNumberOfArguments) {
    Message message;
    for (int i = 0; i < 1000; ++i) {
        message.addArgument(i);
    }
    EXPECT_EQ(message.getMessageArgsCount(), 1000u);
    EXPECT_EQ(utf8(message.getMessageArgs().back()), "999");
}

TEST(MessageAddArgument, AddsAnEmptyUnicodeString) {
    Message message;
    message.addArgument(icu::UnicodeString());
    EXPECT_EQ(argumentsOf(message), Texts{""});
    EXPECT_EQ(printed(message), ": [] - []");
}

TEST(MessageAddArgument, AddsANullUnicodeStringAsNull) {
    icu::UnicodeString null;
    null.setToBogus();
    EXPECT_EQ(stored(null), "<null>");
}

TEST(MessageAddArgument, WithOneLiteralTakesTheUnicodeStringForm) {
    Message message;
    message.addArgument("");
    EXPECT_EQ(argumentsOf(message), Texts{""});
    message.addArgument("\xC3\xA9");
    EXPECT_EQ(message.getMessageArgs().back(), icu::UnicodeString(u"\u00E9"));
}

TEST(MessageAddArgument, WithACodePageAddsNothingForNullOrEmptyText) {
    Message message;
    message.addArgument(nullptr, nullptr);
    message.addArgument("", nullptr);
    message.addArgument("", "UTF-8");
    message.addArgument(nullptr, "UTF-8");
    message.addArgument("", "no-such-code-page");
    EXPECT_EQ(message.getMessageArgsCount(), 0u);
}

struct CodePageRow {
    const char* codePage;
    const char* bytes;
    const char16_t* text;
};

class MessageAddArgumentCodePage : public testing::TestWithParam<CodePageRow> {};

TEST_P(MessageAddArgumentCodePage, DecodesBothCharacterForms) {
    const CodePageRow& row = GetParam();
    Message message;
    message.addArgument(row.bytes, row.codePage);
    message.addArgument(row.bytes, static_cast<int>(std::string(row.bytes).size()), row.codePage);
    ASSERT_EQ(message.getMessageArgsCount(), 2u);
    EXPECT_EQ(message.getMessageArgs().front(), icu::UnicodeString(row.text));
    EXPECT_EQ(message.getMessageArgs().back(), icu::UnicodeString(row.text));
}

INSTANTIATE_TEST_SUITE_P(Rows, MessageAddArgumentCodePage,
                         testing::Values(CodePageRow{nullptr, "a\xC3\xA9", u"a\u00E9"},
                                         CodePageRow{"", "a\xC3\xA9", u"a\u00E9"},
                                         CodePageRow{"UTF-8", "a\xC3\xA9", u"a\u00E9"},
                                         CodePageRow{"ISO8859_1", "a\xE9", u"a\u00E9"},
                                         CodePageRow{"Shift_JIS", "\x82\xA0", u"\u3042"},
                                         CodePageRow{nullptr, "a\xE9", u"a\uFFFD"},
                                         CodePageRow{"", "a\xE9", u"a\uFFFD"}));

TEST(MessageAddArgument, AddsANullArgumentForAnUnknownCodePage) {
    Message message;
    message.addArgument("abc", "no-such-code-page");
    message.addArgument("abc", 3, "no-such-code-page");
    EXPECT_EQ(argumentsOf(message), (Texts{"<null>", "<null>"}));
    EXPECT_EQ(printed(message), ": [] - [] []");
}

TEST(MessageAddArgument, WithALengthTakesExactlySoManyBytes) {
    EXPECT_EQ(stored("abcdef", 3, nullptr), "abc");
    EXPECT_EQ(stored("abc", 1, "ISO8859_1"), "a");
    Message message;
    message.addArgument("a\0b", 3, nullptr);
    EXPECT_EQ(message.getMessageArgs().front(), icu::UnicodeString(u"a\0b", 3));
}

TEST(MessageAddArgument, WithALengthAddsNothingForNullOrALengthBelowOne) {
    Message message;
    message.addArgument(nullptr, 3, nullptr);
    message.addArgument("abc", 0, nullptr);
    message.addArgument("abc", -1, nullptr);
    message.addArgument("abc", INT_MIN, "UTF-8");
    EXPECT_EQ(message.getMessageArgsCount(), 0u);
}

TEST(MessageAddArgument, WithALengthAddsOneNulByteAsOneCharacter) {
    Message message;
    message.addArgument("\0", 1, nullptr);
    ASSERT_EQ(message.getMessageArgsCount(), 1u);
    EXPECT_EQ(message.getMessageArgs().front().length(), 1);
}

TEST(MessageAddArgument, TakesAnArgumentOfTheSameRecord) {
    Message message;
    message.addArgument("a");
    message.addArgument(message.getMessageArgs().front());
    EXPECT_EQ(argumentsOf(message), (Texts{"a", "a"}));
}

// --- Arguments: numbers -------------------------------------------------------------------------

TEST(MessageAddArgument, ShowsIntegersModulo32BitsAsSigned) {
    EXPECT_EQ(stored(0L), "0");
    EXPECT_EQ(stored(-1L), "-1");
    EXPECT_EQ(stored(2147483647L), "2147483647");
    EXPECT_EQ(stored(2147483648L), "-2147483648");
    EXPECT_EQ(stored(4294967295L), "-1");
    EXPECT_EQ(stored(4294967296L), "0");
    EXPECT_EQ(stored(5000000000L), "705032704");
    EXPECT_EQ(stored(-2147483649L), "2147483647");
    EXPECT_EQ(stored(LONG_MAX), "-1");
    EXPECT_EQ(stored(LONG_MIN), "0");
}

TEST(MessageAddArgument, TakesEveryIntegerType) {
    EXPECT_EQ(stored(-1), "-1");
    EXPECT_EQ(stored(INT_MIN), "-2147483648");
    EXPECT_EQ(stored(INT_MAX), "2147483647");
    EXPECT_EQ(stored(static_cast<short>(-32768)), "-32768");
    EXPECT_EQ(stored(static_cast<signed char>(-128)), "-128");
    EXPECT_EQ(stored(ULONG_MAX), "-1");
    EXPECT_EQ(stored(0x8000000000000001ul), "1");
    EXPECT_EQ(stored(4000000000u), "-294967296");
    EXPECT_EQ(stored(0xFFFFFFFFu), "-1");
    EXPECT_EQ(stored(static_cast<unsigned short>(65535)), "65535");
    EXPECT_EQ(stored(static_cast<unsigned char>(255)), "255");
}

TEST(MessageAddArgument, PromotesBooleansAndCharactersToNumbers) {
    EXPECT_EQ(stored(true), "1");
    EXPECT_EQ(stored('a'), "97");
}

TEST(MessageAddArgument, ShowsTheLowHalfOfTheBitPatternOfADouble) {
    EXPECT_EQ(stored(1.5), "0");
    EXPECT_EQ(stored(2.0), "0");
    EXPECT_EQ(stored(0.0), "0");
    EXPECT_EQ(stored(-0.0), "0");
    EXPECT_EQ(stored(0.1), "-1717986918");
    EXPECT_EQ(stored(1e300), "-2013235812");
    EXPECT_EQ(stored(std::numeric_limits<double>::infinity()), "0");
    EXPECT_EQ(stored(std::numeric_limits<double>::denorm_min()), "1");
    EXPECT_EQ(stored(std::numeric_limits<double>::max()), "-1");
}

TEST(MessageAddArgument, WidensAFloatToDouble) {
    EXPECT_EQ(stored(0.1f), "-1610612736");
    EXPECT_EQ(stored(1.5f), "0");
}

struct HexRow {
    unsigned long value;
    const char* upper;
    const char* lower;
};

class MessageAddArgumentAsHex : public testing::TestWithParam<HexRow> {};

TEST_P(MessageAddArgumentAsHex, PrintsWithoutLeadingZerosInTheGivenCase) {
    Message message;
    message.addArgumentAsHex(GetParam().value, /*upperCase=*/true);
    message.addArgumentAsHex(GetParam().value, /*upperCase=*/false);
    EXPECT_EQ(argumentsOf(message), (Texts{GetParam().upper, GetParam().lower}));
}

INSTANTIATE_TEST_SUITE_P(
    Rows, MessageAddArgumentAsHex,
    testing::Values(HexRow{0, "X'0'", "X'0'"}, HexRow{1, "X'1'", "X'1'"}, HexRow{9, "X'9'", "X'9'"},
                    HexRow{10, "X'A'", "X'a'"}, HexRow{15, "X'F'", "X'f'"},
                    HexRow{16, "X'10'", "X'10'"}, HexRow{255, "X'FF'", "X'ff'"},
                    HexRow{0xDEADBEEF, "X'DEADBEEF'", "X'deadbeef'"},
                    HexRow{0x0123456789ABCDEF, "X'123456789ABCDEF'", "X'123456789abcdef'"},
                    HexRow{0xFFFFFFFFFFFFFFFF, "X'FFFFFFFFFFFFFFFF'", "X'ffffffffffffffff'"}));

// --- Arguments: Formattable ---------------------------------------------------------------------

TEST(MessageAddMessageArg, ShowsTheFirst32BitsOfNumbers) {
    EXPECT_EQ(storedFormattable(icu::Formattable(1.5)), "0");
    EXPECT_EQ(storedFormattable(icu::Formattable(0.1)), "-1717986918");
    EXPECT_EQ(storedFormattable(icu::Formattable(1e300)), "-2013235812");
    EXPECT_EQ(storedFormattable(icu::Formattable(static_cast<int32_t>(-7))), "-7");
    EXPECT_EQ(storedFormattable(icu::Formattable(INT32_MIN)), "-2147483648");
    EXPECT_EQ(storedFormattable(icu::Formattable(static_cast<int64_t>(5000000000))), "705032704");
    EXPECT_EQ(storedFormattable(icu::Formattable(static_cast<int64_t>(4000000000))), "-294967296");
    EXPECT_EQ(storedFormattable(icu::Formattable(static_cast<int64_t>(LONG_MIN))), "0");
}

TEST(MessageAddMessageArg, CopiesAStringUnchanged) {
    EXPECT_EQ(storedFormattable(icu::Formattable("abc")), "abc");
    EXPECT_EQ(storedFormattable(icu::Formattable(icu::UnicodeString())), "");
    EXPECT_EQ(storedFormattable(icu::Formattable(icu::UnicodeString(u"\u00E9"))), "\xC3\xA9");
}

TEST(MessageAddMessageArg, AddsNothingForDatesArraysAndObjects) {
    UErrorCode status = U_ZERO_ERROR;
    const icu::Formattable items[] = {icu::Formattable(static_cast<int32_t>(1))};
    Message message;
    message.addMessageArg(icu::Formattable(0.0, icu::Formattable::kIsDate));
    message.addMessageArg(icu::Formattable(items, 1));
    message.addMessageArg(icu::Formattable(new icu::CurrencyAmount(1.5, u"EUR", status)));
    ASSERT_TRUE(U_SUCCESS(status));
    EXPECT_EQ(message.getMessageArgsCount(), 0u);
}

// --- Text form ----------------------------------------------------------------------------------

TEST(MessageToString, OfAClearedRecordShowsNullStringsAsEmpty) {
    EXPECT_EQ(printed(Message()), ": []");
}

TEST(MessageToString, ShowsIdentifierTextAndArguments) {
    Message message("ERR_BUFFER_SIZE_TOO_SMALL", Message::DEFAULT, "f.cpp", 1);
    EXPECT_EQ(printed(message), "ERR_BUFFER_SIZE_TOO_SMALL: []");
    message.addArgument(64);
    EXPECT_EQ(printed(message), "ERR_BUFFER_SIZE_TOO_SMALL: [] - [64]");
    Message two("ID", "text", Message::DEFAULT);
    EXPECT_EQ(printed(two), "ID: [text]");
    two.addArgument("a");
    two.addArgument("b");
    EXPECT_EQ(printed(two), "ID: [text] - [a] [b]");
}

TEST(MessageToString, NeverShowsLevelFileNameOrLine) {
    Message plain("ID", "text", Message::DEFAULT);
    Message full = plain;
    full.setMessageLevel(Message::SEVERE);
    full.setFileName("file.cpp");
    full.setLineNumber(4711);
    EXPECT_EQ(printed(full), "ID: [text]");
    EXPECT_EQ(printed(full), printed(plain));
}

TEST(MessageToString, ReplacesTheTargetWhateverItHoldsAndReturnsIt) {
    icu::UnicodeString targets[4];
    targets[1] = "some earlier content that is longer than the text that comes";
    targets[2].setToBogus();
    targets[3].setTo(true, u"borrowed", 8);
    for (auto& out : targets) {
        EXPECT_EQ(&fullRecord().toString(out), &out);
        EXPECT_EQ(utf8(out), "ID: [text] - [a] [b]");
    }
}

TEST(MessageToString, LeavesACopyOfTheTargetAlone) {
    icu::UnicodeString out("a text that is long enough to live on the heap and to be shared");
    const icu::UnicodeString copy(out);
    fullRecord().toString(out);
    EXPECT_EQ(utf8(copy), "a text that is long enough to live on the heap and to be shared");
}

TEST(MessageToString, CopiesCharactersOutsideAsciiAndEmbeddedNuls) {
    Message message;
    message.setMessageID(icu::UnicodeString(u"\u00E9\U0001F600"));
    message.addArgument(icu::UnicodeString(u"\0", 1));
    icu::UnicodeString out;
    message.toString(out);
    EXPECT_EQ(out, icu::UnicodeString(u"\u00E9\U0001F600: [] - [\0]", 13));
}

TEST(MessageToString, EscapesNothing) {
    Message message("a]", " - [", Message::DEFAULT);
    message.addArgument("] [");
    EXPECT_EQ(printed(message), "a]: [ - [] - [] []");
}

}  // namespace
}  // namespace nx::oss

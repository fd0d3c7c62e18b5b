// Every allocation of text, iterators and formatters fails once: operator new, the storage of text
// buffers and what ICU takes.
#include <infra/oss/kelFormatter.h>
#include <infra/oss/kelNLSException.h>
#include <infra/oss/kelNLSUtility.h>
#include <infra/oss/kelUTF8Iterator.h>
#include <infra/oss/kelUTF8String.h>

#include <functional>
#include <new>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <unicode/datefmt.h>
#include <unicode/numfmt.h>
#include <unicode/smpdtfmt.h>

#include "support/kelAllocationFaults.h"
#include "support/kelHeapFaults.h"
#include "support/kelRaises.h"

namespace {

/// What the library makes of ICU's formats, and which of them fails. ICU itself does not survive
/// every failed allocation while it reads its data, so its functions fail as a whole.
struct Creation {
    const char* failing = nullptr;
    std::function<void()> whenFailing;
    std::vector<std::string> made;
};

Creation creation;

bool fails(const std::string& kind, const std::string& styles) {
    creation.made.push_back(kind + styles);
    const bool failing = creation.failing != nullptr && kind == creation.failing;
    if (failing && creation.whenFailing) {
        creation.whenFailing();
    }
    return failing;
}

icu::DateFormat* anyDateFormat(const icu::Locale& locale) {
    UErrorCode status = U_ZERO_ERROR;
    return new icu::SimpleDateFormat(u"y", locale, status);
}

}  // namespace

// These take the place of ICU's own functions in this program.
U_NAMESPACE_BEGIN

DateFormat* DateFormat::createDateInstance(EStyle style, const Locale& locale) {
    return fails("date", " " + std::to_string(style)) ? nullptr : anyDateFormat(locale);
}

DateFormat* DateFormat::createTimeInstance(EStyle style, const Locale& locale) {
    return fails("time", " " + std::to_string(style)) ? nullptr : anyDateFormat(locale);
}

DateFormat* DateFormat::createDateTimeInstance(EStyle dateStyle, EStyle timeStyle,
                                               const Locale& locale) {
    const std::string styles = " " + std::to_string(dateStyle) + " " + std::to_string(timeStyle);
    return fails("date and time", styles) ? nullptr : anyDateFormat(locale);
}

NumberFormat* NumberFormat::createInstance(const Locale& locale, UErrorCode& status) {
    if (fails("number", "")) {
        status = U_MEMORY_ALLOCATION_ERROR;
        return nullptr;
    }
    return createInstance(locale, UNUM_DECIMAL, status);
}

U_NAMESPACE_END

namespace nx::oss {
namespace {

using icu::UnicodeString;
using test::forEachAllocation;
using test::liveHeapBlocks;
using test::Report;

class AllMemory : public testing::Environment {
  public:
    void SetUp() override { ASSERT_TRUE(test::watchIcuAllocations()); }
};

const testing::Environment* const ALL_MEMORY = testing::AddGlobalTestEnvironment(new AllMemory);

const std::string LONG(6'000, 'l');

UnicodeString longText() { return UnicodeString(5'000, u'\u00E9', 5'000); }

// --- Iterator -----------------------------------------------------------------------------------

TEST(TextFaults, SetStringOfALongTextReturnsFalseAndTheIteratorStaysEmpty) {
    const long before = liveHeapBlocks();
    const std::size_t failures = forEachAllocation([](auto& faults) {
        UTF8Iterator it;
        faults.arm();
        const bool set = it.setString(LONG.c_str());
        faults.disarm();
        EXPECT_EQ(set, !test::allocationFailed());
        EXPECT_EQ(it.isEmpty(), !set);
        if (!set) {
            EXPECT_EQ(it.length(), 0);
            EXPECT_TRUE(it.setString("short")) << "usable afterwards";
            EXPECT_EQ(it.numChars(), 5);
        }
    });
    EXPECT_EQ(failures, 1u);
    EXPECT_EQ(liveHeapBlocks(), before);
}

TEST(TextFaults, SetStringOfATextOf4096BytesNeedsNoMemory) {
    const std::string text(4'096, 's');
    EXPECT_EQ(forEachAllocation([&](auto& faults) {
                  UTF8Iterator it;
                  faults.arm();
                  EXPECT_TRUE(it.setString(text.c_str()));
              }),
              0u);
}

TEST(TextFaults, CopyOfAnIteratorWithoutMemoryIsEmpty) {
    const UTF8Iterator original(LONG.c_str());
    const long before = liveHeapBlocks();
    const std::size_t failures = forEachAllocation([&](auto& faults) {
        faults.arm();
        const UTF8Iterator copy(original);
        faults.disarm();
        EXPECT_EQ(copy.isEmpty(), test::allocationFailed());
    });
    EXPECT_EQ(failures, 1u);
    EXPECT_EQ(liveHeapBlocks(), before);
}

TEST(TextFaults, IteratorOfUnicodeTextIsEmptyOrThrowsAndLeaksNothing) {
    UnicodeString text = longText();
    const long before = liveHeapBlocks();
    const std::size_t failures = forEachAllocation([&](auto& faults) {
        faults.arm();
        const UTF8Iterator it(text);
        faults.disarm();
        EXPECT_EQ(it.isEmpty(), test::allocationFailed());
    });
    EXPECT_EQ(failures, 2u) << "the converted text and the copy of it";
    EXPECT_EQ(liveHeapBlocks(), before);
}

TEST(TextFaults, MalformedTextRaisesOrThrowsBadAlloc) {
    const std::string text = LONG + "\xFF";
    const long before = liveHeapBlocks();
    const std::size_t failures = forEachAllocation([&](auto& faults) {
        UTF8Iterator it;
        faults.arm();
        try {
            EXPECT_FALSE(it.setString(text.c_str())) << "only for want of storage";
        } catch (const NLSException& error) {
            faults.disarm();
            EXPECT_TRUE(Report("ERR_MALFORMED_UTF8_STRING").matches(error));
        } catch (const std::bad_alloc&) {
        }
        faults.disarm();
        EXPECT_TRUE(it.isEmpty());
    });
    EXPECT_GT(failures, 1u);
    EXPECT_EQ(liveHeapBlocks(), before);
}

// --- String -------------------------------------------------------------------------------------

template <class Change>
void expectStringUnchanged(Change change) {
    const std::string content(4'000, 't');
    const long before = liveHeapBlocks();
    const std::size_t failures = forEachAllocation([&](auto& faults) {
        UTF8String text(content.c_str());
        faults.arm();
        try {
            change(text);
            EXPECT_FALSE(test::allocationFailed());
        } catch (const std::bad_alloc&) {
            faults.disarm();
            EXPECT_EQ(text.getString(), content);
            EXPECT_EQ(text.length(), 4'000);
        }
    });
    EXPECT_GT(failures, 0u);
    EXPECT_EQ(liveHeapBlocks(), before);
}

TEST(TextFaults, GrowingAStringWithoutMemoryLeavesItAsItWas) {
    const UTF8String other(LONG.c_str());
    const UnicodeString unicode = longText();
    expectStringUnchanged([](UTF8String& text) { text.appendString(LONG.c_str()); });
    expectStringUnchanged([](UTF8String& text) { text.insertString(3, LONG.c_str()); });
    expectStringUnchanged([&](UTF8String& text) { text.appendString(other); });
    expectStringUnchanged([&](UTF8String& text) { text.insertString(3, other); });
    expectStringUnchanged([&](UTF8String& text) { text.appendString(unicode); });
    expectStringUnchanged([&](UTF8String& text) { text.insertString(3, unicode); });
    expectStringUnchanged([&](UTF8String& text) { text = other; });
}

TEST(TextFaults, AssigningUnicodeTextWithoutMemoryLeavesTheStringEmpty) {
    const UnicodeString unicode = longText();
    const std::size_t failures = forEachAllocation([&](auto& faults) {
        UTF8String text("old");
        faults.arm();
        try {
            text = unicode;
        } catch (const std::bad_alloc&) {
            faults.disarm();
            EXPECT_EQ(text.length(), 0) << "cleared first";
        }
    });
    EXPECT_GT(failures, 0u);
}

TEST(TextFaults, ConstructingAStringWithoutMemoryThrowsAndLeaksNothing) {
    const UTF8String original(LONG.c_str());
    const UnicodeString unicode = longText();
    const long before = liveHeapBlocks();
    const auto failuresOf = [](auto construct) {
        return forEachAllocation([&](auto& faults) {
            faults.arm();
            construct();
            EXPECT_FALSE(test::allocationFailed());
        });
    };
    EXPECT_GT(failuresOf([] { const UTF8String text(LONG.c_str()); }), 0u);
    EXPECT_GT(failuresOf([] { const UTF8String text(10'000); }), 0u);
    EXPECT_GT(failuresOf([&] { const UTF8String text(original); }), 0u);
    EXPECT_GT(failuresOf([&] { const UTF8String text(unicode); }), 0u);
    EXPECT_EQ(liveHeapBlocks(), before);
}

TEST(TextFaults, TextOfAStringWithoutMemoryIsNotLostWithoutAWord) {
    const UTF8String source(LONG.c_str());
    const std::size_t failures = forEachAllocation([&](auto& faults) {
        UnicodeString out("before");
        faults.arm();
        source.getString(out);  // or std::bad_alloc
        faults.disarm();
        EXPECT_EQ(out.length(), 6'006);
    });
    EXPECT_GT(failures, 0u);
}

// --- Formatter ----------------------------------------------------------------------------------

std::string formatted(const Formatter& formatter) {
    UnicodeString out;
    return test::utf8(formatter.formatNumber(out, 1234.5));
}

Report outOfMemory() {
    return Report("ERR_OUT_OF_MEMORY").in("kelFormatter.cpp").with({"Formatter::setSettings()"});
}

constexpr const char* KINDS[] = {"date", "time", "date and time", "number"};

void expectAsBefore(const Formatter& formatter) {
    EXPECT_STREQ(formatter.getLocale(), "enUS");
    EXPECT_EQ(formatter.getDateStyle(), Formatter::SHORT);
    EXPECT_EQ(formatter.getTimeStyle(), Formatter::LONG);
    EXPECT_EQ(formatted(formatter), "1,234.5");
}

class FormatterFaults : public testing::Test {
  protected:
    void SetUp() override {
        creation = Creation{};
        for (const char* const locale : {"en_US", "de_DE"}) {  // what ICU keeps is made here
            formatted(Formatter(Formatter::SHORT, Formatter::LONG, locale));
        }
    }
    void TearDown() override { creation = Creation{}; }
};

TEST_F(FormatterFaults, FailedCreationOfAnyFormatKeepsFormatsLocaleAndStyles) {
    for (const char* const kind : KINDS) {
        Formatter formatter(Formatter::SHORT, Formatter::LONG, "en_US");
        creation = Creation{};
        const long before = liveHeapBlocks();
        creation.failing = kind;
        EXPECT_RAISES(NLSException,
                      formatter.setSettings(Formatter::FULL, Formatter::FULL, "de_DE"),
                      outOfMemory());
        creation = Creation{};
        EXPECT_EQ(liveHeapBlocks(), before) << kind;
        expectAsBefore(formatter);
        formatter.setSettings(Formatter::FULL, Formatter::FULL, "de_DE");
        EXPECT_EQ(formatted(formatter), "1.234,5") << "usable afterwards";
        EXPECT_EQ(formatter.getDateStyle(), Formatter::FULL);
    }
}

TEST_F(FormatterFaults, FailedCreationWhenNotEvenTheErrorFindsMemoryThrowsBadAlloc) {
    Formatter formatter(Formatter::SHORT, Formatter::LONG, "en_US");
    for (int i = 0; i < 10; ++i) {  // ICU prepares a number format that is used more than once
        expectAsBefore(formatter);
    }
    creation = Creation{};
    const long before = liveHeapBlocks();
    std::size_t bad = 0;
    const std::size_t failures = forEachAllocation([&](auto& faults) {
        creation.failing = "number";
        creation.whenFailing = [&] { faults.arm(); };
        try {
            formatter.setSettings(Formatter::FULL, Formatter::FULL, "de_DE");
            ADD_FAILURE() << "nothing was thrown";
        } catch (const NLSException&) {
        } catch (const std::bad_alloc&) {
            ++bad;
        }
        faults.disarm();
        creation = Creation{};
        expectAsBefore(formatter);
    });
    EXPECT_GT(failures, 0u);
    EXPECT_GT(bad, 0u);
    EXPECT_EQ(liveHeapBlocks(), before);
}

TEST_F(FormatterFaults, FailedConstructionRaisesAndLeaksNothing) {
    creation = Creation{};
    const long before = liveHeapBlocks();
    for (const char* const kind : KINDS) {
        creation.failing = kind;
        EXPECT_RAISES(NLSException, Formatter(Formatter::SHORT, Formatter::LONG, "de_DE"),
                      outOfMemory());
    }
    creation = Creation{};
    EXPECT_EQ(liveHeapBlocks(), before);
}

TEST_F(FormatterFaults, FormatsAreMadeInTheirOrderAndInTheStylesStoredBefore) {
    using Made = std::vector<std::string>;
    creation.made.clear();
    Formatter formatter(Formatter::FULL, Formatter::LONG, "en_US");
    EXPECT_EQ(creation.made, (Made{"date 0", "time 1", "date and time 0 1", "number"}));
    creation.made.clear();
    formatter.setSettings(Formatter::SHORT, Formatter::MEDIUM, "de_DE");
    EXPECT_EQ(creation.made, (Made{"date 0", "time 1", "date and time 0 1", "number"}));
    creation.made.clear();
    formatter.setSettings(Formatter::SHORT, Formatter::MEDIUM, "en_US");
    EXPECT_EQ(creation.made, (Made{"date 3", "time 2", "date and time 3 2", "number"}));
}

TEST_F(FormatterFaults, SameSettingsNeedNoMemory) {
    Formatter formatter(Formatter::SHORT, Formatter::LONG, "de_DE");
    creation.made.clear();
    EXPECT_EQ(forEachAllocation([&](auto& faults) {
                  faults.arm();
                  formatter.setSettings(Formatter::SHORT, Formatter::LONG, "DEU.UTF-8");
              }),
              0u);
    EXPECT_TRUE(creation.made.empty());
}

// --- Parsers and texts of numbers ---------------------------------------------------------------

TEST(TextFaults, ParsersRaiseTheirErrorOrThrowBadAlloc) {
    const UnicodeString text = UnicodeString(u" ").append(UnicodeString(600, u'x', 600));
    const long before = liveHeapBlocks();
    const auto failuresOf = [&](auto parse) {
        return forEachAllocation([&](auto& faults) {
            faults.arm();
            try {
                parse();
                ADD_FAILURE() << "nothing was thrown";
            } catch (const NLSException& error) {
                faults.disarm();
                const Message& message = error.messages.getFirstMessage();
                EXPECT_EQ(test::utf8(message.getMessageID()), "ERR_STR_TO_NUM_CONV_ERR");
                ASSERT_EQ(message.getMessageArgs().size(), 2u);
                EXPECT_EQ(test::utf8(message.getMessageArgs().back()), std::string(600, 'x'));
            }
        });
    };
    EXPECT_GT(failuresOf([&] { Formatter::stringToInt32(text); }), 1u);
    EXPECT_GT(failuresOf([&] { Formatter::stringToUint32(text); }), 1u);
    EXPECT_GT(failuresOf([&] { Formatter::stringToInt64(text); }), 1u);
    EXPECT_GT(failuresOf([&] { Formatter::stringToUint64(text); }), 1u);
    EXPECT_GT(failuresOf([&] { Formatter::stringToDouble(text); }), 1u);
    EXPECT_EQ(liveHeapBlocks(), before);
}

/// White space makes the parsers copy the text, so that there is none when memory runs out.
TEST(TextFaults, ParsersTakeALackOfMemoryForNoWrongNumber) {
    const std::string bytes = " " + std::string(600, 'x');
    const UnicodeString text(bytes.c_str());
    const auto expectBadAlloc = [](auto parse) {
        test::AllocationFaults faults(1, test::ICU_MEMORY_FUNCTIONS, test::Failure::FOR_EVER);
        bool lacked = false;
        faults.arm();
        try {
            parse();
        } catch (const std::bad_alloc&) {
            lacked = true;
        } catch (const NLSException&) {
        }
        faults.disarm();
        EXPECT_TRUE(lacked);
        EXPECT_THROW(parse(), NLSException);
    };
    expectBadAlloc([&] { Formatter::stringToInt32(text); });
    expectBadAlloc([&] { Formatter::stringToInt64(text); });
    expectBadAlloc([&] { Formatter::stringToUint32(text); });
    expectBadAlloc([&] { Formatter::stringToUint64(text); });
    expectBadAlloc([&] { Formatter::stringToDouble(text); });
    expectBadAlloc([&] { Formatter::stringToDouble(bytes.c_str()); });
}

TEST(TextFaults, NumbersThatCannotBeAppendedThrow) {
    const auto expectBadAlloc = [](auto append) {
        UnicodeString out(27, u'x', 27);
        while (out.length() < out.getCapacity()) {
            out.append(u'x');
        }
        test::AllocationFaults faults(1, test::ALL_ALLOCATORS, test::Failure::FOR_EVER);
        faults.arm();
        EXPECT_THROW(append(out), std::bad_alloc);
        faults.disarm();
        EXPECT_TRUE(out.isBogus());
    };
    expectBadAlloc([](UnicodeString& out) { Formatter::int32ToString(out, -12); });
    expectBadAlloc([](UnicodeString& out) { Formatter::uint32ToString(out, 12); });
    expectBadAlloc([](UnicodeString& out) { Formatter::int64ToString(out, -12); });
    expectBadAlloc([](UnicodeString& out) { Formatter::uint64ToString(out, 12); });
    expectBadAlloc([](UnicodeString& out) { Formatter::doubleToString(out, 1.5); });
}

TEST_F(FormatterFaults, ANumberThatFindsNoMemoryIsNotReadAsZero) {
    const Formatter formatter(Formatter::SHORT, Formatter::LONG, "de_DE");
    const UnicodeString text(u"1.234");
    int value = 7;
    ASSERT_TRUE(formatter.parseAs(value, text));
    EXPECT_GT(forEachAllocation([&](auto& faults) {
                  value = 7;
                  faults.arm();
                  try {
                      EXPECT_TRUE(formatter.parseAs(value, text));
                      EXPECT_EQ(value, 1234);
                  } catch (const std::bad_alloc&) {
                      EXPECT_EQ(value, 7);
                  }
                  faults.disarm();
              }),
              0u);
}

TEST(TextFaults, ParsersOfPlainNumbersNeedNoMemory) {
    const UnicodeString integer(u"42");
    const UnicodeString fraction(u"-42.5e1");
    Formatter::stringToDouble(fraction);
    EXPECT_EQ(forEachAllocation([&](auto& faults) {
                  faults.arm();
                  EXPECT_EQ(Formatter::stringToInt32(integer), 42);
                  EXPECT_EQ(Formatter::stringToUint64(integer), 42u);
                  EXPECT_EQ(Formatter::stringToDouble(integer), 42.0);
                  EXPECT_EQ(Formatter::stringToDouble(fraction), -425.0);
              }),
              0u);
}

TEST(TextFaults, LookingUpALocaleNeedsNoMemory) {
    const NLSUtility& locales = NLSUtility::getInstance();
    EXPECT_EQ(forEachAllocation([&](auto& faults) {
                  faults.arm();
                  EXPECT_STREQ(locales.getStandardLocaleValue("de-CH.UTF-8"), "deCH");
                  EXPECT_FALSE(locales.isSupported("no such locale"));
              }),
              0u);
}

}  // namespace
}  // namespace nx::oss

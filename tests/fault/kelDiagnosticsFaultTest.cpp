// Every allocation of the diagnostic classes and the buffers fails once, those that ICU makes for
// its strings included. After each failure nothing is leaked, nothing is half changed, no text is
// lost without a word, and the object goes on working.
#include <new>
#include <string>

#include <infra/oss/kelByteBuffer.h>
#include <infra/oss/kelIOException.h>
#include <infra/oss/kelMessageList.h>
#include <infra/oss/kelNLSException.h>

#include "infra/detail/kelRaise.h"
#include "support/kelAllocationFaults.h"
#include "support/kelRaises.h"

namespace nx::oss {
namespace {

using test::AllocationFaults;
using test::liveAllocations;
using test::utf8;

class IcuMemory : public testing::Environment {
  public:
    void SetUp() override { ASSERT_TRUE(test::watchIcuAllocations()); }
};
const testing::Environment* const ICU_MEMORY =
    testing::AddGlobalTestEnvironment(new IcuMemory);  // owned by the framework

// Longer than what a UnicodeString holds without the heap.
constexpr const char* LONG = "a text that does not fit into the string object itself";

// Text that ICU has to copy to the heap whenever it is stored.
icu::UnicodeString borrowed() {
    return {true, u"a borrowed text that does not fit into the string object", 56};
}

// --- What can be seen of an object --------------------------------------------------------------

std::string stateOf(const Message& message) {
    std::string state = utf8(message.getMessageID()) + "|" + utf8(message.getMessageText()) + "|" +
                        std::to_string(message.getMessageLevel()) + "|" +
                        utf8(message.getFileName()) + "|" + std::to_string(message.getLineNumber());
    for (const auto& argument : message.getMessageArgs()) {
        state += "|" + utf8(argument);
    }
    return state;
}

std::string stateOf(const MessageList& list) {
    std::string state = std::to_string(list.count()) + (list.hasMoreMsgs() ? "+" : "-");
    for (const Message* message = list.getHead(); message != nullptr;
         message = message->getNext()) {
        state += "\n" + stateOf(*message);
    }
    return state;
}

std::string stateOf(const BaseException& exception) { return stateOf(exception.messages); }

std::string stateOf(const ByteBuffer& buffer) { return {buffer.data(), buffer.size()}; }

Message longRecord(const char* id = LONG) {
    Message message(id, Message::LEVEL_4, LONG, 17);
    message.setMessageText(LONG);
    message.addArgument(LONG);
    message.addArgument(2);
    return message;
}

MessageList listOfTwo() {
    MessageList list;
    list.addMessage(longRecord("A"));
    list.addMessage(longRecord());
    return list;
}

// --- The two experiments ------------------------------------------------------------------------

// The operation either succeeds or leaves the object as it was (or as `broken` says), and succeeds
// when it is tried again.
template <class Make, class Operation>
void expectAllOrNothing(const Make& make, const Operation& operation,
                        const char* broken = nullptr) {
    std::string before;
    std::string after;
    {
        auto object = make();
        before = broken == nullptr ? stateOf(object) : broken;
        operation(object);
        after = stateOf(object);
    }
    const auto failures = test::forEachAllocation([&](AllocationFaults& faults) {
        const long outside = liveAllocations();
        {
            auto object = make();
            try {
                faults.arm();
                operation(object);
                faults.disarm();
            } catch (const std::bad_alloc&) {
                faults.disarm();
                EXPECT_EQ(stateOf(object), before);
                operation(object);
            }
            EXPECT_EQ(stateOf(object), after);
        }
        EXPECT_EQ(liveAllocations(), outside);
    });
    EXPECT_GT(failures, 0u) << "nothing was allocated";
}

// The operation (a construction) either succeeds with the state given or throws and leaks nothing.
template <class Construct>
void expectNothingLeaks(const Construct& construct) {
    const std::string expected = stateOf(construct());
    const auto failures = test::forEachAllocation([&](AllocationFaults& faults) {
        const long outside = liveAllocations();
        try {
            faults.arm();
            const auto object = construct();
            faults.disarm();
            EXPECT_EQ(stateOf(object), expected);
        } catch (const std::bad_alloc&) {
            faults.disarm();
            EXPECT_EQ(liveAllocations(), outside);
        }
        EXPECT_EQ(liveAllocations(), outside);
    });
    EXPECT_GT(failures, 0u) << "nothing was allocated";
}

// --- Message ------------------------------------------------------------------------------------

TEST(MessageFaults, ConstructorsLeakNothingAndLoseNoText) {
    const icu::UnicodeString text = borrowed();
    expectNothingLeaks([&] { return Message(text, Message::SEVERE, LONG, 5); });
    expectNothingLeaks([&] { return Message(text, text, Message::SEVERE); });
    const Message source = longRecord();
    expectNothingLeaks([&] { return Message(source); });
}

TEST(MessageFaults, SettersKeepTheOldText) {
    const icu::UnicodeString text = borrowed();
    const auto make = [] { return longRecord(); };
    const auto set = [](auto member, const auto& value) {
        return [member, &value](Message& message) { (message.*member)(value); };
    };
    using FromText = void (Message::*)(const icu::UnicodeString&);
    for (const FromText member :
         {FromText(&Message::setMessageID), FromText(&Message::setMessageCode),
          FromText(&Message::setMessageText), FromText(&Message::setFormattedMessage),
          FromText(&Message::setFileName)}) {
        expectAllOrNothing(make, set(member, text));
    }
    const char* const bytes = "bytes that make a text which does not fit into the object";
    using FromBytes = void (Message::*)(const char*);
    for (const FromBytes member :
         {FromBytes(&Message::setMessageID), FromBytes(&Message::setMessageCode),
          FromBytes(&Message::setMessageText), FromBytes(&Message::setFormattedMessage),
          FromBytes(&Message::setFileName)}) {
        expectAllOrNothing(make, set(member, bytes));
    }
}

TEST(MessageFaults, SetMessageFromPartsLeavesTheRecordCleared) {
    const char* const cleared = "<null>|<null>|2|<null>|0";
    const icu::UnicodeString text = borrowed();
    const auto make = [] { return longRecord(); };
    expectAllOrNothing(
        make, [&](Message& m) { m.setMessage(text, Message::SEVERE, LONG, 5); }, cleared);
    expectAllOrNothing(
        make, [&](Message& m) { m.setMessage(text, text, Message::SEVERE); }, cleared);
}

TEST(MessageFaults, SetMessageAndAssignmentFromARecordAreAllOrNothing) {
    const Message source = longRecord("other");
    const auto make = [] { return longRecord(); };
    expectAllOrNothing(make, [&](Message& m) { m.setMessage(source); });
    expectAllOrNothing(make, [&](Message& m) { m = source; });
}

TEST(MessageFaults, AddingAnArgumentIsAllOrNothing) {
    const icu::UnicodeString text = borrowed();
    const icu::Formattable number(5.0);
    const icu::Formattable string(text);
    const auto make = [] { return longRecord(); };
    expectAllOrNothing(make, [&](Message& m) { m.addArgument(text); });
    expectAllOrNothing(make, [](Message& m) { m.addArgument(4000000000u); });
    expectAllOrNothing(make, [](Message& m) { m.addArgument(0.1); });
    expectAllOrNothing(make, [](Message& m) { m.addArgumentAsHex(255, true); });
    expectAllOrNothing(make, [&](Message& m) { m.addMessageArg(number); });
    expectAllOrNothing(make, [&](Message& m) { m.addMessageArg(string); });
}

TEST(MessageFaults, ToStringShowsAllOrNothing) {
    const Message message = longRecord();
    icu::UnicodeString expected;
    message.toString(expected);
    const auto failures = test::forEachAllocation([&](AllocationFaults& faults) {
        const long outside = liveAllocations();
        {
            icu::UnicodeString out;
            try {
                faults.arm();
                message.toString(out);
                faults.disarm();
                EXPECT_EQ(out, expected);
            } catch (const std::bad_alloc&) {
                faults.disarm();
                EXPECT_TRUE(out.isBogus());
                EXPECT_EQ(message.toString(out), expected);
            }
        }
        EXPECT_EQ(liveAllocations(), outside);
    });
    EXPECT_EQ(failures, 1u);
}

// --- MessageList --------------------------------------------------------------------------------

TEST(MessageListFaults, ConstructorsLeakNothing) {
    const Message record = longRecord();
    const MessageList source = listOfTwo();
    expectNothingLeaks([&] { return MessageList(record); });
    expectNothingLeaks([&] { return MessageList(source); });
}

TEST(MessageListFaults, ChangesAreAllOrNothingAndLeaveTheCursor) {
    const Message record = longRecord("new");
    const MessageList source = listOfTwo();
    const auto make = [] { return listOfTwo(); };
    expectAllOrNothing(make, [&](MessageList& list) { list.addMessage(record); });
    expectAllOrNothing(make, [&](MessageList& list) { list.insertMessage(record); });
    expectAllOrNothing(make, [&](MessageList& list) { list.join(source); });
    expectAllOrNothing(make, [](MessageList& list) { list.join(list); });
    const MessageList other = MessageList(record);
    expectAllOrNothing(make, [&](MessageList& list) { list = other; });
    const auto empty = [] { return MessageList(); };
    expectAllOrNothing(empty, [&](MessageList& list) { list.addMessage(record); });
    expectAllOrNothing(empty, [&](MessageList& list) { list.insertMessage(record); });
    expectAllOrNothing(empty, [&](MessageList& list) { list.join(source); });
}

// --- Exceptions ---------------------------------------------------------------------------------

TEST(ExceptionFaults, CopiesLeakNothingAndAssignmentIsAllOrNothing) {
    IOException source;
    source.messages.addMessage(longRecord());
    expectNothingLeaks([&] { return IOException(source); });
    const auto make = [] {
        IOException target;
        target.messages.join(listOfTwo());
        return target;
    };
    expectAllOrNothing(make, [&](IOException& target) { target = source; });
}

TEST(ExceptionFaults, RaisingThrowsTheCompleteErrorOrBadAlloc) {
    constexpr detail::ErrorSite site{"ERR_WITH_AN_IDENTIFIER_OF_MORE_THAN_27_CHARACTERS",
                                     "kelFileWithANameOfMoreThan27Characters.cpp", 12};
    const icu::UnicodeString text = borrowed();
    const auto report = test::Report("ERR_WITH_AN_IDENTIFIER_OF_MORE_THAN_27_CHARACTERS")
                            .at("kelFileWithANameOfMoreThan27Characters.cpp", 12)
                            .with({utf8(text), LONG, "7"});
    const auto failures = test::forEachAllocation([&](AllocationFaults& faults) {
        const long outside = liveAllocations();
        try {
            faults.arm();
            detail::raise<IOException>(site, text, LONG, 7);
        } catch (const IOException& e) {
            faults.disarm();
            EXPECT_TRUE(report.matches(e));
        } catch (const std::bad_alloc&) {
            faults.disarm();
        }
        EXPECT_EQ(liveAllocations(), outside);
    });
    EXPECT_GE(failures, 6u);
}

TEST(ExceptionFaults, AnEmptyListReportsItselfOrBadAlloc) {
    MessageList list;
    const auto failures = test::forEachAllocation([&](AllocationFaults& faults) {
        const long outside = liveAllocations();
        try {
            faults.arm();
            list.getFirstMessage();
        } catch (const NLSException&) {
            faults.disarm();
            EXPECT_FALSE(test::allocationFailed());
        } catch (const std::bad_alloc&) {
            faults.disarm();
        }
        EXPECT_EQ(liveAllocations(), outside);
    });
    EXPECT_EQ(failures, 1u);
}

// --- ByteBuffer ---------------------------------------------------------------------------------

TEST(ByteBufferFaults, ConstructorsLeakNothing) {
    const ByteBuffer source("abc", 3);
    expectNothingLeaks([] { return ByteBuffer(100); });
    expectNothingLeaks([] { return ByteBuffer("abc", 3); });
    expectNothingLeaks([&] { return ByteBuffer(source); });
}

TEST(ByteBufferFaults, AppendAndAssignmentAreAllOrNothing) {
    const ByteBuffer source("a content that needs more than the first few bytes", 50);
    const auto make = [] { return ByteBuffer("abc", 3); };
    expectAllOrNothing(make, [](ByteBuffer& buffer) { buffer.append("0123456789", 10); });
    expectAllOrNothing(make, [&](ByteBuffer& buffer) { buffer = source; });
}

// The code page lacks the character, so that a converter is made anew for the second half of the
// conversion, when the storage is there.
TEST(ByteBufferFaults, TextThatFindsNoMemoryLeavesAnEmptyBuffer) {
    const icu::UnicodeString text(1'000, u'\u00E9', 1'000);
    const auto failures = test::forEachAllocation([&](AllocationFaults& faults) {
        ByteBuffer buffer("abc", 3);
        try {
            faults.arm();
            const ByteBuffer made(text, "Shift_JIS");
            buffer.set(text, "Shift_JIS");
            faults.disarm();
            EXPECT_EQ(stateOf(buffer), stateOf(made));
        } catch (const std::bad_alloc&) {
            faults.disarm();
            EXPECT_TRUE(buffer.size() == 4 || buffer.size() == 1) << buffer.size();
            EXPECT_EQ(buffer.data()[buffer.size() - 1], '\0');
        }
    });
    EXPECT_GT(failures, 4u);
}

TEST(ByteBufferFaults, CopyIntoATargetLeavesItWithoutStorage) {
    const auto failures = test::forEachAllocation([](AllocationFaults& faults) {
        const long outside = liveAllocations();
        {
            DefaultAlternateBuffer<char> target;
            target.resize(10);
            try {
                faults.arm();
                ByteBuffer::copy(target, LONG, 54);
                faults.disarm();
                EXPECT_STREQ(target.data(), LONG);
            } catch (const std::bad_alloc&) {
                faults.disarm();
                EXPECT_EQ(target.data(), nullptr);
                EXPECT_EQ(target.size(), 0u);
                EXPECT_EQ(target.capacity(), 0u);
                ByteBuffer::copy(target, LONG, 54);
                EXPECT_STREQ(target.data(), LONG);
            }
        }
        EXPECT_EQ(liveAllocations(), outside);
    });
    EXPECT_EQ(failures, 1u);
}

TEST(ByteBufferFaults, CopyOfItsOwnBytesKeepsThemUntilTheyAreSaved) {
    const auto failures = test::forEachAllocation([](AllocationFaults& faults) {
        const long outside = liveAllocations();
        {
            DefaultAlternateBuffer<char> target;
            ByteBuffer::copy(target, "abcdefg", 7);
            try {
                faults.arm();
                ByteBuffer::copy(target, target.data(), 8);
            } catch (const std::bad_alloc&) {
            }
            faults.disarm();
            EXPECT_TRUE(target.data() == nullptr || std::string(target.data()) == "abcdefg");
        }
        EXPECT_EQ(liveAllocations(), outside);
    });
    EXPECT_EQ(failures, 3u);
}

}  // namespace
}  // namespace nx::oss

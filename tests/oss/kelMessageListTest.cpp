#include <infra/oss/kelMessageList.h>

#include <string>
#include <vector>

#include <infra/oss/kelNLSException.h>

#include "support/kelAllocationFaults.h"
#include "support/kelRaises.h"

namespace nx::oss {
namespace {

using test::Report;
using test::utf8;

using Names = std::vector<std::string>;

Message record(const char* id) {
    Message message(id, Message::DEFAULT, "f.cpp", 1);
    message.addArgument("argument");
    return message;
}

MessageList listOf(const Names& names) {
    MessageList list;
    for (const auto& name : names) {
        list.addMessage(record(name.c_str()));
    }
    return list;
}

// The chain as it is linked, not as it is counted.
Names namesOf(const MessageList& list) {
    Names names;
    for (const Message* message = list.getHead(); message != nullptr;
         message = message->getNext()) {
        names.push_back(utf8(message->getMessageID()));
    }
    return names;
}

std::string nameOf(const Message* message) {
    return message == nullptr ? "<end>" : utf8(message->getMessageID());
}

TEST(MessageListConstructor, GivesAnEmptyList) {
    MessageList list;
    EXPECT_TRUE(list.isEmpty());
    EXPECT_EQ(list.count(), 0u);
    EXPECT_EQ(list.getHead(), nullptr);
    EXPECT_FALSE(list.hasMoreMsgs());
    EXPECT_EQ(list.getNextMsg(), nullptr);
}

TEST(MessageListConstructor, WithARecordHoldsACopyOfIt) {
    Message message = record("A");
    const MessageList list(message);
    message.setMessageID("changed");
    EXPECT_EQ(namesOf(list), Names{"A"});
    EXPECT_EQ(list.count(), 1u);
    EXPECT_NE(list.getHead(), &message);
    EXPECT_EQ(list.getHead()->getMessageArgsCount(), 1u);
}

TEST(MessageListCopy, HoldsCopiesInTheSameOrder) {
    const MessageList list = listOf({"A", "B", "C"});
    const MessageList copy(list);
    EXPECT_EQ(namesOf(copy), (Names{"A", "B", "C"}));
    EXPECT_EQ(copy.count(), 3u);
    EXPECT_NE(copy.getHead(), list.getHead());
}

TEST(MessageListCopy, HasACursorOfItsOwn) {
    MessageList list = listOf({"A", "B"});
    list.getFirstMsg();
    ASSERT_TRUE(list.hasMoreMsgs());
    MessageList copy(list);
    EXPECT_FALSE(copy.hasMoreMsgs());
    EXPECT_EQ(copy.getNextMsg(), nullptr);
    EXPECT_EQ(nameOf(list.getNextMsg()), "B");
}

TEST(MessageListCopy, OfAnEmptyListIsEmptyAndUsable) {
    MessageList copy{MessageList()};
    EXPECT_TRUE(copy.isEmpty());
    copy.addMessage(record("A"));
    EXPECT_EQ(namesOf(copy), Names{"A"});
}

TEST(MessageListAssignment, ReplacesTheRecordsAndResetsTheCursor) {
    MessageList target = listOf({"X", "Y", "Z"});
    target.getFirstMsg();
    const MessageList source = listOf({"A", "B"});
    target = source;
    EXPECT_EQ(namesOf(target), (Names{"A", "B"}));
    EXPECT_EQ(target.count(), 2u);
    EXPECT_FALSE(target.hasMoreMsgs());
    target.addMessage(record("C"));
    EXPECT_EQ(namesOf(target), (Names{"A", "B", "C"}));
    EXPECT_EQ(namesOf(source), (Names{"A", "B"}));
}

TEST(MessageListAssignment, OfAListToItselfChangesNothing) {
    MessageList list = listOf({"A", "B"});
    list.getFirstMsg();
    const MessageList& alias = list;
    list = alias;
    EXPECT_EQ(namesOf(list), (Names{"A", "B"}));
    EXPECT_TRUE(list.hasMoreMsgs());
}

TEST(MessageListAssignment, OfAnEmptyListEmpties) {
    MessageList list = listOf({"A"});
    list = MessageList();
    EXPECT_TRUE(list.isEmpty());
    EXPECT_EQ(list.count(), 0u);
    list.addMessage(record("B"));
    EXPECT_EQ(namesOf(list), Names{"B"});
}

TEST(MessageListAddMessage, AppendsACopyWithoutALink) {
    MessageList list;
    Message message = record("A");
    list.addMessage(message);
    list.addMessage(record("B"));
    EXPECT_EQ(namesOf(list), (Names{"A", "B"}));
    EXPECT_EQ(list.count(), 2u);
    EXPECT_EQ(message.getNext(), nullptr);
    message.clear();
    EXPECT_EQ(namesOf(list), (Names{"A", "B"}));
}

TEST(MessageListAddMessage, TakesARecordOfTheSameList) {
    MessageList list = listOf({"A", "B"});
    list.addMessage(*list.getHead());
    EXPECT_EQ(namesOf(list), (Names{"A", "B", "A"}));
    list.insertMessage(*list.getHead()->getNext());
    EXPECT_EQ(namesOf(list), (Names{"B", "A", "B", "A"}));
}

TEST(MessageListInsertMessage, PutsTheRecordInFront) {
    MessageList list;
    list.insertMessage(record("a"));
    list.addMessage(record("b"));
    list.insertMessage(record("c"));
    EXPECT_EQ(namesOf(list), (Names{"c", "a", "b"}));
    EXPECT_EQ(utf8(list.getFirstMessage().getMessageID()), "c");
    EXPECT_EQ(list.count(), 3u);
}

TEST(MessageListInsertMessage, LeavesTheTailSoThatLaterAdditionsFollowIt) {
    MessageList list = listOf({"a"});
    list.insertMessage(record("b"));
    list.addMessage(record("c"));
    EXPECT_EQ(namesOf(list), (Names{"b", "a", "c"}));
}

TEST(MessageListJoin, AppendsCopiesInTheOrderOfTheSource) {
    MessageList list = listOf({"A"});
    const MessageList source = listOf({"B", "C"});
    list.join(source);
    EXPECT_EQ(namesOf(list), (Names{"A", "B", "C"}));
    EXPECT_EQ(list.count(), 3u);
    EXPECT_EQ(namesOf(source), (Names{"B", "C"}));
    EXPECT_NE(list.getHead()->getNext(), source.getHead());
    list.addMessage(record("D"));
    EXPECT_EQ(namesOf(list), (Names{"A", "B", "C", "D"}));
}

TEST(MessageListJoin, IntoAnEmptyListSetsHeadAndTail) {
    MessageList list;
    list.join(listOf({"A", "B"}));
    list.addMessage(record("C"));
    EXPECT_EQ(namesOf(list), (Names{"A", "B", "C"}));
    EXPECT_EQ(utf8(list.getFirstMessage().getMessageID()), "A");
}

TEST(MessageListJoin, OfAnEmptyListChangesNothing) {
    MessageList list = listOf({"A", "B"});
    list.getFirstMsg();
    list.join(MessageList());
    EXPECT_EQ(namesOf(list), (Names{"A", "B"}));
    EXPECT_EQ(list.count(), 2u);
    EXPECT_EQ(nameOf(list.getNextMsg()), "B");
    list.addMessage(record("C"));
    EXPECT_EQ(namesOf(list), (Names{"A", "B", "C"}));
    MessageList empty;
    empty.join(MessageList());
    EXPECT_TRUE(empty.isEmpty());
}

TEST(MessageListJoin, IntoItselfEndsWithTheRecordsTwice) {
    MessageList list = listOf({"A", "B"});
    list.join(list);
    EXPECT_EQ(namesOf(list), (Names{"A", "B", "A", "B"}));
    EXPECT_EQ(list.count(), 4u);
    list.addMessage(record("C"));
    EXPECT_EQ(namesOf(list), (Names{"A", "B", "A", "B", "C"}));
}

TEST(MessageListClear, ResetsCountHeadAndCursor) {
    MessageList list = listOf({"A", "B", "C"});
    list.getFirstMsg();
    list.clear();
    EXPECT_TRUE(list.isEmpty());
    EXPECT_EQ(list.count(), 0u);
    EXPECT_EQ(list.getHead(), nullptr);
    EXPECT_FALSE(list.hasMoreMsgs());
    EXPECT_EQ(list.getNextMsg(), nullptr);
    list.clear();
    list.addMessage(record("D"));
    EXPECT_EQ(namesOf(list), Names{"D"});
}

TEST(MessageListClear, NeverAffectsAnotherList) {
    MessageList source = listOf({"A", "B"});
    MessageList copy(source);
    MessageList joined;
    joined.join(source);
    source.clear();
    EXPECT_EQ(namesOf(copy), (Names{"A", "B"}));
    copy.clear();
    EXPECT_EQ(namesOf(joined), (Names{"A", "B"}));
}

TEST(MessageListDestructor, DestroysEveryRecord) {
    const long before = test::liveAllocations();
    {
        const MessageList list = listOf({"A", "B", "C"});
        EXPECT_GT(test::liveAllocations(), before);
    }
    EXPECT_EQ(test::liveAllocations(), before);
}

TEST(MessageListGetFirstMessage, RaisesOnAnEmptyList) {
    MessageList list;
    const MessageList& constList = list;
    EXPECT_RAISES(NLSException, list.getFirstMessage(),
                  Report("ERR_MSGLIST_EMPTY").at("kelMessageList.cpp", 262));
    EXPECT_RAISES(NLSException, constList.getFirstMessage(),
                  Report("ERR_MSGLIST_EMPTY").at("kelMessageList.cpp", 292));
}

TEST(MessageListGetFirstMessage, RaisesAgainAfterClear) {
    MessageList list = listOf({"A"});
    list.clear();
    EXPECT_RAISES(NLSException, list.getFirstMessage(),
                  Report("ERR_MSGLIST_EMPTY").at("kelMessageList.cpp", 262));
}

TEST(MessageListGetFirstMessage, LeavesTheTextNullWhereItRaises) {
    try {
        MessageList().getFirstMessage();
        FAIL() << "nothing was thrown";
    } catch (const NLSException& e) {
        EXPECT_TRUE(e.messages.getFirstMessage().getMessageText().isBogus());
        icu::UnicodeString text;
        EXPECT_EQ(utf8(e.messages.getFirstMessage().toString(text)), "ERR_MSGLIST_EMPTY: []");
    }
}

TEST(MessageListGetFirstMessage, ConsultsNoLevel) {
    MessageList list;
    list.addMessage(Message("low", "", Message::LEVEL_8));
    list.addMessage(Message("severe", "", Message::SEVERE));
    EXPECT_EQ(utf8(list.getFirstMessage().getMessageID()), "low");
}

TEST(MessageListGetFirstMessage, RefersToTheStoredRecord) {
    MessageList list = listOf({"A", "B"});
    list.getFirstMessage().setMessageID("changed");
    EXPECT_EQ(namesOf(list), (Names{"changed", "B"}));
    const MessageList& constList = list;
    EXPECT_EQ(&constList.getFirstMessage(), list.getHead());
    EXPECT_EQ(&list.getFirstMessage(), list.getHead());
}

TEST(MessageListGetFirstMessage, LeavesTheCursorAlone) {
    MessageList list = listOf({"A", "B", "C"});
    list.getFirstMsg();
    list.getFirstMessage();
    EXPECT_EQ(nameOf(list.getNextMsg()), "B");
}

TEST(MessageListWalk, GivesEveryRecordThenNull) {
    MessageList list = listOf({"A", "B", "C"});
    EXPECT_FALSE(list.hasMoreMsgs());
    EXPECT_EQ(nameOf(list.getFirstMsg()), "A");
    EXPECT_TRUE(list.hasMoreMsgs());
    EXPECT_EQ(nameOf(list.getNextMsg()), "B");
    EXPECT_TRUE(list.hasMoreMsgs());
    EXPECT_EQ(nameOf(list.getNextMsg()), "C");
    EXPECT_FALSE(list.hasMoreMsgs());
    EXPECT_EQ(list.getNextMsg(), nullptr);
    EXPECT_EQ(list.getNextMsg(), nullptr);
    EXPECT_EQ(nameOf(list.getFirstMsg()), "A");
}

TEST(MessageListWalk, GivesNullBeforeTheFirstRecordWasAsked) {
    MessageList list = listOf({"A", "B"});
    EXPECT_EQ(list.getNextMsg(), nullptr);
    EXPECT_FALSE(list.hasMoreMsgs());
}

TEST(MessageListWalk, OfAnEmptyListIsNullAndLeavesTheCursorNull) {
    MessageList list;
    EXPECT_EQ(list.getFirstMsg(), nullptr);
    EXPECT_FALSE(list.hasMoreMsgs());
    list.addMessage(record("A"));
    EXPECT_FALSE(list.hasMoreMsgs());
    EXPECT_EQ(list.getNextMsg(), nullptr);
}

TEST(MessageListWalk, ReachesARecordThatIsAppendedWhileTheCursorStands) {
    MessageList list = listOf({"A", "B"});
    list.getFirstMsg();
    list.addMessage(record("C"));
    EXPECT_EQ(nameOf(list.getNextMsg()), "B");
    EXPECT_EQ(nameOf(list.getNextMsg()), "C");
    EXPECT_EQ(list.getNextMsg(), nullptr);
}

TEST(MessageListWalk, MissesARecordThatIsAppendedAfterTheCursorRanOff) {
    MessageList list = listOf({"A"});
    EXPECT_EQ(nameOf(list.getFirstMsg()), "A");
    EXPECT_FALSE(list.hasMoreMsgs());
    list.addMessage(record("B"));
    EXPECT_FALSE(list.hasMoreMsgs());
    EXPECT_EQ(list.getNextMsg(), nullptr);
}

TEST(MessageListWalk, IsNotMovedByInsertionOrJoin) {
    MessageList list = listOf({"A", "B"});
    list.getFirstMsg();
    list.insertMessage(record("Z"));
    list.join(listOf({"C"}));
    EXPECT_EQ(nameOf(list.getNextMsg()), "B");
    EXPECT_EQ(nameOf(list.getNextMsg()), "C");
}

TEST(MessageListGetHead, WalksAConstListAndEndsWithNull) {
    const MessageList list = listOf({"A", "B"});
    const Message* head = list.getHead();
    ASSERT_NE(head, nullptr);
    EXPECT_EQ(nameOf(head), "A");
    EXPECT_EQ(nameOf(head->getNext()), "B");
    EXPECT_EQ(head->getNext()->getNext(), nullptr);
}

// --- Growth -------------------------------------------------------------------------------------

class MessageListGrowth : public testing::TestWithParam<unsigned> {};

TEST_P(MessageListGrowth, AllocatesOneBlockPerRecord) {
    const unsigned records = GetParam();
    const Message message("ID", "text", Message::DEFAULT);
    const long before = test::liveAllocations();
    MessageList list;
    for (unsigned i = 0; i < records; ++i) {
        list.addMessage(message);
    }
    EXPECT_EQ(test::liveAllocations() - before, static_cast<long>(records));
    EXPECT_EQ(list.count(), records);
    list.clear();
    EXPECT_EQ(test::liveAllocations(), before);
}

TEST_P(MessageListGrowth, CopiesJoinsWalksAndClearsEveryRecord) {
    const unsigned records = GetParam();
    MessageList list;
    for (unsigned i = 0; i < records; ++i) {
        list.insertMessage(Message("ID", Message::DEFAULT, "f", records - i));
    }
    MessageList copy(list);
    copy.join(list);
    ASSERT_EQ(copy.count(), 2 * records);
    unsigned long walked = 0;
    for (const Message* message = copy.getFirstMsg(); message != nullptr;
         message = copy.getNextMsg()) {
        ASSERT_EQ(message->getLineNumber(), walked % records + 1);
        ++walked;
    }
    EXPECT_EQ(walked, 2ul * records);
}

INSTANTIATE_TEST_SUITE_P(Records, MessageListGrowth, testing::Values(10'000, 100'000, 1'000'000));

}  // namespace
}  // namespace nx::oss

#include <infra/oss/kelMessageList.h>
#include <infra/oss/kelNLSException.h>

#include "support/kelAllocationFaults.h"
#include "support/kelRaises.h"

namespace nx::oss {
namespace {

using test::Report;

TEST(MessageListGetFirstMessage, RaisesOnAnEmptyList) {
    MessageList list;
    const MessageList& constList = list;
    EXPECT_RAISES(NLSException, list.getFirstMessage(),
                  Report("ERR_MSGLIST_EMPTY").at("kelMessageList.cpp", 262));
    EXPECT_RAISES(NLSException, constList.getFirstMessage(),
                  Report("ERR_MSGLIST_EMPTY").at("kelMessageList.cpp", 292));
}

TEST(MessageListJoin, LeavesTheListUnchangedWhenAnAllocationFails) {
    MessageList source;
    source.addMessage(Message("A", Message::DEFAULT, "f.cpp", 1));
    source.addMessage(Message("B", Message::DEFAULT, "f.cpp", 2));
    const auto failures = test::forEachAllocation([&](test::AllocationFaults& faults) {
        MessageList list(source);
        const long before = test::liveAllocations();
        try {
            faults.arm();
            list.join(source);
            faults.disarm();
            EXPECT_EQ(list.count(), 4u);
        } catch (const std::bad_alloc&) {
            EXPECT_EQ(list.count(), 2u);
            EXPECT_EQ(test::liveAllocations(), before);
        }
    });
    EXPECT_EQ(failures, 2u);
}

}  // namespace
}  // namespace nx::oss

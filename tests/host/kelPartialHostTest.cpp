// Built once for every choice of the functions that a host may define: HOST_FLAG, HOST_ENTRY and
// HOST_EXIT say which of the three this program has.
#include <infra/oss/kelByteBuffer.h>
#include <infra/oss/kelMessageList.h>
#include <infra/oss/kelNLSException.h>

#include <gtest/gtest.h>

namespace {
unsigned flagQueries = 0;
unsigned entries = 0;
unsigned exits = 0;
}  // namespace

extern "C" {
#ifdef HOST_FLAG
unsigned long trcGetCompFlag(unsigned) {
    ++flagQueries;
    return 0x20000;
}
constexpr bool HAS_FLAG = true;
#else
constexpr bool HAS_FLAG = false;
#endif
#ifdef HOST_ENTRY
void trcEntry(unsigned) { ++entries; }
constexpr bool HAS_ENTRY = true;
#else
constexpr bool HAS_ENTRY = false;
#endif
#ifdef HOST_EXIT
void trcExit(unsigned, long) { ++exits; }
constexpr bool HAS_EXIT = true;
#else
constexpr bool HAS_EXIT = false;
#endif
}

namespace nx::oss {
namespace {

TEST(PartialHost, ChangesNoBehaviourOfTheLibrary) {
    MessageList list;
    list.addMessage(Message("A", "text", Message::DEFAULT));
    list.join(MessageList(list));
    EXPECT_EQ(list.count(), 2u);
    EXPECT_EQ(list.getFirstMsg(), list.getHead());
    EXPECT_NE(list.getNextMsg(), nullptr);
    list.clear();
    EXPECT_THROW(list.getFirstMessage(), NLSException);
    ByteBuffer buffer("abc", 3);
    buffer.append("def", 3);
    EXPECT_TRUE(buffer.compare("abcdef", 6));
}

TEST(PartialHost, ReceivesTheEventsThatItHasFunctionsFor) {
    ByteBuffer buffer(0);
    flagQueries = entries = exits = 0;
    buffer.append("abc", 3);
    EXPECT_EQ(flagQueries, HAS_FLAG ? 2u : 0u);
    EXPECT_EQ(entries, HAS_FLAG && HAS_ENTRY ? 1u : 0u);
    EXPECT_EQ(exits, HAS_FLAG && HAS_EXIT ? 1u : 0u);
}

}  // namespace
}  // namespace nx::oss

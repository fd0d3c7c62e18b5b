// What programs that were compiled against an earlier build of the library rely on in address
// records: the size and the places of their parts.
#include <netdb.h>

#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <type_traits>

#include <gtest/gtest.h>

#include <infra/oss/kelSocket.h>

namespace nx::oss {
namespace {

using icu::UnicodeString;
using Record = Socket::_AddrInfoExternal;

static_assert(sizeof(Record) == 3000 && alignof(Record) == 2);
static_assert(offsetof(Record, usedLength) == 0 && offsetof(Record, payload) == 2);
static_assert(std::is_same_v<decltype(Record::usedLength), unsigned short>);
static_assert(std::is_same_v<decltype(Record::payload), char[2998]>);
static_assert(std::is_aggregate_v<Record> && std::is_trivial_v<Record>);
static_assert(std::is_standard_layout_v<Record> &&
              std::has_unique_object_representations_v<Record>);
static_assert(std::is_same_v<decltype(Socket::NullAddrInfoExternal), const Record>);

// The nodes of rebuilt lists.
static_assert(sizeof(addrinfo) == 48);

// Records changed nothing of the class itself.
static_assert(sizeof(Socket) == 96);

TEST(RecordAbi, TheEmptyRecordIsExportedAndZero) {
    const Record zero{};
    EXPECT_EQ(0, std::memcmp(&zero, &Socket::NullAddrInfoExternal, sizeof zero));
}

TEST(RecordAbi, ARecordMadeByOneProgramIsReadByAnother) {
    Record record;
    ASSERT_EQ(0, Socket::exportAddrInfo("127.0.0.1", 80, record));
    addrinfo* const list = Socket::deserializeAddrInfoExternal(record);
    char entry[42];
    EXPECT_EQ(sizeof entry, Socket::serialize(entry, sizeof entry, list));
    EXPECT_EQ(0, std::memcmp(entry, record.payload + 12, sizeof entry));
    addrinfo node;
    EXPECT_EQ(sizeof entry, Socket::deserialize(&node, entry, sizeof entry));
    std::free(node.ai_addr);
    std::free(list->ai_addr);
    Socket::freeMyAddrInfo(list);
    UnicodeString name;
    EXPECT_TRUE(Socket::dnsLookup(name, "127.0.0.1", true));
    EXPECT_EQ(1U, Socket::getIPv4ByName(entry, 1, "127.0.0.1"));
}

}  // namespace
}  // namespace nx::oss

#include <netdb.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <new>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include <infra/oss/kelSocket.h>
#include <infra/oss/kelSocketException.h>

#include "support/kelAddressRecords.h"
#include "support/kelAllocationFaults.h"
#include "support/kelHeapFaults.h"
#include "support/kelLoopback.h"
#include "support/kelRaises.h"
#include "support/kelSystemCallFaults.h"

namespace nx::oss {
namespace {

using test::AddressRecord;
using test::AllocationFaults;
using test::bytesOf;
using test::Call;
using test::EntryText;
using test::Fault;
using test::loopbackAddress;
using test::loopbackEntry;
using test::loopbackRecord;
using test::recordHead;
using test::recordOf;
using test::Report;
using test::SystemCalls;
using test::utf8;

using namespace std::string_literals;

AddressRecord filledRecord() {
    AddressRecord record;
    std::memset(&record, 0x5a, sizeof record);
    return record;
}

std::vector<std::string> addresses(int count) {
    std::vector<std::string> result;
    for (int i = 1; i <= count; ++i) {
        result.push_back("127.0.0." + std::to_string(i));
    }
    return result;
}

void release(addrinfo* list) {
    for (addrinfo* node = list; node != nullptr; node = node->ai_next) {
        std::free(node->ai_addr);
    }
    Socket::freeMyAddrInfo(list);
}

// --- the resolver -------------------------------------------------------------------------------

void expectQuery(const SystemCalls& calls, const char* host, const char* service, int family) {
    EXPECT_EQ(1U, calls.count(Call::GETADDRINFO));
    EXPECT_STREQ(host, calls.query().host);
    EXPECT_EQ(service != nullptr, calls.query().hasService);
    EXPECT_STREQ(service == nullptr ? "" : service, calls.query().service);
    EXPECT_EQ(family, calls.query().family);
    EXPECT_EQ(SOCK_STREAM, calls.query().type);
    EXPECT_EQ(0, calls.query().flags);
    EXPECT_EQ(0, calls.query().protocol);
    EXPECT_EQ(0, calls.openAddressLists());
}

TEST(AddressRecordFault, ExportAsksForStreamSocketsOfAnyFamily) {
    SystemCalls calls;
    AddressRecord record;
    EXPECT_EQ(0, Socket::exportAddrInfo("127.0.0.1", 65535, record));
    expectQuery(calls, "127.0.0.1", "65535", AF_UNSPEC);
}

TEST(AddressRecordFault, ExportAsksForTheHostInUtf8AndStoresItSo) {
    SystemCalls calls;
    calls.resolveTo({"127.0.0.1"});
    AddressRecord record;
    EXPECT_EQ(0, Socket::exportAddrInfo(u"m\u00fcller", 80, record));
    expectQuery(calls, "m\xc3\xbcller", "80", AF_UNSPEC);
    EXPECT_EQ("m\xc3\xbcller\0P\0"s, std::string(record.payload, 10));
}

class AddressRecordResolverFault : public testing::TestWithParam<int> {};

TEST_P(AddressRecordResolverFault, IsTheResultOfAnExportThatChangesNothing) {
    SystemCalls calls;
    calls.add({Call::GETADDRINFO, 1, Fault::RETURN, GetParam()});
    AddressRecord record = filledRecord();
    EXPECT_EQ(GetParam(), Socket::exportAddrInfo("127.0.0.1", 80, record));
    EXPECT_EQ(std::string(3000, '\x5a'), bytesOf(record));
}

TEST_P(AddressRecordResolverFault, MakesTheLookupsFail) {
    SystemCalls calls;
    calls.add({Call::GETADDRINFO, 1, Fault::RETURN, GetParam()});
    calls.add({Call::GETADDRINFO, 2, Fault::RETURN, GetParam()});
    icu::UnicodeString result = "before";
    EXPECT_FALSE(Socket::dnsLookup(result, "127.0.0.1", true));
    EXPECT_EQ("before", utf8(result));
    std::string bytes = "????";
    EXPECT_EQ(0U, Socket::getIPv4ByName(&bytes[0], 1, "127.0.0.1"));
    EXPECT_EQ("????", bytes);
    EXPECT_TRUE(calls.allHappened());
    EXPECT_EQ(0U, calls.count(Call::GETNAMEINFO));
}

INSTANTIATE_TEST_SUITE_P(Codes, AddressRecordResolverFault,
                         testing::Values(-2, -3, -4, -8, -10, -11, -999),
                         [](const auto& row) { return "Code" + std::to_string(-row.param); });

TEST(AddressRecordFault, ExportWritesTheAddressesInTheResolversOrder) {
    SystemCalls calls;
    calls.resolveTo({"127.0.0.9", "::1", "127.0.0.3"});
    AddressRecord record;
    ASSERT_EQ(0, Socket::exportAddrInfo("three", 80, record));
    EXPECT_EQ(6 + 2 + 42 + 54 + 42, record.usedLength);
    addrinfo* const list = Socket::deserializeAddrInfoExternal(record);
    EXPECT_EQ(0, std::memcmp(list->ai_addr, loopbackAddress(80, 9).data(), 16));
    EXPECT_EQ(AF_INET6, list->ai_next->ai_family);
    EXPECT_EQ(0, std::memcmp(list->ai_next->ai_next->ai_addr, loopbackAddress(80, 3).data(), 16));
    EXPECT_EQ(nullptr, list->ai_next->ai_next->ai_next);
    release(list);
}

TEST(AddressRecordFault, ExportLeavesOutTheAddressesBehindTheOnesThatFit) {
    SystemCalls calls;
    // 5 + 2 + 71 * 42 = 2989: nine bytes are left.
    calls.resolveTo(addresses(100));
    AddressRecord record = filledRecord();
    ASSERT_EQ(0, Socket::exportAddrInfo("many", 80, record));
    EXPECT_EQ(2989U, record.usedLength);
    EXPECT_EQ(std::string(9, '\0'), std::string(record.payload + 2989, 9));
    EXPECT_EQ(0, calls.openAddressLists());
}

TEST(AddressRecordFault, ExportEndsAtTheFirstAddressThatDoesNotFit) {
    SystemCalls calls;
    std::vector<std::string> list =
        addresses(70);  // 48 bytes are left, too few for an IPv6 address
    list.push_back("::1");
    list.push_back("127.0.0.1");
    calls.resolveTo(list);
    AddressRecord record;
    ASSERT_EQ(0, Socket::exportAddrInfo("12345678", 80, record));
    EXPECT_EQ(9 + 2 + 70 * 42, record.usedLength);
}

TEST(AddressRecordFault, ExportOfAnEmptyAnswerStoresTheHostAlone) {
    SystemCalls calls;
    calls.resolveTo({});
    AddressRecord record;
    EXPECT_EQ(0, Socket::exportAddrInfo("none", 80, record));
    EXPECT_EQ(7U, record.usedLength);
}

TEST(AddressRecordFault, ExportThatIsTooLongReleasesTheAnswer) {
    SystemCalls calls;
    calls.resolveTo({"127.0.0.1"});
    AddressRecord record = filledRecord();
    EXPECT_EQ(-12, Socket::exportAddrInfo(icu::UnicodeString(2996, u'h', 2996), 80, record));
    EXPECT_EQ(std::string(3000, '\x5a'), bytesOf(record));
    EXPECT_EQ(0, calls.openAddressLists());
}

// --- lookups ------------------------------------------------------------------------------------

TEST(AddressRecordFault, LookupOfNamesAsksWithTheSizeOfAnIpv4Address) {
    for (const bool numeric : {true, false}) {
        SystemCalls calls;
        icu::UnicodeString result;
        Socket::dnsLookup(result, "127.0.0.1", numeric);
        expectQuery(calls, "127.0.0.1", nullptr, AF_UNSPEC);
        EXPECT_EQ(16U, calls.first(Call::GETNAMEINFO).length);
        EXPECT_EQ(numeric ? NI_NUMERICHOST : NI_NAMEREQD, calls.first(Call::GETNAMEINFO).flags);
    }
}

TEST(AddressRecordFault, LookupOfNamesTakesTheFirstAddressThatHasOne) {
    SystemCalls calls;
    calls.resolveTo({"::1", "127.0.0.7", "127.0.0.8", "127.0.0.9"});
    calls.add({Call::GETNAMEINFO, 2, Fault::RETURN, EAI_AGAIN});
    icu::UnicodeString result;
    EXPECT_TRUE(Socket::dnsLookup(result, "several", true));
    EXPECT_EQ("127.0.0.8", utf8(result));
    EXPECT_EQ(3U, calls.count(Call::GETNAMEINFO));
    EXPECT_EQ(0, calls.openAddressLists());
}

TEST(AddressRecordFault, LookupOfNamesFailsWhenNoAddressHasOne) {
    for (const int code : {EAI_NONAME, EAI_AGAIN, EAI_FAIL, EAI_FAMILY, EAI_MEMORY, EAI_SYSTEM}) {
        SystemCalls calls;
        calls.resolveTo({"127.0.0.7", "127.0.0.8"});
        calls.add({Call::GETNAMEINFO, 1, Fault::RETURN, code});
        calls.add({Call::GETNAMEINFO, 2, Fault::RETURN, code});
        icu::UnicodeString result = "before";
        EXPECT_FALSE(Socket::dnsLookup(result, "several", false));
        EXPECT_EQ("before", utf8(result));
        EXPECT_TRUE(calls.allHappened());
        EXPECT_EQ(0, calls.openAddressLists());
    }
}

TEST(AddressRecordFault, LookupOfAddressesStopsAtTheCount) {
    SystemCalls calls;
    std::string bytes(16, '?');
    calls.resolveTo(addresses(3));
    EXPECT_EQ(1U, Socket::getIPv4ByName(&bytes[0], 1, "three"));
    expectQuery(calls, "three", nullptr, AF_INET);
    EXPECT_EQ("\x7f\0\0\x01????????????"s, bytes);
    EXPECT_EQ(2U, Socket::getIPv4ByName(&bytes[0], 2, "three"));
    EXPECT_EQ("\x7f\0\0\x01\x7f\0\0\x02????????"s, bytes);
    EXPECT_EQ(3U, Socket::getIPv4ByName(&bytes[0], 4, "three"));
    EXPECT_EQ("\x7f\0\0\x01\x7f\0\0\x02\x7f\0\0\x03????"s, bytes);
    EXPECT_EQ(0, calls.openAddressLists());
}

// --- connecting ---------------------------------------------------------------------------------

TEST(AddressRecordFault, ConnectingAsksNobodyAndMakesEachCallOnceAndInOrder) {
    const test::Listener listener;
    const AddressRecord record = loopbackRecord(listener.port());
    SystemCalls calls;
    calls.add({Call::CONNECT, 1, Fault::FAIL_AFTERWARDS, EINPROGRESS});
    Socket socket;
    socket.connect("host", 80, record, nullptr);
    EXPECT_EQ((std::vector<Call>{Call::SOCKET, Call::IOCTL, Call::CONNECT, Call::SELECT,
                                 Call::IOCTL, Call::GETSOCKOPT, Call::SETSOCKOPT}),
              calls.calls());
}

TEST(AddressRecordFault, ConnectingTakesNoMemory) {
    const test::Listener listener;
    std::string payload = recordHead("host", 80);
    for (int i = 0; i < 60; ++i) {
        EntryText broken{"", ""};
        broken.family = 9999;
        payload += broken.bytes();
    }
    const AddressRecord record = recordOf(payload + loopbackEntry(listener.port()));
    SystemCalls calls;
    calls.add({Call::CONNECT, 1, Fault::COMPLETE, 0});
    Socket socket;
    AllocationFaults faults(1);
    faults.arm();
    EXPECT_NO_THROW(socket.connect("host", 80, record, nullptr));
    faults.disarm();
    EXPECT_FALSE(test::allocationFailed());
    EXPECT_TRUE(socket.isOwner());
}

TEST(AddressRecordFault, ConnectingClosesWhatItOpenedWhateverFails) {
    const test::Listener listener;
    const AddressRecord record = recordOf(recordHead("h", 1) + loopbackEntry(listener.port()) +
                                          loopbackEntry(listener.port()));
    for (const Call call : {Call::SELECT, Call::GETSOCKOPT, Call::SETSOCKOPT}) {
        const test::NoDescriptorLeak check;
        SystemCalls calls;
        calls.add({Call::CONNECT, 1, Fault::FAIL_AFTERWARDS, EINPROGRESS});
        calls.fail(call, 1, ENOMEM);
        Socket socket;
        const bool named = call != Call::SELECT;
        EXPECT_RAISES(SocketException, socket.connect("host", 80, record, nullptr),
                      Report("NX_ERR_SOCKET_ERROR")
                          .in("kelSocket.cpp")
                          .with({"12", named ? "host" : "", named ? "80" : "0"}));
        EXPECT_TRUE(calls.allHappened());
        EXPECT_EQ(-1, socket.getDescriptor());
    }
}

TEST(AddressRecordFault, ConnectingGoesOnToTheNextEntry) {
    const test::Listener listener;
    std::string payload = recordHead("h", 1);
    for (int i = 0; i < 4; ++i) {
        payload += loopbackEntry(listener.port());
    }
    SystemCalls calls;
    calls.fail(Call::SOCKET, 1, EMFILE);
    calls.fail(Call::IOCTL, 1, ENOMEM);
    calls.fail(Call::CONNECT, 1, ENETUNREACH);
    Socket socket;
    EXPECT_NO_THROW(socket.connect("host", 80, recordOf(payload), nullptr));
    EXPECT_TRUE(calls.allHappened());
    EXPECT_EQ(4U, calls.count(Call::SOCKET));
}

// --- memory -------------------------------------------------------------------------------------

/// Runs the operation with each allocation failing in turn. It ends in std::bad_alloc, and leaves
/// no block of operator new or malloc() and no address list behind.
template <class Operation>
std::size_t failEachAllocation(const Operation& operation) {
    return test::forEachAllocation([&](AllocationFaults& faults) {
        SystemCalls calls;
        const long blocks = test::liveHeapBlocks();
        const long objects = test::liveAllocations();
        bool outOfMemory = false;
        faults.arm();
        try {
            operation();
        } catch (const std::bad_alloc&) {
            outOfMemory = true;
        } catch (const SocketException&) {
        }
        faults.disarm();
        EXPECT_EQ(test::allocationFailed(), outOfMemory);
        EXPECT_EQ(blocks, test::liveHeapBlocks());
        EXPECT_EQ(objects, test::liveAllocations());
        EXPECT_EQ(0, calls.openAddressLists());
    });
}

TEST(AddressRecordAllocation, FailingInAListReleasesWhatWasThere) {
    const AddressRecord record =
        recordOf(recordHead("host", 80) + EntryText{loopbackAddress(80), "one"}.bytes() +
                 EntryText{loopbackAddress(81), "two"}.bytes() + loopbackEntry(82));
    // Three nodes, three addresses, two names.
    EXPECT_EQ(8U,
              failEachAllocation([&] { release(Socket::deserializeAddrInfoExternal(record)); }));
}

TEST(AddressRecordAllocation, FailingInAnEntryLeavesTheNodeAlone) {
    const std::string bytes = EntryText{loopbackAddress(80), "name"}.bytes();
    EXPECT_EQ(2U, failEachAllocation([&] {
                  addrinfo node = {};
                  try {
                      Socket::deserialize(&node, bytes.data(), bytes.size());
                  } catch (...) {
                      EXPECT_EQ(nullptr, node.ai_addr);
                      EXPECT_EQ(nullptr, node.ai_canonname);
                      throw;
                  }
                  std::free(node.ai_addr);
                  std::free(node.ai_canonname);
              }));
}

TEST(AddressRecordAllocation, AMalformedRecordNeedsMemoryForItsErrorOnly) {
    const AddressRecord record =
        recordOf(recordHead("host", 80) + loopbackEntry(80) + loopbackEntry(80) + "x");
    const std::size_t failed =
        failEachAllocation([&] { release(Socket::deserializeAddrInfoExternal(record)); });
    EXPECT_GT(failed, 0U);
    const long before = test::liveHeapBlocks();
    EXPECT_THROW(Socket::deserializeAddrInfoExternal(record), SocketException);
    EXPECT_EQ(before, test::liveHeapBlocks());
}

TEST(AddressRecordAllocation, FailingInAnExportLeavesTheRecordAlone) {
    // Longer than the room inside the buffers.
    const icu::UnicodeString host =
        icu::UnicodeString::fromUTF8(std::string(2000, '0') + "177.0.0.1");
    EXPECT_GT(failEachAllocation([&] {
                  AddressRecord record = filledRecord();
                  try {
                      Socket::exportAddrInfo(host, 80, record);
                  } catch (...) {
                      EXPECT_EQ(0, std::memcmp(&record, "ZZZZZZZZ", 8));
                      throw;
                  }
              }),
              0U);
}

TEST(AddressRecordAllocation, FailingInALookupLeavesTheResultAlone) {
    const icu::UnicodeString host =
        icu::UnicodeString::fromUTF8(std::string(2000, '0') + "177.0.0.1");
    EXPECT_GT(failEachAllocation([&] {
                  icu::UnicodeString result = "before";
                  try {
                      Socket::dnsLookup(result, host, true);
                  } catch (...) {
                      EXPECT_TRUE(result == "before");
                      throw;
                  }
              }),
              0U);
    EXPECT_GT(failEachAllocation([&] {
                  char bytes[4];
                  Socket::getIPv4ByName(bytes, 1, host);
              }),
              0U);
}

TEST(AddressRecordAllocation, SerializingTakesNone) {
    AddressRecord record = loopbackRecord(80);
    addrinfo* const list = Socket::deserializeAddrInfoExternal(record);
    AllocationFaults faults(1);
    faults.arm();
    EXPECT_EQ(42U, Socket::serialize(record.payload, 100, list));
    faults.disarm();
    EXPECT_FALSE(test::allocationFailed());
    release(list);
}

}  // namespace
}  // namespace nx::oss

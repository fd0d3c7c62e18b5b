#include <netdb.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>
#include <type_traits>
#include <vector>

#include <gtest/gtest.h>

#include <infra/oss/kelSocket.h>
#include <infra/oss/kelSocketException.h>

#include "support/kelAddressRecords.h"
#include "support/kelRaises.h"

namespace nx::oss {
namespace {

using test::AddressRecord;
using test::bytesOf;
using test::EntryText;
using test::loopbackAddress;
using test::loopbackEntry;
using test::recordHead;
using test::recordOf;
using test::Report;

using namespace std::string_literals;

// --- records ------------------------------------------------------------------------------------

TEST(AddressRecordType, IsAPlainBlockOf3000Bytes) {
    EXPECT_EQ(3000U, sizeof(AddressRecord));
    EXPECT_EQ(2998U, sizeof(AddressRecord::payload));
    EXPECT_TRUE(
        (std::is_trivially_copyable_v<AddressRecord>)&&(std::is_standard_layout_v<AddressRecord>));
}

TEST(NullAddrInfoExternal, IsAllZero) {
    EXPECT_EQ(std::string(3000, '\0'), bytesOf(Socket::NullAddrInfoExternal));
}

// --- exportAddrInfo -----------------------------------------------------------------------------

AddressRecord exported(const icu::UnicodeString& host, unsigned short port) {
    AddressRecord record;
    std::memset(&record, 0x5a, sizeof record);
    EXPECT_EQ(0, Socket::exportAddrInfo(host, port, record));
    return record;
}

TEST(SocketExportAddrInfo, WritesLengthHostPortAndAddress) {
    // 54 bytes: the host and its NUL, the port, and one entry of 42 bytes; the rest is zero.
    const std::string bytes =
        "\x36\0"s
        "127.0.0.1\0"
        "\x50\0"
        "\0\0\0\0"
        "\x02\0\0\0"
        "\x01\0\0\0"
        "\x06\0\0\0"
        "\x10\0\0\0\0\0\0\0"
        "\x02\0"
        "\0\x50"
        "\x7f\0\0\x01"
        "\0\0\0\0\0\0\0\0"
        "\0\0"s;
    ASSERT_EQ(56U, bytes.size());
    EXPECT_EQ(bytes + std::string(2944, '\0'), bytesOf(exported("127.0.0.1", 80)));
}

TEST(SocketExportAddrInfo, WritesThePortInHostOrderAndTheAddressInNetworkOrder) {
    const AddressRecord record = exported("127.0.0.1", 0x1234);
    EXPECT_EQ("\x34\x12"s, std::string(record.payload + 10, 2));
    EXPECT_EQ("\x12\x34"s, std::string(record.payload + 10 + 2 + 24 + 2, 2));
}

TEST(SocketExportAddrInfo, TakesEveryPort) {
    for (const int port : {0, 1, 65535}) {
        EXPECT_EQ(54U, exported("127.0.0.1", static_cast<unsigned short>(port)).usedLength);
    }
}

TEST(SocketExportAddrInfo, WritesAnIpv6Address) {
    const AddressRecord record = exported("::1", 80);
    // The host and its NUL, the port, and an entry with a socket address of 28 bytes.
    EXPECT_EQ(4 + 2 + 26 + 28, record.usedLength);
    EXPECT_EQ("\x0a\0\0\0"s, std::string(record.payload + 6 + 4, 4));
    EXPECT_EQ("\x1c\0\0\0\0\0\0\0"s, std::string(record.payload + 6 + 16, 8));
}

TEST(SocketExportAddrInfo, WithoutAnAnswerReturnsTheCodeAndLeavesTheRecordAlone) {
    for (const char* const host : {"", "127.0.0.1 ", "no such host"}) {
        AddressRecord record;
        std::memset(&record, 0x5a, sizeof record);
        int code = 0;
        EXPECT_NO_THROW(code = Socket::exportAddrInfo(host, 80, record));
        EXPECT_LT(code, 0) << host;
        EXPECT_EQ(std::string(3000, '\x5a'), bytesOf(record));
    }
    AddressRecord record{};
    EXPECT_EQ(EAI_NONAME, Socket::exportAddrInfo("", 80, record));
}

TEST(SocketExportAddrInfo, StoresTheHostUpToItsFirstNul) {
    const AddressRecord record = exported(icu::UnicodeString(u"127.0.0.1\0.invalid", 18), 80);
    EXPECT_EQ(bytesOf(exported("127.0.0.1", 80)), bytesOf(record));
}

/// A numeric host of that many bytes: octal, so that zeros may stand before it.
icu::UnicodeString hostOfSize(std::size_t size) {
    const std::string address = "177.0.0.1";
    return icu::UnicodeString::fromUTF8(std::string(size - address.size(), '0') + address);
}

TEST(SocketExportAddrInfo, LeavesOutAddressesThatDoNotFitWithoutASign) {
    // 2998 - 42 - 2 - 1: the longest host beside which an address fits.
    const AddressRecord last = exported(hostOfSize(2953), 80);
    EXPECT_EQ(2998U, last.usedLength);
    EXPECT_EQ("\x02\0\0\0"s, std::string(last.payload + 2956 + 4, 4));
    const AddressRecord none = exported(hostOfSize(2954), 80);
    EXPECT_EQ(2954 + 1 + 2, none.usedLength);
    EXPECT_EQ(std::string(41, '\0'), std::string(none.payload + 2957, 41));
}

TEST(SocketExportAddrInfo, RefusesAHostThatDoesNotFitItself) {
    EXPECT_EQ(2998U, exported(hostOfSize(2995), 80).usedLength);
    for (const std::size_t size : {2996U, 2997U, 2998U, 3000U, 70000U}) {
        const auto record = std::make_unique<AddressRecord>();
        std::memset(record.get(), 0x5a, sizeof *record);
        EXPECT_EQ(-12, Socket::exportAddrInfo(hostOfSize(size), 80, *record));
        EXPECT_EQ(std::string(3000, '\x5a'), bytesOf(*record));
    }
}

// --- serialize ----------------------------------------------------------------------------------

/// A node with all its parts.
struct Node {
    Node(std::string addressBytes, const char* name) : address(std::move(addressBytes)) {
        node.ai_flags = 0x01020304;
        node.ai_family = -2;
        node.ai_socktype = 3;
        node.ai_protocol = 0x7fffffff;
        node.ai_addrlen = static_cast<socklen_t>(address.size());
        node.ai_addr = reinterpret_cast<sockaddr*>(&address[0]);
        node.ai_canonname = const_cast<char*>(name);
        node.ai_next = &node;  // never followed
    }

    std::string address;
    addrinfo node = {};
};

TEST(SocketSerialize, WritesEveryFieldInItsPlace) {
    const Node entry("ABCDE", "name");
    std::string out(40, '?');
    EXPECT_EQ(35U, Socket::serialize(&out[0], out.size(), &entry.node));
    EXPECT_EQ(
        "\x04\x03\x02\x01"
        "\xfe\xff\xff\xff"
        "\x03\0\0\0"
        "\xff\xff\xff\x7f"
        "\x05\0\0\0\0\0\0\0"
        "ABCDE"
        "\x04\0"
        "name"
        "?????"s,
        out);
}

TEST(SocketSerialize, WritesNoNameWhenThereIsNone) {
    for (const char* const name : {static_cast<const char*>(nullptr), ""}) {
        const Node entry(loopbackAddress(80), name);
        std::string out(42, '?');
        EXPECT_EQ(42U, Socket::serialize(&out[0], out.size(), &entry.node));
        EXPECT_EQ(loopbackAddress(80) + "\0\0"s, out.substr(24));
    }
}

TEST(SocketSerialize, WritesAnEntryWithoutAddress) {
    Node entry("", nullptr);
    entry.node.ai_addr = nullptr;
    std::string out(26, '?');
    EXPECT_EQ(26U, Socket::serialize(&out[0], out.size(), &entry.node));
    EXPECT_EQ(std::string(10, '\0'), out.substr(16));
}

TEST(SocketSerialize, WritesNothingWhereTheEntryDoesNotFit) {
    const Node entry("ABCDE", "name");
    for (std::size_t size = 0; size < 35; ++size) {
        std::string out(40, '?');
        EXPECT_EQ(0U, Socket::serialize(&out[0], size, &entry.node));
        EXPECT_EQ(std::string(40, '?'), out);
    }
}

TEST(SocketSerialize, RefusesANameThatItsLengthCannotSay) {
    const std::string name(65536, 'n');
    std::string out(70000, '?');
    Node entry("A", name.c_str());
    EXPECT_EQ(0U, Socket::serialize(&out[0], out.size(), &entry.node));
    EXPECT_EQ(std::string(70000, '?'), out);
    entry.node.ai_canonname = const_cast<char*>(name.c_str() + 1);
    EXPECT_EQ(26U + 1 + 65535, Socket::serialize(&out[0], out.size(), &entry.node));
    EXPECT_EQ("\xff\xff"s, out.substr(25, 2));
}

TEST(SocketSerialize, TellsTheSizeWithoutADestination) {
    const Node entry("ABCDE", "name");
    EXPECT_EQ(35U, Socket::serialize(nullptr, 35, &entry.node));
    EXPECT_EQ(0U, Socket::serialize(nullptr, 34, &entry.node));
}

// --- deserialize --------------------------------------------------------------------------------

/// A node that is filled by the library; its blocks are freed at the end.
struct Filled {
    Filled() { std::memset(&node, 0x5a, sizeof node); }
    ~Filled() {
        if (size > 0) {
            std::free(node.ai_addr);
            std::free(node.ai_canonname);
        }
    }
    void read(const std::string& bytes) {
        size = Socket::deserialize(&node, bytes.data(), bytes.size());
    }
    std::string address() const {
        std::string bytes(node.ai_addrlen, '\0');
        std::memcpy(&bytes[0], node.ai_addr, bytes.size());
        return bytes;
    }

    addrinfo node;
    unsigned long size = 0;
};

TEST(SocketDeserialize, ReadsEveryFieldFromItsPlace) {
    Filled filled;
    filled.read(EntryText{"ABCDEFGHIJKL", "name", -1, 0x01020304, -5, 7}.bytes() + "behind");
    EXPECT_EQ(26U + 12 + 4, filled.size);
    EXPECT_EQ(-1, filled.node.ai_flags);
    EXPECT_EQ(0x01020304, filled.node.ai_family);
    EXPECT_EQ(-5, filled.node.ai_socktype);
    EXPECT_EQ(7, filled.node.ai_protocol);
    EXPECT_EQ("ABCDEFGHIJKL", filled.address());
    EXPECT_STREQ("name", filled.node.ai_canonname);
    EXPECT_EQ(nullptr, filled.node.ai_next);
}

TEST(SocketDeserialize, LeavesTheNameNullWhenThereIsNone) {
    Filled filled;
    filled.read(loopbackEntry(80));
    EXPECT_EQ(42U, filled.size);
    EXPECT_EQ(loopbackAddress(80), filled.address());
    EXPECT_EQ(nullptr, filled.node.ai_canonname);
}

TEST(SocketDeserialize, TakesOnlyTheLow32BitsOfTheAddressLength) {
    Filled filled;
    filled.read(EntryText{loopbackAddress(80), ""}.bytes(0xffffffff00000010, 0));
    EXPECT_EQ(42U, filled.size);
    EXPECT_EQ(16U, filled.node.ai_addrlen);
}

TEST(SocketDeserialize, ReadsAnEntryWithoutAddressWhenThereAre42Bytes) {
    Filled filled;
    filled.read(EntryText{}.bytes() + std::string(16, 'x'));
    EXPECT_EQ(26U, filled.size);
    EXPECT_EQ(0U, filled.node.ai_addrlen);
    EXPECT_NE(nullptr, filled.node.ai_addr);
}

TEST(SocketDeserialize, RefusesFewerThan42Bytes) {
    for (std::size_t size = 0; size < 42; ++size) {
        Filled filled;
        filled.read(loopbackEntry(80).substr(0, size));
        EXPECT_EQ(0U, filled.size);
        // Also where the entry itself would take no more.
        filled.read(EntryText{}.bytes() + std::string(size < 26 ? 0 : size - 26, 'x'));
        EXPECT_EQ(0U, filled.size) << size;
    }
}

TEST(SocketDeserialize, RefusesANullSource) {
    addrinfo node = {};
    EXPECT_EQ(0U, Socket::deserialize(&node, nullptr, 0));
    EXPECT_EQ(0U, Socket::deserialize(&node, nullptr, 100));
}

TEST(SocketDeserialize, RefusesLengthsThatLeadOutside) {
    const std::string address(20, 'a');
    for (const std::uint64_t length : {21UL, 22UL, 0x7fffffffUL, 0x80000000UL, 0xffffffffUL}) {
        Filled filled;
        filled.read(EntryText{address, ""}.bytes(length, 0));
        EXPECT_EQ(0U, filled.size) << length;
    }
    for (const std::uint64_t length : {5UL, 6UL, 65535UL}) {
        Filled filled;
        filled.read(EntryText{address, "name"}.bytes(20, length));
        EXPECT_EQ(0U, filled.size) << length;
    }
    Filled filled;
    filled.read(EntryText{address, "name"}.bytes());
    EXPECT_EQ(50U, filled.size);
}

TEST(SocketDeserialize, LeavesTheNodeAloneWhenItReturnsZero) {
    addrinfo node;
    std::memset(&node, 0x5a, sizeof node);
    const addrinfo before = node;
    const std::string bytes = EntryText{loopbackAddress(80), ""}.bytes(17, 0);
    EXPECT_EQ(0U, Socket::deserialize(&node, bytes.data(), bytes.size()));
    EXPECT_EQ(0, std::memcmp(&before, &node, sizeof node));
}

TEST(SocketDeserialize, ReadsFromAnyAlignment) {
    for (std::size_t shift = 0; shift < 16; ++shift) {
        const std::string bytes =
            std::string(shift, 'x') + EntryText{"0123456789abcdef", "n"}.bytes();
        Filled filled;
        filled.size = Socket::deserialize(&filled.node, bytes.data() + shift, 43);
        EXPECT_EQ(43U, filled.size);
        EXPECT_EQ("0123456789abcdef", filled.address());
    }
}

// --- deserializeAddrInfoExternal, freeMyAddrInfo ------------------------------------------------

/// A rebuilt list, released as the header says.
struct Rebuilt {
    explicit Rebuilt(const AddressRecord& record)
        : list(Socket::deserializeAddrInfoExternal(record)) {}
    ~Rebuilt() {
        for (addrinfo* node = list; node != nullptr; node = node->ai_next) {
            std::free(node->ai_addr);
        }
        Socket::freeMyAddrInfo(list);
    }

    std::vector<std::string> names() const {
        std::vector<std::string> result;
        for (const addrinfo* node = list; node != nullptr; node = node->ai_next) {
            result.emplace_back(node->ai_canonname == nullptr ? "<null>" : node->ai_canonname);
        }
        return result;
    }

    addrinfo* list;
};

TEST(SocketDeserializeAddrInfoExternal, RebuildsWhatWasExported) {
    const Rebuilt rebuilt(exported("127.0.0.1", 80));
    EXPECT_EQ(0, rebuilt.list->ai_flags);
    EXPECT_EQ(AF_INET, rebuilt.list->ai_family);
    EXPECT_EQ(SOCK_STREAM, rebuilt.list->ai_socktype);
    EXPECT_EQ(IPPROTO_TCP, rebuilt.list->ai_protocol);
    ASSERT_EQ(16U, rebuilt.list->ai_addrlen);
    EXPECT_EQ(0, std::memcmp(rebuilt.list->ai_addr, loopbackAddress(80).data(), 16));
    EXPECT_EQ(nullptr, rebuilt.list->ai_canonname);
    EXPECT_EQ(nullptr, rebuilt.list->ai_next);
}

TEST(SocketDeserializeAddrInfoExternal, LinksTheEntriesInTheirOrder) {
    const std::string address = loopbackAddress(80);
    const Rebuilt rebuilt(recordOf(recordHead("host", 80) + EntryText{address, "one"}.bytes() +
                                   EntryText{"", "two"}.bytes() + EntryText{address, ""}.bytes() +
                                   EntryText{std::string(110, 'u'), "four"}.bytes()));
    EXPECT_EQ((std::vector<std::string>{"one", "two", "<null>", "four"}), rebuilt.names());
}

TEST(SocketDeserializeAddrInfoExternal, ReadsHostsOfUpTo1025Bytes) {
    for (const std::size_t size : {0U, 1U, 2U, 1023U, 1024U, 1025U}) {
        const Rebuilt rebuilt(recordOf(recordHead(std::string(size, 'h'), 80) + loopbackEntry(80)));
        EXPECT_EQ(16U, rebuilt.list->ai_addrlen) << size;
    }
}

TEST(SocketDeserializeAddrInfoExternal, ReadsAsManyEntriesAsFit) {
    // 113 entries of 26 bytes and one of 57 fill the record.
    std::string payload = recordHead("", 0);
    for (int i = 0; i < 113; ++i) {
        payload += EntryText{}.bytes();
    }
    payload += EntryText{std::string(31, 'a'), ""}.bytes();
    ASSERT_EQ(2998U, payload.size());
    EXPECT_EQ(114U, Rebuilt(recordOf(payload)).names().size());
}

class MalformedRecord : public testing::TestWithParam<AddressRecord> {};

void rebuild(const AddressRecord& record) { Socket::deserializeAddrInfoExternal(record); }

TEST_P(MalformedRecord, IsRefusedWithTheErrnoThatIsSet) {
    errno = 0;
    EXPECT_RAISES(SocketException, rebuild(GetParam()),
                  Report("NX_ERR_SOCKET_ERROR").in("kelSocket.cpp").with({"0"}));
    errno = EINVAL;
    EXPECT_RAISES(SocketException, rebuild(GetParam()),
                  Report("NX_ERR_SOCKET_ERROR").in("kelSocket.cpp").with({"22"}));
    errno = ECONNREFUSED;
    EXPECT_RAISES(SocketException, rebuild(GetParam()),
                  Report("NX_ERR_SOCKET_CONNECTION_REFUSED").in("kelSocket.cpp"));
}

const std::string HEAD = recordHead("host", 80);

INSTANTIATE_TEST_SUITE_P(Without, MalformedRecord,
                         testing::Values(AddressRecord{}, recordOf(HEAD), recordOf("h", 1),
                                         recordOf("host\0"s, 5), recordOf("host\0\0"s, 6),
                                         recordOf(std::string(2998, 'h'))));
INSTANTIATE_TEST_SUITE_P(TooShort, MalformedRecord,
                         testing::Values(recordOf(HEAD + std::string(41, '\0')),
                                         recordOf(HEAD + loopbackEntry(80).substr(0, 41)),
                                         recordOf(HEAD + loopbackEntry(80) + "x"),
                                         recordOf(HEAD + loopbackEntry(80) +
                                                  loopbackEntry(80).substr(0, 41))));
INSTANTIATE_TEST_SUITE_P(
    LeadingOutside, MalformedRecord,
    testing::Values(recordOf(HEAD + EntryText{loopbackAddress(80), ""}.bytes(17, 0)),
                    recordOf(HEAD + EntryText{loopbackAddress(80), ""}.bytes(0xffffffff, 0)),
                    recordOf(HEAD + EntryText{loopbackAddress(80), "n"}.bytes(16, 2)),
                    recordOf(HEAD + loopbackEntry(80) +
                             EntryText{loopbackAddress(80), ""}.bytes(16, 65535)),
                    recordOf(HEAD + loopbackEntry(80), 2999),
                    recordOf(HEAD + loopbackEntry(80), 65535)));
// Readers stop looking for the end of the host after 1,025 bytes and take what follows for entries.
INSTANTIATE_TEST_SUITE_P(
    WithALongHost, MalformedRecord,
    testing::Values(recordOf(recordHead(std::string(1026, '0'), 80) + loopbackEntry(80)),
                    recordOf(recordHead(std::string(2000, '0'), 80) + loopbackEntry(80))));

TEST(SocketDeserializeAddrInfoExternal, CannotReadAnExportedHostOfMoreThan1025Bytes) {
    for (const std::size_t size : {1026U, 1027U, 1100U, 2000U, 2900U}) {
        const AddressRecord record = exported(hostOfSize(size), 80);
        EXPECT_EQ(size + 1 + 2 + 42, record.usedLength);
        EXPECT_THROW(rebuild(record), SocketException);
    }
    EXPECT_NO_THROW(Rebuilt(exported(hostOfSize(1025), 80)));
}

TEST(SocketFreeMyAddrInfo, TakesAnEmptyList) { EXPECT_NO_THROW(Socket::freeMyAddrInfo(nullptr)); }

TEST(SocketFreeMyAddrInfo, LeavesTheAddressesToTheCaller) {
    addrinfo* const list = Socket::deserializeAddrInfoExternal(
        recordOf(HEAD + EntryText{loopbackAddress(80), "n"}.bytes() + loopbackEntry(81)));
    sockaddr* const first = list->ai_addr;
    sockaddr* const second = list->ai_next->ai_addr;
    Socket::freeMyAddrInfo(list);
    EXPECT_EQ(0, std::memcmp(first, loopbackAddress(80).data(), 16));
    EXPECT_EQ(0, std::memcmp(second, loopbackAddress(81).data(), 16));
    std::free(first);
    std::free(second);
}

TEST(SocketFreeMyAddrInfo, MayBeReplacedByTheSystemsFreeaddrinfo) {
    addrinfo* const list = Socket::deserializeAddrInfoExternal(
        recordOf(HEAD + EntryText{loopbackAddress(80), "n"}.bytes()));
    std::free(list->ai_addr);
    list->ai_addr = nullptr;
    ::freeaddrinfo(list);
}

}  // namespace
}  // namespace nx::oss

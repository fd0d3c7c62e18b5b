#include <netdb.h>
#include <netinet/in.h>
#include <sys/socket.h>

#include <limits>
#include <optional>
#include <ostream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include <infra/oss/kelSocket.h>
#include <infra/oss/kelSocketException.h>

#include "support/kelAddressRecords.h"
#include "support/kelPeerCases.h"
#include "support/kelRaises.h"

namespace nx::oss {
namespace {

using std::string_literals::operator""s;
using test::Outcome;
using test::PORT;
using test::raises;
using test::returns;

/// Who is at the port that a row connects to.
enum class Peer { LISTENS, REFUSES, HAS_A_FULL_QUEUE };

/// What a row adds to the port of its peer, or a port that is nobody's.
constexpr unsigned long OWN_PORT = std::numeric_limits<unsigned long>::max() - 1;

struct ConnectCase {
    std::string name;
    icu::UnicodeString host;
    Outcome expected;
    Peer peer = Peer::LISTENS;
    unsigned long port = OWN_PORT;
    std::optional<unsigned long> timeout = std::nullopt;
};

std::ostream& operator<<(std::ostream& out, const ConnectCase& row) { return out << row.name; }

/// A port of 127.0.0.1 where connections end as the row wants.
class PortOf {
  public:
    explicit PortOf(Peer peer) {
        if (peer == Peer::LISTENS) {
            listening_.emplace();
        } else if (peer == Peer::REFUSES) {
            refusing_.emplace();
        } else {
            full_.emplace();
        }
    }

    unsigned long port() const {
        return full_ ? full_->port() : listening_ ? listening_->port() : refusing_->port();
    }

  private:
    std::optional<test::Listener> listening_;
    std::optional<test::BoundPort> refusing_;
    std::optional<test::FullListener> full_;
};

const Outcome CONNECTED = returns("connected");

/// An error that names what the row connects to.
Outcome error(const char* identifier, const std::string& host) {
    return raises(identifier, {host, PORT});
}

Outcome unresolved(const std::string& host, const std::string& port, int code) {
    return raises("ERR_SOCKET_GETADDRINFO_ERROR",
                  {host, port, std::to_string(code), ::gai_strerror(code)});
}

const char* const REFUSED = "NX_ERR_SOCKET_CONNECTION_REFUSED";
const char* const NOT_CONNECTED = "ERR_SOCKET_NOT_CONNECTED";
const char* const TIMED_OUT = "ERR_SOCKET_TIMEOUT";

/// Whether this machine can speak with itself over IPv6.
bool hasIpv6() {
    const test::FileDescriptor descriptor(::socket(AF_INET6, SOCK_STREAM, 0));
    sockaddr_in6 address{};
    address.sin6_family = AF_INET6;
    address.sin6_addr = in6addr_loopback;
    return descriptor.get() >= 0 &&
           ::bind(descriptor.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) ==
               0;
}

std::vector<ConnectCase> peers() {
    const std::string host = "127.0.0.1";
    return {
        {"Listens", "127.0.0.1", CONNECTED},
        {"ListensWithinATimeOut", "127.0.0.1", CONNECTED, Peer::LISTENS, OWN_PORT, 60000},
        {"Refuses", "127.0.0.1", error(REFUSED, host), Peer::REFUSES},
        {"RefusesWithinATimeOut", "127.0.0.1", error(REFUSED, host), Peer::REFUSES, OWN_PORT,
         60000},
        {"HasAFullQueueAndNoTimeIsGiven", "127.0.0.1", error(TIMED_OUT, host),
         Peer::HAS_A_FULL_QUEUE, OWN_PORT, 0},
        {"HasAFullQueueFor1Millisecond", "127.0.0.1", error(TIMED_OUT, host),
         Peer::HAS_A_FULL_QUEUE, OWN_PORT, 1},
        {"HasAFullQueueFor50Milliseconds", "127.0.0.1", error(TIMED_OUT, host),
         Peer::HAS_A_FULL_QUEUE, OWN_PORT, 50},
    };
}

std::vector<ConnectCase> addresses() {
    return {
        {"IsEveryAddressOfTheMachine", "0.0.0.0", CONNECTED},
        {"IsAnotherLoopbackAddress", "127.0.0.2", error(REFUSED, "127.0.0.2")},
        {"IsTheBroadcastAddressOfANet", "127.255.255.255", error(NOT_CONNECTED, "127.255.255.255")},
        {"IsTheBroadcastAddress", "255.255.255.255", error(NOT_CONNECTED, "255.255.255.255")},
        {"IsAMulticastAddress", "224.0.0.1", error(NOT_CONNECTED, "224.0.0.1")},
        {"IsWrittenInTwoParts", "127.1", CONNECTED},
        {"IsWrittenAsOneNumber", "2130706433", CONNECTED},
        {"IsWrittenInHexadecimal", "0x7f000001", CONNECTED},
        {"IsWrittenInOctal", "0177.0.0.1", CONNECTED},
        {"HasAThousandLeadingZeros",
         icu::UnicodeString::fromUTF8(std::string(1000, '0') + "177.0.0.1"), CONNECTED},
        {"EndsAtANul", icu::UnicodeString(u"127.0.0.1\0.invalid", 18), CONNECTED},
        {"SpeaksAnotherFamily", "::1", error(hasIpv6() ? REFUSED : NOT_CONNECTED, "::1")},
        {"IsAMappedAddress", "::ffff:127.0.0.1",
         hasIpv6() ? CONNECTED : error(NOT_CONNECTED, "::ffff:127.0.0.1")},
    };
}

std::vector<ConnectCase> hostsAndPorts() {
    return {
        {"HasNoName", "", unresolved("", PORT, EAI_NONAME)},
        {"HasABlankBehindItsAddress", "127.0.0.1 ", unresolved("127.0.0.1 ", PORT, EAI_NONAME)},
        {"HasAPort0", "127.0.0.1", raises(REFUSED, {"127.0.0.1", "0"}), Peer::LISTENS, 0},
        {"HasTheHighestNumberAsPort", "127.0.0.1", unresolved("127.0.0.1", "-1", EAI_SERVICE),
         Peer::LISTENS, 4294967295UL},
        {"HasTheHighestLongNumberAsPort", "127.0.0.1", unresolved("127.0.0.1", "-1", EAI_SERVICE),
         Peer::LISTENS, std::numeric_limits<unsigned long>::max()},
    };
}

class ConnectToAPeerThat : public testing::TestWithParam<ConnectCase> {};

TEST_P(ConnectToAPeerThat, EndsAsPromised) {
    const ConnectCase& row = GetParam();
    const PortOf peer(row.peer);
    const test::NoDescriptorLeak check;
    const unsigned long port = row.port == OWN_PORT ? peer.port() : row.port;
    Socket socket;
    test::expectOutcome(
        [&] {
            socket.connect(row.host, port, row.timeout ? &*row.timeout : nullptr);
            return "connected"s;
        },
        row.expected, std::to_string(port));
    EXPECT_EQ(row.expected.identifier.empty(), socket.isOwner());
    EXPECT_EQ(row.expected.identifier.empty(), socket.getDescriptor() != -1);
    EXPECT_EQ(row.host, socket.getHostName());
    EXPECT_EQ(port, socket.getPort());
}

std::string nameOf(const testing::TestParamInfo<ConnectCase>& row) { return row.param.name; }

INSTANTIATE_TEST_SUITE_P(Peers, ConnectToAPeerThat, testing::ValuesIn(peers()), nameOf);
INSTANTIATE_TEST_SUITE_P(Addresses, ConnectToAPeerThat, testing::ValuesIn(addresses()), nameOf);
INSTANTIATE_TEST_SUITE_P(HostsAndPorts, ConnectToAPeerThat, testing::ValuesIn(hostsAndPorts()),
                         nameOf);

/// Names that no resolver knows; which code it gives differs between machines.
class ConnectToAnUnknownHost : public testing::TestWithParam<std::pair<const char*, const char*>> {
};

TEST_P(ConnectToAnUnknownHost, NamesTheResolversCodeAndText) {
    const test::NoDescriptorLeak check;
    const icu::UnicodeString host = icu::UnicodeString::fromUTF8(GetParam().second);
    Socket socket;
    try {
        socket.connect(host, 8080, nullptr);
        FAIL() << "nothing was thrown";
    } catch (const SocketException& e) {
        const Message& message = e.messages.getFirstMessage();
        ASSERT_EQ(4U, message.getMessageArgsCount());
        const std::string code = test::utf8(*std::next(message.getMessageArgs().begin(), 2));
        const test::Report expected =
            test::Report("ERR_SOCKET_GETADDRINFO_ERROR")
                .in("kelSocket.cpp")
                .with({GetParam().second, "8080", code, ::gai_strerror(std::stoi(code))});
        EXPECT_TRUE(expected.matches(e));
        EXPECT_GT(0, std::stoi(code));
    }
    EXPECT_EQ(-1, socket.getDescriptor());
}

INSTANTIATE_TEST_SUITE_P(
    Names, ConnectToAnUnknownHost,
    testing::Values(std::pair{"Unregistered", "nosuchhost.invalid"},
                    std::pair{"WithPort", "127.0.0.1:80.invalid"},
                    std::pair{"WithBrackets", "[::1].invalid"},
                    std::pair{"AsAnAddressOfTheWeb", "http://127.0.0.1/.invalid"},
                    std::pair{"WithNumbersThatAreTooLarge", "256.256.256.256.invalid"},
                    std::pair{"WithControlCharacters", "\x01\x02\x7f.invalid"},
                    std::pair{"WithLineEnd", "a\r\nb.invalid"},
                    std::pair{"WithOtherLetters",
                              "b\xc3\xbc"
                              "cher.invalid"},
                    std::pair{"WithFormats", "%s%n%x.invalid"}),
    [](const auto& row) { return std::string(row.param.first); });

TEST(ConnectToAnUnknownHost, WhoseNameIsLongerThanAnyIsRefused) {
    for (const std::size_t length : {254U, 1025U, 1026U, 70000U}) {
        Socket socket;
        EXPECT_THROW(
            socket.connect(icu::UnicodeString::fromUTF8(std::string(length, 'a')), 80, nullptr),
            SocketException)
            << length;
        EXPECT_EQ(-1, socket.getDescriptor());
    }
}

/// A record that names an address of a family, type or length that cannot be connected to.
struct RecordCase {
    const char* name;
    test::EntryText entry;
    Outcome expected;
};

std::ostream& operator<<(std::ostream& out, const RecordCase& row) { return out << row.name; }

class ConnectToARecord : public testing::TestWithParam<RecordCase> {};

TEST_P(ConnectToARecord, EndsAsPromised) {
    const test::NoDescriptorLeak check;
    const test::AddressRecord record =
        test::recordOf(test::recordHead("h", 1) + GetParam().entry.bytes());
    Socket socket;
    test::expectOutcome(
        [&] {
            socket.connect("named.invalid", 4711, record, nullptr);
            return "connected"s;
        },
        GetParam().expected, "4711");
    EXPECT_EQ(-1, socket.getDescriptor());
    EXPECT_FALSE(socket.isOwner());
}

std::vector<RecordCase> records() {
    const std::string address = test::loopbackAddress(9);
    const std::string padding(16, 'n');  // an entry has 42 bytes at least
    const Outcome nothingToTry = raises(NOT_CONNECTED, {"named.invalid", "4711"});
    return {
        {"OfAnUnknownFamily", {address, "", 0, 12345}, nothingToTry},
        {"OfANegativeFamily", {address, "", 0, -1}, nothingToTry},
        {"OfAnUnknownType", {address, "", 0, AF_INET, 77}, nothingToTry},
        {"OfAnUnknownProtocol", {address, "", 0, AF_INET, SOCK_STREAM, 250}, nothingToTry},
        {"OfAnAddressWithoutBytes", {"", padding}, nothingToTry},
        {"OfAnAddressThatIsTooShort", {address.substr(0, 8), padding}, nothingToTry},
        {"OfAnAddressThatIsTooLong", {address + std::string(200, '\0'), ""}, nothingToTry},
        {"OfAnAddressOfAnotherFamily", {"\x0a\0"s + address.substr(2), ""}, nothingToTry},
        {"OfDatagrams",
         {address, "", 0, AF_INET, SOCK_DGRAM, 17},
         raises("NX_ERR_SOCKET_ERROR", {"92", "named.invalid", "4711"})},
    };
}

INSTANTIATE_TEST_SUITE_P(Entries, ConnectToARecord, testing::ValuesIn(records()),
                         [](const auto& row) { return std::string(row.param.name); });

}  // namespace
}  // namespace nx::oss

#include <netdb.h>

#include <string>

#include <gtest/gtest.h>

#include <infra/oss/kelSocket.h>

#include "support/kelRaises.h"

namespace nx::oss {
namespace {

using test::utf8;

using namespace std::string_literals;

// --- dnsLookup ----------------------------------------------------------------------------------

TEST(SocketDnsLookup, GivesTheTextOfANumericHost) {
    icu::UnicodeString result = "before";
    EXPECT_TRUE(Socket::dnsLookup(result, "127.0.0.1", true));
    EXPECT_EQ("127.0.0.1", utf8(result));
    EXPECT_TRUE(Socket::dnsLookup(result, "127.1", true));
    EXPECT_EQ("127.0.0.1", utf8(result));
    EXPECT_TRUE(Socket::dnsLookup(result, "0x7f00004d", true));
    EXPECT_EQ("127.0.0.77", utf8(result));
}

TEST(SocketDnsLookup, ReplacesANullResult) {
    icu::UnicodeString result;
    result.setToBogus();
    EXPECT_TRUE(Socket::dnsLookup(result, "127.0.0.1", true));
    EXPECT_EQ("127.0.0.1", utf8(result));
}

/// What the system says about the name of 127.0.0.1, which need not have one.
std::string registeredName() {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    char name[1025] = {};
    return ::getnameinfo(reinterpret_cast<sockaddr*>(&address), sizeof address, name, sizeof name,
                         nullptr, 0, NI_NAMEREQD) == 0
               ? name
               : "";
}

TEST(SocketDnsLookup, GivesTheRegisteredNameOrFails) {
    icu::UnicodeString result = "before";
    const std::string name = registeredName();
    EXPECT_EQ(!name.empty(), Socket::dnsLookup(result, "127.0.0.1", false));
    EXPECT_EQ(name.empty() ? "before" : name, utf8(result));
}

TEST(SocketDnsLookup, PassesOverIpv6Addresses) {
    for (const bool numeric : {true, false}) {
        icu::UnicodeString result = "before";
        EXPECT_FALSE(Socket::dnsLookup(result, "::1", numeric));
        EXPECT_EQ("before", utf8(result));
    }
}

TEST(SocketDnsLookup, OfAnUnknownHostFailsAndLeavesTheResultAlone) {
    for (const char* const host : {"", "127.0.0.1 ", "no such host"}) {
        icu::UnicodeString result = "before";
        EXPECT_FALSE(Socket::dnsLookup(result, host, true));
        EXPECT_EQ("before", utf8(result));
    }
}

TEST(SocketDnsLookup, TakesTheHostUpToItsFirstNul) {
    icu::UnicodeString result;
    EXPECT_TRUE(Socket::dnsLookup(result, icu::UnicodeString(u"127.0.0.1\0x", 11), true));
    EXPECT_EQ("127.0.0.1", utf8(result));
}

TEST(SocketDnsLookup, MayUseOneTextForHostAndResult) {
    icu::UnicodeString text = "127.1";
    EXPECT_TRUE(Socket::dnsLookup(text, text, true));
    EXPECT_EQ("127.0.0.1", utf8(text));
}

// --- getIPv4ByName ------------------------------------------------------------------------------

TEST(SocketGetIPv4ByName, StoresTheAddressInNetworkOrder) {
    std::string addresses(12, '?');
    EXPECT_EQ(1U, Socket::getIPv4ByName(&addresses[0], 3, "127.0.0.77"));
    EXPECT_EQ("\x7f\0\0\x4d????????"s, addresses);
}

TEST(SocketGetIPv4ByName, StoresNothingForACountOfZero) {
    std::string addresses(4, '?');
    EXPECT_EQ(0U, Socket::getIPv4ByName(&addresses[0], 0, "127.0.0.1"));
    EXPECT_EQ("????", addresses);
}

TEST(SocketGetIPv4ByName, IsNoSizeQueryWithoutADestination) {
    EXPECT_EQ(0U, Socket::getIPv4ByName(nullptr, 5, "127.0.0.1"));
    EXPECT_EQ(0U, Socket::getIPv4ByName(nullptr, 0, "127.0.0.1"));
}

TEST(SocketGetIPv4ByName, ReturnsZeroForAnUnknownHost) {
    std::string addresses(4, '?');
    for (const char* const host : {"", "127.0.0.1 ", "::1", "no such host"}) {
        EXPECT_EQ(0U, Socket::getIPv4ByName(&addresses[0], 1, host)) << host;
    }
    EXPECT_EQ("????", addresses);
}

}  // namespace
}  // namespace nx::oss

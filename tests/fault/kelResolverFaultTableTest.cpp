// Everything that the resolver may answer, in every operation that asks it.
#include <netdb.h>

#include <cstring>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include <infra/oss/kelSocketException.h>
#include <infra/oss/kelSocketServer.h>

#include "support/kelAddressRecords.h"
#include "support/kelLoopback.h"
#include "support/kelRaises.h"
#include "support/kelSystemCallFaults.h"

namespace nx::oss {
namespace {

using test::Call;
using test::Fault;
using test::Report;
using test::SystemCalls;
using test::utf8;

struct Code {
    const char* name;
    int number;
    const char* text;
};

void PrintTo(const Code& code, std::ostream* out) { *out << code.name; }

const Code CODES[] = {
    {"BADFLAGS", -1, "Bad value for ai_flags"},
    {"NONAME", -2, "Name or service not known"},
    {"AGAIN", -3, "Temporary failure in name resolution"},
    {"FAIL", -4, "Non-recoverable failure in name resolution"},
    {"NODATA", -5, "No address associated with hostname"},
    {"FAMILY", -6, "ai_family not supported"},
    {"SOCKTYPE", -7, "ai_socktype not supported"},
    {"SERVICE", -8, "Servname not supported for ai_socktype"},
    {"ADDRFAMILY", -9, "Address family for hostname not supported"},
    {"MEMORY", -10, "Memory allocation failure"},
    {"SYSTEM", -11, "System error"},
};

/// The resolver answers with the code, and no descriptor and no list of addresses stays behind.
class ResolverFault : public testing::TestWithParam<Code> {
  protected:
    ResolverFault() { calls_.add({Call::GETADDRINFO, 1, Fault::RETURN, GetParam().number}); }
    ~ResolverFault() override {
        EXPECT_TRUE(calls_.allHappened());
        EXPECT_EQ(0, calls_.openAddressLists());
    }
    static Report error(const char* file, const char* host, const char* port) {
        return Report("ERR_SOCKET_GETADDRINFO_ERROR")
            .in(file)
            .with({host, port, std::to_string(GetParam().number), GetParam().text});
    }
    static void expectUnconnected(const Socket& socket) {
        EXPECT_EQ(-1, socket.getDescriptor());
        EXPECT_FALSE(socket.isOwner());
        EXPECT_EQ("server1", utf8(socket.getHostName()));
        EXPECT_EQ(8080U, socket.getPort());
    }

    test::NoDescriptorLeak check_;
    SystemCalls calls_;
};

TEST_P(ResolverFault, IsTheErrorOfConnect) {
    Socket socket;
    EXPECT_RAISES(SocketException, socket.connect("server1", 8080, nullptr),
                  error("kelSocket.cpp", "server1", "8080"));
    expectUnconnected(socket);
}

TEST_P(ResolverFault, IsTheErrorOfConnectWithoutRecord) {
    Socket socket;
    EXPECT_RAISES(SocketException,
                  socket.connect("server1", 8080, Socket::NullAddrInfoExternal, nullptr),
                  error("kelSocket.cpp", "server1", "8080"));
    expectUnconnected(socket);
}

TEST_P(ResolverFault, IsTheErrorOfListen) {
    SocketServer server;
    EXPECT_RAISES(SocketException, server.listen(0, 5, true),
                  error("kelSocketServer.cpp", "localhost", "0"));
    EXPECT_EQ(-1, server.getDescriptor());
    EXPECT_FALSE(server.isListening());
}

TEST_P(ResolverFault, IsTheResultOfAnExport) {
    test::AddressRecord record;
    std::memset(&record, 0x5a, sizeof record);
    EXPECT_EQ(GetParam().number, Socket::exportAddrInfo("server1", 80, record));
    EXPECT_EQ(std::string(3000, '\x5a'), test::bytesOf(record));
}

TEST_P(ResolverFault, MeansThatThereIsNoName) {
    icu::UnicodeString result = "before";
    EXPECT_FALSE(Socket::dnsLookup(result, "server1", true));
    EXPECT_EQ("before", utf8(result));
    EXPECT_EQ(0U, calls_.count(Call::GETNAMEINFO));
}

TEST_P(ResolverFault, MeansThatThereAreNoAddresses) {
    std::string bytes = "????";
    EXPECT_EQ(0U, Socket::getIPv4ByName(&bytes[0], 1, "server1"));
    EXPECT_EQ("????", bytes);
}

INSTANTIATE_TEST_SUITE_P(EveryCode, ResolverFault, testing::ValuesIn(CODES),
                         [](const auto& row) { return std::string(row.param.name); });

/// What the lookup of a name may answer for one address.
const Code NAME_CODES[] = {
    {"BADFLAGS", -1, ""}, {"NONAME", -2, ""},  {"AGAIN", -3, ""},   {"FAIL", -4, ""},
    {"FAMILY", -6, ""},   {"MEMORY", -10, ""}, {"SYSTEM", -11, ""}, {"OVERFLOW", -12, ""},
};

class ResolverNameFault : public testing::TestWithParam<Code> {
  protected:
    /// Looks up three addresses, of which the first `failing` have no name.
    bool lookUp(int failing) {
        SystemCalls calls;
        calls.resolveTo({"127.0.0.1", "127.0.0.2", "127.0.0.3"});
        for (int position = 1; position <= failing; ++position) {
            calls.add({Call::GETNAMEINFO, position, Fault::RETURN, GetParam().number});
        }
        const bool found = Socket::dnsLookup(result_, "server1", true);
        EXPECT_TRUE(calls.allHappened());
        EXPECT_EQ(0, calls.openAddressLists());
        return found;
    }

    icu::UnicodeString result_ = "before";
};

TEST_P(ResolverNameFault, GoesOnToTheNextAddress) {
    EXPECT_TRUE(lookUp(1));
    EXPECT_EQ("127.0.0.2", utf8(result_));
    EXPECT_TRUE(lookUp(2));
    EXPECT_EQ("127.0.0.3", utf8(result_));
}

TEST_P(ResolverNameFault, OfAllAddressesMeansThatThereIsNoName) {
    EXPECT_FALSE(lookUp(3));
    EXPECT_EQ("before", utf8(result_));
}

INSTANTIATE_TEST_SUITE_P(EveryCode, ResolverNameFault, testing::ValuesIn(NAME_CODES),
                         [](const auto& row) { return std::string(row.param.name); });

}  // namespace
}  // namespace nx::oss

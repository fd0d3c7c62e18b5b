#include <sys/socket.h>

#include <cerrno>
#include <climits>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include <infra/oss/kelSocket.h>
#include <infra/oss/kelSocketException.h>

#include "support/kelLoopback.h"
#include "support/kelRaises.h"
#include "support/kelSystemCallFaults.h"
#include "support/kelThreads.h"

namespace nx::oss {
namespace {

using test::Call;
using test::Fault;
using test::Report;
using test::SystemCalls;

/// A socket that is to connect to a listener, with its system calls under control.
class SocketConnectFault : public testing::Test {
  protected:
    void connect(const unsigned long* timeout = nullptr) {
        socket_.connect("127.0.0.1", listener_.port(), timeout);
    }
    Report error(const std::string& identifier, std::vector<std::string> first = {}) const {
        first.insert(first.end(), {"127.0.0.1", listener_.portText()});
        return Report(identifier).in("kelSocket.cpp").with(std::move(first));
    }
    void expectFailsWith(const Report& report) {
        const test::NoDescriptorLeak check;
        EXPECT_RAISES(SocketException, connect(), report);
        EXPECT_TRUE(calls_.allHappened());
        EXPECT_EQ(0, calls_.openAddressLists());
        EXPECT_EQ(-1, socket_.getDescriptor());
        EXPECT_FALSE(socket_.isOwner());
        EXPECT_EQ(listener_.port(), socket_.getPort());
    }
    void expectSucceeds() {
        const std::size_t before = test::openDescriptors();
        EXPECT_NO_THROW(connect());
        EXPECT_EQ(before + 1, test::openDescriptors());
        EXPECT_TRUE(calls_.allHappened());
        EXPECT_EQ(0, calls_.openAddressLists());
        EXPECT_TRUE(socket_.isOwner());
    }

    test::Listener listener_;
    SystemCalls calls_;
    Socket socket_;
};

TEST_F(SocketConnectFault, MakesEachCallOnceAndInOrder) {
    calls_.add({Call::CONNECT, 1, Fault::FAIL_AFTERWARDS, EINPROGRESS});
    connect();
    EXPECT_EQ((std::vector<Call>{Call::GETADDRINFO, Call::SOCKET, Call::IOCTL, Call::CONNECT,
                                 Call::SELECT, Call::IOCTL, Call::GETSOCKOPT, Call::SETSOCKOPT}),
              calls_.calls());
    EXPECT_EQ(8U, calls_.first(Call::GETSOCKOPT).length);
    EXPECT_EQ(socket_.getDescriptor() + 1, calls_.first(Call::SELECT).flags);
}

TEST_F(SocketConnectFault, AsksTheResolverForStreamSocketsOfAnyFamily) {
    connect();
    const test::Query& query = calls_.query();
    EXPECT_STREQ("127.0.0.1", query.host);
    EXPECT_EQ(listener_.portText(), query.service);
    EXPECT_EQ(0, query.flags);
    EXPECT_EQ(AF_UNSPEC, query.family);
    EXPECT_EQ(SOCK_STREAM, query.type);
    EXPECT_EQ(0, query.protocol);
}

TEST_F(SocketConnectFault, AsksForTheHostInUtf8AndNamesItInTheError) {
    calls_.add({Call::GETADDRINFO, 1, Fault::RETURN, -2});
    EXPECT_RAISES(SocketException, socket_.connect(u"m\u00fcller.invalid", 80, nullptr),
                  Report("ERR_SOCKET_GETADDRINFO_ERROR")
                      .in("kelSocket.cpp")
                      .with({"m\xc3\xbcller.invalid", "80", "-2", "Name or service not known"}));
    EXPECT_STREQ("m\xc3\xbcller.invalid", calls_.query().host);
    EXPECT_STREQ("80", calls_.query().service);
}

TEST_F(SocketConnectFault, AsksForThePortAsAnUnsigned32BitNumber) {
    for (const unsigned long port : {4294967295UL, 8589934591UL}) {
        calls_.resolveTo({});
        EXPECT_THROW(socket_.connect("127.0.0.1", port, nullptr), SocketException);
        EXPECT_STREQ("4294967295", calls_.query().service);
    }
}

struct ResolverRow {
    int code;
    const char* text;
};

class SocketConnectResolverFault : public SocketConnectFault,
                                   public testing::WithParamInterface<ResolverRow> {};

TEST_P(SocketConnectResolverFault, AppendsTheCodeAndItsText) {
    calls_.add({Call::GETADDRINFO, 1, Fault::RETURN, GetParam().code});
    expectFailsWith(Report("ERR_SOCKET_GETADDRINFO_ERROR")
                        .in("kelSocket.cpp")
                        .with({"127.0.0.1", listener_.portText(), std::to_string(GetParam().code),
                               GetParam().text}));
}

INSTANTIATE_TEST_SUITE_P(
    Codes, SocketConnectResolverFault,
    testing::Values(ResolverRow{-2, "Name or service not known"},
                    ResolverRow{-3, "Temporary failure in name resolution"},
                    ResolverRow{-4, "Non-recoverable failure in name resolution"},
                    ResolverRow{-10, "Memory allocation failure"}, ResolverRow{-11, "System error"},
                    ResolverRow{-999, "Unknown error"}),
    [](const auto& row) { return "Code" + std::to_string(-row.param.code); });

TEST_F(SocketConnectFault, AnEmptyAddressListEndsInNotConnected) {
    calls_.resolveTo({});
    expectFailsWith(error("ERR_SOCKET_NOT_CONNECTED"));
    EXPECT_EQ(0U, calls_.count(Call::SOCKET));
}

TEST_F(SocketConnectFault, GoesOnToTheNextAddressWhenASocketCannotBeMade) {
    calls_.resolveTo({"127.0.0.1", "127.0.0.1"});
    calls_.fail(Call::SOCKET, 1, EMFILE);
    expectSucceeds();
}

TEST_F(SocketConnectFault, GoesOnToTheNextAddressWhenNonBlockingModeIsRefused) {
    calls_.resolveTo({"127.0.0.1", "127.0.0.1"});
    calls_.fail(Call::IOCTL, 1, ENOMEM);
    expectSucceeds();
    EXPECT_EQ(1U, calls_.count(Call::CLOSE));
}

TEST_F(SocketConnectFault, GoesOnToTheNextAddressWhenAConnectionCannotBeStarted) {
    calls_.resolveTo({"127.0.0.1", "127.0.0.1", "127.0.0.1"});
    calls_.fail(Call::CONNECT, 1, ENETUNREACH);
    calls_.fail(Call::CONNECT, 2, EINTR);
    expectSucceeds();
    EXPECT_EQ(2U, calls_.count(Call::CLOSE));
}

TEST_F(SocketConnectFault, EndsInNotConnectedWhenEveryAddressFailsInItsOwnWay) {
    calls_.resolveTo({"127.0.0.1", "127.0.0.1", "127.0.0.1"});
    calls_.fail(Call::SOCKET, 1, ENOBUFS);
    calls_.fail(Call::IOCTL, 1, EBADF);
    calls_.fail(Call::CONNECT, 1, ECONNREFUSED);
    expectFailsWith(error("ERR_SOCKET_NOT_CONNECTED"));
}

TEST_F(SocketConnectFault, DoesNotTryTheOtherAddressesOnceAConnectionWasStarted) {
    calls_.resolveTo({"127.0.0.2", "127.0.0.1"});  // nobody listens at the first one
    expectFailsWith(error("NX_ERR_SOCKET_CONNECTION_REFUSED"));
    EXPECT_EQ(1U, calls_.count(Call::CONNECT));
}

TEST_F(SocketConnectFault, DoesNotTryTheOtherAddressesAfterATimeOut) {
    calls_.resolveTo({"127.0.0.1", "127.0.0.1"});
    calls_.add({Call::SELECT, 1, Fault::TIME_OUT, 0});
    expectFailsWith(error("ERR_SOCKET_TIMEOUT"));
    EXPECT_EQ(1U, calls_.count(Call::CONNECT));
}

TEST_F(SocketConnectFault, DoesNotWaitForAConnectionThatIsCompleteAtOnce) {
    calls_.add({Call::CONNECT, 1, Fault::COMPLETE, 0});
    expectSucceeds();
    EXPECT_EQ(0U, calls_.count(Call::SELECT));
}

TEST_F(SocketConnectFault, TakesEagainForAConnectionInProgress) {
    calls_.add({Call::CONNECT, 1, Fault::FAIL_AFTERWARDS, EAGAIN});
    expectSucceeds();
    EXPECT_EQ(1U, calls_.count(Call::SELECT));
}

TEST_F(SocketConnectFault, TakesAnExceptionalConditionForAFailureEvenWithoutPendingError) {
    calls_.add({Call::CONNECT, 1, Fault::FAIL_AFTERWARDS, EINPROGRESS});
    calls_.add({Call::SELECT, 1, Fault::EXCEPTION, 0});
    expectFailsWith(error("NX_ERR_SOCKET_ERROR", {"0"}));
}

TEST_F(SocketConnectFault, PrefersThePendingErrorOfAnExceptionalCondition) {
    calls_.resolveTo({"127.0.0.2"});
    calls_.add({Call::CONNECT, 1, Fault::FAIL_AFTERWARDS, EINPROGRESS});
    calls_.add({Call::SELECT, 1, Fault::EXCEPTION, 0});
    expectFailsWith(error("NX_ERR_SOCKET_CONNECTION_REFUSED"));
}

TEST_F(SocketConnectFault, CanConnectAfterEveryFailure) {
    calls_.fail(Call::SOCKET, 1, EMFILE);
    calls_.fail(Call::SELECT, 1, EINTR);
    calls_.fail(Call::GETSOCKOPT, 1, ENOMEM);
    calls_.fail(Call::SETSOCKOPT, 1, ENOBUFS);
    for (int attempt = 0; attempt < 4; ++attempt) {
        EXPECT_THROW(connect(), SocketException);
    }
    EXPECT_NO_THROW(connect());
    EXPECT_TRUE(socket_.isOwner());
}

struct TimeoutRow {
    unsigned long milliseconds;
    long seconds;
    long microseconds;
};

class SocketConnectTimeoutValue : public SocketConnectFault,
                                  public testing::WithParamInterface<TimeoutRow> {};

TEST_P(SocketConnectTimeoutValue, IsSplitIntoSecondsAndMicroseconds) {
    calls_.add({Call::CONNECT, 1, Fault::FAIL_AFTERWARDS, EINPROGRESS});
    calls_.add({Call::SELECT, 1, Fault::TIME_OUT, 0});
    EXPECT_RAISES(SocketException, connect(&GetParam().milliseconds), error("ERR_SOCKET_TIMEOUT"));
    const test::CallRecord wait = calls_.first(Call::SELECT);
    EXPECT_FALSE(wait.waitsForever);
    EXPECT_EQ(GetParam().seconds, wait.timeout.tv_sec);
    EXPECT_EQ(GetParam().microseconds, wait.timeout.tv_usec);
}

INSTANTIATE_TEST_SUITE_P(Milliseconds, SocketConnectTimeoutValue,
                         testing::Values(TimeoutRow{0, 0, 0}, TimeoutRow{1, 0, 1000},
                                         TimeoutRow{999, 0, 999000}, TimeoutRow{1000, 1, 0},
                                         TimeoutRow{1500, 1, 500000},
                                         TimeoutRow{ULONG_MAX, 18446744073709551, 615000}));

TEST_F(SocketConnectFault, WaitsWithoutLimitWhenThereIsNoTimeOut) {
    calls_.add({Call::CONNECT, 1, Fault::FAIL_AFTERWARDS, EINPROGRESS});
    connect();
    EXPECT_TRUE(calls_.first(Call::SELECT).waitsForever);
}

/// The resolver is the one of the program, which makes each of its calls a place to be cancelled.
TEST(SocketResolverCancellation, WaitsForTheEndOfTheCall) {
    const test::Listener listener;
    int done = 0;
    test::runStopped([&] {
        icu::UnicodeString name;
        char address[4];
        Socket::_AddrInfoExternal record;
        EXPECT_TRUE(Socket::dnsLookup(name, "127.0.0.1", true));
        EXPECT_EQ(icu::UnicodeString("127.0.0.1"), name);
        EXPECT_EQ(1U, Socket::getIPv4ByName(address, 1, "127.0.0.1"));
        EXPECT_EQ(0, Socket::exportAddrInfo("127.0.0.1", 1, record));
        ++done;
    });
    EXPECT_EQ(1, done);
}

}  // namespace
}  // namespace nx::oss

#include <sys/socket.h>

#include <cerrno>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include <infra/oss/kelSocketException.h>
#include <infra/oss/kelSocketServer.h>

#include "support/kelLoopback.h"
#include "support/kelRaises.h"
#include "support/kelSystemCallFaults.h"

namespace nx::oss {
namespace {

using test::Call;
using test::Fault;
using test::Report;
using test::SystemCalls;

class SocketServerFault : public testing::Test {
  protected:
    void listen() { server_.listen(0, 7, false); }
    Report error(const std::string& identifier, std::vector<std::string> first = {}) const {
        first.insert(first.end(), {"localhost", std::to_string(server_.getPort())});
        return Report(identifier).in("kelSocketServer.cpp").with(std::move(first));
    }
    void expectListenFailsWith(const Report& report) {
        const test::NoDescriptorLeak check;
        EXPECT_RAISES(SocketException, listen(), report);
        EXPECT_TRUE(calls_.allHappened());
        EXPECT_EQ(0, calls_.openAddressLists());
        EXPECT_EQ(-1, server_.getDescriptor());
        EXPECT_EQ(0U, server_.getPort());
        EXPECT_FALSE(server_.isListening());
    }
    void expectListens() {
        const std::size_t before = test::openDescriptors();
        EXPECT_NO_THROW(listen());
        EXPECT_EQ(before + 1, test::openDescriptors());
        EXPECT_EQ(0, calls_.openAddressLists());
        EXPECT_TRUE(server_.isListening());
    }
    void expectAccepts(const unsigned long* timeout) {
        const test::FileDescriptor client = test::connectTo(server_.getPort());
        test::waitUntilReadable(server_.getDescriptor());
        EXPECT_NO_THROW(server_.accept(target_, timeout));
        EXPECT_TRUE(target_.isOwner());
    }

    SystemCalls calls_;
    SocketServer server_;
    Socket target_;
};

TEST_F(SocketServerFault, ListenMakesEachCallOnceAndInOrder) {
    server_.listen(0, 7, true);
    EXPECT_EQ((std::vector<Call>{Call::GETADDRINFO, Call::SOCKET, Call::SETSOCKOPT, Call::BIND,
                                 Call::LISTEN, Call::GETSOCKNAME}),
              calls_.calls());
    EXPECT_EQ(7, calls_.first(Call::LISTEN).flags);
}

TEST_F(SocketServerFault, ListenAsksTheResolverForWildcardAddresses) {
    listen();
    const test::Query& query = calls_.query();
    EXPECT_FALSE(query.hasHost);
    EXPECT_STREQ("0", query.service);
    EXPECT_EQ(AI_PASSIVE, query.flags);
    EXPECT_EQ(AF_UNSPEC, query.family);
    EXPECT_EQ(SOCK_STREAM, query.type);
    EXPECT_EQ(0, query.protocol);
}

TEST_F(SocketServerFault, ListenAsksForThePortOnlyWhenTheSystemChoseIt) {
    const test::BoundPort holder(/*reuseAddress=*/true);
    const SystemCalls calls;
    server_.listen(holder.port(), 7, true);
    EXPECT_EQ(0U, calls.count(Call::GETSOCKNAME));
}

TEST_F(SocketServerFault, ListenNamesTheResolversCodeAndText) {
    calls_.add({Call::GETADDRINFO, 1, Fault::RETURN, -10});
    expectListenFailsWith(Report("ERR_SOCKET_GETADDRINFO_ERROR")
                              .in("kelSocketServer.cpp")
                              .with({"localhost", "0", "-10", "Memory allocation failure"}));
    expectListens();
}

TEST_F(SocketServerFault, ListenSkipsAnAddressThatHasNoSocket) {
    calls_.resolveTo({"127.0.0.1", "127.0.0.1"});
    calls_.fail(Call::SOCKET, 1, EAFNOSUPPORT);
    expectListens();
}

TEST_F(SocketServerFault, ListenSkipsAnAddressThatCannotBeBound) {
    calls_.resolveTo({"127.0.0.1", "127.0.0.1"});
    calls_.fail(Call::BIND, 1, EADDRINUSE);
    expectListens();
    EXPECT_EQ(1U, calls_.count(Call::CLOSE));
}

TEST_F(SocketServerFault, ListenUsesOnlyTheFirstAddressThatBinds) {
    calls_.resolveTo({"127.0.0.1", "127.0.0.1"});
    expectListens();
    EXPECT_EQ(1U, calls_.count(Call::BIND));
}

TEST_F(SocketServerFault, ListenReportsTheLastBind) {
    calls_.resolveTo({"127.0.0.1", "127.0.0.1"});
    calls_.fail(Call::BIND, 1, EACCES);
    calls_.fail(Call::BIND, 2, EADDRINUSE);
    expectListenFailsWith(error("NX_ERR_SOCKET_ADDRESS_IN_USE"));
    expectListens();
}

TEST_F(SocketServerFault, ListenReportsABindRatherThanALaterMissingSocket) {
    calls_.resolveTo({"127.0.0.1", "127.0.0.1"});
    calls_.fail(Call::BIND, 1, EADDRINUSE);
    calls_.fail(Call::SOCKET, 2, EAFNOSUPPORT);
    expectListenFailsWith(error("NX_ERR_SOCKET_ADDRESS_IN_USE"));
}

TEST_F(SocketServerFault, ListenReportsTheMissingSocketWhenNothingWasBound) {
    calls_.resolveTo({"127.0.0.1", "127.0.0.1"});
    calls_.fail(Call::SOCKET, 1, EAFNOSUPPORT);
    calls_.fail(Call::SOCKET, 2, EMFILE);
    expectListenFailsWith(error("NX_ERR_SOCKET_ERROR", {"24"}));
}

TEST_F(SocketServerFault, ListenStopsTheWalkWhenReuseAddressFails) {
    calls_.resolveTo({"127.0.0.1", "127.0.0.1"});
    calls_.fail(Call::SETSOCKOPT, 1, ENOMEM);
    const test::NoDescriptorLeak check;
    EXPECT_RAISES(SocketException, server_.listen(0, 7, true),
                  error("NX_ERR_SOCKET_ERROR", {"12"}));
    EXPECT_EQ(1U, calls_.count(Call::SOCKET));
    EXPECT_EQ(0, calls_.openAddressLists());
    EXPECT_EQ(-1, server_.getDescriptor());
}

TEST_F(SocketServerFault, ListenMayBeRepeatedAfterTheSystemRefused) {
    calls_.fail(Call::LISTEN, 1, EADDRINUSE);
    expectListenFailsWith(error("NX_ERR_SOCKET_ADDRESS_IN_USE"));
    expectListens();
    expectAccepts(nullptr);
}

TEST_F(SocketServerFault, ListenMayBeRepeatedAfterThePortCouldNotBeRead) {
    calls_.fail(Call::GETSOCKNAME, 1, ENOBUFS);
    expectListenFailsWith(error("NX_ERR_SOCKET_ERROR", {"105"}));
    expectListens();
}

TEST_F(SocketServerFault, AcceptWaitsInSlicesOfTenMillionMillisecondsWithoutTimeOut) {
    listen();
    calls_.add({Call::SELECT, 1, Fault::TIME_OUT, 0});
    calls_.add({Call::SELECT, 2, Fault::TIME_OUT, 0});
    expectAccepts(nullptr);
    EXPECT_EQ(3U, calls_.count(Call::SELECT));
    for (const test::CallRecord& record : calls_.records()) {
        if (record.call == Call::SELECT) {
            EXPECT_FALSE(record.waitsForever);
            EXPECT_EQ(10000, record.timeout.tv_sec);
            EXPECT_EQ(0, record.timeout.tv_usec);
        }
    }
}

TEST_F(SocketServerFault, AcceptEndsAfterOneSliceWithATimeOut) {
    listen();
    calls_.add({Call::SELECT, 1, Fault::TIME_OUT, 0});
    const unsigned long timeout = 1500;
    EXPECT_RAISES(SocketException, server_.accept(target_, &timeout), error("ERR_SOCKET_TIMEOUT"));
    EXPECT_EQ(1U, calls_.count(Call::SELECT));
    EXPECT_EQ(1, calls_.first(Call::SELECT).timeout.tv_sec);
    EXPECT_EQ(500000, calls_.first(Call::SELECT).timeout.tv_usec);
}

TEST_F(SocketServerFault, AcceptNoticesAStopAfterEachSlice) {
    listen();
    calls_.add({Call::SELECT, 1, Fault::TIME_OUT, 0});
    calls_.add({Call::SELECT, 2, Fault::TIME_OUT, 0});
    calls_.before(Call::SELECT, 2, [&] { server_.shutdownRead(); });
    EXPECT_RAISES(SocketException, server_.accept(target_, nullptr),
                  error("NX_ERR_SOCKET_ERROR", {"22"}));
    EXPECT_EQ(2U, calls_.count(Call::SELECT));
}

TEST_F(SocketServerFault, AcceptOfAStoppedServerWaitsFirstAndLeavesTheClientAlone) {
    listen();
    const test::FileDescriptor client = test::connectTo(server_.getPort());
    test::waitUntilReadable(server_.getDescriptor());
    server_.shutdownRead();
    EXPECT_RAISES(SocketException, server_.accept(target_, nullptr),
                  error("NX_ERR_SOCKET_ERROR", {"22"}));
    EXPECT_EQ(1U, calls_.count(Call::SELECT));
    EXPECT_EQ(0U, calls_.count(Call::ACCEPT));
}

TEST_F(SocketServerFault, AcceptWorksAgainAfterEveryFailure) {
    listen();
    calls_.fail(Call::ACCEPT, 1, EMFILE);
    calls_.fail(Call::ACCEPT, 2, ECONNABORTED);
    calls_.fail(Call::SELECT, 3, EINTR);
    const test::FileDescriptor client = test::connectTo(server_.getPort());
    test::waitUntilReadable(server_.getDescriptor());
    EXPECT_RAISES(SocketException, server_.accept(target_, nullptr),
                  error("NX_ERR_SOCKET_ERROR", {"24"}));
    EXPECT_RAISES(SocketException, server_.accept(target_, nullptr),
                  error("NX_ERR_SOCKET_ERROR", {"103"}));
    EXPECT_THROW(server_.accept(target_, nullptr), SocketException);
    EXPECT_EQ(-1, target_.getDescriptor());
    EXPECT_NO_THROW(server_.accept(target_, nullptr));
    EXPECT_TRUE(target_.isOwner());
}

TEST_F(SocketServerFault, AcceptAndShutdownsOfAnIdleServerMakeNoCall) {
    EXPECT_THROW(server_.accept(target_, nullptr), SocketException);
    EXPECT_THROW(server_.shutdownRead(), SocketException);
    EXPECT_THROW(server_.shutdownWrite(), SocketException);
    EXPECT_THROW(server_.shutdownReadWrite(), SocketException);
    EXPECT_TRUE(calls_.records().empty());
}

TEST_F(SocketServerFault, ShutdownsSetAnOptionOfEightBytesAndNeverShutDown) {
    listen();
    server_.shutdownReadWrite();
    EXPECT_EQ((std::vector<std::size_t>{8, 8}), calls_.lengths(Call::SETSOCKOPT));
    EXPECT_EQ(0U, calls_.count(Call::SHUTDOWN));
    EXPECT_EQ(0U, calls_.count(Call::CLOSE));
}

}  // namespace
}  // namespace nx::oss

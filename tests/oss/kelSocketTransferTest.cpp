#include <string>
#include <vector>

#include <gtest/gtest.h>

#include <infra/oss/kelSocket.h>
#include <infra/oss/kelSocketException.h>

#include "support/kelLoopback.h"
#include "support/kelRaises.h"

namespace nx::oss {
namespace {

using test::Connection;
using test::JoinedThread;
using test::Report;

/// Far more than the system buffers for a connection.
constexpr std::size_t LARGE = 24U << 20;

std::string pattern(std::size_t length) {
    std::string bytes(length, '\0');
    unsigned int state = 1;
    for (char& byte : bytes) {
        state = state * 1664525U + 1013904223U;
        byte = static_cast<char>(state >> 24);
    }
    return bytes;
}

class SocketTransfer : public testing::Test {
  protected:
    int peer() const { return connection_.peer.get(); }
    Socket& socket() { return connection_.socket; }
    Report error(const std::string& identifier, std::vector<std::string> numbers = {}) const {
        numbers.insert(numbers.end(), {"127.0.0.1", connection_.portText()});
        return Report(identifier).in("kelSocket.cpp").with(std::move(numbers));
    }
    void closePeer() { connection_.peer.close(); }
    void resetPeer() {
        connection_.peer.closeWithReset();
        test::waitUntilReadable(socket().getDescriptor());
    }

    Connection connection_;
    char bytes_[16] = "...............";
};

using SocketWrite = SocketTransfer;
using SocketRead = SocketTransfer;
using SocketReadOnce = SocketTransfer;

TEST_F(SocketWrite, SendsTheBytesThatStartAtTheOffset) {
    socket().write("abcdefgh", 2, 3);
    socket().close();
    EXPECT_EQ("cde", test::receiveToEnd(peer()));
}

TEST_F(SocketWrite, SendsNothingForLengthZero) {
    socket().write("abc", 1, 0);
    socket().write(nullptr, 0, 0);
    socket().close();
    EXPECT_EQ("", test::receiveToEnd(peer()));
}

TEST_F(SocketWrite, SendsEveryByteValue) {
    std::string all;
    for (int value = 0; value < 256; ++value) {
        all.push_back(static_cast<char>(value));
    }
    socket().write(all.data(), 0, all.size());
    EXPECT_EQ(all, test::receive(peer(), 256));
}

TEST_F(SocketWrite, BlocksUntilAllBytesAreOut) {
    const std::string bytes = pattern(LARGE);
    std::string received;
    {
        const JoinedThread reader([&] { received = test::receive(peer(), LARGE); });
        socket().write(bytes.data(), 0, bytes.size());
    }
    EXPECT_TRUE(bytes == received);
}

TEST_F(SocketWrite, ToAPeerThatHasClosedRaisesInsteadOfKillingTheProcess) {
    closePeer();
    test::waitUntilReadable(socket().getDescriptor());
    bool raised = false;
    while (!raised) {  // the first bytes are accepted and answered by a reset
        try {
            socket().write("a", 0, 1);
        } catch (const SocketException& e) {
            raised = true;
            EXPECT_TRUE(error("NX_ERR_SOCKET_BROKEN_PIPE").matches(e) ||
                        error("NX_ERR_SOCKET_CONNECTION_RESET").matches(e));
        }
    }
    EXPECT_TRUE(socket().isOwner());
}

TEST_F(SocketWrite, ToAPeerThatHasResetReportsTheResetThenTheBrokenPipe) {
    resetPeer();
    EXPECT_RAISES(SocketException, socket().write("a", 0, 1),
                  error("NX_ERR_SOCKET_CONNECTION_RESET"));
    EXPECT_RAISES(SocketException, socket().write("a", 0, 1), error("NX_ERR_SOCKET_BROKEN_PIPE"));
}

TEST_F(SocketWrite, OnANonBlockingDescriptorRaisesWhenTheSystemTakesNoMore) {
    socket().setNonBlocking(true);
    const std::string bytes(LARGE, 'x');
    EXPECT_RAISES(SocketException, socket().write(bytes.data(), 0, bytes.size()),
                  error("NX_ERR_SOCKET_ERROR", {"11"}));
}

TEST_F(SocketRead, LoopsUntilAllBytesHaveArrived) {
    const JoinedThread writer(
        [&] { test::sendByteByByte(peer(), "abcdefghij", socket().getDescriptor()); });
    EXPECT_EQ(10U, socket().read(bytes_, 2, 10));
    EXPECT_STREQ("..abcdefghij...", bytes_);
}

TEST_F(SocketRead, LeavesWhatWasNotAskedFor) {
    test::sendAll(peer(), "abcdef");
    EXPECT_EQ(4U, socket().read(bytes_, 0, 4));
    EXPECT_EQ(2U, socket().read(bytes_, 4, 2));
    EXPECT_STREQ("abcdef.........", bytes_);
}

TEST_F(SocketRead, ReturnsThePartThatCameBeforeThePeerClosed) {
    test::sendAll(peer(), "abcd");
    closePeer();
    EXPECT_EQ(4U, socket().read(bytes_, 0, 10));
    EXPECT_STREQ("abcd...........", bytes_);
    EXPECT_EQ(0, socket().readOnce(bytes_, 0, 10));
    EXPECT_EQ(0U, socket().read(bytes_, 0, 10));
}

TEST_F(SocketRead, ReturnsAtOnceForLengthZero) {
    EXPECT_EQ(0U, socket().read(bytes_, 0, 0));
    EXPECT_EQ(0U, socket().read(nullptr, 0, 0));
}

TEST_F(SocketRead, ReceivesManyMegabytes) {
    const std::string bytes = pattern(LARGE);
    std::string received(LARGE, '\0');
    {
        const JoinedThread writer([&] { test::sendAll(peer(), bytes); });
        EXPECT_EQ(LARGE, socket().read(received.data(), 0, LARGE));
    }
    EXPECT_TRUE(bytes == received);
}

TEST_F(SocketRead, RaisesWhenThePeerResetsBetweenTheBytes) {
    test::sendAll(peer(), "abc");
    resetPeer();
    EXPECT_RAISES(SocketException, socket().read(bytes_, 0, 10),
                  error("NX_ERR_SOCKET_CONNECTION_RESET"));
}

TEST_F(SocketRead, OnANonBlockingDescriptorRaisesWhenBytesAreMissing) {
    socket().setNonBlocking(true);
    test::sendAll(peer(), "abc");
    test::waitUntilReadable(socket().getDescriptor());
    EXPECT_RAISES(SocketException, socket().read(bytes_, 0, 10),
                  error("NX_ERR_SOCKET_ERROR", {"11"}));
    EXPECT_STREQ("abc............", bytes_);
}

TEST_F(SocketReadOnce, ReturnsWhatIsThere) {
    test::sendAll(peer(), "abc");
    test::waitUntilReadable(socket().getDescriptor());
    EXPECT_EQ(3, socket().readOnce(bytes_, 1, 10));
    EXPECT_STREQ(".abc...........", bytes_);
}

TEST_F(SocketReadOnce, TakesAtMostTheLength) {
    test::sendAll(peer(), "abcdef");
    test::waitUntilReadable(socket().getDescriptor());
    EXPECT_EQ(2, socket().readOnce(bytes_, 0, 2));
    EXPECT_EQ(4U, socket().read(bytes_, 2, 4));
    EXPECT_STREQ("abcdef.........", bytes_);
}

TEST_F(SocketReadOnce, ReturnsZeroWhenThePeerHasClosed) {
    closePeer();
    EXPECT_EQ(0, socket().readOnce(bytes_, 0, 10));
    EXPECT_EQ(0, socket().readOnce(bytes_, 0, 10));
}

TEST_F(SocketReadOnce, RaisesWhenThePeerHasReset) {
    resetPeer();
    EXPECT_RAISES(SocketException, socket().readOnce(bytes_, 0, 1),
                  error("NX_ERR_SOCKET_CONNECTION_RESET"));
}

TEST(SocketTransferOnAWrapper, ReportsAnEmptyHostAndPortZero) {
    const test::BoundPort bound;
    Socket socket(static_cast<long>(bound.descriptor()));
    char byte = 0;
    EXPECT_RAISES(SocketException, socket.read(&byte, 0, 1),
                  Report("NX_ERR_SOCKET_NOT_CONNECTED").in("kelSocket.cpp").with({"", "0"}));
    EXPECT_RAISES(SocketException, socket.write(&byte, 0, 1),
                  Report("NX_ERR_SOCKET_BROKEN_PIPE").in("kelSocket.cpp").with({"", "0"}));
}

}  // namespace
}  // namespace nx::oss

#include <infra/oss/kelSocket.h>

#include <fcntl.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <signal.h>
#include <sys/socket.h>
#include <unistd.h>

#include <climits>
#include <type_traits>

#include <gtest/gtest.h>

#include <infra/oss/kelSocketException.h>

#include "support/kelLoopback.h"
#include "support/kelRaises.h"

namespace nx::oss {
namespace {

using test::Connection;
using test::NoDescriptorLeak;
using test::Report;
using test::utf8;

Report notConnected(const std::string& host, const std::string& port) {
    return Report("ERR_SOCKET_NOT_CONNECTED").in("kelSocket.cpp").with({host, port});
}

Report mapped(const std::string& identifier, std::vector<std::string> arguments) {
    return Report(identifier).in("kelSocket.cpp").with(std::move(arguments));
}

TEST(SocketType, HasAVirtualDestructorAndFourFields) {
    static_assert(std::has_virtual_destructor_v<Socket>);
    static_assert(std::is_polymorphic_v<Socket>);
    static_assert(sizeof(Socket) ==
                  sizeof(void*) + 2 * sizeof(long) + sizeof(icu::UnicodeString) + sizeof(long));
    static_assert(std::has_virtual_destructor_v<Socket::CSocketInitializer>);
    static_assert(!std::is_convertible_v<long, Socket>);
}

TEST(SocketDefault, HasNoDescriptorNoHostAndNoPort) {
    const Socket socket;
    EXPECT_FALSE(socket.isOwner());
    EXPECT_EQ(-1, socket.getDescriptor());
    EXPECT_EQ("", utf8(socket.getHostName()));
    EXPECT_EQ(0U, socket.getPort());
}

TEST(SocketFromDescriptor, WrapsWithoutOwning) {
    const test::BoundPort bound;
    {
        const Socket socket(static_cast<long>(bound.descriptor()));
        EXPECT_FALSE(socket.isOwner());
        EXPECT_EQ(bound.descriptor(), socket.getDescriptor());
        EXPECT_EQ("", utf8(socket.getHostName()));
        EXPECT_EQ(0U, socket.getPort());
    }
    EXPECT_TRUE(test::isOpen(bound.descriptor()));
}

TEST(SocketWithoutDescriptor, RefusesToTransferAndToSwitchOptions) {
    Socket socket;
    char byte = 'a';
    unsigned long length = 77;
    const Report report = notConnected("", "0");
    EXPECT_RAISES(SocketException, socket.write(&byte, 0, 1), report);
    EXPECT_RAISES(SocketException, socket.write(&byte, 0, 0), report);
    EXPECT_RAISES(SocketException, socket.read(&byte, 0, 1), report);
    EXPECT_RAISES(SocketException, socket.read(&byte, 0, 0), report);
    EXPECT_RAISES(SocketException, socket.readOnce(&byte, 0, 1), report);
    EXPECT_RAISES(SocketException, socket.setNonBlocking(true), report);
    EXPECT_RAISES(SocketException, socket.setTcpNoDelay(false), report);
    EXPECT_RAISES(SocketException, socket.writeItem(&byte, 0, 1), report);
    EXPECT_RAISES(SocketException, socket.readItem(&byte, length, 0, 1, true), report);
    EXPECT_EQ(77U, length);
    EXPECT_EQ('a', byte);
}

TEST(SocketWithoutDescriptor, NamesTheHostAndPortOfTheLastAttempt) {
    const test::BoundPort refusing;
    Socket socket;
    EXPECT_THROW(socket.connect("127.0.0.1", refusing.port(), nullptr), SocketException);
    EXPECT_RAISES(SocketException, socket.setTcpNoDelay(true),
                  notConnected("127.0.0.1", refusing.portText()));
}

TEST(SocketWithoutDescriptor, IgnoresShutdownsAndClose) {
    Socket socket;
    EXPECT_NO_THROW(socket.shutdownRead());
    EXPECT_NO_THROW(socket.shutdownWrite());
    EXPECT_NO_THROW(socket.shutdownReadWrite());
    EXPECT_NO_THROW(socket.close());
    EXPECT_EQ(-1, socket.getDescriptor());
}

TEST(SocketClose, ClosesTheConnectionAndForgetsHostAndPort) {
    Connection connection;
    const long descriptor = connection.socket.getDescriptor();
    connection.socket.close();
    EXPECT_FALSE(test::isOpen(descriptor));
    EXPECT_FALSE(connection.socket.isOwner());
    EXPECT_EQ(-1, connection.socket.getDescriptor());
    EXPECT_EQ("", utf8(connection.socket.getHostName()));
    EXPECT_EQ(0U, connection.socket.getPort());
    EXPECT_EQ("", test::receiveToEnd(connection.peer.get()));
}

TEST(SocketClose, DoesNothingTheSecondTime) {
    Connection connection;
    connection.socket.close();
    EXPECT_NO_THROW(connection.socket.close());
    EXPECT_EQ(-1, connection.socket.getDescriptor());
}

TEST(SocketClose, LeavesANonOwningSocketUntouchedItsDescriptorIncluded) {
    Connection connection;
    Socket copy(connection.socket);
    copy.close();
    EXPECT_EQ(connection.socket.getDescriptor(), copy.getDescriptor());
    EXPECT_EQ("127.0.0.1", utf8(copy.getHostName()));
    EXPECT_EQ(connection.listener.port(), copy.getPort());
    EXPECT_TRUE(test::isOpen(connection.socket.getDescriptor()));
}

TEST(SocketClose, IgnoresTheFailureOfTheSystemCall) {
    Connection connection;
    test::closeBehindItsBack(connection.socket);
    EXPECT_NO_THROW(connection.socket.close());
    EXPECT_EQ(-1, connection.socket.getDescriptor());
    EXPECT_FALSE(connection.socket.isOwner());
}

TEST(SocketDestructor, ClosesAnOwnedConnection) {
    const NoDescriptorLeak check;
    long descriptor = -1;
    {
        const Connection connection;
        descriptor = connection.socket.getDescriptor();
    }
    EXPECT_FALSE(test::isOpen(descriptor));
}

TEST(SocketDestructor, SwallowsAFailingClose) {
    const test::Listener listener;
    EXPECT_NO_THROW({
        Socket socket;
        socket.connect("127.0.0.1", listener.port(), nullptr);
        test::closeBehindItsBack(socket);
    });
}

TEST(SocketSetNonBlocking, SwitchesTheModeOfTheDescriptor) {
    Connection connection;
    const int descriptor = static_cast<int>(connection.socket.getDescriptor());
    connection.socket.setNonBlocking(true);
    EXPECT_NE(0, ::fcntl(descriptor, F_GETFL) & O_NONBLOCK);
    char byte = 0;
    EXPECT_RAISES(SocketException, connection.socket.readOnce(&byte, 0, 1),
                  mapped("NX_ERR_SOCKET_ERROR", {"11", "127.0.0.1", connection.portText()}));
    connection.socket.setNonBlocking(false);
    EXPECT_EQ(0, ::fcntl(descriptor, F_GETFL) & O_NONBLOCK);
}

TEST(SocketSetTcpNoDelay, SetsAndClearsTheOption) {
    Connection connection;
    const long descriptor = connection.socket.getDescriptor();
    connection.socket.setTcpNoDelay(false);
    EXPECT_EQ(0, test::socketOption(descriptor, IPPROTO_TCP, TCP_NODELAY));
    connection.socket.setTcpNoDelay(true);
    EXPECT_EQ(1, test::socketOption(descriptor, IPPROTO_TCP, TCP_NODELAY));
}

TEST(SocketOptions, OnAClosedDescriptorEndInTheErrorForEbadf) {
    Socket socket(test::closedDescriptor());
    char byte = 'a';
    const Report report = mapped("NX_ERR_SOCKET_ERROR", {"9", "", "0"});
    EXPECT_RAISES(SocketException, socket.setNonBlocking(true), report);
    EXPECT_RAISES(SocketException, socket.setTcpNoDelay(true), report);
    EXPECT_RAISES(SocketException, socket.shutdownRead(), report);
    EXPECT_RAISES(SocketException, socket.shutdownWrite(), report);
    EXPECT_RAISES(SocketException, socket.shutdownReadWrite(), report);
    EXPECT_RAISES(SocketException, socket.write(&byte, 0, 1), report);
    EXPECT_RAISES(SocketException, socket.read(&byte, 0, 1), report);
    EXPECT_RAISES(SocketException, socket.readOnce(&byte, 0, 1), report);
}

TEST(SocketOptions, OnANumberThatNoDescriptorCanHaveLeaveOtherDescriptorsAlone) {
    Connection connection;
    const long descriptor = connection.socket.getDescriptor();
    char byte = 'a';
    for (const long number : {-2L, LONG_MIN, LONG_MAX, 4294967296L + descriptor}) {
        Socket socket(number);
        const Report report = mapped("NX_ERR_SOCKET_ERROR", {"9", "", "0"});
        EXPECT_RAISES(SocketException, socket.write(&byte, 0, 1), report);
        EXPECT_RAISES(SocketException, socket.readOnce(&byte, 0, 1), report);
        EXPECT_RAISES(SocketException, socket.setNonBlocking(true), report);
        EXPECT_RAISES(SocketException, socket.shutdownReadWrite(), report);
        EXPECT_EQ(-1, Socket::closeStatic(number));
    }
    EXPECT_TRUE(test::isOpen(descriptor));
}

TEST(SocketSetSoTimeout, DoesNothingForAnyValue) {
    Socket unconnected;
    EXPECT_NO_THROW(unconnected.setSoTimeout(100));
    Connection connection;
    const long descriptor = connection.socket.getDescriptor();
    for (const long value : {0L, 1L, -1L, LONG_MAX, LONG_MIN}) {
        EXPECT_NO_THROW(connection.socket.setSoTimeout(value));
    }
    timeval limit{1, 1};
    socklen_t length = sizeof limit;
    ASSERT_EQ(0,
              ::getsockopt(static_cast<int>(descriptor), SOL_SOCKET, SO_RCVTIMEO, &limit, &length));
    EXPECT_EQ(0, limit.tv_sec);
    EXPECT_EQ(0, limit.tv_usec);
}

TEST(SocketShutdownRead, EndsReadingOnly) {
    Connection connection;
    connection.socket.shutdownRead();
    char byte = 0;
    EXPECT_EQ(0, connection.socket.readOnce(&byte, 0, 1));
    connection.socket.write("abc", 0, 3);
    EXPECT_EQ("abc", test::receive(connection.peer.get(), 3));
    EXPECT_TRUE(connection.socket.isOwner());
}

TEST(SocketShutdownWrite, EndsWritingOnlyAndKeepsTheDescriptor) {
    Connection connection;
    connection.socket.shutdownWrite();
    EXPECT_EQ("", test::receiveToEnd(connection.peer.get()));
    EXPECT_RAISES(SocketException, connection.socket.write("a", 0, 1),
                  mapped("NX_ERR_SOCKET_BROKEN_PIPE", {"127.0.0.1", connection.portText()}));
    test::sendAll(connection.peer.get(), "xyz");
    char bytes[3];
    EXPECT_EQ(3U, connection.socket.read(bytes, 0, 3));
    EXPECT_TRUE(test::isOpen(connection.socket.getDescriptor()));
}

TEST(SocketShutdownReadWrite, EndsBothDirectionsAndKeepsTheDescriptor) {
    Connection connection;
    connection.socket.shutdownReadWrite();
    char byte = 0;
    EXPECT_EQ(0, connection.socket.readOnce(&byte, 0, 1));
    EXPECT_RAISES(SocketException, connection.socket.write("a", 0, 1),
                  mapped("NX_ERR_SOCKET_BROKEN_PIPE", {"127.0.0.1", connection.portText()}));
    EXPECT_TRUE(test::isOpen(connection.socket.getDescriptor()));
    EXPECT_TRUE(connection.socket.isOwner());
}

TEST(SocketShutdown, OfAConnectionThatWasNeverMadeIsNotConnected) {
    const test::BoundPort bound;
    Socket socket(static_cast<long>(bound.descriptor()));
    const Report report = mapped("NX_ERR_SOCKET_NOT_CONNECTED", {"", "0"});
    EXPECT_RAISES(SocketException, socket.shutdownRead(), report);
    EXPECT_RAISES(SocketException, socket.shutdownWrite(), report);
    EXPECT_RAISES(SocketException, socket.shutdownReadWrite(), report);
}

TEST(SocketCloseStatic, ReturnsTheResultOfTheSystemCall) {
    const int descriptor = ::socket(AF_INET, SOCK_STREAM, 0);
    ASSERT_GE(descriptor, 0);
    EXPECT_EQ(0, Socket::closeStatic(descriptor));
    EXPECT_EQ(-1, Socket::closeStatic(descriptor));
}

TEST(SocketSetNonBlockingStatic, ReturnsTheResultOfTheSystemCall) {
    const test::BoundPort bound;
    EXPECT_EQ(0, Socket::setNonBlockingStatic(bound.descriptor(), true));
    EXPECT_NE(0, ::fcntl(bound.descriptor(), F_GETFL) & O_NONBLOCK);
    EXPECT_EQ(0, Socket::setNonBlockingStatic(bound.descriptor(), false));
    EXPECT_EQ(0, ::fcntl(bound.descriptor(), F_GETFL) & O_NONBLOCK);
    EXPECT_EQ(-1, Socket::setNonBlockingStatic(test::closedDescriptor(), true));
}

TEST(SocketGetSocketErrorStatic, TakesThePendingErrorOffTheDescriptor) {
    Connection connection;
    connection.peer.closeWithReset();
    const long descriptor = connection.socket.getDescriptor();
    test::waitUntilReadable(descriptor);
    const icu::UnicodeString host = u"server1";
    EXPECT_EQ(104, Socket::getSocketErrorStatic(descriptor, &host, 8080));
    EXPECT_EQ(0, Socket::getSocketErrorStatic(descriptor, &host, 8080));
}

TEST(SocketGetSocketErrorStatic, NamesHostAndPortWhenTheSystemCallFails) {
    const icu::UnicodeString host = u"server1";
    const long descriptor = test::closedDescriptor();
    EXPECT_RAISES(SocketException, Socket::getSocketErrorStatic(descriptor, &host, 8080),
                  mapped("NX_ERR_SOCKET_ERROR", {"9", "server1", "8080"}));
    EXPECT_RAISES(SocketException, Socket::getSocketErrorStatic(descriptor, nullptr, 8080),
                  mapped("NX_ERR_SOCKET_ERROR", {"9"}));
}

TEST(SocketInitializer, HasIgnoredSigpipeSinceLoad) {
    struct sigaction action {};
    ASSERT_EQ(0, sigaction(SIGPIPE, nullptr, &action));
    EXPECT_EQ(SIG_IGN, action.sa_handler);
}

TEST(SocketInitializer, SetsTheDispositionWhenBuiltAndLeavesItWhenDestroyed) {
    ASSERT_NE(SIG_ERR, signal(SIGPIPE, SIG_DFL));
    { const Socket::CSocketInitializer initializer; }
    EXPECT_EQ(SIG_IGN, signal(SIGPIPE, SIG_IGN));
}

}  // namespace
}  // namespace nx::oss

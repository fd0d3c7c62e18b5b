#include <fcntl.h>
#include <netdb.h>
#include <netinet/in.h>
#include <netinet/tcp.h>

#include <string>

#include <gtest/gtest.h>

#include <infra/oss/kelSocket.h>
#include <infra/oss/kelSocketException.h>

#include "support/kelLoopback.h"
#include "support/kelRaises.h"

namespace nx::oss {
namespace {

using test::BoundPort;
using test::Connection;
using test::FullListener;
using test::Listener;
using test::NoDescriptorLeak;
using test::Report;
using test::utf8;

Report socketError(const std::string& identifier, std::vector<std::string> arguments) {
    return Report(identifier).in("kelSocket.cpp").with(std::move(arguments));
}

void expectUnconnected(const Socket& socket, const std::string& host, unsigned long port) {
    EXPECT_FALSE(socket.isOwner());
    EXPECT_EQ(-1, socket.getDescriptor());
    EXPECT_EQ(host, utf8(socket.getHostName()));
    EXPECT_EQ(port, socket.getPort());
}

void expectConnects(const icu::UnicodeString& host, unsigned long port) {
    Socket socket;
    EXPECT_NO_THROW(socket.connect(host, port, nullptr));
    EXPECT_TRUE(socket.isOwner());
    EXPECT_EQ(host, socket.getHostName());
    EXPECT_EQ(port, socket.getPort());
}

TEST(SocketConnect, MakesTheSocketAConnectedOwner) {
    const Connection connection;
    EXPECT_TRUE(connection.socket.isOwner());
    EXPECT_GE(connection.socket.getDescriptor(), 0);
    EXPECT_EQ("127.0.0.1", utf8(connection.socket.getHostName()));
    EXPECT_EQ(connection.listener.port(), connection.socket.getPort());
}

TEST(SocketConnect, LeavesTheDescriptorBlockingAndWithoutDelay) {
    const Connection connection;
    const int descriptor = static_cast<int>(connection.socket.getDescriptor());
    EXPECT_EQ(0, ::fcntl(descriptor, F_GETFL) & O_NONBLOCK);
    EXPECT_EQ(1, test::socketOption(descriptor, IPPROTO_TCP, TCP_NODELAY));
    EXPECT_EQ(0, ::fcntl(descriptor, F_GETFD) & FD_CLOEXEC);
}

TEST(SocketConnect, LeavesNothingBehindButItsDescriptor) {
    const NoDescriptorLeak check;
    const Connection connection;
    const std::size_t connected = test::openDescriptors();
    Socket second;
    second.connect("127.0.0.1", connection.listener.port(), nullptr);
    EXPECT_EQ(connected + 1, test::openDescriptors());
}

TEST(SocketConnect, SucceedsWithinATimeOut) {
    const Listener listener;
    const unsigned long timeout = 60000;
    Socket socket;
    socket.connect("127.0.0.1", listener.port(), &timeout);
    EXPECT_TRUE(socket.isOwner());
    EXPECT_EQ(60000U, timeout);
}

TEST(SocketConnect, WorksAgainAfterClose) {
    Connection connection;
    connection.socket.close();
    connection.socket.connect("127.0.0.1", connection.listener.port(), nullptr);
    EXPECT_TRUE(connection.socket.isOwner());
}

TEST(SocketConnect, WorksAfterAFailure) {
    const BoundPort refusing;
    const Listener listener;
    Socket socket;
    EXPECT_THROW(socket.connect("127.0.0.1", refusing.port(), nullptr), SocketException);
    socket.connect("127.0.0.1", listener.port(), nullptr);
    EXPECT_TRUE(socket.isOwner());
    EXPECT_EQ(listener.port(), socket.getPort());
}

TEST(SocketConnect, ToAPortWithoutListenerIsRefused) {
    const NoDescriptorLeak check;
    const BoundPort refusing;
    Socket socket;
    EXPECT_RAISES(
        SocketException, socket.connect("127.0.0.1", refusing.port(), nullptr),
        socketError("NX_ERR_SOCKET_CONNECTION_REFUSED", {"127.0.0.1", refusing.portText()}));
    expectUnconnected(socket, "127.0.0.1", refusing.port());
}

TEST(SocketConnect, IsRefusedAlsoWithATimeOut) {
    const NoDescriptorLeak check;
    const BoundPort refusing;
    const unsigned long timeout = 60000;
    Socket socket;
    EXPECT_RAISES(
        SocketException, socket.connect("127.0.0.1", refusing.port(), &timeout),
        socketError("NX_ERR_SOCKET_CONNECTION_REFUSED", {"127.0.0.1", refusing.portText()}));
}

class SocketConnectTimeout : public testing::TestWithParam<unsigned long> {};

TEST_P(SocketConnectTimeout, EndsTheWaitForAPeerThatDoesNotAnswer) {
    const FullListener full;
    const NoDescriptorLeak check;
    const unsigned long timeout = GetParam();
    Socket socket;
    EXPECT_RAISES(SocketException, socket.connect("127.0.0.1", full.port(), &timeout),
                  socketError("ERR_SOCKET_TIMEOUT", {"127.0.0.1", full.portText()}));
    expectUnconnected(socket, "127.0.0.1", full.port());
    EXPECT_EQ(GetParam(), timeout);
}

INSTANTIATE_TEST_SUITE_P(Milliseconds, SocketConnectTimeout, testing::Values(0UL, 1UL, 30UL));

TEST(SocketConnect, OnAConnectedSocketIsRefusedAndLeavesTheConnectionAlone) {
    Connection connection;
    const Listener other;
    const long descriptor = connection.socket.getDescriptor();
    EXPECT_RAISES(SocketException, connection.socket.connect("127.0.0.2", other.port(), nullptr),
                  socketError("ERR_SOCKET_CONNECTED", {"127.0.0.2", other.portText()}));
    EXPECT_TRUE(connection.socket.isOwner());
    EXPECT_EQ(descriptor, connection.socket.getDescriptor());
    EXPECT_EQ("127.0.0.1", utf8(connection.socket.getHostName()));
    EXPECT_EQ(connection.listener.port(), connection.socket.getPort());
    connection.socket.write("abc", 0, 3);
    EXPECT_EQ("abc", test::receive(connection.peer.get(), 3));
}

TEST(SocketConnect, OnASocketThatOnlySharesADescriptorIsRefusedToo) {
    const Connection connection;
    Socket copy(connection.socket);
    EXPECT_RAISES(SocketException, copy.connect("127.0.0.1", connection.listener.port(), nullptr),
                  socketError("ERR_SOCKET_CONNECTED", {"127.0.0.1", connection.portText()}));
    Socket wrapper(connection.socket.getDescriptor());
    EXPECT_RAISES(SocketException,
                  wrapper.connect("127.0.0.1", connection.listener.port(), nullptr),
                  socketError("ERR_SOCKET_CONNECTED", {"127.0.0.1", connection.portText()}));
}

TEST(SocketConnect, ReportsNotConnectedWhenEveryAddressFailsAtOnce) {
    const NoDescriptorLeak check;
    Socket socket;
    EXPECT_RAISES(SocketException, socket.connect("127.255.255.255", 9, nullptr),
                  socketError("ERR_SOCKET_NOT_CONNECTED", {"127.255.255.255", "9"}));
    expectUnconnected(socket, "127.255.255.255", 9);
}

class SocketConnectUnknownHost : public testing::TestWithParam<const char*> {};

TEST_P(SocketConnectUnknownHost, NamesTheResolversCodeAndText) {
    const NoDescriptorLeak check;
    Socket socket;
    try {
        socket.connect(GetParam(), 8080, nullptr);
        FAIL() << "nothing was thrown";
    } catch (const SocketException& e) {
        ASSERT_EQ(1U, e.messages.count());
        const Message& message = e.messages.getFirstMessage();
        EXPECT_EQ("ERR_SOCKET_GETADDRINFO_ERROR", utf8(message.getMessageID()));
        EXPECT_EQ("kelSocket.cpp", utf8(message.getFileName()));
        EXPECT_EQ(Message::DEFAULT, message.getMessageLevel());
        ASSERT_EQ(4U, message.getMessageArgsCount());
        auto argument = message.getMessageArgs().begin();
        EXPECT_EQ(GetParam(), utf8(*argument++));
        EXPECT_EQ("8080", utf8(*argument++));
        const int code = std::stoi(utf8(*argument++));
        EXPECT_NE(0, code);
        EXPECT_EQ(::gai_strerror(code), utf8(*argument));
    }
    expectUnconnected(socket, GetParam(), 8080);
}

INSTANTIATE_TEST_SUITE_P(Names, SocketConnectUnknownHost,
                         testing::Values("nosuchhost.invalid", "127.0.0.1 "));

TEST(SocketConnect, ToAnEmptyHostIsUnknown) {
    Socket socket;
    EXPECT_RAISES(SocketException, socket.connect("", 8080, nullptr),
                  socketError("ERR_SOCKET_GETADDRINFO_ERROR",
                              {"", "8080", "-2", "Name or service not known"}));
}

TEST(SocketConnect, PassesAnImpossiblePortToTheResolver) {
    Socket socket;
    EXPECT_RAISES(SocketException, socket.connect("127.0.0.1", 4294967295UL, nullptr),
                  socketError("ERR_SOCKET_GETADDRINFO_ERROR",
                              {"127.0.0.1", "-1", "-8", "Servname not supported for ai_socktype"}));
    expectUnconnected(socket, "127.0.0.1", 4294967295UL);
}

TEST(SocketConnect, TakesThePortAsAnUnsigned32BitNumber) {
    const Listener listener;
    expectConnects("127.0.0.1", 4294967296UL + listener.port());
}

TEST(SocketConnect, LeavesTheRangeOfPortsToTheResolver) {
    const Listener listener;
    expectConnects("127.0.0.1", 65536UL + listener.port());
}

TEST(SocketConnect, CutsTheHostAtItsFirstNul) {
    const Listener listener;
    expectConnects(icu::UnicodeString(u"127.0.0.1\0.invalid", 18), listener.port());
}

TEST(SocketConnect, ResolvesHostsThatFillItsBufferExactlyAndBeyond) {
    const Listener listener;
    for (const std::size_t length : {1024U, 1025U, 1026U, 1027U, 3000U}) {
        const std::string address = "177.0.0.1";  // octal, so that zeros may stand before it
        const std::string host = std::string(length - address.size(), '0') + address;
        expectConnects(icu::UnicodeString::fromUTF8(host), listener.port());
    }
}

}  // namespace
}  // namespace nx::oss

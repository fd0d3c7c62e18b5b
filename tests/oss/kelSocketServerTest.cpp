#include <infra/oss/kelSocketServer.h>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <string>
#include <type_traits>
#include <vector>

#include <gtest/gtest.h>

#include <infra/oss/kelSocketException.h>

#include "support/kelLoopback.h"
#include "support/kelRaises.h"

namespace nx::oss {
namespace {

using test::NoDescriptorLeak;
using test::Report;
using test::utf8;

constexpr unsigned long AT_ONCE = 0;
constexpr unsigned long SLICE = 100;

Report serverError(const std::string& identifier, std::vector<std::string> arguments) {
    return Report(identifier).in("kelSocketServer.cpp").with(std::move(arguments));
}

/// A server listening on a port of the system's choice.
struct ListeningServer : SocketServer {
    ListeningServer() { listen(0, 5, true); }

    Report error(const std::string& identifier, std::vector<std::string> numbers = {}) const {
        numbers.insert(numbers.end(), {"localhost", std::to_string(getPort())});
        return serverError(identifier, std::move(numbers));
    }
};

void expectIdle(const SocketServer& server) {
    EXPECT_EQ(-1, server.getDescriptor());
    EXPECT_EQ(0U, server.getPort());
    EXPECT_FALSE(server.isListening());
}

TEST(SocketServerType, HasAVirtualDestructorAndIsNotCopied) {
    static_assert(std::has_virtual_destructor_v<SocketServer>);
    static_assert(!std::is_copy_constructible_v<SocketServer>);
    static_assert(!std::is_copy_assignable_v<SocketServer>);
}

TEST(SocketServerDefault, IsIdleAndCallsItselfLocalhost) {
    const SocketServer server;
    expectIdle(server);
    EXPECT_EQ("localhost", utf8(server.getHostName()));
}

TEST(SocketServerListen, StoresThePortChosenByTheSystem) {
    const ListeningServer server;
    EXPECT_TRUE(server.isListening());
    EXPECT_GE(server.getDescriptor(), 0);
    EXPECT_NE(0U, server.getPort());
    EXPECT_EQ(test::localPort(static_cast<int>(server.getDescriptor())), server.getPort());
    EXPECT_NO_THROW(test::connectTo(server.getPort()));
}

TEST(SocketServerListen, BindsTheWildcardAddress) {
    const ListeningServer server;
    sockaddr_storage address{};
    socklen_t length = sizeof address;
    ASSERT_EQ(0, ::getsockname(static_cast<int>(server.getDescriptor()),
                               reinterpret_cast<sockaddr*>(&address), &length));
    const in6_addr any = IN6ADDR_ANY_INIT;
    const bool wildcard =
        address.ss_family == AF_INET
            ? reinterpret_cast<const sockaddr_in&>(address).sin_addr.s_addr == INADDR_ANY
            : IN6_ARE_ADDR_EQUAL(&reinterpret_cast<const sockaddr_in6&>(address).sin6_addr, &any);
    EXPECT_TRUE(wildcard);
}

TEST(SocketServerListen, StoresTheRequestedPort) {
    const test::BoundPort holder(/*reuseAddress=*/true);  // bound only, so the port can be shared
    SocketServer server;
    server.listen(holder.port(), 5, true);
    EXPECT_EQ(holder.port(), server.getPort());
    EXPECT_EQ(holder.port(), test::localPort(static_cast<int>(server.getDescriptor())));
}

TEST(SocketServerListen, StoresAnOversizedPortAsRequested) {
    const test::BoundPort holder(/*reuseAddress=*/true);
    SocketServer server;
    server.listen(65536 + holder.port(), 5, true);
    EXPECT_EQ(65536 + holder.port(), server.getPort());
    EXPECT_EQ(holder.port(), test::localPort(static_cast<int>(server.getDescriptor())));
}

TEST(SocketServerListen, SetsReuseAddressOnlyWhenTold) {
    const ListeningServer reusing;
    EXPECT_EQ(1, test::socketOption(reusing.getDescriptor(), SOL_SOCKET, SO_REUSEADDR));
    SocketServer plain;
    plain.listen(0, 5, false);
    EXPECT_EQ(0, test::socketOption(plain.getDescriptor(), SOL_SOCKET, SO_REUSEADDR));
}

TEST(SocketServerListen, IsRefusedWhileThereIsADescriptor) {
    ListeningServer server;
    const long descriptor = server.getDescriptor();
    const unsigned long port = server.getPort();
    EXPECT_RAISES(SocketException, server.listen(0, 5, true), server.error("ERR_SOCKET_LISTENING"));
    EXPECT_EQ(descriptor, server.getDescriptor());
    EXPECT_EQ(port, server.getPort());
    EXPECT_TRUE(server.isListening());
}

TEST(SocketServerListen, IsRefusedAfterAStop) {
    ListeningServer server;
    server.shutdownReadWrite();
    EXPECT_RAISES(SocketException, server.listen(0, 5, true), server.error("ERR_SOCKET_LISTENING"));
    EXPECT_FALSE(server.isListening());
}

void expectAddressInUse(unsigned long port, bool reuseAddress) {
    const NoDescriptorLeak check;
    SocketServer server;
    try {
        server.listen(port, 5, reuseAddress);
        ADD_FAILURE() << "nothing was thrown";
    } catch (const SocketException& e) {
        ASSERT_EQ(1U, e.messages.count());
        const Message& message = e.messages.getFirstMessage();
        EXPECT_EQ("NX_ERR_SOCKET_ADDRESS_IN_USE", utf8(message.getMessageID()));
        EXPECT_EQ("kelSocketServer.cpp", utf8(message.getFileName()));
        EXPECT_EQ(Message::DEFAULT, message.getMessageLevel());
        ASSERT_EQ(2U, message.getMessageArgsCount());
        EXPECT_EQ("localhost", utf8(message.getMessageArgs().front()));
    }
    expectIdle(server);
    EXPECT_NO_THROW(server.listen(0, 5, true));
}

TEST(SocketServerListen, OnAPortInUseIsRefusedAndLeavesTheServerIdle) {
    const test::Listener holder;
    expectAddressInUse(holder.port(), false);
    expectAddressInUse(holder.port(), true);
    const ListeningServer server;
    expectAddressInUse(server.getPort(), false);
}

TEST(SocketServerListen, PassesAnImpossiblePortToTheResolver) {
    const NoDescriptorLeak check;
    SocketServer server;
    EXPECT_RAISES(SocketException, server.listen(4294967295UL, 5, false),
                  serverError("ERR_SOCKET_GETADDRINFO_ERROR",
                              {"localhost", "0", "-8", "Servname not supported for ai_socktype"}));
    expectIdle(server);
}

TEST(SocketServerDestructor, ClosesTheDescriptor) {
    const NoDescriptorLeak check;
    long descriptor = -1;
    {
        const ListeningServer server;
        descriptor = server.getDescriptor();
    }
    EXPECT_FALSE(test::isOpen(descriptor));
}

TEST(SocketServerAccept, BeforeListenIsRefused) {
    SocketServer server;
    Socket target;
    EXPECT_RAISES(SocketException, server.accept(target, &SLICE),
                  serverError("ERR_SOCKET_NOT_LISTENING", {"localhost", "0"}));
}

TEST(SocketServerAccept, TimesOutWithoutAClient) {
    ListeningServer server;
    Socket target;
    for (const unsigned long timeout : {0UL, 100UL}) {
        EXPECT_RAISES(SocketException, server.accept(target, &timeout),
                      server.error("ERR_SOCKET_TIMEOUT"));
    }
    EXPECT_EQ(-1, target.getDescriptor());
    EXPECT_TRUE(server.isListening());
}

TEST(SocketServerAccept, MakesTheTargetTheOwnerOfTheConnection) {
    ListeningServer server;
    test::FileDescriptor client = test::connectTo(server.getPort());
    long descriptor = -1;
    {
        Socket target;
        server.accept(target, nullptr);
        descriptor = target.getDescriptor();
        EXPECT_TRUE(target.isOwner());
        EXPECT_EQ("", utf8(target.getHostName()));
        EXPECT_EQ(0U, target.getPort());
        target.write("hello", 0, 5);
        EXPECT_EQ("hello", test::receive(client.get(), 5));
    }
    EXPECT_FALSE(test::isOpen(descriptor));
    EXPECT_EQ("", test::receiveToEnd(client.get()));
}

TEST(SocketServerAccept, LeavesHostAndPortOfTheTargetAsTheyWere) {
    const test::BoundPort refusing;
    ListeningServer server;
    Socket target;
    EXPECT_THROW(target.connect("127.0.0.1", refusing.port(), nullptr), SocketException);
    const test::FileDescriptor client = test::connectTo(server.getPort());
    server.accept(target, nullptr);
    EXPECT_EQ("127.0.0.1", utf8(target.getHostName()));
    EXPECT_EQ(refusing.port(), target.getPort());
    EXPECT_TRUE(target.isOwner());
}

TEST(SocketServerAccept, DoesNotCloseADescriptorThatTheTargetHeld) {
    ListeningServer server;
    const test::FileDescriptor first = test::connectTo(server.getPort());
    const test::FileDescriptor second = test::connectTo(server.getPort());
    Socket target;
    server.accept(target, nullptr);
    const test::FileDescriptor forgotten(static_cast<int>(target.getDescriptor()));
    server.accept(target, nullptr);
    EXPECT_NE(forgotten.get(), target.getDescriptor());
    EXPECT_TRUE(test::isOpen(forgotten.get()));
}

TEST(SocketServerAccept, TakesClientsInTheOrderOfTheirArrival) {
    ListeningServer server;
    for (const char* const name : {"a", "b"}) {
        const test::FileDescriptor client = test::connectTo(server.getPort());
        test::sendAll(client.get(), name);
        Socket target;
        const unsigned long timeout = 60000;
        server.accept(target, &timeout);
        char byte = 0;
        EXPECT_EQ(1U, target.read(&byte, 0, 1));
        EXPECT_EQ(name[0], byte);
    }
}

TEST(SocketServerAccept, WakesUpWhenAClientConnects) {
    ListeningServer server;
    Socket target;
    test::FileDescriptor client;
    {
        const test::JoinedThread connecting([&] { client = test::connectTo(server.getPort()); });
        server.accept(target, nullptr);
    }
    EXPECT_TRUE(target.isOwner());
}

TEST(SocketServerAccept, FailsWithErrno22AfterAStopEvenWithAPendingClient) {
    ListeningServer server;
    const test::FileDescriptor client = test::connectTo(server.getPort());
    test::waitUntilReadable(server.getDescriptor());
    server.shutdownRead();
    Socket target;
    const Report stopped = server.error("NX_ERR_SOCKET_ERROR", {"22"});
    EXPECT_RAISES(SocketException, server.accept(target, nullptr), stopped);
    EXPECT_RAISES(SocketException, server.accept(target, &SLICE), stopped);
    EXPECT_RAISES(SocketException, server.accept(target, &AT_ONCE), stopped);
    EXPECT_EQ(-1, target.getDescriptor());
}

TEST(SocketServerAccept, FailsWithErrno22AfterAStopInsteadOfTimingOut) {
    ListeningServer server;
    server.shutdownReadWrite();
    Socket target;
    EXPECT_RAISES(SocketException, server.accept(target, &AT_ONCE),
                  server.error("NX_ERR_SOCKET_ERROR", {"22"}));
}

/// Accepts with short time-outs until something other than a time-out ends it.
void acceptUntilStopped(SocketServer& server, Socket& target) {
    for (;;) {
        try {
            server.accept(target, &SLICE);
            return;
        } catch (const SocketException& e) {
            if (utf8(e.messages.getFirstMessage().getMessageID()) != "ERR_SOCKET_TIMEOUT") {
                throw;
            }
        }
    }
}

TEST(SocketServerAccept, IsReleasedByAnotherThreadWhenItsSliceEnds) {
    ListeningServer server;
    Socket target;
    const test::JoinedThread stopping([&] { server.shutdownRead(); });
    EXPECT_RAISES(SocketException, acceptUntilStopped(server, target),
                  server.error("NX_ERR_SOCKET_ERROR", {"22"}));
    EXPECT_FALSE(server.isListening());
}

TEST(SocketServerAccept, WithoutTimeOutIsReleasedByTheNextClientAfterAStop) {
    ListeningServer server;
    Socket target;
    test::FileDescriptor client;
    const unsigned long port = server.getPort();
    const Report stopped = server.error("NX_ERR_SOCKET_ERROR", {"22"});
    const test::JoinedThread stopping([&server, &client, port] {
        server.shutdownReadWrite();
        client = test::connectTo(port);
    });
    EXPECT_RAISES(SocketException, server.accept(target, nullptr), stopped);
    EXPECT_EQ(-1, target.getDescriptor());
}

TEST(SocketServerShutdown, BeforeListenIsRefused) {
    SocketServer server;
    const Report idle = serverError("ERR_SOCKET_NOT_LISTENING", {"localhost", "0"});
    EXPECT_RAISES(SocketException, server.shutdownRead(), idle);
    EXPECT_RAISES(SocketException, server.shutdownWrite(), idle);
    EXPECT_RAISES(SocketException, server.shutdownReadWrite(), idle);
}

TEST(SocketServerShutdownRead, StopsListeningButNeitherClosesNorShutsDown) {
    ListeningServer server;
    const int before = test::socketOption(server.getDescriptor(), SOL_SOCKET, SO_RCVBUF);
    server.shutdownRead();
    EXPECT_FALSE(server.isListening());
    EXPECT_TRUE(test::isOpen(server.getDescriptor()));
    EXPECT_LT(test::socketOption(server.getDescriptor(), SOL_SOCKET, SO_RCVBUF), before);
    EXPECT_NO_THROW(test::connectTo(server.getPort()));
    EXPECT_NO_THROW(server.shutdownRead());
}

TEST(SocketServerShutdownWrite, ShrinksTheSendBufferAndGoesOnAccepting) {
    ListeningServer server;
    const int before = test::socketOption(server.getDescriptor(), SOL_SOCKET, SO_SNDBUF);
    server.shutdownWrite();
    EXPECT_TRUE(server.isListening());
    EXPECT_LT(test::socketOption(server.getDescriptor(), SOL_SOCKET, SO_SNDBUF), before);
    const test::FileDescriptor client = test::connectTo(server.getPort());
    Socket target;
    EXPECT_NO_THROW(server.accept(target, nullptr));
    EXPECT_TRUE(target.isOwner());
}

TEST(SocketServerShutdownReadWrite, DoesBoth) {
    ListeningServer server;
    const int receive = test::socketOption(server.getDescriptor(), SOL_SOCKET, SO_RCVBUF);
    const int send = test::socketOption(server.getDescriptor(), SOL_SOCKET, SO_SNDBUF);
    server.shutdownReadWrite();
    EXPECT_FALSE(server.isListening());
    EXPECT_LT(test::socketOption(server.getDescriptor(), SOL_SOCKET, SO_RCVBUF), receive);
    EXPECT_LT(test::socketOption(server.getDescriptor(), SOL_SOCKET, SO_SNDBUF), send);
    EXPECT_TRUE(test::isOpen(server.getDescriptor()));
}

TEST(SocketServerSetReuseAddress, SetsAndClearsTheOption) {
    const test::BoundPort bound;
    SocketServer::setReuseAddress(bound.descriptor(), true, nullptr, 0);
    EXPECT_EQ(1, test::socketOption(bound.descriptor(), SOL_SOCKET, SO_REUSEADDR));
    SocketServer::setReuseAddress(bound.descriptor(), false, nullptr, 0);
    EXPECT_EQ(0, test::socketOption(bound.descriptor(), SOL_SOCKET, SO_REUSEADDR));
}

TEST(SocketServerStatics, NameHostAndPortOnlyWhenAHostIsGiven) {
    const icu::UnicodeString host = u"server1";
    const long closed = test::closedDescriptor();
    const Report named = serverError("NX_ERR_SOCKET_ERROR", {"9", "server1", "8080"});
    const Report bare = serverError("NX_ERR_SOCKET_ERROR", {"9"});
    EXPECT_RAISES(SocketException, SocketServer::setReuseAddress(closed, true, &host, 8080), named);
    EXPECT_RAISES(SocketException, SocketServer::setReuseAddress(closed, true, nullptr, 8080),
                  bare);
    EXPECT_RAISES(SocketException, SocketServer::getPortStatic(closed, &host, 8080), named);
    EXPECT_RAISES(SocketException, SocketServer::getPortStatic(closed, nullptr, 8080), bare);
}

TEST(SocketServerGetPortStatic, ReadsIpv4AndIpv6Ports) {
    const test::BoundPort bound;
    EXPECT_EQ(bound.port(), SocketServer::getPortStatic(bound.descriptor(), nullptr, 0));
    const test::FileDescriptor unbound(::socket(AF_INET, SOCK_STREAM, 0));
    EXPECT_EQ(0U, SocketServer::getPortStatic(unbound.get(), nullptr, 0));

    const test::FileDescriptor six(::socket(AF_INET6, SOCK_STREAM, 0));
    sockaddr_in6 address{};
    address.sin6_family = AF_INET6;
    address.sin6_addr = in6addr_loopback;
    if (six.get() < 0 ||
        ::bind(six.get(), reinterpret_cast<sockaddr*>(&address), sizeof address) != 0) {
        GTEST_SKIP() << "the system has no IPv6 loopback";
    }
    EXPECT_NE(0U, test::localPort(six.get()));
    EXPECT_EQ(test::localPort(six.get()), SocketServer::getPortStatic(six.get(), nullptr, 0));
}

}  // namespace
}  // namespace nx::oss

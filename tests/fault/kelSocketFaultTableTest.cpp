#include <list>
#include <string>
#include <tuple>
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
using test::Report;
using test::SystemCalls;
using test::utf8;

struct Error {
    const char* name;
    int number;
    const char* identifier;
};

constexpr const char* GENERIC = "NX_ERR_SOCKET_ERROR";

const Error ERRORS[] = {
    {"EINTR", 4, GENERIC},
    {"EBADF", 9, GENERIC},
    {"EAGAIN", 11, GENERIC},
    {"ENOMEM", 12, GENERIC},
    {"EMFILE", 24, GENERIC},
    {"EPIPE", 32, "NX_ERR_SOCKET_BROKEN_PIPE"},
    {"EADDRINUSE", 98, "NX_ERR_SOCKET_ADDRESS_IN_USE"},
    {"ECONNRESET", 104, "NX_ERR_SOCKET_CONNECTION_RESET"},
    {"ENOBUFS", 105, GENERIC},
    {"ENOTCONN", 107, "NX_ERR_SOCKET_NOT_CONNECTED"},
    {"ESHUTDOWN", 108, "NX_ERR_SOCKET_SHUTDOWN"},
    {"ETIMEDOUT", 110, "NX_ERR_SOCKET_TIMEOUT"},
    {"ECONNREFUSED", 111, "NX_ERR_SOCKET_CONNECTION_REFUSED"},
};

/// Everything that an operation of the table may use, ready before the call that fails.
struct World {
    World() {
        server.listen(0, 5, true);
        client = test::connectTo(server.getPort());
        test::waitUntilReadable(server.getDescriptor());
    }
    void peerSends(const std::string& bytes) const {
        test::sendAll(connection.peer.get(), bytes);
        test::waitUntilReadable(connection.socket.getDescriptor());
    }
    unsigned long readItem(unsigned long maxLength, bool discard) {
        return connection.socket.readItem(buffer, length, 0, maxLength, discard);
    }

    test::Connection connection;
    Socket fresh;
    SocketServer server;
    SocketServer idle;
    test::FileDescriptor client;
    Socket accepted;
    char buffer[4096] = {};
    unsigned long length = 0;
    icu::UnicodeString host = u"server1";
};

/// What an error says besides errno.
enum class Tail { HOST, EMPTY_HOST, SERVER, IDLE_SERVER, GIVEN, NONE };

/// One place where a system call can fail.
struct Site {
    const char* name;
    Call call;
    int position;
    const char* file;
    Tail tail;
    void (*operation)(World&);
    void (*state)(const World&);
    /// The identifier when errno is not reported.
    const char* fixed = nullptr;
    void (*script)(SystemCalls&) = nullptr;
};

constexpr const char* SOCKET = "kelSocket.cpp";
constexpr const char* SERVER = "kelSocketServer.cpp";
constexpr const char* NOT_CONNECTED = "ERR_SOCKET_NOT_CONNECTED";

void unconnected(const World& world) {
    EXPECT_FALSE(world.fresh.isOwner());
    EXPECT_EQ(-1, world.fresh.getDescriptor());
    EXPECT_EQ("127.0.0.1", utf8(world.fresh.getHostName()));
    EXPECT_EQ(world.connection.listener.port(), world.fresh.getPort());
}

void stillConnected(const World& world) {
    EXPECT_TRUE(world.connection.socket.isOwner());
    EXPECT_TRUE(test::isOpen(world.connection.socket.getDescriptor()));
    EXPECT_EQ("127.0.0.1", utf8(world.connection.socket.getHostName()));
}

void stillIdle(const World& world) {
    EXPECT_FALSE(world.idle.isListening());
    EXPECT_EQ(-1, world.idle.getDescriptor());
    EXPECT_EQ(0U, world.idle.getPort());
}

void stillListening(const World& world) {
    EXPECT_TRUE(world.server.isListening());
    EXPECT_TRUE(test::isOpen(world.server.getDescriptor()));
    EXPECT_EQ(-1, world.accepted.getDescriptor());
    EXPECT_FALSE(world.accepted.isOwner());
}

void stopped(const World& world) {
    EXPECT_FALSE(world.server.isListening());
    EXPECT_TRUE(test::isOpen(world.server.getDescriptor()));
}

void connect(World& world) {
    world.fresh.connect("127.0.0.1", world.connection.listener.port(), nullptr);
}
void write(World& world) { world.connection.socket.write("abcdefghij", 0, 10); }
void writeItem(World& world) { world.connection.socket.writeItem("abcdefghij", 0, 10); }
void read(World& world) {
    world.peerSends("abcdefghij");
    world.connection.socket.read(world.buffer, 0, 10);
}
void readOnce(World& world) {
    world.peerSends("abc");
    world.connection.socket.readOnce(world.buffer, 0, 10);
}
void readItem(World& world) {
    world.peerSends(std::string("\0\0\0\12abcdefghij", 14));
    world.readItem(100, false);
}
void discardItem(World& world) {
    world.peerSends(std::string("\0\0\13\270", 4) + std::string(3000, 'x'));
    world.readItem(100, true);
}
void select(World& world) {
    std::list<Socket> all{world.connection.socket};
    std::list<Socket> none;
    try {
        Socket::select(none, all, none, nullptr);
    } catch (...) {
        EXPECT_EQ(1U, all.size());
        throw;
    }
}
void listen(World& world) { world.idle.listen(0, 5, true); }
void accept(World& world) { world.server.accept(world.accepted, nullptr); }

void shortSends(SystemCalls& calls) { calls.shorten(Call::SEND, 3); }
void shortReceives(SystemCalls& calls) { calls.shorten(Call::RECV, 3); }
void oneAddress(SystemCalls& calls) { calls.resolveTo({"127.0.0.1"}); }
void emptySlice(SystemCalls& calls) { calls.add({Call::SELECT, 1, test::Fault::TIME_OUT, 0}); }

const Site SITES[] = {
    {"ConnectSocket", Call::SOCKET, 1, SOCKET, Tail::HOST, connect, unconnected, NOT_CONNECTED},
    {"ConnectNonBlocking", Call::IOCTL, 1, SOCKET, Tail::HOST, connect, unconnected, NOT_CONNECTED},
    {"ConnectConnect", Call::CONNECT, 1, SOCKET, Tail::HOST, connect, unconnected, NOT_CONNECTED},
    {"ConnectWait", Call::SELECT, 1, SOCKET, Tail::EMPTY_HOST, connect, unconnected},
    {"ConnectBlocking", Call::IOCTL, 2, SOCKET, Tail::HOST, connect, unconnected},
    {"ConnectPendingError", Call::GETSOCKOPT, 1, SOCKET, Tail::HOST, connect, unconnected},
    {"ConnectNoDelay", Call::SETSOCKOPT, 1, SOCKET, Tail::HOST, connect, unconnected},
    {"Write", Call::SEND, 1, SOCKET, Tail::HOST, write, stillConnected},
    {"WriteLater", Call::SEND, 4, SOCKET, Tail::HOST, write, stillConnected, nullptr, shortSends},
    {"WriteItemPrefix", Call::SEND, 1, SOCKET, Tail::HOST, writeItem, stillConnected},
    {"WriteItemPrefixLater", Call::SEND, 2, SOCKET, Tail::HOST, writeItem, stillConnected, nullptr,
     shortSends},
    {"WriteItemPayload", Call::SEND, 2, SOCKET, Tail::HOST, writeItem, stillConnected},
    {"WriteItemPayloadLater", Call::SEND, 6, SOCKET, Tail::HOST, writeItem, stillConnected, nullptr,
     shortSends},
    {"Read", Call::RECV, 1, SOCKET, Tail::HOST, read, stillConnected},
    {"ReadLater", Call::RECV, 4, SOCKET, Tail::HOST, read, stillConnected, nullptr, shortReceives},
    {"ReadOnce", Call::RECV, 1, SOCKET, Tail::HOST, readOnce, stillConnected},
    {"ReadItemPrefix", Call::RECV, 1, SOCKET, Tail::HOST, readItem, stillConnected},
    {"ReadItemPrefixLater", Call::RECV, 2, SOCKET, Tail::HOST, readItem, stillConnected, nullptr,
     shortReceives},
    {"ReadItemPayload", Call::RECV, 2, SOCKET, Tail::HOST, readItem, stillConnected},
    {"ReadItemPayloadLater", Call::RECV, 6, SOCKET, Tail::HOST, readItem, stillConnected, nullptr,
     shortReceives},
    {"DiscardFirst", Call::RECV, 2, SOCKET, Tail::HOST, discardItem, stillConnected},
    {"DiscardLater", Call::RECV, 4, SOCKET, Tail::HOST, discardItem, stillConnected},
    {"SetNonBlocking", Call::IOCTL, 1, SOCKET, Tail::HOST,
     [](World& world) { world.connection.socket.setNonBlocking(true); }, stillConnected},
    {"SetTcpNoDelay", Call::SETSOCKOPT, 1, SOCKET, Tail::HOST,
     [](World& world) { world.connection.socket.setTcpNoDelay(false); }, stillConnected},
    {"ShutdownRead", Call::SHUTDOWN, 1, SOCKET, Tail::HOST,
     [](World& world) { world.connection.socket.shutdownRead(); }, stillConnected},
    {"ShutdownWrite", Call::SHUTDOWN, 1, SOCKET, Tail::HOST,
     [](World& world) { world.connection.socket.shutdownWrite(); }, stillConnected},
    {"ShutdownReadWrite", Call::SHUTDOWN, 1, SOCKET, Tail::HOST,
     [](World& world) { world.connection.socket.shutdownReadWrite(); }, stillConnected},
    {"Select", Call::SELECT, 1, SOCKET, Tail::HOST, select, stillConnected},
    {"PendingError", Call::GETSOCKOPT, 1, SOCKET, Tail::GIVEN,
     [](World& world) {
         Socket::getSocketErrorStatic(world.connection.socket.getDescriptor(), &world.host, 8080);
     },
     stillConnected},
    {"PendingErrorWithoutHost", Call::GETSOCKOPT, 1, SOCKET, Tail::NONE,
     [](World& world) {
         Socket::getSocketErrorStatic(world.connection.socket.getDescriptor(), nullptr, 8080);
     },
     stillConnected},
    {"ListenSocket", Call::SOCKET, 1, SERVER, Tail::IDLE_SERVER, listen, stillIdle, nullptr,
     oneAddress},
    {"ListenReuseAddress", Call::SETSOCKOPT, 1, SERVER, Tail::IDLE_SERVER, listen, stillIdle},
    {"ListenBind", Call::BIND, 1, SERVER, Tail::IDLE_SERVER, listen, stillIdle, nullptr,
     oneAddress},
    {"ListenListen", Call::LISTEN, 1, SERVER, Tail::IDLE_SERVER, listen, stillIdle},
    {"ListenPort", Call::GETSOCKNAME, 1, SERVER, Tail::IDLE_SERVER, listen, stillIdle},
    {"AcceptWait", Call::SELECT, 1, SOCKET, Tail::EMPTY_HOST, accept, stillListening},
    {"AcceptWaitLater", Call::SELECT, 2, SOCKET, Tail::EMPTY_HOST, accept, stillListening, nullptr,
     emptySlice},
    {"AcceptAccept", Call::ACCEPT, 1, SERVER, Tail::SERVER, accept, stillListening},
    {"ServerShutdownRead", Call::SETSOCKOPT, 1, SERVER, Tail::SERVER,
     [](World& world) { world.server.shutdownRead(); }, stillListening},
    {"ServerShutdownWrite", Call::SETSOCKOPT, 1, SERVER, Tail::SERVER,
     [](World& world) { world.server.shutdownWrite(); }, stillListening},
    {"ServerShutdownReadWriteFirst", Call::SETSOCKOPT, 1, SERVER, Tail::SERVER,
     [](World& world) { world.server.shutdownReadWrite(); }, stillListening},
    {"ServerShutdownReadWriteLater", Call::SETSOCKOPT, 2, SERVER, Tail::SERVER,
     [](World& world) { world.server.shutdownReadWrite(); }, stopped},
    {"SetReuseAddress", Call::SETSOCKOPT, 1, SERVER, Tail::GIVEN,
     [](World& world) {
         SocketServer::setReuseAddress(world.server.getDescriptor(), true, &world.host, 8080);
     },
     stillListening},
    {"GetPortStatic", Call::GETSOCKNAME, 1, SERVER, Tail::GIVEN,
     [](World& world) {
         SocketServer::getPortStatic(world.server.getDescriptor(), &world.host, 8080);
     },
     stillListening},
};

std::vector<std::string> tailArguments(const World& world, Tail tail) {
    switch (tail) {
        case Tail::HOST:
            return {"127.0.0.1", world.connection.portText()};
        case Tail::EMPTY_HOST:
            return {"", "0"};
        case Tail::SERVER:
            return {"localhost", std::to_string(world.server.getPort())};
        case Tail::IDLE_SERVER:
            return {"localhost", "0"};
        case Tail::GIVEN:
            return {"server1", "8080"};
        case Tail::NONE:
            break;
    }
    return {};
}

Report expected(const World& world, const Site& site, const Error& error) {
    std::vector<std::string> arguments = tailArguments(world, site.tail);
    const char* const identifier = site.fixed == nullptr ? error.identifier : site.fixed;
    if (identifier == GENERIC) {
        arguments.insert(arguments.begin(), std::to_string(error.number));
    }
    return Report(identifier).in(site.file).with(std::move(arguments));
}

class SocketFault : public testing::TestWithParam<std::tuple<Site, Error>> {};

TEST_P(SocketFault, IsReportedLeaksNothingAndLeavesThePromisedState) {
    const Site& site = std::get<0>(GetParam());
    const Error& error = std::get<1>(GetParam());
    if (site.call == Call::CONNECT && error.number == 11) {
        return;  // means that the connection is in progress
    }
    World world;
    const test::NoDescriptorLeak check;
    {
        SystemCalls calls;
        if (site.script != nullptr) {
            site.script(calls);
        }
        calls.fail(site.call, site.position, error.number);
        EXPECT_RAISES(SocketException, site.operation(world), expected(world, site, error));
        EXPECT_TRUE(calls.allHappened());
        EXPECT_EQ(0, calls.openAddressLists());
    }
    site.state(world);
}

INSTANTIATE_TEST_SUITE_P(EveryCall, SocketFault,
                         testing::Combine(testing::ValuesIn(SITES), testing::ValuesIn(ERRORS)),
                         [](const auto& row) {
                             return std::string(std::get<0>(row.param).name) +
                                    std::get<1>(row.param).name;
                         });

void PrintTo(const Site& site, std::ostream* out) { *out << site.name; }
void PrintTo(const Error& error, std::ostream* out) { *out << error.name; }

class SocketCloseFault : public testing::TestWithParam<Error> {};

TEST_P(SocketCloseFault, IsIgnoredByCloseAndByTheDestructors) {
    const test::NoDescriptorLeak check;
    test::Connection connection;
    test::Connection other;
    SystemCalls calls;
    for (int position = 1; position <= 3; ++position) {
        calls.fail(Call::CLOSE, position, GetParam().number);
    }
    EXPECT_NO_THROW(connection.socket.close());
    EXPECT_EQ(-1, connection.socket.getDescriptor());
    EXPECT_FALSE(connection.socket.isOwner());
    EXPECT_EQ("", utf8(connection.socket.getHostName()));
    EXPECT_EQ(0U, connection.socket.getPort());
    EXPECT_NO_THROW(other.socket = connection.socket);
    EXPECT_EQ(-1, other.socket.getDescriptor());
    EXPECT_NO_THROW({
        SocketServer server;
        server.listen(0, 5, true);
    });
    EXPECT_TRUE(calls.allHappened());
}

TEST_P(SocketCloseFault, IsReturnedByCloseStatic) {
    test::Connection connection;
    SystemCalls calls;
    calls.fail(Call::CLOSE, 1, GetParam().number);
    EXPECT_EQ(-1, Socket::closeStatic(connection.socket.getDescriptor()));
    EXPECT_EQ(GetParam().number, errno);
}

TEST_P(SocketCloseFault, DoesNotReplaceTheErrorThatConnectReports) {
    const test::Listener listener;
    SystemCalls calls;
    calls.fail(Call::IOCTL, 2, 104);
    calls.fail(Call::CLOSE, 1, GetParam().number);
    Socket socket;
    EXPECT_RAISES(SocketException, socket.connect("127.0.0.1", listener.port(), nullptr),
                  Report("NX_ERR_SOCKET_CONNECTION_RESET")
                      .in(SOCKET)
                      .with({"127.0.0.1", listener.portText()}));
    EXPECT_TRUE(calls.allHappened());
}

TEST_P(SocketCloseFault, DoesNotReplaceTheErrorThatListenReports) {
    SystemCalls calls;
    calls.resolveTo({"127.0.0.1"});
    calls.fail(Call::BIND, 1, 13);
    calls.fail(Call::CLOSE, 1, GetParam().number);
    SocketServer server;
    EXPECT_RAISES(SocketException, server.listen(0, 5, false),
                  Report(GENERIC).in(SERVER).with({"13", "localhost", "0"}));
    EXPECT_TRUE(calls.allHappened());
}

INSTANTIATE_TEST_SUITE_P(EveryError, SocketCloseFault, testing::ValuesIn(ERRORS),
                         [](const auto& row) { return row.param.name; });

}  // namespace
}  // namespace nx::oss

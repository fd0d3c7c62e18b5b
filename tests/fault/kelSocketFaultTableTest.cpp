#include <sys/socket.h>

#include <algorithm>
#include <cstring>
#include <iostream>
#include <iterator>
#include <list>
#include <map>
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
    {"EPERM", 1, GENERIC},
    {"EINTR", 4, GENERIC},
    {"EIO", 5, GENERIC},
    {"ENXIO", 6, GENERIC},
    {"EBADF", 9, GENERIC},
    {"EAGAIN", 11, GENERIC},
    {"ENOMEM", 12, GENERIC},
    {"EACCES", 13, GENERIC},
    {"EFAULT", 14, GENERIC},
    {"ENODEV", 19, GENERIC},
    {"EINVAL", 22, GENERIC},
    {"ENFILE", 23, GENERIC},
    {"EMFILE", 24, GENERIC},
    {"ENOTTY", 25, GENERIC},
    {"ENOSPC", 28, GENERIC},
    {"EPIPE", 32, "NX_ERR_SOCKET_BROKEN_PIPE"},
    {"EDOM", 33, GENERIC},
    {"ENOSR", 63, GENERIC},
    {"ENONET", 64, GENERIC},
    {"EPROTO", 71, GENERIC},
    {"ENOTSOCK", 88, GENERIC},
    {"EDESTADDRREQ", 89, GENERIC},
    {"EMSGSIZE", 90, GENERIC},
    {"EPROTOTYPE", 91, GENERIC},
    {"ENOPROTOOPT", 92, GENERIC},
    {"EPROTONOSUPPORT", 93, GENERIC},
    {"ESOCKTNOSUPPORT", 94, GENERIC},
    {"EOPNOTSUPP", 95, GENERIC},
    {"EAFNOSUPPORT", 97, GENERIC},
    {"EADDRINUSE", 98, "NX_ERR_SOCKET_ADDRESS_IN_USE"},
    {"EADDRNOTAVAIL", 99, GENERIC},
    {"ENETDOWN", 100, GENERIC},
    {"ENETUNREACH", 101, GENERIC},
    {"ECONNABORTED", 103, GENERIC},
    {"ECONNRESET", 104, "NX_ERR_SOCKET_CONNECTION_RESET"},
    {"ENOBUFS", 105, GENERIC},
    {"EISCONN", 106, GENERIC},
    {"ENOTCONN", 107, "NX_ERR_SOCKET_NOT_CONNECTED"},
    {"ESHUTDOWN", 108, "NX_ERR_SOCKET_SHUTDOWN"},
    {"ETIMEDOUT", 110, "NX_ERR_SOCKET_TIMEOUT"},
    {"ECONNREFUSED", 111, "NX_ERR_SOCKET_CONNECTION_REFUSED"},
    {"EHOSTDOWN", 112, GENERIC},
    {"EHOSTUNREACH", 113, GENERIC},
    {"EALREADY", 114, GENERIC},
    {"EINPROGRESS", 115, GENERIC},
    {"EDQUOT", 122, GENERIC},
};

/// What each call may fail with, by POSIX or by the manual pages of Linux, for sockets of TCP and
/// descriptors of any kind. Blanks around each name.
const struct {
    Call call;
    const char* errors;
} ERRORS_OF_CALLS[] = {
    {Call::SOCKET,
     " EACCES EAFNOSUPPORT EINVAL EMFILE ENFILE ENOBUFS ENOMEM EPROTONOSUPPORT EPROTOTYPE "},
    {Call::CONNECT,
     " EACCES EPERM EADDRINUSE EADDRNOTAVAIL EAFNOSUPPORT EALREADY EBADF ECONNREFUSED ECONNRESET "
     "EFAULT EHOSTUNREACH EINTR EINVAL EISCONN ENETDOWN ENETUNREACH ENOBUFS ENOTSOCK EOPNOTSUPP "
     "EPROTOTYPE ETIMEDOUT "},
    {Call::BIND,
     " EACCES EADDRINUSE EADDRNOTAVAIL EAFNOSUPPORT EALREADY EBADF EFAULT EINPROGRESS EINVAL "
     "EISCONN ENOBUFS ENOMEM ENOTSOCK EOPNOTSUPP "},
    {Call::LISTEN, " EACCES EADDRINUSE EBADF EDESTADDRREQ EINVAL ENOBUFS ENOTSOCK EOPNOTSUPP "},
    {Call::ACCEPT,
     " EAGAIN EBADF ECONNABORTED EFAULT EHOSTDOWN EHOSTUNREACH EINTR EINVAL EMFILE ENETDOWN "
     "ENETUNREACH ENFILE ENOBUFS ENOMEM ENONET ENOPROTOOPT ENOSR ENOTSOCK EOPNOTSUPP EPERM EPROTO "
     "EPROTONOSUPPORT ESOCKTNOSUPPORT ETIMEDOUT "},
    {Call::SEND,
     " EACCES EAGAIN EALREADY EBADF ECONNRESET EDESTADDRREQ EFAULT EHOSTUNREACH EINTR EINVAL EIO "
     "EISCONN EMSGSIZE ENETDOWN ENETUNREACH ENOBUFS ENOMEM ENOTCONN ENOTSOCK EOPNOTSUPP EPIPE "
     "ETIMEDOUT "},
    {Call::RECV,
     " EAGAIN EBADF ECONNREFUSED ECONNRESET EFAULT EHOSTUNREACH EINTR EINVAL EIO ENETUNREACH "
     "ENOBUFS ENOMEM ENOTCONN ENOTSOCK EOPNOTSUPP ETIMEDOUT "},
    {Call::SHUTDOWN, " EBADF EINVAL ENOBUFS ENOTCONN ENOTSOCK "},
    {Call::CLOSE, " EBADF EDQUOT EINTR EIO ENOSPC "},
    {Call::SELECT, " EBADF EINTR EINVAL ENOMEM "},
    {Call::IOCTL, " EBADF EFAULT EINTR EINVAL EIO ENODEV ENOTTY ENXIO "},
    {Call::SETSOCKOPT,
     " EACCES EBADF EDOM EFAULT EINVAL EISCONN ENOBUFS ENOMEM ENOPROTOOPT ENOTSOCK EPERM "},
    {Call::GETSOCKOPT, " EACCES EBADF EFAULT EINVAL ENOBUFS ENOPROTOOPT ENOTSOCK EOPNOTSUPP "},
    {Call::GETSOCKNAME, " EBADF EFAULT EINVAL ENOBUFS ENOTSOCK EOPNOTSUPP "},
};

bool canFailWith(Call call, const Error& error) {
    for (const auto& each : ERRORS_OF_CALLS) {
        if (each.call == call) {
            return std::strstr(each.errors, (" " + std::string(error.name) + " ").c_str()) !=
                   nullptr;
        }
    }
    return false;
}

/// Whether the error has an identifier of its own, which is looked for everywhere.
bool isNamed(const Error& error) { return error.identifier != GENERIC; }

std::vector<Error> errorsOf(Call call) {
    std::vector<Error> errors;
    std::copy_if(std::begin(ERRORS), std::end(ERRORS), std::back_inserter(errors),
                 [call](const Error& error) { return canFailWith(call, error); });
    return errors;
}

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

/// One place where a system call can fail: at its `first` to `last` call in the operation.
struct Site {
    const char* name;
    Call call;
    int first;
    int last;
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
void shutdownServer(World& world) { world.server.shutdownReadWrite(); }
void accept(World& world) { world.server.accept(world.accepted, nullptr); }

void shortSends(SystemCalls& calls) { calls.shorten(Call::SEND, 3); }
void shortReceives(SystemCalls& calls) { calls.shorten(Call::RECV, 3); }
// Of the ten bytes that are transferred.
void singleSends(SystemCalls& calls) { calls.shorten(Call::SEND, 1); }
void singleReceives(SystemCalls& calls) { calls.shorten(Call::RECV, 1); }
void longSends(SystemCalls& calls) { calls.shorten(Call::SEND, 9); }
void longReceives(SystemCalls& calls) { calls.shorten(Call::RECV, 9); }
// Of the 3,000 bytes of an item that is discarded.
void middleReceives(SystemCalls& calls) { calls.shorten(Call::RECV, 300); }
void oneAddress(SystemCalls& calls) { calls.resolveTo({"127.0.0.1"}); }
void emptySlice(SystemCalls& calls) { calls.add({Call::SELECT, 1, test::Fault::TIME_OUT, 0}); }

const Site SITES[] = {
    {"ConnectSocket", Call::SOCKET, 1, 1, SOCKET, Tail::HOST, connect, unconnected, NOT_CONNECTED},
    {"ConnectNonBlocking", Call::IOCTL, 1, 1, SOCKET, Tail::HOST, connect, unconnected,
     NOT_CONNECTED},
    {"ConnectConnect", Call::CONNECT, 1, 1, SOCKET, Tail::HOST, connect, unconnected,
     NOT_CONNECTED},
    {"ConnectWait", Call::SELECT, 1, 1, SOCKET, Tail::EMPTY_HOST, connect, unconnected},
    {"ConnectBlocking", Call::IOCTL, 2, 2, SOCKET, Tail::HOST, connect, unconnected},
    {"ConnectPendingError", Call::GETSOCKOPT, 1, 1, SOCKET, Tail::HOST, connect, unconnected},
    {"ConnectNoDelay", Call::SETSOCKOPT, 1, 1, SOCKET, Tail::HOST, connect, unconnected},
    {"Write", Call::SEND, 1, 1, SOCKET, Tail::HOST, write, stillConnected},
    {"WriteLater", Call::SEND, 1, 4, SOCKET, Tail::HOST, write, stillConnected, nullptr,
     shortSends},
    {"WriteItemPrefix", Call::SEND, 1, 1, SOCKET, Tail::HOST, writeItem, stillConnected},
    {"WriteItemLater", Call::SEND, 1, 6, SOCKET, Tail::HOST, writeItem, stillConnected, nullptr,
     shortSends},
    {"WriteItemPayload", Call::SEND, 2, 2, SOCKET, Tail::HOST, writeItem, stillConnected},
    {"Read", Call::RECV, 1, 1, SOCKET, Tail::HOST, read, stillConnected},
    {"ReadLater", Call::RECV, 1, 4, SOCKET, Tail::HOST, read, stillConnected, nullptr,
     shortReceives},
    {"ReadOnce", Call::RECV, 1, 1, SOCKET, Tail::HOST, readOnce, stillConnected},
    {"ReadItemPrefix", Call::RECV, 1, 1, SOCKET, Tail::HOST, readItem, stillConnected},
    {"ReadItemLater", Call::RECV, 1, 6, SOCKET, Tail::HOST, readItem, stillConnected, nullptr,
     shortReceives},
    {"ReadItemPayload", Call::RECV, 2, 2, SOCKET, Tail::HOST, readItem, stillConnected},
    {"Discard", Call::RECV, 1, 4, SOCKET, Tail::HOST, discardItem, stillConnected},
    {"WriteByteByByte", Call::SEND, 1, 10, SOCKET, Tail::HOST, write, stillConnected, nullptr,
     singleSends},
    {"WriteAllButOneByte", Call::SEND, 1, 2, SOCKET, Tail::HOST, write, stillConnected, nullptr,
     longSends},
    {"WriteItemByteByByte", Call::SEND, 1, 14, SOCKET, Tail::HOST, writeItem, stillConnected,
     nullptr, singleSends},
    {"WriteItemAllButOneByte", Call::SEND, 1, 3, SOCKET, Tail::HOST, writeItem, stillConnected,
     nullptr, longSends},
    {"ReadByteByByte", Call::RECV, 1, 10, SOCKET, Tail::HOST, read, stillConnected, nullptr,
     singleReceives},
    {"ReadAllButOneByte", Call::RECV, 1, 2, SOCKET, Tail::HOST, read, stillConnected, nullptr,
     longReceives},
    {"ReadItemByteByByte", Call::RECV, 1, 14, SOCKET, Tail::HOST, readItem, stillConnected, nullptr,
     singleReceives},
    {"ReadItemAllButOneByte", Call::RECV, 1, 3, SOCKET, Tail::HOST, readItem, stillConnected,
     nullptr, longReceives},
    {"DiscardInShortCounts", Call::RECV, 1, 13, SOCKET, Tail::HOST, discardItem, stillConnected,
     nullptr, middleReceives},
    {"SetNonBlocking", Call::IOCTL, 1, 1, SOCKET, Tail::HOST,
     [](World& world) { world.connection.socket.setNonBlocking(true); }, stillConnected},
    {"SetTcpNoDelay", Call::SETSOCKOPT, 1, 1, SOCKET, Tail::HOST,
     [](World& world) { world.connection.socket.setTcpNoDelay(false); }, stillConnected},
    {"ShutdownRead", Call::SHUTDOWN, 1, 1, SOCKET, Tail::HOST,
     [](World& world) { world.connection.socket.shutdownRead(); }, stillConnected},
    {"ShutdownWrite", Call::SHUTDOWN, 1, 1, SOCKET, Tail::HOST,
     [](World& world) { world.connection.socket.shutdownWrite(); }, stillConnected},
    {"ShutdownReadWrite", Call::SHUTDOWN, 1, 1, SOCKET, Tail::HOST,
     [](World& world) { world.connection.socket.shutdownReadWrite(); }, stillConnected},
    {"Select", Call::SELECT, 1, 1, SOCKET, Tail::HOST, select, stillConnected},
    {"PendingError", Call::GETSOCKOPT, 1, 1, SOCKET, Tail::GIVEN,
     [](World& world) {
         Socket::getSocketErrorStatic(world.connection.socket.getDescriptor(), &world.host, 8080);
     },
     stillConnected},
    {"PendingErrorWithoutHost", Call::GETSOCKOPT, 1, 1, SOCKET, Tail::NONE,
     [](World& world) {
         Socket::getSocketErrorStatic(world.connection.socket.getDescriptor(), nullptr, 8080);
     },
     stillConnected},
    {"ListenSocket", Call::SOCKET, 1, 1, SERVER, Tail::IDLE_SERVER, listen, stillIdle, nullptr,
     oneAddress},
    {"ListenReuseAddress", Call::SETSOCKOPT, 1, 1, SERVER, Tail::IDLE_SERVER, listen, stillIdle},
    {"ListenBind", Call::BIND, 1, 1, SERVER, Tail::IDLE_SERVER, listen, stillIdle, nullptr,
     oneAddress},
    {"ListenListen", Call::LISTEN, 1, 1, SERVER, Tail::IDLE_SERVER, listen, stillIdle},
    {"ListenPort", Call::GETSOCKNAME, 1, 1, SERVER, Tail::IDLE_SERVER, listen, stillIdle},
    {"AcceptWait", Call::SELECT, 1, 1, SOCKET, Tail::EMPTY_HOST, accept, stillListening},
    {"AcceptWaitLater", Call::SELECT, 2, 2, SOCKET, Tail::EMPTY_HOST, accept, stillListening,
     nullptr, emptySlice},
    {"AcceptAccept", Call::ACCEPT, 1, 1, SERVER, Tail::SERVER, accept, stillListening},
    {"ServerShutdownRead", Call::SETSOCKOPT, 1, 1, SERVER, Tail::SERVER,
     [](World& world) { world.server.shutdownRead(); }, stillListening},
    {"ServerShutdownWrite", Call::SETSOCKOPT, 1, 1, SERVER, Tail::SERVER,
     [](World& world) { world.server.shutdownWrite(); }, stillListening},
    {"ServerShutdownReadWriteFirst", Call::SETSOCKOPT, 1, 1, SERVER, Tail::SERVER, shutdownServer,
     stillListening},
    {"ServerShutdownReadWriteLater", Call::SETSOCKOPT, 2, 2, SERVER, Tail::SERVER, shutdownServer,
     stopped},
    {"SetReuseAddress", Call::SETSOCKOPT, 1, 1, SERVER, Tail::GIVEN,
     [](World& world) {
         SocketServer::setReuseAddress(world.server.getDescriptor(), true, &world.host, 8080);
     },
     stillListening},
    {"GetPortStatic", Call::GETSOCKNAME, 1, 1, SERVER, Tail::GIVEN,
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

/// One call of one operation that fails in one way.
struct Case {
    const Site* site;
    int position;
    Error error;
};

/// Every site with what its call may fail with, and with the errors that have a name of their own.
std::vector<Case> allCases() {
    std::vector<Case> cases;
    for (const Site& site : SITES) {
        for (int position = site.first; position <= site.last; ++position) {
            for (const Error& error : ERRORS) {
                const bool named = isNamed(error) || error.number == 4 || error.number == 11;
                if (canFailWith(site.call, error) || (named && site.call != Call::CONNECT)) {
                    cases.push_back({&site, position, error});
                }
            }
        }
    }
    return cases;
}

void PrintTo(const Case& each, std::ostream* out) {
    *out << each.site->name << each.position << each.error.name;
}
void PrintTo(const Error& error, std::ostream* out) { *out << error.name; }

class SocketFault : public testing::TestWithParam<Case> {};

TEST_P(SocketFault, IsReportedLeaksNothingAndLeavesThePromisedState) {
    const Site& site = *GetParam().site;
    World world;
    const test::NoDescriptorLeak check;
    {
        SystemCalls calls;
        if (site.script != nullptr) {
            site.script(calls);
        }
        calls.fail(site.call, GetParam().position, GetParam().error.number);
        EXPECT_RAISES(SocketException, site.operation(world),
                      expected(world, site, GetParam().error));
        EXPECT_TRUE(calls.allHappened());
        EXPECT_EQ(0, calls.openAddressLists());
    }
    site.state(world);
}

INSTANTIATE_TEST_SUITE_P(EveryCall, SocketFault, testing::ValuesIn(allCases()),
                         [](const auto& row) {
                             return std::string(row.param.site->name) +
                                    std::to_string(row.param.position) + "_" + row.param.error.name;
                         });

TEST(SocketFaultTable, HasAtLeast250ReachablePairsOfAPlaceAndAnError) {
    const std::vector<Case> cases = allCases();
    const auto reachable = std::count_if(cases.begin(), cases.end(), [](const Case& each) {
        return canFailWith(each.site->call, each.error);
    });
    std::cout << std::size(SITES) << " sites, " << cases.size() << " cases, " << reachable
              << " of them reachable\n";
    EXPECT_GE(reachable, 250);
}

/// The calls of the operation when nothing fails, without those of the peer in this process.
std::vector<Call> callsOf(const Site& site) {
    World world;
    SystemCalls calls;
    if (site.script != nullptr) {
        site.script(calls);
    }
    try {
        site.operation(world);
    } catch (const SocketException&) {  // an item that is discarded ends in one
    }
    std::vector<Call> result;
    for (const test::CallRecord& record : calls.records()) {
        if (record.call != Call::SEND || record.flags != MSG_NOSIGNAL) {
            result.push_back(record.call);
        }
    }
    return result;
}

/// Whether the table has a row for that call of the operation.
bool hasSite(const Site& like, Call call, int position) {
    return std::any_of(std::begin(SITES), std::end(SITES), [&](const Site& site) {
        return site.operation == like.operation && site.script == like.script &&
               site.call == call && site.first <= position && position <= site.last;
    });
}

/// Calls whose failures have tables of their own.
bool hasOwnTable(Call call) { return call == Call::GETADDRINFO || call == Call::CLOSE; }

TEST(SocketFaultTable, HasASiteForEveryCallOfEveryOperation) {
    for (const Site& site : SITES) {
        if (site.script == oneAddress || site.script == emptySlice) {
            continue;  // the same calls as without the script, or more of the same
        }
        std::map<Call, int> seen;
        for (const Call call : callsOf(site)) {
            // What only scripted sites make fail is not missing here.
            const int position = ++seen[call];
            EXPECT_TRUE(hasOwnTable(call) || hasSite(site, call, position) ||
                        (site.operation == listen && (call == Call::SOCKET || call == Call::BIND)))
                << site.name << ": call " << position << " of kind " << static_cast<int>(call);
        }
    }
}

// --- Addresses ----------------------------------------------------------------------------------

/// A failure that makes an operation go on to the next address.
struct Skip {
    const char* name;
    Call call;
    bool listens;
};

const Skip SKIPS[] = {
    {"ConnectSocket", Call::SOCKET, false},   {"ConnectNonBlocking", Call::IOCTL, false},
    {"ConnectConnect", Call::CONNECT, false}, {"ListenSocket", Call::SOCKET, true},
    {"ListenBind", Call::BIND, true},
};

struct SkipCase {
    Skip skip;
    Error error;
};

std::vector<SkipCase> skipCases() {
    std::vector<SkipCase> cases;
    for (const Skip& skip : SKIPS) {
        for (const Error& error : errorsOf(skip.call)) {
            cases.push_back({skip, error});
        }
    }
    return cases;
}

void PrintTo(const SkipCase& each, std::ostream* out) { *out << each.skip.name << each.error.name; }

class SocketAddressFault : public testing::TestWithParam<SkipCase> {
  protected:
    /// Connects or listens with three addresses, of which the first `failing` fail.
    static void run(World& world, int failing) {
        SystemCalls calls;
        calls.resolveTo({"127.0.0.1", "127.0.0.1", "127.0.0.1"});
        for (int position = 1; position <= failing; ++position) {
            calls.fail(GetParam().skip.call, position, GetParam().error.number);
        }
        GetParam().skip.listens ? listen(world) : connect(world);
        EXPECT_TRUE(calls.allHappened());
        EXPECT_EQ(0, calls.openAddressLists());
    }
};

TEST_P(SocketAddressFault, GoesOnToTheNextAddress) {
    for (const int failing : {1, 2}) {
        const test::NoDescriptorLeak check;
        World world;
        EXPECT_NO_THROW(run(world, failing));
        EXPECT_TRUE(GetParam().skip.listens ? world.idle.isListening() : world.fresh.isOwner());
    }
}

TEST_P(SocketAddressFault, OfAllAddressesIsReported) {
    const test::NoDescriptorLeak check;
    World world;
    if (GetParam().skip.listens) {
        const Site site{"",     GetParam().skip.call, 1,      1,
                        SERVER, Tail::IDLE_SERVER,    listen, stillIdle};
        EXPECT_RAISES(SocketException, run(world, 3), expected(world, site, GetParam().error));
        stillIdle(world);
    } else {
        EXPECT_RAISES(
            SocketException, run(world, 3),
            Report(NOT_CONNECTED).in(SOCKET).with({"127.0.0.1", world.connection.portText()}));
        unconnected(world);
    }
}

INSTANTIATE_TEST_SUITE_P(EveryAddress, SocketAddressFault, testing::ValuesIn(skipCases()),
                         [](const auto& row) {
                             return std::string(row.param.skip.name) + "_" + row.param.error.name;
                         });

// --- Closing ------------------------------------------------------------------------------------

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

INSTANTIATE_TEST_SUITE_P(EveryError, SocketCloseFault, testing::ValuesIn(errorsOf(Call::CLOSE)),
                         [](const auto& row) { return row.param.name; });

}  // namespace
}  // namespace nx::oss

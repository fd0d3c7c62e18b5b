#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cerrno>
#include <cstddef>
#include <cstring>
#include <string>

#include <gtest/gtest.h>

#include <infra/oss/kelSocket.h>
#include <infra/oss/kelSocketException.h>

#include "support/kelAddressRecords.h"
#include "support/kelLoopback.h"
#include "support/kelRaises.h"

namespace nx::oss {
namespace {

using test::AddressRecord;
using test::EntryText;
using test::Listener;
using test::loopbackAddress;
using test::loopbackEntry;
using test::loopbackRecord;
using test::NoDescriptorLeak;
using test::recordHead;
using test::recordOf;
using test::Report;
using test::utf8;

Report socketError(const std::string& identifier, std::vector<std::string> arguments) {
    return Report(identifier).in("kelSocket.cpp").with(std::move(arguments));
}

void expectConnects(const AddressRecord& record, const Listener& listener) {
    Socket socket;
    socket.connect("named.invalid", 4711, record, nullptr);
    EXPECT_TRUE(socket.isOwner());
    const test::FileDescriptor peer = listener.accept();
    socket.write("abc", 0, 3);
    EXPECT_EQ("abc", test::receive(peer.get(), 3));
}

void expectUnconnected(const Socket& socket) {
    EXPECT_EQ(-1, socket.getDescriptor());
    EXPECT_FALSE(socket.isOwner());
    EXPECT_EQ("named.invalid", utf8(socket.getHostName()));
    EXPECT_EQ(4711U, socket.getPort());
}

TEST(SocketConnectFromRecord, TakesTheAddressOfTheRecordAndTheNamesOfTheArguments) {
    const Listener listener;
    Socket socket;
    socket.connect("named.invalid", 4711, loopbackRecord(listener.port()), nullptr);
    EXPECT_TRUE(socket.isOwner());
    EXPECT_EQ("named.invalid", utf8(socket.getHostName()));
    EXPECT_EQ(4711U, socket.getPort());
    const int descriptor = static_cast<int>(socket.getDescriptor());
    EXPECT_EQ(1, test::socketOption(descriptor, IPPROTO_TCP, TCP_NODELAY));
}

TEST(SocketConnectFromRecord, TakesAnExportedRecord) {
    const Listener listener;
    AddressRecord record;
    ASSERT_EQ(0, Socket::exportAddrInfo("127.0.0.1", static_cast<unsigned short>(listener.port()),
                                        record));
    expectConnects(record, listener);
}

TEST(SocketConnectFromRecord, WithALengthOfZeroResolvesTheHost) {
    const Listener listener;
    AddressRecord none = loopbackRecord(1);
    none.usedLength = 0;
    for (const AddressRecord& record : {Socket::NullAddrInfoExternal, none}) {
        Socket socket;
        socket.connect("127.0.0.1", listener.port(), record, nullptr);
        EXPECT_TRUE(socket.isOwner());
    }
    Socket socket;
    EXPECT_RAISES(SocketException, socket.connect("", 8080, Socket::NullAddrInfoExternal, nullptr),
                  socketError("ERR_SOCKET_GETADDRINFO_ERROR",
                              {"", "8080", "-2", "Name or service not known"}));
}

TEST(SocketConnectFromRecord, ReadsRecordsWhoseAddressesStandAtAnyPlace) {
    const Listener listener;
    for (std::size_t size = 0; size < 16; ++size) {
        expectConnects(loopbackRecord(listener.port(), std::string(size, 'h')), listener);
    }
}

TEST(SocketConnectFromRecord, WalksTheEntriesUntilOneCanBeTried) {
    const NoDescriptorLeak check;
    const Listener listener;
    EntryText unknownFamily{loopbackAddress(listener.port()), ""};
    unknownFamily.family = 9999;
    EntryText wrongType{loopbackAddress(listener.port()), "name"};
    wrongType.type = 77;
    const EntryText noAddress{};
    const EntryText longAddress{std::string(1000, 'a'), ""};
    expectConnects(
        recordOf(recordHead("h", 1) + unknownFamily.bytes() + wrongType.bytes() +
                 noAddress.bytes() + longAddress.bytes() + loopbackEntry(listener.port())),
        listener);
}

TEST(SocketConnectFromRecord, ReportsNotConnectedWhenNoEntryCanBeTried) {
    const NoDescriptorLeak check;
    EntryText unknownFamily{loopbackAddress(80), ""};
    unknownFamily.family = 9999;
    Socket socket;
    EXPECT_RAISES(SocketException,
                  socket.connect("named.invalid", 4711,
                                 recordOf(recordHead("h", 1) + unknownFamily.bytes() +
                                          EntryText{"", std::string(16, 'n')}.bytes()),
                                 nullptr),
                  socketError("ERR_SOCKET_NOT_CONNECTED", {"named.invalid", "4711"}));
    expectUnconnected(socket);
}

TEST(SocketConnectFromRecord, IsRefusedWhereNobodyListens) {
    const NoDescriptorLeak check;
    const test::BoundPort refusing;
    Socket socket;
    EXPECT_RAISES(SocketException,
                  socket.connect("named.invalid", 4711, loopbackRecord(refusing.port()), nullptr),
                  socketError("NX_ERR_SOCKET_CONNECTION_REFUSED", {"named.invalid", "4711"}));
    expectUnconnected(socket);
}

TEST(SocketConnectFromRecord, EndsWithItsTimeOut) {
    const test::FullListener full;
    const NoDescriptorLeak check;
    const unsigned long timeout = 0;
    Socket socket;
    EXPECT_RAISES(SocketException,
                  socket.connect("named.invalid", 4711, loopbackRecord(full.port()), &timeout),
                  socketError("ERR_SOCKET_TIMEOUT", {"named.invalid", "4711"}));
    expectUnconnected(socket);
}

TEST(SocketConnectFromRecord, OnAConnectedSocketIsRefusedBeforeTheRecordIsRead) {
    test::Connection connection;
    const AddressRecord malformed = recordOf("h", 65535);
    EXPECT_RAISES(SocketException,
                  connection.socket.connect("named.invalid", 4711, malformed, nullptr),
                  socketError("ERR_SOCKET_CONNECTED", {"named.invalid", "4711"}));
    EXPECT_TRUE(connection.socket.isOwner());
    EXPECT_EQ("127.0.0.1", utf8(connection.socket.getHostName()));
}

TEST(SocketConnectFromRecord, RefusesAMalformedRecordWithTheErrnoThatIsSet) {
    const NoDescriptorLeak check;
    for (const AddressRecord& record :
         {recordOf(recordHead("h", 1)), recordOf("h", 65535), recordOf(std::string(2998, 'h')),
          recordOf(recordHead("h", 1) + loopbackEntry(80) + "x")}) {
        Socket socket;
        errno = 0;
        EXPECT_RAISES(SocketException, socket.connect("named.invalid", 4711, record, nullptr),
                      socketError("NX_ERR_SOCKET_ERROR", {"0"}));
        expectUnconnected(socket);
        errno = ECONNRESET;
        EXPECT_RAISES(SocketException, socket.connect("named.invalid", 4711, record, nullptr),
                      socketError("NX_ERR_SOCKET_CONNECTION_RESET", {}));
        expectUnconnected(socket);
    }
}

TEST(SocketConnectFromRecord, TriesNothingWhenALaterEntryIsMalformed) {
    const Listener listener;
    const AddressRecord record =
        recordOf(recordHead("h", 1) + loopbackEntry(listener.port()) + std::string(41, '\0'));
    Socket socket;
    EXPECT_THROW(socket.connect("named.invalid", 4711, record, nullptr), SocketException);
    EXPECT_EQ(-1, socket.getDescriptor());
    // Nobody has knocked: the next connection is the first one to be accepted.
    EXPECT_NO_FATAL_FAILURE(expectConnects(loopbackRecord(listener.port()), listener));
}

TEST(SocketConnectFromRecord, ConnectsAgainAfterAMalformedRecord) {
    const Listener listener;
    Socket socket;
    EXPECT_THROW(socket.connect("named.invalid", 4711, recordOf("h", 1), nullptr), SocketException);
    EXPECT_NO_THROW(
        socket.connect("named.invalid", 4711, loopbackRecord(listener.port()), nullptr));
    EXPECT_TRUE(socket.isOwner());
}

/// A listener of the system's own kind of sockets, with an address that is no file.
class LocalListener {
  public:
    LocalListener() {
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        socklen_t size = sizeof(sa_family_t);  // lets the system choose an address
        descriptor_ = test::FileDescriptor(::socket(AF_UNIX, SOCK_STREAM, 0));
        EXPECT_EQ(0, ::bind(descriptor_.get(), reinterpret_cast<sockaddr*>(&address), size));
        EXPECT_EQ(0, ::listen(descriptor_.get(), 4));
        size = sizeof address;
        EXPECT_EQ(0,
                  ::getsockname(descriptor_.get(), reinterpret_cast<sockaddr*>(&address), &size));
        address_.assign(reinterpret_cast<const char*>(&address), size);
    }
    const std::string& address() const { return address_; }

  private:
    test::FileDescriptor descriptor_;
    std::string address_;
};

/// Such a socket knows no TCP_NODELAY, the last step of connecting.
TEST(SocketConnectFromRecord, LeavesTheSocketUnconnectedWhenTheLastStepFails) {
    const LocalListener listener;
    const NoDescriptorLeak check;
    EntryText local{listener.address(), ""};
    local.family = AF_UNIX;
    local.protocol = 0;
    std::string entry = local.bytes();
    if (entry.size() < 42) {  // a reader wants that many
        local.name = std::string(42 - entry.size(), 'n');
        entry = local.bytes();
    }
    Socket socket;
    EXPECT_RAISES(
        SocketException,
        socket.connect("named.invalid", 4711, recordOf(recordHead("h", 1) + entry), nullptr),
        socketError("NX_ERR_SOCKET_ERROR", {"95", "named.invalid", "4711"}));
    expectUnconnected(socket);
}

}  // namespace
}  // namespace nx::oss

// What programs that were compiled against an earlier build of the library rely on in sockets and
// servers: sizes and order of fields.
#include <infra/oss/kelSocketServer.h>

#include <type_traits>

#include <gtest/gtest.h>

#include "kelObjectStorage.h"

namespace nx::oss {
namespace {

using layout::byteAt;
using layout::expectDestructorSlots;
using layout::number;

// The places of the fields, in bytes.
constexpr std::size_t OWNER = 8;
constexpr std::size_t DESCRIPTOR = 16;
constexpr std::size_t HOST = 24;
constexpr std::size_t PORT = 88;

constexpr std::size_t SERVER_SOCKET = 8;
constexpr std::size_t SERVER_HOST = 104;
constexpr std::size_t SERVER_PORT = 168;
constexpr std::size_t SERVER_LISTENING = 176;

static_assert(sizeof(Socket) == 96);
static_assert(sizeof(SocketServer) == 184);
static_assert(sizeof(Socket::CSocketInitializer) == 8);

/// The signed 64-bit number at an offset in bytes.
template <class T>
long longAt(const T& object, std::size_t offset) {
    return static_cast<long>(number(object, offset / 8));
}

TEST(SocketAbi, HoldsOwnerDescriptorHostAndPort) {
    const Socket none;
    EXPECT_EQ(byteAt(none, OWNER), 0);
    EXPECT_EQ(longAt(none, DESCRIPTOR), -1);
    EXPECT_EQ(longAt(none, PORT), 0);
    const Socket wrapped(4711);
    EXPECT_EQ(byteAt(wrapped, OWNER), 0);
    EXPECT_EQ(longAt(wrapped, DESCRIPTOR), 4711);
    EXPECT_EQ(reinterpret_cast<const char*>(&wrapped.getHostName()),
              reinterpret_cast<const char*>(&wrapped) + HOST);
}

TEST(SocketAbi, OwnsInTheFirstByteAndKeepsThePortInTheLastWord) {
    SocketServer server;
    server.listen(0, 5, true);
    Socket client;
    client.connect("127.0.0.1", server.getPort(), nullptr);
    EXPECT_EQ(byteAt(client, OWNER), 1);
    EXPECT_EQ(longAt(client, DESCRIPTOR), client.getDescriptor());
    EXPECT_EQ(client.getHostName(), u"127.0.0.1");
    EXPECT_EQ(number(client, PORT / 8), server.getPort());
}

TEST(SocketServerAbi, HoldsSocketHostPortAndTheStateOfListening) {
    SocketServer server;
    EXPECT_EQ(longAt(server, SERVER_SOCKET + DESCRIPTOR), -1);
    EXPECT_EQ(number(server, SERVER_PORT / 8), 0u);
    EXPECT_EQ(byteAt(server, SERVER_LISTENING), 0);
    server.listen(0, 5, true);
    EXPECT_EQ(byteAt(server, SERVER_SOCKET + OWNER), 1);
    EXPECT_EQ(longAt(server, SERVER_SOCKET + DESCRIPTOR), server.getDescriptor());
    EXPECT_EQ(reinterpret_cast<const char*>(&server.getHostName()),
              reinterpret_cast<const char*>(&server) + SERVER_HOST);
    EXPECT_EQ(server.getHostName(), u"localhost");
    EXPECT_EQ(number(server, SERVER_PORT / 8), server.getPort());
    EXPECT_EQ(byteAt(server, SERVER_LISTENING), 1);
    server.shutdownRead();
    EXPECT_EQ(byteAt(server, SERVER_LISTENING), 0);
}

TEST(SocketServerAbi, HoldsACompleteSocket) {
    const SocketServer server;
    const Socket socket;
    // Both start with the address of the table of the same class.
    EXPECT_EQ(number(server, SERVER_SOCKET / 8), number(socket, 0));
}

TEST(SocketAbi, HasTheDeletingDestructorInItsSecondSlot) {
    expectDestructorSlots(new Socket);
    expectDestructorSlots(new SocketServer);
    expectDestructorSlots(new Socket::CSocketInitializer);
}

}  // namespace
}  // namespace nx::oss

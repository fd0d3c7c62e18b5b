#include <list>
#include <type_traits>
#include <utility>

#include <gtest/gtest.h>

#include <infra/oss/kelSocket.h>
#include <infra/oss/kelSocketServer.h>

#include "support/kelLoopback.h"
#include "support/kelRaises.h"

namespace nx::oss {
namespace {

using test::Connection;
using test::utf8;

TEST(SocketCopy, SharesTheDescriptorWithoutOwningIt) {
    const Connection connection;
    const Socket copy(connection.socket);
    EXPECT_FALSE(copy.isOwner());
    EXPECT_EQ(connection.socket.getDescriptor(), copy.getDescriptor());
    EXPECT_EQ("127.0.0.1", utf8(copy.getHostName()));
    EXPECT_EQ(connection.listener.port(), copy.getPort());
    EXPECT_TRUE(connection.socket.isOwner());
}

TEST(SocketCopy, NeverClosesTheDescriptor) {
    const Connection connection;
    { const Socket copy(connection.socket); }
    EXPECT_TRUE(test::isOpen(connection.socket.getDescriptor()));
}

TEST(SocketCopy, CanTransferBytes) {
    Connection connection;
    Socket copy(connection.socket);
    copy.write("abc", 0, 3);
    EXPECT_EQ("abc", test::receive(connection.peer.get(), 3));
}

TEST(SocketCopy, OfAnUnconnectedSocketKeepsHostAndPort) {
    const test::BoundPort refusing;
    Socket socket;
    EXPECT_THROW(socket.connect("127.0.0.1", refusing.port(), nullptr), BaseException);
    const Socket copy(socket);
    EXPECT_EQ(-1, copy.getDescriptor());
    EXPECT_EQ("127.0.0.1", utf8(copy.getHostName()));
    EXPECT_EQ(refusing.port(), copy.getPort());
}

TEST(SocketCopy, GoesStaleWhenTheOwnerCloses) {
    Connection connection;
    const Socket copy(connection.socket);
    connection.socket.close();
    EXPECT_NE(-1, copy.getDescriptor());
    EXPECT_FALSE(test::isOpen(copy.getDescriptor()));
}

TEST(SocketMove, IsACopyThatDoesNotOwn) {
    Connection connection;
    const long descriptor = connection.socket.getDescriptor();
    std::list<Socket> list;
    list.push_back(std::move(connection.socket));
    EXPECT_TRUE(connection.socket.isOwner());  // NOLINT(bugprone-use-after-move)
    EXPECT_EQ(descriptor, connection.socket.getDescriptor());
    EXPECT_FALSE(list.front().isOwner());
    EXPECT_EQ(descriptor, list.front().getDescriptor());
    list.clear();
    EXPECT_TRUE(test::isOpen(descriptor));
}

TEST(SocketAssignment, ClosesTheConnectionThatTheTargetOwnsAndKeepsItsHostAndPort) {
    Connection target;
    const Connection source;
    const long old = target.socket.getDescriptor();
    const unsigned long port = target.listener.port();
    target.socket = source.socket;
    EXPECT_FALSE(test::isOpen(old));
    EXPECT_EQ("", test::receiveToEnd(target.peer.get()));
    EXPECT_FALSE(target.socket.isOwner());
    EXPECT_EQ(source.socket.getDescriptor(), target.socket.getDescriptor());
    EXPECT_EQ("127.0.0.1", utf8(target.socket.getHostName()));
    EXPECT_EQ(port, target.socket.getPort());
}

TEST(SocketAssignment, ToAnAcceptedSocketClosesItAndLeavesHostAndPortEmpty) {
    const Connection source;
    SocketServer server;
    server.listen(0, 5, true);
    const test::FileDescriptor client = test::connectTo(server.getPort());
    Socket target;
    server.accept(target, nullptr);
    const long old = target.getDescriptor();
    target = source.socket;
    EXPECT_FALSE(test::isOpen(old));
    EXPECT_FALSE(target.isOwner());
    EXPECT_EQ(source.socket.getDescriptor(), target.getDescriptor());
    EXPECT_EQ("", utf8(target.getHostName()));
    EXPECT_EQ(0U, target.getPort());
}

TEST(SocketAssignment, DoesNotTouchTheDescriptorOfANonOwningTarget) {
    const Connection first;
    const Connection second;
    Socket target(first.socket);
    target = second.socket;
    EXPECT_TRUE(test::isOpen(first.socket.getDescriptor()));
    EXPECT_EQ(second.socket.getDescriptor(), target.getDescriptor());
    EXPECT_EQ(first.listener.port(), target.getPort());
}

TEST(SocketAssignment, NeverTakesOwnership) {
    const Connection connection;
    {
        Socket target;
        target = connection.socket;
        EXPECT_FALSE(target.isOwner());
        EXPECT_EQ("", utf8(target.getHostName()));
        EXPECT_EQ(0U, target.getPort());
    }
    EXPECT_TRUE(test::isOpen(connection.socket.getDescriptor()));
    EXPECT_TRUE(connection.socket.isOwner());
}

TEST(SocketAssignment, OfAnUnconnectedSocketDisconnects) {
    const test::NoDescriptorLeak check;
    Connection connection;
    const long old = connection.socket.getDescriptor();
    connection.socket = Socket();
    EXPECT_FALSE(test::isOpen(old));
    EXPECT_EQ(-1, connection.socket.getDescriptor());
    EXPECT_EQ(connection.listener.port(), connection.socket.getPort());
}

TEST(SocketAssignment, OfAnOwningSocketToItselfClosesIt) {
    Connection connection;
    const long old = connection.socket.getDescriptor();
    const Socket& same = connection.socket;
    connection.socket = same;
    EXPECT_FALSE(test::isOpen(old));
    EXPECT_FALSE(connection.socket.isOwner());
    EXPECT_EQ(-1, connection.socket.getDescriptor());
    EXPECT_EQ("127.0.0.1", utf8(connection.socket.getHostName()));
    EXPECT_EQ(connection.listener.port(), connection.socket.getPort());
}

TEST(SocketAssignment, OfANonOwningSocketToItselfChangesNothing) {
    const Connection connection;
    Socket copy(connection.socket);
    const Socket& same = copy;
    copy = same;
    EXPECT_EQ(connection.socket.getDescriptor(), copy.getDescriptor());
    EXPECT_TRUE(test::isOpen(copy.getDescriptor()));
}

TEST(SocketAssignment, TakesTheSharedDescriptorAsItStandsAfterClosing) {
    Connection connection;
    const Socket copy(connection.socket);
    connection.socket = copy;
    EXPECT_FALSE(connection.socket.isOwner());
    EXPECT_EQ(copy.getDescriptor(), connection.socket.getDescriptor());
    EXPECT_FALSE(test::isOpen(copy.getDescriptor()));
}

}  // namespace
}  // namespace nx::oss

#include <list>
#include <string>

#include <gtest/gtest.h>

#include <infra/oss/kelSocketException.h>
#include <infra/oss/kelSocketServer.h>

#include "support/kelInterruptions.h"
#include "support/kelLoopback.h"
#include "support/kelRaises.h"

namespace nx::oss {
namespace {

using test::Connection;
using test::Interruptions;
using test::Report;

/// System calls that a signal ends are not repeated: the caller hears of errno 4.
Report interrupted(const std::string& host, const std::string& port) {
    return Report("NX_ERR_SOCKET_ERROR").in("kelSocket.cpp").with({"4", host, port});
}

TEST(SocketInterrupted, ConnectReportsTheWaitWithoutHostAndLeaksNothing) {
    const test::FullListener full;
    const test::NoDescriptorLeak check;
    Socket socket;
    {
        const Interruptions signals;
        EXPECT_RAISES(SocketException, socket.connect("127.0.0.1", full.port(), nullptr),
                      interrupted("", "0"));
    }
    EXPECT_EQ(-1, socket.getDescriptor());
    EXPECT_FALSE(socket.isOwner());
    EXPECT_EQ(full.port(), socket.getPort());
}

TEST(SocketInterrupted, SelectReportsAndLeavesTheListsAlone) {
    const Connection connection;
    std::list<Socket> read{connection.socket};
    std::list<Socket> none;
    const Interruptions signals;
    EXPECT_RAISES(SocketException, Socket::select(read, none, none, nullptr),
                  interrupted("127.0.0.1", connection.portText()));
    EXPECT_EQ(1U, read.size());
}

TEST(SocketInterrupted, AcceptReportsTheWaitWithoutHost) {
    SocketServer server;
    server.listen(0, 5, true);
    Socket target;
    const Interruptions signals;
    EXPECT_RAISES(SocketException, server.accept(target, nullptr), interrupted("", "0"));
    EXPECT_EQ(-1, target.getDescriptor());
    EXPECT_TRUE(server.isListening());
}

TEST(SocketInterrupted, ReadsReportHostAndPort) {
    Connection connection;
    char bytes[4];
    unsigned long length = 0;
    const Report report = interrupted("127.0.0.1", connection.portText());
    const Interruptions signals;
    EXPECT_RAISES(SocketException, connection.socket.read(bytes, 0, 4), report);
    EXPECT_RAISES(SocketException, connection.socket.readOnce(bytes, 0, 4), report);
    EXPECT_RAISES(SocketException, connection.socket.readItem(bytes, length, 0, 4, false), report);
}

TEST(SocketInterrupted, WritesReportHostAndPort) {
    Connection connection;
    const std::string bytes(64U << 20, 'x');
    const Report report = interrupted("127.0.0.1", connection.portText());
    const Interruptions signals;
    EXPECT_RAISES(SocketException, connection.socket.write(bytes.data(), 0, bytes.size()), report);
    EXPECT_RAISES(SocketException, connection.socket.writeItem(bytes.data(), 0, bytes.size()),
                  report);
}

}  // namespace
}  // namespace nx::oss

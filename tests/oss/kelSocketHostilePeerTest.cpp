#include <sys/mman.h>
#include <sys/socket.h>

#include <string>

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
using std::string_literals::operator""s;

constexpr bool DISCARD = true;
constexpr bool KEEP = false;

/// More than any system buffers for a connection.
constexpr std::size_t ENDLESS = 64U << 20;

/// Room for the largest item that can be announced: address space without memory behind it.
class LargestRoom {
  public:
    static constexpr std::size_t SIZE = std::size_t{1} << 32U;

    LargestRoom()
        : start_(::mmap(nullptr, SIZE, PROT_READ | PROT_WRITE,
                        MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0)) {}
    ~LargestRoom() { ::munmap(start_, SIZE); }
    LargestRoom(const LargestRoom&) = delete;
    LargestRoom& operator=(const LargestRoom&) = delete;

    bool there() const { return start_ != MAP_FAILED; }
    char* data() const { return static_cast<char*>(start_); }

  private:
    void* start_;
};

/// One connection to a peer that misbehaves.
class HostilePeer {
  public:
    Socket& socket() { return connection_.socket; }
    int peer() const { return connection_.peer.get(); }
    void closePeer() { connection_.peer.close(); }
    void resetPeer() { connection_.peer.closeWithReset(); }

    unsigned long readItem(unsigned long maxLength, bool discard) {
        return socket().readItem(buffer_, length, 0, maxLength, discard);
    }
    Report error(const std::string& identifier, std::vector<std::string> numbers = {}) const {
        numbers.insert(numbers.end(), {"127.0.0.1", connection_.portText()});
        return Report(identifier).in("kelSocket.cpp").with(std::move(numbers));
    }
    std::string bytes(std::size_t count) const { return {buffer_, count}; }

    unsigned long length = 4711;

  private:
    Connection connection_;
    char buffer_[64] = {};
};

Report tooSmall(const std::string& maxLength, const std::string& announced) {
    return Report("ERR_DEST_BUFFER_TOO_SMALL").in("kelSocket.cpp").with({maxLength, announced});
}

TEST(HostilePeer, CuttingThePrefixLeavesItsMissingBytesZero) {
    struct {
        std::string sent;
        unsigned long announced;
    } const rows[] = {
        {"\0"s, 0},
        {"\0\0"s, 0},
        {"\0\0\0"s, 0},
        {"\1"s, 0x01000000},
        {"\1\2"s, 0x01020000},
        {"\1\2\3"s, 0x01020300},
        {"\xff\xff\xff"s, 0xffffff00},
    };
    const LargestRoom room;
    ASSERT_TRUE(room.there());
    for (const auto& row : rows) {
        HostilePeer hostile;
        test::sendAll(hostile.peer(), row.sent);
        hostile.closePeer();
        EXPECT_EQ(
            0U, hostile.socket().readItem(room.data(), hostile.length, 0, LargestRoom::SIZE, KEEP))
            << row.announced;
        EXPECT_EQ(row.announced, hostile.length);
        EXPECT_RAISES(SocketException, hostile.readItem(1, KEEP),
                      hostile.error("ERR_SOCKET_CLOSED"));
    }
}

TEST(HostilePeer, CuttingThePrefixOfAnOversizedItemIsStillOversized) {
    HostilePeer hostile;
    test::sendAll(hostile.peer(), "\1"s);
    hostile.closePeer();
    EXPECT_RAISES(SocketException, hostile.readItem(64, KEEP), tooSmall("64", "16777216"));
    EXPECT_EQ(0x01000000U, hostile.length);
}

TEST(HostilePeer, AnnouncingFourGibibytesIsRefusedWithoutReadingThem) {
    HostilePeer hostile;
    test::sendAll(hostile.peer(), "\xff\xff\xff\xff"s + "abc");
    EXPECT_RAISES(SocketException, hostile.readItem(64, KEEP), tooSmall("64", "-1"));
    EXPECT_EQ(4294967295U, hostile.length);
    char rest[3];
    EXPECT_EQ(3U, hostile.socket().read(rest, 0, 3));
    EXPECT_EQ("abc", std::string(rest, 3));
}

TEST(HostilePeer, AnnouncingFourGibibytesAndClosingGivesWhatCame) {
    const LargestRoom room;
    ASSERT_TRUE(room.there());
    HostilePeer hostile;
    test::sendAll(hostile.peer(), "\xff\xff\xff\xff"s + "abc");
    hostile.closePeer();
    EXPECT_EQ(3U,
              hostile.socket().readItem(room.data(), hostile.length, 0, LargestRoom::SIZE, KEEP));
    EXPECT_EQ("abc", std::string(room.data(), 3));
    EXPECT_EQ(4294967295U, hostile.length);
}

TEST(HostilePeer, SendingByteByByteOnlyDelaysTheItem) {
    HostilePeer hostile;
    const long reader = hostile.socket().getDescriptor();
    const JoinedThread peer(
        [&] { test::sendByteByByte(hostile.peer(), "\0\0\0\5hello"s, reader); });
    EXPECT_EQ(5U, hostile.readItem(64, KEEP));
    EXPECT_EQ("hello", hostile.bytes(5));
}

TEST(HostilePeer, SendingADiscardedItemByteByByteOnlyDelaysTheError) {
    HostilePeer hostile;
    const long reader = hostile.socket().getDescriptor();
    const JoinedThread peer(
        [&] { test::sendByteByByte(hostile.peer(), "\0\0\0\5hello\0\0\0\1x"s, reader); });
    EXPECT_RAISES(SocketException, hostile.readItem(4, DISCARD), tooSmall("4", "5"));
    EXPECT_EQ(1U, hostile.readItem(4, DISCARD));
    EXPECT_EQ("x", hostile.bytes(1));
}

TEST(HostilePeer, ResettingAtAnyByteOfAnItemRaises) {
    const std::string item = "\0\0\0\5hello"s;
    for (std::size_t sent = 0; sent < item.size(); ++sent) {
        HostilePeer hostile;
        test::sendAll(hostile.peer(), item.substr(0, sent));
        hostile.resetPeer();
        EXPECT_RAISES(SocketException, hostile.readItem(64, KEEP),
                      hostile.error("NX_ERR_SOCKET_CONNECTION_RESET"))
            << "after " << sent << " bytes";
        EXPECT_EQ(sent < 4 ? 4711U : 5U, hostile.length);
        EXPECT_TRUE(hostile.socket().isOwner());
    }
}

TEST(HostilePeer, ResettingAfterAnItemRaisesAtTheNextOne) {
    HostilePeer hostile;
    test::sendAll(hostile.peer(), "\0\0\0\5hello"s);
    hostile.resetPeer();
    EXPECT_EQ(5U, hostile.readItem(64, KEEP));
    EXPECT_EQ("hello", hostile.bytes(5));
    EXPECT_RAISES(SocketException, hostile.readItem(64, KEEP),
                  hostile.error("NX_ERR_SOCKET_CONNECTION_RESET"));
}

TEST(HostilePeer, ResettingInsideADiscardedItemEndsTheDiscarding) {
    for (const std::size_t sent : {0U, 1U, 1024U, 2999U}) {
        HostilePeer hostile;
        test::sendAll(hostile.peer(), "\0\0\x0b\xb8"s + std::string(sent, 'x'));
        hostile.resetPeer();
        EXPECT_RAISES(SocketException, hostile.readItem(64, DISCARD),
                      hostile.error("NX_ERR_SOCKET_CONNECTION_RESET"));
        EXPECT_EQ(3000U, hostile.length);
    }
}

TEST(HostilePeer, NeverReadingBlocksTheWriterUntilTheConnectionIsShutDown) {
    HostilePeer hostile;
    const std::string payload(ENDLESS, 'x');
    const JoinedThread stopper([&hostile, copy = hostile.socket()]() mutable {
        test::waitUntilReadable(hostile.peer());
        copy.shutdownReadWrite();
    });
    EXPECT_RAISES(SocketException, hostile.socket().writeItem(payload.data(), 0, payload.size()),
                  hostile.error("NX_ERR_SOCKET_BROKEN_PIPE"));
}

TEST(HostilePeer, NeverReadingFailsANonBlockingWriterAtOnce) {
    HostilePeer hostile;
    hostile.socket().setNonBlocking(true);
    const std::string payload(ENDLESS, 'x');
    EXPECT_RAISES(SocketException, hostile.socket().writeItem(payload.data(), 0, payload.size()),
                  hostile.error("NX_ERR_SOCKET_ERROR", {"11"}));
}

TEST(HostilePeer, ResettingUnderAWriterRaises) {
    HostilePeer hostile;
    const std::string payload(ENDLESS, 'x');
    const JoinedThread peer([&] {
        test::waitUntilReadable(hostile.peer());
        hostile.resetPeer();
    });
    EXPECT_RAISES(SocketException, hostile.socket().writeItem(payload.data(), 0, payload.size()),
                  hostile.error("NX_ERR_SOCKET_CONNECTION_RESET"));
}

TEST(HostilePeer, NeverAnsweringBlocksTheReaderUntilTheConnectionIsShutDown) {
    HostilePeer hostile;
    const JoinedThread stopper([copy = hostile.socket()]() mutable { copy.shutdownReadWrite(); });
    EXPECT_RAISES(SocketException, hostile.readItem(64, KEEP), hostile.error("ERR_SOCKET_CLOSED"));
}

TEST(HostilePeer, NeverAnsweringFailsANonBlockingReaderAtOnce) {
    HostilePeer hostile;
    hostile.socket().setNonBlocking(true);
    EXPECT_RAISES(SocketException, hostile.readItem(64, KEEP),
                  hostile.error("NX_ERR_SOCKET_ERROR", {"11"}));
}

TEST(HostilePeer, WithAFullQueueMakesConnectTimeOut) {
    const test::FullListener full;
    const test::NoDescriptorLeak check;
    const unsigned long timeout = 50;
    for (int attempt = 0; attempt < 3; ++attempt) {
        Socket socket;
        EXPECT_RAISES(
            SocketException, socket.connect("127.0.0.1", full.port(), &timeout),
            Report("ERR_SOCKET_TIMEOUT").in("kelSocket.cpp").with({"127.0.0.1", full.portText()}));
    }
}

TEST(HostilePeer, ClosingInsideADiscardedItemSpinsUntilTheLengthIsLowered) {
    HostilePeer hostile;
    test::sendAll(hostile.peer(), "\0\0\x0b\xb8"s + "abc");
    hostile.closePeer();
    const long reader = hostile.socket().getDescriptor();
    {
        const JoinedThread caller([&] {
            char byte = 0;
            while (::recv(static_cast<int>(reader), &byte, 1, MSG_PEEK | MSG_DONTWAIT) != 0) {
                std::this_thread::yield();
            }
            __atomic_store_n(&hostile.length, 0UL, __ATOMIC_RELAXED);
        });
        EXPECT_RAISES(SocketException, hostile.readItem(64, DISCARD), tooSmall("64", "3000"));
    }
    EXPECT_EQ(0U, hostile.length);
}

}  // namespace
}  // namespace nx::oss

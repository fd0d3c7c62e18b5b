#include <sys/socket.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <list>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include <infra/oss/kelSocket.h>
#include <infra/oss/kelSocketException.h>

#include "support/kelLoopback.h"
#include "support/kelRaises.h"
#include "support/kelSystemCallFaults.h"

namespace nx::oss {
namespace {

using test::Call;
using test::Report;
using test::SystemCalls;
using Lengths = std::vector<std::size_t>;

constexpr bool DISCARD = true;
constexpr bool KEEP = false;

const std::string OVERSIZED = std::string("\0\0\13\270", 4) + std::string(3000, 'x');

class SocketTransferFault : public testing::Test {
  protected:
    Socket& socket() { return connection_.socket; }
    std::string received(std::size_t count) const {
        return test::receive(connection_.peer.get(), count);
    }
    void peerSends(const std::string& bytes) const { test::sendAll(connection_.peer.get(), bytes); }
    unsigned long readItem(unsigned long maxLength, bool discard) {
        return socket().readItem(buffer_, length_, 0, maxLength, discard);
    }
    static Report tooSmall(const std::string& maxLength, const std::string& announced) {
        return Report("ERR_DEST_BUFFER_TOO_SMALL").in("kelSocket.cpp").with({maxLength, announced});
    }
    void expectFlagsZero(Call call) const {
        for (const test::CallRecord& record : calls_.records()) {
            if (record.call == call) {
                EXPECT_EQ(0, record.flags);
            }
        }
    }

    test::Connection connection_;
    SystemCalls calls_;
    char buffer_[64] = {};
    unsigned long length_ = 0;
};

TEST_F(SocketTransferFault, WriteGoesOnAfterShortCounts) {
    calls_.shorten(Call::SEND, 3);
    socket().write("..abcdefghij", 2, 10);
    EXPECT_EQ((Lengths{10, 7, 4, 1}), calls_.lengths(Call::SEND));
    expectFlagsZero(Call::SEND);
    EXPECT_EQ("abcdefghij", received(10));
}

TEST_F(SocketTransferFault, WriteMakesNoCallForLengthZero) {
    socket().write("abc", 0, 0);
    EXPECT_EQ(0U, calls_.count(Call::SEND));
}

TEST_F(SocketTransferFault, WriteHasSentWhatCameBeforeTheFailure) {
    calls_.shorten(Call::SEND, 3);
    calls_.fail(Call::SEND, 3, ENOBUFS);
    EXPECT_THROW(socket().write("abcdefghij", 0, 10), SocketException);
    EXPECT_EQ("abcdef", received(6));
    EXPECT_NO_THROW(socket().write("k", 0, 1));
    EXPECT_EQ("k", received(1));
}

TEST_F(SocketTransferFault, ReadGoesOnAfterShortCounts) {
    peerSends("abcdefghij");
    calls_.shorten(Call::RECV, 4);
    EXPECT_EQ(10U, socket().read(buffer_, 1, 10));
    EXPECT_EQ((Lengths{10, 6, 2}), calls_.lengths(Call::RECV));
    expectFlagsZero(Call::RECV);
    EXPECT_STREQ("abcdefghij", buffer_ + 1);
}

TEST_F(SocketTransferFault, ReadMakesNoCallForLengthZero) {
    EXPECT_EQ(0U, socket().read(buffer_, 0, 0));
    EXPECT_EQ(0U, calls_.count(Call::RECV));
}

TEST_F(SocketTransferFault, ReadOnceMakesOneCallWhateverTheLength) {
    peerSends("abcdefghij");
    calls_.shorten(Call::RECV, 4);
    EXPECT_EQ(4, socket().readOnce(buffer_, 0, 10));
    EXPECT_EQ(0, socket().readOnce(buffer_, 0, 0));
    EXPECT_EQ((Lengths{10, 0}), calls_.lengths(Call::RECV));
    expectFlagsZero(Call::RECV);
}

TEST_F(SocketTransferFault, WriteItemSendsPrefixAndPayloadSeparately) {
    socket().writeItem("hello", 0, 5);
    EXPECT_EQ((Lengths{4, 5}), calls_.lengths(Call::SEND));
    expectFlagsZero(Call::SEND);
}

TEST_F(SocketTransferFault, WriteItemSendsOnlyThePrefixOfAnEmptyItem) {
    socket().writeItem("", 0, 0);
    EXPECT_EQ((Lengths{4}), calls_.lengths(Call::SEND));
}

TEST_F(SocketTransferFault, WriteItemGoesOnAfterShortCounts) {
    calls_.shorten(Call::SEND, 3);
    socket().writeItem("hello", 0, 5);
    EXPECT_EQ((Lengths{4, 1, 5, 2}), calls_.lengths(Call::SEND));
    EXPECT_EQ(std::string("\0\0\0\5hello", 9), received(9));
}

TEST_F(SocketTransferFault, WriteItemAnnouncesTheLow32BitsButSendsEverything) {
    calls_.fail(Call::SEND, 2, EPIPE);
    EXPECT_THROW(socket().writeItem("hello", 0, 4294967296UL + 5), SocketException);
    EXPECT_EQ((Lengths{4, 4294967301U}), calls_.lengths(Call::SEND));
    EXPECT_EQ(std::string("\0\0\0\5", 4), received(4));
}

TEST_F(SocketTransferFault, ReadItemReadsPrefixAndPayloadSeparately) {
    peerSends(std::string("\0\0\0\5hello", 9));
    calls_.shorten(Call::RECV, 3);
    EXPECT_EQ(5U, readItem(5, KEEP));
    EXPECT_EQ((Lengths{4, 1, 5, 2}), calls_.lengths(Call::RECV));
    expectFlagsZero(Call::RECV);
    EXPECT_STREQ("hello", buffer_);
}

TEST_F(SocketTransferFault, ReadItemReadsOnlyThePrefixOfAnEmptyItem) {
    peerSends(std::string(4, '\0'));
    EXPECT_EQ(0U, readItem(0, DISCARD));
    EXPECT_EQ((Lengths{4}), calls_.lengths(Call::RECV));
}

TEST_F(SocketTransferFault, ReadItemLeavesAnOversizedItemAlone) {
    peerSends(OVERSIZED);
    EXPECT_RAISES(SocketException, readItem(2999, KEEP), tooSmall("2999", "3000"));
    EXPECT_EQ((Lengths{4}), calls_.lengths(Call::RECV));
}

TEST_F(SocketTransferFault, ReadItemDiscardsInReadsOfAtMost1024Bytes) {
    peerSends(OVERSIZED);
    test::waitUntilReadable(socket().getDescriptor());
    EXPECT_RAISES(SocketException, readItem(0, DISCARD), tooSmall("0", "3000"));
    std::size_t largest = 0;
    for (const std::size_t length : calls_.lengths(Call::RECV)) {
        largest = std::max(largest, length);
    }
    EXPECT_EQ(1024U, largest);
    EXPECT_EQ(3000U, length_);
}

TEST_F(SocketTransferFault, ReadItemFillsEachDiscardingReadInSpiteOfShortCounts) {
    peerSends(OVERSIZED);
    calls_.shorten(Call::RECV, 700);
    EXPECT_RAISES(SocketException, readItem(0, DISCARD), tooSmall("0", "3000"));
    EXPECT_EQ((Lengths{4, 1024, 324, 1024, 324, 952, 252}), calls_.lengths(Call::RECV));
}

TEST_F(SocketTransferFault, ReadItemKeepsTheAnnouncedLengthWhenThePayloadFails) {
    peerSends(std::string("\0\0\0\5hello", 9));
    calls_.fail(Call::RECV, 2, ECONNRESET);
    EXPECT_THROW(readItem(5, KEEP), SocketException);
    EXPECT_EQ(5U, length_);
}

TEST_F(SocketTransferFault, ReadItemKeepsTheLengthVariableWhenThePrefixFails) {
    length_ = 4711;
    calls_.fail(Call::RECV, 1, ECONNRESET);
    EXPECT_THROW(readItem(5, KEEP), SocketException);
    EXPECT_EQ(4711U, length_);
}

TEST_F(SocketTransferFault, DiscardingSpinsOnAClosedPeerUntilTheLengthIsLowered) {
    peerSends(OVERSIZED.substr(0, 104));
    connection_.peer.close();
    calls_.before(Call::RECV, 1000, [&] { length_ = 100; });
    EXPECT_RAISES(SocketException, readItem(0, DISCARD), tooSmall("0", "3000"));
    EXPECT_EQ(1000U, calls_.count(Call::RECV));
    EXPECT_EQ(100U, length_);
}

TEST_F(SocketTransferFault, DiscardingSpinsOnAClosedPeerUntilAReadFails) {
    peerSends(OVERSIZED.substr(0, 104));
    connection_.peer.close();
    calls_.fail(Call::RECV, 1000, ENOTCONN);
    EXPECT_RAISES(SocketException, readItem(0, DISCARD),
                  Report("NX_ERR_SOCKET_NOT_CONNECTED")
                      .in("kelSocket.cpp")
                      .with({"127.0.0.1", connection_.portText()}));
    EXPECT_EQ(3000U, length_);
}

TEST_F(SocketTransferFault, OperationsWithoutDescriptorMakeNoCall) {
    Socket socket;
    EXPECT_THROW(socket.write("a", 0, 1), SocketException);
    EXPECT_THROW(socket.read(buffer_, 0, 1), SocketException);
    EXPECT_THROW(socket.readOnce(buffer_, 0, 1), SocketException);
    EXPECT_THROW(socket.writeItem("a", 0, 1), SocketException);
    EXPECT_THROW(socket.readItem(buffer_, length_, 0, 1, DISCARD), SocketException);
    EXPECT_THROW(socket.setNonBlocking(true), SocketException);
    EXPECT_THROW(socket.setTcpNoDelay(true), SocketException);
    socket.setSoTimeout(1);
    socket.shutdownRead();
    socket.shutdownWrite();
    socket.shutdownReadWrite();
    socket.close();
    EXPECT_TRUE(calls_.records().empty());
}

TEST_F(SocketTransferFault, ClosingANonOwningSocketMakesNoCall) {
    Socket copy(socket());
    copy.close();
    EXPECT_TRUE(calls_.records().empty());
}

TEST_F(SocketTransferFault, SetSoTimeoutMakesNoCall) {
    socket().setSoTimeout(1000);
    EXPECT_TRUE(calls_.records().empty());
}

TEST_F(SocketTransferFault, ShutdownsNameTheirDirection) {
    socket().shutdownRead();
    EXPECT_EQ(SHUT_RD, calls_.records().back().flags);
    socket().shutdownWrite();
    EXPECT_EQ(SHUT_WR, calls_.records().back().flags);
    socket().shutdownReadWrite();
    EXPECT_EQ(SHUT_RDWR, calls_.records().back().flags);
    EXPECT_EQ(3U, calls_.records().size());
}

TEST_F(SocketTransferFault, SelectMakesNoCallForEmptyLists) {
    std::list<Socket> none;
    const unsigned long timeout = 1000;
    EXPECT_EQ(0, Socket::select(none, none, none, &timeout));
    EXPECT_TRUE(calls_.records().empty());
}

TEST_F(SocketTransferFault, SelectMakesNoCallForADescriptorThatHasNoBit) {
    std::list<Socket> read{Socket(65472)};
    std::list<Socket> none;
    EXPECT_THROW(Socket::select(read, none, none, nullptr), SocketException);
    EXPECT_TRUE(calls_.records().empty());
}

TEST_F(SocketTransferFault, SelectLooksUpToTheHighestDescriptorOfAllLists) {
    const test::FileDescriptor higher(::dup(static_cast<int>(socket().getDescriptor())));
    std::list<Socket> read{socket()};
    std::list<Socket> write{Socket(static_cast<long>(higher.get()))};
    std::list<Socket> except{socket()};
    Socket::select(read, write, except, nullptr);
    EXPECT_EQ(higher.get() + 1, calls_.first(Call::SELECT).flags);
    EXPECT_TRUE(calls_.first(Call::SELECT).waitsForever);
}

TEST_F(SocketTransferFault, SelectSplitsItsTimeOutIntoSecondsAndMicroseconds) {
    std::list<Socket> write{socket()};
    std::list<Socket> none;
    const unsigned long timeout = 61007;
    Socket::select(none, write, none, &timeout);
    EXPECT_FALSE(calls_.first(Call::SELECT).waitsForever);
    EXPECT_EQ(61, calls_.first(Call::SELECT).timeout.tv_sec);
    EXPECT_EQ(7000, calls_.first(Call::SELECT).timeout.tv_usec);
}

TEST_F(SocketTransferFault, SelectEmptiesTheListsOnATimeOut) {
    std::list<Socket> all{socket(), socket()};
    std::list<Socket> none;
    calls_.add({Call::SELECT, 1, test::Fault::TIME_OUT, 0});
    EXPECT_EQ(0, Socket::select(none, all, none, nullptr));
    EXPECT_TRUE(all.empty());
}

}  // namespace
}  // namespace nx::oss

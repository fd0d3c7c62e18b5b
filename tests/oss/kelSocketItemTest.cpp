#include <cstring>
#include <string>
#include <vector>

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

constexpr bool DISCARD = true;
constexpr bool KEEP = false;

std::string prefix(unsigned char a, unsigned char b, unsigned char c, unsigned char d) {
    return {static_cast<char>(a), static_cast<char>(b), static_cast<char>(c), static_cast<char>(d)};
}

class SocketItem : public testing::Test {
  protected:
    int peer() const { return connection_.peer.get(); }
    Socket& socket() { return connection_.socket; }
    unsigned long readItem(unsigned long maxLength, bool discard) {
        return socket().readItem(buffer_.data(), length_, 0, maxLength, discard);
    }
    Report closed() const {
        return Report("ERR_SOCKET_CLOSED")
            .in("kelSocket.cpp")
            .with({"127.0.0.1", connection_.portText()});
    }
    static Report tooSmall(const std::string& maxLength, const std::string& announced) {
        return Report("ERR_DEST_BUFFER_TOO_SMALL").in("kelSocket.cpp").with({maxLength, announced});
    }

    Connection connection_;
    std::string buffer_ = std::string(8192, '.');
    unsigned long length_ = 4711;
};

using SocketWriteItem = SocketItem;
using SocketReadItem = SocketItem;

TEST_F(SocketWriteItem, SendsAnEmptyItemAsFourZeroBytes) {
    socket().writeItem("abc", 1, 0);
    socket().writeItem(nullptr, 0, 0);
    socket().close();
    EXPECT_EQ(prefix(0, 0, 0, 0) + prefix(0, 0, 0, 0), test::receiveToEnd(peer()));
}

TEST_F(SocketWriteItem, Announces258BytesMostSignificantFirst) {
    const std::string payload(258, 'p');
    socket().writeItem(payload.data(), 0, 258);
    EXPECT_EQ(prefix(0, 0, 1, 2) + payload, test::receive(peer(), 262));
}

TEST_F(SocketWriteItem, SendsTheBytesThatStartAtTheOffsetWithoutATerminator) {
    socket().writeItem("abcdefgh", 3, 2);
    socket().close();
    EXPECT_EQ(prefix(0, 0, 0, 2) + "de", test::receiveToEnd(peer()));
}

TEST_F(SocketWriteItem, PutsItemsBackToBack) {
    socket().writeItem("abc", 0, 3);
    socket().writeItem("", 0, 0);
    socket().writeItem("d", 0, 1);
    socket().close();
    EXPECT_EQ(prefix(0, 0, 0, 3) + "abc" + prefix(0, 0, 0, 0) + prefix(0, 0, 0, 1) + "d",
              test::receiveToEnd(peer()));
}

TEST_F(SocketWriteItem, SendsEveryByteOfTheLengthInItsPlace) {
    const unsigned long length = 0x010203;
    const std::string payload(length, 'p');
    std::string received;
    {
        const JoinedThread reader([&] { received = test::receive(peer(), 4 + length); });
        socket().writeItem(payload.data(), 0, length);
    }
    EXPECT_EQ(prefix(0, 1, 2, 3), received.substr(0, 4));
    EXPECT_TRUE(payload == received.substr(4));
}

TEST_F(SocketReadItem, ReturnsThePayloadAndItsLength) {
    test::sendAll(peer(), prefix(0, 0, 0, 3) + "abc");
    EXPECT_EQ(3U, readItem(100, KEEP));
    EXPECT_EQ(3U, length_);
    EXPECT_EQ("abc.", buffer_.substr(0, 4));
}

TEST_F(SocketReadItem, StoresAtTheOffset) {
    test::sendAll(peer(), prefix(0, 0, 0, 3) + "abc");
    EXPECT_EQ(3U, socket().readItem(buffer_.data(), length_, 2, 100, KEEP));
    EXPECT_EQ("..abc.", buffer_.substr(0, 6));
}

TEST_F(SocketReadItem, ReturnsZeroForAnEmptyItem) {
    test::sendAll(peer(), prefix(0, 0, 0, 0));
    EXPECT_EQ(0U, readItem(0, KEEP));
    EXPECT_EQ(0U, length_);
    EXPECT_EQ('.', buffer_[0]);
}

TEST_F(SocketReadItem, AcceptsAnItemAsLongAsTheMaximum) {
    test::sendAll(peer(), prefix(0, 0, 0, 4) + "abcd" + prefix(0, 0, 0, 1) + "e");
    EXPECT_EQ(4U, readItem(4, KEEP));
    EXPECT_EQ("abcd.", buffer_.substr(0, 5));
    EXPECT_EQ(1U, readItem(1, DISCARD));
    EXPECT_EQ("ebcd.", buffer_.substr(0, 5));
}

TEST_F(SocketReadItem, ReadsItemsThatFollowEachOther) {
    test::sendAll(peer(),
                  prefix(0, 0, 0, 1) + "a" + prefix(0, 0, 0, 0) + prefix(0, 0, 0, 2) + "bc");
    EXPECT_EQ(1U, readItem(100, KEEP));
    EXPECT_EQ(0U, readItem(100, KEEP));
    EXPECT_EQ(2U, readItem(100, KEEP));
    EXPECT_EQ("bc.", buffer_.substr(0, 3));
}

TEST_F(SocketReadItem, LeavesAnOversizedItemOnTheStreamUnlessItIsToBeDiscarded) {
    test::sendAll(peer(), prefix(0, 0, 0, 5) + "abcde");
    EXPECT_RAISES(SocketException, readItem(4, KEEP), tooSmall("4", "5"));
    EXPECT_EQ(5U, length_);
    EXPECT_EQ('.', buffer_[0]);
    char payload[5];
    EXPECT_EQ(5U, socket().read(payload, 0, 5));
    EXPECT_EQ("abcde", std::string(payload, 5));
}

TEST_F(SocketReadItem, DiscardsAnOversizedItemSoThatTheNextOneCanBeRead) {
    for (const unsigned int announced : {1U, 1023U, 1024U, 1025U, 2048U, 5000U}) {
        test::sendAll(peer(), prefix(0, 0, static_cast<unsigned char>(announced >> 8U),
                                     static_cast<unsigned char>(announced)) +
                                  std::string(announced, 'x') + prefix(0, 0, 0, 2) + "ok");
        EXPECT_RAISES(SocketException, readItem(0, DISCARD),
                      tooSmall("0", std::to_string(announced)));
        EXPECT_EQ(announced, length_);
        EXPECT_EQ('.', buffer_[0]);
        EXPECT_EQ(2U, readItem(2, DISCARD));
        EXPECT_EQ("ok.", buffer_.substr(0, 3));
        buffer_.assign(buffer_.size(), '.');
    }
}

TEST_F(SocketReadItem, DiscardsWithoutTouchingTheBufferWhateverTheOffset) {
    test::sendAll(peer(), prefix(0, 0, 12, 0) + std::string(3072, 'x') + prefix(0, 0, 0, 1) + "a");
    EXPECT_RAISES(SocketException, socket().readItem(buffer_.data(), length_, 4000, 10, DISCARD),
                  tooSmall("10", "3072"));
    EXPECT_EQ(std::string(8192, '.'), buffer_);
    EXPECT_EQ(1U, readItem(1, KEEP));
}

TEST_F(SocketReadItem, DiscardsWithAnOffsetBeyondAnyScratchArea) {
    test::sendAll(peer(), prefix(0, 0, 0, 5) + "abcde" + prefix(0, 0, 0, 1) + "f");
    EXPECT_RAISES(SocketException, socket().readItem(nullptr, length_, 1UL << 40U, 4, DISCARD),
                  tooSmall("4", "5"));
    EXPECT_EQ(1U, readItem(1, KEEP));
    EXPECT_EQ('f', buffer_[0]);
}

TEST_F(SocketReadItem, NumbersInTheErrorAre32BitsWideAndSigned) {
    test::sendAll(peer(), prefix(0xff, 0xff, 0xff, 0xff));
    EXPECT_RAISES(SocketException, readItem(0xfffffffe, KEEP), tooSmall("-2", "-1"));
    EXPECT_EQ(4294967295U, length_);
    test::sendAll(peer(), prefix(0x80, 0, 0, 0));
    EXPECT_RAISES(SocketException, readItem(0x7fffffff, KEEP),
                  tooSmall("2147483647", "-2147483648"));
    EXPECT_EQ(2147483648U, length_);
}

TEST_F(SocketReadItem, FindsTheConnectionClosedBetweenItems) {
    test::sendAll(peer(), prefix(0, 0, 0, 1) + "a");
    connection_.peer.close();
    EXPECT_EQ(1U, readItem(1, KEEP));
    length_ = 4711;
    EXPECT_RAISES(SocketException, readItem(1, KEEP), closed());
    EXPECT_EQ(4711U, length_);
    EXPECT_TRUE(socket().isOwner());
    EXPECT_TRUE(test::isOpen(socket().getDescriptor()));
    EXPECT_RAISES(SocketException, readItem(1, DISCARD), closed());
}

TEST_F(SocketReadItem, ReturnsThePartOfAPayloadThatCameBeforeThePeerClosed) {
    test::sendAll(peer(), prefix(0, 0, 0, 10) + "abcd");
    connection_.peer.close();
    EXPECT_EQ(4U, readItem(100, KEEP));
    EXPECT_EQ(10U, length_);
    EXPECT_EQ("abcd.", buffer_.substr(0, 5));
}

TEST_F(SocketReadItem, ExchangesItemsWithWriteItem) {
    for (const unsigned long length : {0UL, 1UL, 255UL, 256UL, 65535UL, 65536UL, 8388609UL}) {
        std::string payload(length, '\0');
        for (unsigned long i = 0; i < length; ++i) {
            payload[i] = static_cast<char>(i * 31 + (i >> 8U));
        }
        std::string received(length, '.');
        Socket other(static_cast<long>(peer()));
        {
            const JoinedThread writer([&] { other.writeItem(payload.data(), 0, length); });
            EXPECT_EQ(length, socket().readItem(received.data(), length_, 0, length, KEEP));
        }
        EXPECT_EQ(length, length_);
        EXPECT_TRUE(payload == received);
    }
}

TEST_F(SocketReadItem, ReadsTheLengthBackIntoTheSameVariableThatHeldTheMaximum) {
    test::sendAll(peer(), prefix(0, 0, 0, 3) + "abc");
    length_ = 3;
    EXPECT_EQ(3U, readItem(length_, KEEP));
    EXPECT_EQ(3U, length_);
}

}  // namespace
}  // namespace nx::oss

#include <fcntl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <climits>
#include <cstdlib>
#include <list>
#include <memory>
#include <vector>

#include <gtest/gtest.h>

#include <infra/oss/kelSocket.h>
#include <infra/oss/kelSocketException.h>

#include "support/kelLoopback.h"
#include "support/kelRaises.h"

namespace nx::oss {
namespace {

using test::Connection;
using test::Report;
using test::utf8;

using Sockets = std::list<Socket>;

constexpr unsigned long AT_ONCE = 0;
constexpr unsigned long SHORT = 20;
constexpr unsigned long LONG = 60000;

std::vector<long> descriptors(const Sockets& list) {
    std::vector<long> result;
    for (const Socket& socket : list) {
        result.push_back(socket.getDescriptor());
    }
    return result;
}

Report selectError(std::vector<std::string> arguments) {
    return Report("NX_ERR_SOCKET_ERROR").in("kelSocket.cpp").with(std::move(arguments));
}

/// A connection with a byte to read.
struct ReadyConnection : Connection {
    ReadyConnection() {
        test::sendAll(peer.get(), "x");
        test::waitUntilReadable(socket.getDescriptor());
    }
};

TEST(SocketSelect, ReturnsZeroAtOnceForEmptyLists) {
    Sockets read;
    Sockets write;
    Sockets except;
    EXPECT_EQ(0, Socket::select(read, write, except, nullptr));
    EXPECT_EQ(0, Socket::select(read, read, read, nullptr));
}

TEST(SocketSelect, EmptiesTheListsOnATimeOut) {
    const Connection quiet;
    Sockets read{quiet.socket};
    Sockets write;
    Sockets except{quiet.socket};
    EXPECT_EQ(0, Socket::select(read, write, except, &SHORT));
    EXPECT_TRUE(read.empty());
    EXPECT_TRUE(write.empty());
    EXPECT_TRUE(except.empty());
    EXPECT_TRUE(test::isOpen(quiet.socket.getDescriptor()));
}

TEST(SocketSelect, OnlyLooksWithATimeOutOfZero) {
    const Connection quiet;
    Sockets read{quiet.socket};
    Sockets none;
    EXPECT_EQ(0, Socket::select(read, none, none, &AT_ONCE));
    EXPECT_TRUE(read.empty());
}

TEST(SocketSelect, KeepsReadySocketsWithHostAndPort) {
    const ReadyConnection ready;
    Sockets read{ready.socket};
    Sockets none;
    EXPECT_EQ(1, Socket::select(read, none, none, nullptr));
    ASSERT_EQ(1U, read.size());
    EXPECT_EQ(ready.socket.getDescriptor(), read.front().getDescriptor());
    EXPECT_EQ("127.0.0.1", utf8(read.front().getHostName()));
    EXPECT_EQ(ready.listener.port(), read.front().getPort());
    EXPECT_FALSE(read.front().isOwner());
}

TEST(SocketSelect, RemovesTheOthersAndKeepsTheOrder) {
    const ReadyConnection first;
    const Connection quiet;
    const ReadyConnection last;
    Sockets read{last.socket, quiet.socket, first.socket, quiet.socket};
    Sockets none;
    EXPECT_EQ(2, Socket::select(read, none, none, nullptr));
    EXPECT_EQ((std::vector<long>{last.socket.getDescriptor(), first.socket.getDescriptor()}),
              descriptors(read));
}

TEST(SocketSelect, FindsSocketsReadyToWrite) {
    const Connection quiet;
    Sockets none;
    Sockets write{quiet.socket};
    EXPECT_EQ(1, Socket::select(none, write, none, nullptr));
    EXPECT_EQ(1U, write.size());
}

TEST(SocketSelect, FindsUrgentDataThroughTheExceptionList) {
    const Connection connection;
    Sockets none;
    Sockets except{connection.socket};
    ASSERT_EQ(1, ::send(connection.peer.get(), "!", 1, MSG_OOB));
    EXPECT_EQ(1, Socket::select(none, none, except, nullptr));
    EXPECT_EQ(1U, except.size());
}

TEST(SocketSelect, DoesNotTakeAClosedPeerForAnException) {
    Connection connection;
    connection.peer.close();
    test::waitUntilReadable(connection.socket.getDescriptor());
    Sockets read{connection.socket};
    Sockets none;
    Sockets except{connection.socket};
    EXPECT_EQ(1, Socket::select(read, none, except, nullptr));
    EXPECT_EQ(1U, read.size());
    EXPECT_TRUE(except.empty());
}

TEST(SocketSelect, WakesUpWhenAByteArrives) {
    const Connection connection;
    Sockets read{connection.socket};
    Sockets none;
    const test::JoinedThread writer([&] { test::sendAll(connection.peer.get(), "x"); });
    EXPECT_EQ(1, Socket::select(read, none, none, &LONG));
    EXPECT_EQ(1U, read.size());
}

TEST(SocketSelect, TakesTheLongestTimeOut) {
    const ReadyConnection ready;
    const unsigned long longest = ULONG_MAX;
    Sockets read{ready.socket};
    Sockets none;
    EXPECT_EQ(1, Socket::select(read, none, none, &longest));
}

TEST(SocketSelect, CountsTheSameDescriptorOncePerList) {
    const ReadyConnection ready;
    Sockets read{ready.socket};
    Sockets write{ready.socket};
    Sockets except{ready.socket};
    EXPECT_EQ(2, Socket::select(read, write, except, nullptr));
    EXPECT_EQ(1U, read.size());
    EXPECT_EQ(1U, write.size());
    EXPECT_TRUE(except.empty());
}

TEST(SocketSelect, CountsDuplicatesOnceAndKeepsThemAll) {
    const ReadyConnection ready;
    Sockets read{ready.socket, ready.socket, ready.socket};
    Sockets none;
    EXPECT_EQ(1, Socket::select(read, none, none, nullptr));
    EXPECT_EQ(3U, read.size());
}

TEST(SocketSelect, RemovesOncePerArgumentWhenAListIsPassedTwice) {
    const ReadyConnection both;
    const Connection writable;
    Sockets none;
    Sockets list{both.socket, writable.socket};
    EXPECT_EQ(3, Socket::select(list, list, none, nullptr));
    EXPECT_EQ((std::vector<long>{both.socket.getDescriptor()}), descriptors(list));
}

TEST(SocketSelect, ClosesAnOwningSocketThatItRemoves) {
    const test::Listener listener;
    Sockets read;
    read.emplace_back().connect("127.0.0.1", listener.port(), nullptr);
    const long descriptor = read.front().getDescriptor();
    Sockets none;
    EXPECT_EQ(0, Socket::select(read, none, none, &AT_ONCE));
    EXPECT_FALSE(test::isOpen(descriptor));
}

TEST(SocketSelect, ServesHundredsOfSockets) {
    std::vector<std::unique_ptr<test::FileDescriptor>> pairs;
    Sockets read;
    for (int i = 0; i < 300; ++i) {
        int ends[2];
        ASSERT_EQ(0, ::socketpair(AF_UNIX, SOCK_STREAM, 0, ends));
        pairs.push_back(std::make_unique<test::FileDescriptor>(ends[0]));
        pairs.push_back(std::make_unique<test::FileDescriptor>(ends[1]));
        read.push_back(Socket(static_cast<long>(ends[0])));
    }
    test::sendAll(pairs[1 + 2 * 250]->get(), "x");
    Sockets none;
    EXPECT_EQ(1, Socket::select(read, none, none, nullptr));
    EXPECT_EQ((std::vector<long>{pairs[std::size_t{2} * 250]->get()}), descriptors(read));
}

class SocketSelectHighDescriptor : public testing::TestWithParam<long> {};

TEST_P(SocketSelectHighDescriptor, IsServedLikeAnyOther) {
    const long number = GetParam();
    if (!test::allowDescriptors(static_cast<unsigned long>(number) + 1)) {
        GTEST_SKIP() << "the system allows no descriptor " << number;
    }
    const ReadyConnection ready;
    const test::FileDescriptor high(
        ::dup2(static_cast<int>(ready.socket.getDescriptor()), static_cast<int>(number)));
    ASSERT_EQ(number, high.get());
    Sockets read{Socket(number)};
    Sockets write{ready.socket, Socket(number)};
    Sockets except{Socket(number)};
    EXPECT_EQ(3, Socket::select(read, write, except, nullptr));
    EXPECT_EQ((std::vector<long>{number}), descriptors(read));
    EXPECT_EQ((std::vector<long>{ready.socket.getDescriptor(), number}), descriptors(write));
    EXPECT_TRUE(except.empty());
}

INSTANTIATE_TEST_SUITE_P(Numbers, SocketSelectHighDescriptor,
                         testing::Values(1023L, 1024L, 5000L, 16383L, 65471L));

class SocketSelectTooHighDescriptor : public testing::TestWithParam<long> {};

TEST_P(SocketSelectTooHighDescriptor, IsRefusedAndLeavesTheListsAlone) {
    const ReadyConnection ready;
    const std::string port = ready.portText();
    for (int place = 0; place < 3; ++place) {
        Sockets lists[3] = {{ready.socket}, {ready.socket}, {ready.socket}};
        lists[place].push_back(Socket(GetParam()));
        EXPECT_RAISES(SocketException, Socket::select(lists[0], lists[1], lists[2], &LONG),
                      selectError({"22", "127.0.0.1", port}));
        EXPECT_EQ(4U, lists[0].size() + lists[1].size() + lists[2].size());
        EXPECT_EQ(GetParam(), lists[place].back().getDescriptor());
    }
}

INSTANTIATE_TEST_SUITE_P(Numbers, SocketSelectTooHighDescriptor,
                         testing::Values(65472L, 65473L, 65536L, 70000L, 4294967296L, LONG_MAX));

TEST(SocketSelect, LooksAtTheHighestDescriptorThatHasABit) {
    Sockets read{Socket(65471)};
    Sockets none;
    ASSERT_FALSE(test::isOpen(65471));
    EXPECT_RAISES(SocketException, Socket::select(read, none, none, &SHORT),
                  selectError({"9", "", "0"}));
}

TEST(SocketSelect, NeverFindsANegativeDescriptorReady) {
    for (const long negative : {-1L, -2L, -64L, -65L, LONG_MIN}) {
        Sockets read{Socket(negative)};
        Sockets write{Socket(negative)};
        Sockets except{Socket(negative)};
        EXPECT_EQ(0, Socket::select(read, write, except, &AT_ONCE));
        EXPECT_TRUE(read.empty());
        EXPECT_TRUE(write.empty());
        EXPECT_TRUE(except.empty());
    }
}

TEST(SocketSelect, RemovesANegativeDescriptorBesideAReadyOne) {
    const ReadyConnection ready;
    Sockets read{Socket(), ready.socket, Socket(-63)};
    Sockets none;
    EXPECT_EQ(1, Socket::select(read, none, none, nullptr));
    EXPECT_EQ((std::vector<long>{ready.socket.getDescriptor()}), descriptors(read));
}

TEST(SocketSelect, ReportsAClosedDescriptorAndLeavesTheListsAlone) {
    const ReadyConnection ready;
    const long closed = test::closedDescriptor();
    Sockets read{ready.socket, Socket(closed)};
    Sockets none;
    EXPECT_RAISES(SocketException, Socket::select(read, none, none, &LONG),
                  selectError({"9", "127.0.0.1", ready.portText()}));
    EXPECT_EQ((std::vector<long>{ready.socket.getDescriptor(), closed}), descriptors(read));
}

TEST(SocketSelect, NamesTheFirstSocketOfTheFirstListThatIsNotEmpty) {
    const Connection connection;
    const Socket closed(test::closedDescriptor());
    Sockets none;
    Sockets write{connection.socket, closed};
    Sockets except{closed};
    EXPECT_RAISES(SocketException, Socket::select(none, write, except, nullptr),
                  selectError({"9", "127.0.0.1", connection.portText()}));
    Sockets onlyExcept{closed, connection.socket};
    EXPECT_RAISES(SocketException, Socket::select(none, none, onlyExcept, nullptr),
                  selectError({"9", "", "0"}));
}

/// Runs in a child process, whose descriptor table is as small as its open descriptors allow.
[[noreturn]] void selectBeyondTheTable(const Socket& ready, bool withReady) {
    Sockets read{Socket(60000)};
    if (withReady) {
        read.push_front(ready);
    }
    const std::size_t size = read.size();
    Sockets none;
    const bool raised =
        test::raises<SocketException>(
            [&] { Socket::select(read, none, none, &SHORT); },
            withReady ? selectError({"9", "127.0.0.1", std::to_string(ready.getPort())})
                      : selectError({"9", "", "0"}))
            ? true
            : false;
    std::_Exit(raised && read.size() == size ? 0 : 1);
}

TEST(SocketSelect, ReportsAClosedDescriptorBeyondTheProcessTable) {
    const ReadyConnection ready;
    EXPECT_EXIT(selectBeyondTheTable(ready.socket, false), testing::ExitedWithCode(0), "");
    EXPECT_EXIT(selectBeyondTheTable(ready.socket, true), testing::ExitedWithCode(0), "");
}

TEST(SocketDescriptorSet, Holds1023WordsOf64Bits) {
    static_assert(sizeof(Socket::DescriptorSet) == 8184);
    static_assert(Socket::DescriptorSet::WORDS == 1023);
}

TEST(SocketFromListToFdSet, ClearsTheWholeSetAndSetsOneBitPerDescriptor) {
    auto set = std::make_unique<Socket::DescriptorSet>();
    for (auto& word : set->words) {
        word = ~std::uint64_t{0};
    }
    Socket::fromListToFdSet(*set, {Socket(0), Socket(1), Socket(63), Socket(64), Socket(1024),
                                   Socket(65471), Socket(1)});
    for (unsigned long word = 0; word < 1023; ++word) {
        const std::uint64_t expected = word == 0      ? 0x8000000000000003U
                                       : word == 1    ? 0x1U
                                       : word == 16   ? 0x1U
                                       : word == 1022 ? 0x8000000000000000U
                                                      : 0U;
        EXPECT_EQ(expected, set->words[word]) << "word " << word;
    }
}

TEST(SocketFromListToFdSet, LeavesOutDescriptorsThatHaveNoBit) {
    auto set = std::make_unique<Socket::DescriptorSet>();
    set->words[0] = 7;
    Socket::fromListToFdSet(*set, {Socket(), Socket(-64), Socket(LONG_MIN), Socket(65472),
                                   Socket(70000), Socket(LONG_MAX)});
    for (const std::uint64_t word : set->words) {
        EXPECT_EQ(0U, word);
    }
}

TEST(SocketHighestValue, IsTheLargestDescriptorAndAtLeastZero) {
    EXPECT_EQ(0, Socket::highestValue({}));
    EXPECT_EQ(0, Socket::highestValue({Socket(), Socket(-7)}));
    EXPECT_EQ(0, Socket::highestValue({Socket(0)}));
    EXPECT_EQ(9, Socket::highestValue({Socket(3), Socket(9), Socket(-1), Socket(4)}));
    EXPECT_EQ(70000, Socket::highestValue({Socket(70000), Socket(5)}));
}

TEST(SocketRemoveIfNotInSet, KeepsExactlyTheSocketsWhoseBitIsSet) {
    auto set = std::make_unique<Socket::DescriptorSet>();
    set->words[0] = 1U << 5;
    set->words[1022] = 0x8000000000000000U;
    Sockets list{Socket(5), Socket(4), Socket(65471), Socket(69), Socket(5), Socket(65470)};
    Socket::removeIfNotInSet(list, *set);
    EXPECT_EQ((std::vector<long>{5, 65471, 5}), descriptors(list));
}

TEST(SocketRemoveIfNotInSet, RemovesDescriptorsThatHaveNoBit) {
    auto set = std::make_unique<Socket::DescriptorSet>();
    for (auto& word : set->words) {
        word = ~std::uint64_t{0};
    }
    Sockets list{Socket(), Socket(65472), Socket(3), Socket(LONG_MIN), Socket(LONG_MAX)};
    Socket::removeIfNotInSet(list, *set);
    EXPECT_EQ((std::vector<long>{3}), descriptors(list));
}

}  // namespace
}  // namespace nx::oss

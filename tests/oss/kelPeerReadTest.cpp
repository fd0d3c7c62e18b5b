#include <poll.h>

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include <infra/oss/kelSocket.h>

#include "support/kelPeerCases.h"

namespace nx::oss {
namespace {

using std::string_literals::operator""s;
using test::closes;
using test::endsSending;
using test::isShutDown;
using test::isShutDownWhenRead;
using test::PeerCase;
using test::raises;
using test::resets;
using test::returns;
using test::sends;
using test::sendsByteByByte;
using test::sendsUrgent;
using test::Step;

constexpr unsigned long ROOM = 64;

/// "3 of 5: hel": what came, what was announced.
std::string readItemInto(Socket& socket, bool discard) {
    char item[ROOM];
    unsigned long announced = 4711;
    const unsigned long length = socket.readItem(item, announced, 0, ROOM, discard);
    return std::to_string(length) + " of " + std::to_string(announced) + ": " +
           std::string(item, length);
}

std::string readItem(Socket& socket) { return readItemInto(socket, false); }
std::string readOrDiscardItem(Socket& socket) { return readItemInto(socket, true); }

std::string readTen(Socket& socket) {
    char bytes[10];
    return {bytes, socket.read(bytes, 0, sizeof bytes)};
}

std::string readOnce(Socket& socket) {
    char bytes[10];
    return {bytes, static_cast<std::size_t>(socket.readOnce(bytes, 0, sizeof bytes))};
}

std::string withoutWaiting(Socket& socket, const test::Operation& operation) {
    socket.setNonBlocking(true);
    return operation(socket);
}

std::string readItemWithoutWaiting(Socket& socket) { return withoutWaiting(socket, readItem); }
std::string readWithoutWaiting(Socket& socket) { return withoutWaiting(socket, readTen); }
std::string readOnceWithoutWaiting(Socket& socket) { return withoutWaiting(socket, readOnce); }

/// Waits for what the peer has done, which an operation that does not read cannot.
std::string awaitPeer(Socket& socket) {
    test::waitUntilReadable(socket.getDescriptor());
    return "";
}

std::string takePendingError(Socket& socket) {
    return std::to_string(Socket::getSocketErrorStatic(socket.getDescriptor(), nullptr, 0));
}

/// The kinds of readiness: "r", "w", "e".
std::string selectAll(Socket& socket) {
    const unsigned long atOnce = 0;
    std::list<Socket> readable{socket};
    std::list<Socket> writable{socket};
    std::list<Socket> exceptional{socket};
    Socket::select(readable, writable, exceptional, &atOnce);
    return std::string(readable.size(), 'r') + std::string(writable.size(), 'w') +
           std::string(exceptional.size(), 'e');
}

std::string shutDownRead(Socket& socket) {
    socket.shutdownRead();
    return "done";
}
std::string shutDownWrite(Socket& socket) {
    socket.shutdownWrite();
    return "done";
}
std::string shutDownBoth(Socket& socket) {
    socket.shutdownReadWrite();
    return "done";
}

const test::Outcome CLOSED = raises("ERR_SOCKET_CLOSED");
const test::Outcome RESET = raises("NX_ERR_SOCKET_CONNECTION_RESET");
const test::Outcome WOULD_WAIT = raises("NX_ERR_SOCKET_ERROR", {"11", "127.0.0.1", test::PORT});

test::Outcome tooSmall(const std::string& announced) {
    return raises("ERR_DEST_BUFFER_TOO_SMALL", {"64", announced});
}

/// An item whose peer ends after each of its bytes. Its prefix begins with zeros, so that a cut one
/// announces nothing.
std::vector<PeerCase> cutItems() {
    const std::string item = "\0\0\0\5hello"s;
    const std::string orderly[] = {"",           "0 of 0: ",    "0 of 0: ",
                                   "0 of 0: ",   "0 of 5: ",    "1 of 5: h",
                                   "2 of 5: he", "3 of 5: hel", "4 of 5: hell"};
    std::vector<PeerCase> rows;
    for (std::size_t cut = 0; cut < item.size(); ++cut) {
        const std::string after = "After" + std::to_string(cut) + "BytesOfAnItem";
        const test::Outcome outcome = cut == 0 ? CLOSED : returns(orderly[cut]);
        const test::Act part = sends(item.substr(0, cut));
        rows.push_back(
            {"Closes" + after, {part, closes}, {{readItem, outcome}, {readItem, CLOSED}}});
        rows.push_back({"EndsSending" + after,
                        {part, endsSending},
                        {{readItem, outcome}, {readItem, CLOSED}}});
        rows.push_back({"Resets" + after, {part, resets}, {{readItem, RESET}, {readItem, CLOSED}}});
    }
    return rows;
}

std::vector<PeerCase> wrongPrefixes() {
    return {
        {"ClosesAfterOneByteOfALargePrefix",
         {sends("\1"), closes},
         {{readItem, tooSmall("16777216")}, {readItem, CLOSED}}},
        {"ClosesAfterTwoBytesOfALargePrefix",
         {sends("\1\2"), closes},
         {{readItem, tooSmall("16908288")}}},
        {"ClosesAfterThreeBytesOfALargePrefix",
         {sends("\1\2\3"), closes},
         {{readItem, tooSmall("16909056")}}},
        {"AnnouncesAsMuchAsThereIsRoom",
         {sends("\0\0\0\x40"s + std::string(64, 'x'))},
         {{readItem, returns("64 of 64: " + std::string(64, 'x'))}}},
        {"AnnouncesOneByteMoreThanThereIsRoom",
         {sends("\0\0\0\x41"s + std::string(65, 'x'))},
         {{readItem, tooSmall("65")}, {readTen, returns("xxxxxxxxxx")}}},
        {"AnnouncesTwoGibibytesLessOne",
         {sends("\x7f\xff\xff\xff")},
         {{readItem, tooSmall("2147483647")}}},
        {"AnnouncesANegativeLength", {sends("\x80\0\0\0"s)}, {{readItem, tooSmall("-2147483648")}}},
        {"AnnouncesMinusFive", {sends("\xff\xff\xff\xfb")}, {{readItem, tooSmall("-5")}}},
        {"AnnouncesFourGibibytesLessOne",
         {sends("\xff\xff\xff\xff")},
         {{readItem, tooSmall("-1")}}},
        {"WritesItsLengthTheOtherWayRound",
         {sends("\5\0\0\0hello"s)},
         {{readItem, tooSmall("83886080")}}},
        {"SpeaksATextProtocol",
         {sends("GET / HTTP/1.1\r\n\r\n")},
         {{readItem, tooSmall("1195725856")}}},
        {"SpeaksAnEncryptedProtocol",
         {sends("\x16\3\1\2\0\1"s)},
         {{readItem, tooSmall("369295618")}}},
        {"SendsALengthAsText", {sends("0005hello")}, {{readItem, tooSmall("808464437")}}},
        {"SendsAByteOrderMarkFirst",
         {sends("\xef\xbb\xbf\0\0\0\5hello"s)},
         {{readItem, tooSmall("-272908544")}}},
    };
}

std::vector<PeerCase> wrongStreams() {
    std::string flood;
    for (int i = 0; i < 2000; ++i) {
        flood += "\0\0\0\1x"s;
    }
    const std::vector<Step> allOfTheFlood(2000, {readItem, returns("1 of 1: x")});
    return {
        {"SendsExtraBytesBehindAnItem",
         {sends("\0\0\0\2hi"s + "abc"), closes},
         {{readItem, returns("2 of 2: hi")},
          {readItem, tooSmall("1633837824")},
          {readItem, CLOSED}}},
        {"SendsTwoItemsAtOnce",
         {sends("\0\0\0\2hi\0\0\0\3you"s)},
         {{readItem, returns("2 of 2: hi")}, {readItem, returns("3 of 3: you")}}},
        {"SendsAnItemWithoutPayload",
         {sends("\0\0\0\0"s), closes},
         {{readItem, returns("0 of 0: ")}, {readItem, CLOSED}}},
        {"FloodsWithItems", {sends(flood), closes}, allOfTheFlood},
        {"SendsByteByByte",
         {},
         {{readItem, returns("5 of 5: hello")}},
         sendsByteByByte("\0\0\0\5hello"s)},
        {"SendsAnOversizedItemByteByByte",
         {},
         {{readOrDiscardItem, tooSmall("65")}},
         sendsByteByByte("\0\0\0\x41"s + std::string(65, 'x'))},
        {"MarksTheLastByteAsUrgent",
         {sendsUrgent("\0\0\0\2hi!"s)},
         {{readItem, returns("2 of 2: hi")}, {selectAll, returns("we")}}},
        {"IsSilent", {}, {{readItemWithoutWaiting, WOULD_WAIT}}},
        {"IsSilentToRead", {}, {{readWithoutWaiting, WOULD_WAIT}}},
        {"IsSilentToReadOnce", {}, {{readOnceWithoutWaiting, WOULD_WAIT}}},
        {"IsSilentInsideAPrefix",
         {sends("\0\0"s)},
         {{awaitPeer, returns("")}, {readItemWithoutWaiting, WOULD_WAIT}}},
        {"IsSilentUntilTheProgramGivesUp", {}, {{readItem, CLOSED}}, isShutDown},
        {"IsSilentToReadUntilTheProgramGivesUp", {}, {{readTen, returns("")}}, isShutDown},
        {"IsSilentToReadOnceUntilTheProgramGivesUp", {}, {{readOnce, returns("")}}, isShutDown},
        {"IsSilentInsideAnItemUntilTheProgramGivesUp",
         {sends("\0\0\0\5he"s)},
         {{readItem, returns("2 of 5: he")}},
         isShutDownWhenRead},
    };
}

std::vector<PeerCase> discardedItems() {
    const std::string large = "\0\0\x0b\xb8"s;  // 3,000
    return {
        {"SendsAnItemToDiscard",
         {sends(large + std::string(3000, 'x') + "\0\0\0\2hi"s)},
         {{readOrDiscardItem, tooSmall("3000")}, {readOrDiscardItem, returns("2 of 2: hi")}}},
        {"ResetsBehindThePrefixOfAnItemToDiscard",
         {sends(large), resets},
         {{readOrDiscardItem, RESET}, {readItem, CLOSED}}},
        {"ResetsInsideAnItemToDiscard",
         {sends(large + std::string(1024, 'x')), resets},
         {{readOrDiscardItem, RESET}}},
        {"ResetsBeforeTheLastByteOfAnItemToDiscard",
         {sends(large + std::string(2999, 'x')), resets},
         {{readOrDiscardItem, RESET}}},
        {"ResetsBehindAnItemToDiscard",
         {sends(large + std::string(3000, 'x')), resets},
         {{readOrDiscardItem, tooSmall("3000")}, {readItem, RESET}}},
        {"ClosesBehindAnItemToDiscard",
         {sends(large + std::string(3000, 'x')), closes},
         {{readOrDiscardItem, tooSmall("3000")}, {readItem, CLOSED}}},
    };
}

std::vector<PeerCase> readBytes() {
    return {
        {"ClosesBeforeRead", {closes}, {{readTen, returns("")}, {readOnce, returns("")}}},
        {"ClosesInsideRead",
         {sends("four"), closes},
         {{readTen, returns("four")}, {readOnce, returns("")}}},
        {"EndsSendingInsideRead",
         {sends("four"), endsSending},
         {{readTen, returns("four")}, {readTen, returns("")}}},
        {"ResetsBeforeRead", {resets}, {{readTen, RESET}, {readTen, returns("")}}},
        {"ResetsInsideRead", {sends("four"), resets}, {{readTen, RESET}, {readTen, returns("")}}},
        {"ResetsBeforeReadOnce", {resets}, {{readOnce, RESET}, {readOnce, returns("")}}},
        {"ResetsBehindTheBytesOfReadOnce",
         {sends("four"), resets},
         {{readOnce, returns("four")}, {readOnce, RESET}}},
        {"SendsMoreThanReadWants",
         {sends("0123456789abc"), closes},
         {{readTen, returns("0123456789")}, {readTen, returns("abc")}}},
    };
}

/// What else a program may do with a connection that its peer has ended.
std::vector<PeerCase> otherOperations() {
    const Step awaited = {awaitPeer, returns("")};
    const test::Outcome notConnected = raises("NX_ERR_SOCKET_NOT_CONNECTED");
    return {
        {"IsSilentToSelect", {}, {{selectAll, returns("w")}}},
        {"SendsToSelect", {sends("x")}, {awaited, {selectAll, returns("rw")}}},
        {"ClosesUnderSelect", {closes}, {awaited, {selectAll, returns("rw")}}},
        {"EndsSendingUnderSelect", {endsSending}, {awaited, {selectAll, returns("rw")}}},
        {"ResetsUnderSelect", {resets}, {awaited, {selectAll, returns("rw")}}},
        {"ClosesBeforeShutdownRead", {closes}, {awaited, {shutDownRead, returns("done")}}},
        {"ClosesBeforeShutdownWrite", {closes}, {awaited, {shutDownWrite, returns("done")}}},
        {"ResetsBeforeShutdownRead", {resets}, {awaited, {shutDownRead, notConnected}}},
        {"ResetsBeforeShutdownWrite", {resets}, {awaited, {shutDownWrite, notConnected}}},
        {"ResetsBeforeShutdownReadWrite", {resets}, {awaited, {shutDownBoth, notConnected}}},
        {"ResetsBeforeThePendingErrorIsRead",
         {resets},
         {awaited,
          {takePendingError, returns("104")},
          {takePendingError, returns("0")},
          {readItem, CLOSED}}},
        {"ClosesBeforeThePendingErrorIsRead",
         {closes},
         {awaited, {takePendingError, returns("0")}}},
    };
}

class PeerThat : public testing::TestWithParam<PeerCase> {};

TEST_P(PeerThat, EndsAReaderAsPromised) { test::run(GetParam()); }

std::string nameOf(const testing::TestParamInfo<PeerCase>& row) { return row.param.name; }

INSTANTIATE_TEST_SUITE_P(CutItems, PeerThat, testing::ValuesIn(cutItems()), nameOf);
INSTANTIATE_TEST_SUITE_P(WrongPrefixes, PeerThat, testing::ValuesIn(wrongPrefixes()), nameOf);
INSTANTIATE_TEST_SUITE_P(WrongStreams, PeerThat, testing::ValuesIn(wrongStreams()), nameOf);
INSTANTIATE_TEST_SUITE_P(DiscardedItems, PeerThat, testing::ValuesIn(discardedItems()), nameOf);
INSTANTIATE_TEST_SUITE_P(ReadBytes, PeerThat, testing::ValuesIn(readBytes()), nameOf);
INSTANTIATE_TEST_SUITE_P(OtherOperations, PeerThat, testing::ValuesIn(otherOperations()), nameOf);

}  // namespace
}  // namespace nx::oss

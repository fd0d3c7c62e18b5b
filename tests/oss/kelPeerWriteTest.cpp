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
using test::isShutDownWhenSentTo;
using test::PeerCase;
using test::raises;
using test::resets;
using test::resetsWhenSentTo;
using test::returns;
using test::sends;
using test::Step;
using test::stopsReceiving;

std::string write(Socket& socket) {
    socket.write("hello", 0, 5);
    return "sent";
}

std::string writeNothing(Socket& socket) {
    socket.write("hello", 0, 0);
    return "sent";
}

std::string writeItem(Socket& socket) {
    socket.writeItem("hello", 0, 5);
    return "sent";
}

/// More than any system buffers for a connection.
std::string writeEndlessly(Socket& socket) {
    const std::string payload(std::size_t{64} << 20, 'x');
    socket.writeItem(payload.data(), 0, payload.size());
    return "sent";
}

std::string writeEndlesslyWithoutWaiting(Socket& socket) {
    socket.setNonBlocking(true);
    return writeEndlessly(socket);
}

std::string shutDownWrite(Socket& socket) {
    socket.shutdownWrite();
    return "done";
}

std::string setNoDelay(Socket& socket) {
    socket.setTcpNoDelay(true);
    return "done";
}

std::string readFour(Socket& socket) {
    char bytes[4];
    return {bytes, socket.read(bytes, 0, sizeof bytes)};
}

/// Waits for something to read, an end included.
std::string awaitPeer(Socket& socket) {
    test::waitUntilReadable(socket.getDescriptor());
    return "";
}

/// Waits for a reset, which takes what can still be read with it.
std::string awaitReset(Socket& socket) {
    pollfd wait{static_cast<int>(socket.getDescriptor()), 0, 0};
    while (::poll(&wait, 1, -1) < 0) {
    }
    return "";
}

const test::Outcome BROKEN = raises("NX_ERR_SOCKET_BROKEN_PIPE");
const test::Outcome RESET = raises("NX_ERR_SOCKET_CONNECTION_RESET");
const test::Outcome WOULD_WAIT = raises("NX_ERR_SOCKET_ERROR", {"11", "127.0.0.1", test::PORT});
const test::Outcome SENT = returns("sent");
const Step PEER_ENDED = {awaitPeer, returns("")};
const Step PEER_RESET = {awaitReset, returns("")};

std::vector<PeerCase> endedConnections() {
    return {
        {"ClosesBeforeWrite",
         {closes},
         {PEER_ENDED, {write, SENT}, PEER_RESET, {write, BROKEN}, {write, BROKEN}}},
        {"ClosesBeforeWriteItem",
         {closes},
         {PEER_ENDED, {write, SENT}, PEER_RESET, {writeItem, BROKEN}}},
        {"ClosesBeforeAWriteOfNothing",
         {closes},
         {PEER_ENDED, {write, SENT}, PEER_RESET, {writeNothing, SENT}, {write, BROKEN}}},
        {"ResetsBeforeWrite", {resets}, {PEER_RESET, {write, RESET}, {write, BROKEN}}},
        {"ResetsBeforeWriteItem", {resets}, {PEER_RESET, {writeItem, RESET}, {writeItem, BROKEN}}},
        {"ResetsBehindBytesThatNobodyReads",
         {sends("four"), resets},
         {PEER_RESET, {write, RESET}, {readFour, returns("four")}, {write, BROKEN}}},
        {"ClosesWithUnreadBytes",
         {},
         {{write, SENT}, PEER_RESET, {write, RESET}, {write, BROKEN}},
         [](test::Connection& connection) {
             test::waitUntilReadable(connection.peer.get());
             closes(connection);
         }},
        {"ResetsBeforeNoDelayIsSet", {resets}, {PEER_RESET, {setNoDelay, returns("done")}}},
        {"EndsSendingAndGoesOnReceiving",
         {endsSending},
         {PEER_ENDED, {write, SENT}, {writeItem, SENT}, {readFour, returns("")}}},
        {"StopsReceivingWithoutSayingSo", {stopsReceiving}, {{write, SENT}, {writeItem, SENT}}},
        {"IsSentToBehindTheOwnEnd",
         {},
         {{shutDownWrite, returns("done")}, {write, BROKEN}, {writeItem, BROKEN}}},
        {"StillSendsBehindTheOwnEnd",
         {sends("four")},
         {{shutDownWrite, returns("done")}, {readFour, returns("four")}}},
    };
}

std::vector<PeerCase> fullWindows() {
    return {
        {"NeverReads", {}, {{writeEndlesslyWithoutWaiting, WOULD_WAIT}}},
        {"NeverReadsUntilTheProgramGivesUp",
         {},
         {{writeEndlessly, BROKEN}, {write, BROKEN}},
         isShutDownWhenSentTo},
        {"NeverReadsAndResets", {}, {{writeEndlessly, RESET}, {write, BROKEN}}, resetsWhenSentTo},
        {"NeverReadsButSends",
         {sends("four")},
         {{writeEndlesslyWithoutWaiting, WOULD_WAIT}, {readFour, returns("four")}}},
    };
}

class PeerThatIsSentTo : public testing::TestWithParam<PeerCase> {};

TEST_P(PeerThatIsSentTo, EndsAWriterAsPromised) { test::run(GetParam()); }

std::string nameOf(const testing::TestParamInfo<PeerCase>& row) { return row.param.name; }

INSTANTIATE_TEST_SUITE_P(EndedConnections, PeerThatIsSentTo, testing::ValuesIn(endedConnections()),
                         nameOf);
INSTANTIATE_TEST_SUITE_P(FullWindows, PeerThatIsSentTo, testing::ValuesIn(fullWindows()), nameOf);

}  // namespace
}  // namespace nx::oss

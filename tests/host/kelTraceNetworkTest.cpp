#include <infra/oss/kelConverter.h>
#include <infra/oss/kelSocket.h>
#include <infra/oss/kelSocketException.h>
#include <infra/oss/kelSocketServer.h>

#include <netdb.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <list>
#include <optional>

#include <gtest/gtest.h>

#include "kelRecordingHost.h"
#include "support/kelSocketPair.h"

namespace nx::oss {
namespace {

using test::Events;
using test::eventsOf;
using test::expectBracket;
using test::expectExitOnly;

TEST(TraceConverter, RecordsItsTwoCores) {
    std::optional<Converter> converter;
    expectExitOnly(1260, [&] { converter.emplace(); });
    expectExitOnly(1261, [&] { converter.reset(); });
    char room[8];
    expectBracket(1262, [&] { Converter::convert(room, 8, "UTF-8", icu::UnicodeString("abc")); });
    expectBracket(1262, [&] { Converter::convertToBytes(room, 8, "UTF-8", u"abc"); });
    expectBracket(1263, [&] { Converter::convert(room, 8, "UTF-8", "abc", "ISO-8859-1"); });
    expectBracket(1263, [&] { Converter::convertToBytes(room, 8, "a", "abc", 3, "a"); });
    EXPECT_EQ(eventsOf([&] { Converter::convert(room, 8, "UTF-8", u"abc"); }).size(), 2u);
}

TEST(TraceSocket, LivesAndDiesWithExitsOnly) {
    std::optional<Socket> socket;
    expectExitOnly(1299, [&] { socket.emplace(); });
    expectExitOnly(1300, [&] { socket.reset(); });
    const Socket other(7);
    expectExitOnly(1299, [&] { socket.emplace(other); });
    expectExitOnly(1301, [&] { *socket = other; });
}

TEST(TraceSocket, BracketsTransfersOptionsAndShutdowns) {
    const test::SocketPair pair;
    Socket writer(pair.ends[0]);
    Socket reader(pair.ends[1]);
    char bytes[8] = {};
    unsigned long length = 0;
    expectBracket(1304, [&] { writer.write(bytes, 0, 4); });
    expectBracket(1305, [&] { reader.read(bytes, 0, 2); });
    expectBracket(1306, [&] { reader.readOnce(bytes, 0, 2); });
    expectBracket(1307, [&] { writer.writeItem(bytes, 0, 3); });
    expectBracket(1308, [&] { reader.readItem(bytes, length, 0, 8, false); });
    expectBracket(1309, [&] { writer.setNonBlocking(false); });
    expectBracket(1315, [&] { Socket::setNonBlockingStatic(pair.ends[0], false); });
    expectBracket(1316, [&] { Socket::getSocketErrorStatic(pair.ends[0], nullptr, 0); });
    expectBracket(1302, [&] { writer.close(); });
    expectBracket(1311, [&] { writer.shutdownRead(); });
    expectBracket(1312, [&] { writer.shutdownWrite(); });
    expectBracket(1313, [&] { writer.shutdownReadWrite(); });
    EXPECT_TRUE(eventsOf([&] { writer.setSoTimeout(1); }).empty());
    EXPECT_TRUE(eventsOf([&] { static_cast<void>(writer.getDescriptor()); }).empty());
}

TEST(TraceSocket, BracketsTheWaitAndItsHelpers) {
    const test::SocketPair pair;
    std::list<Socket> ready(1, Socket(pair.ends[0]));
    std::list<Socket> none;
    const unsigned long limit = 0;
    expectBracket(1317, [&] { Socket::select(none, ready, none, &limit); });
    Socket::DescriptorSet set;
    expectBracket(1318, [&] { Socket::fromListToFdSet(set, ready); });
    expectBracket(1319, [&] { Socket::highestValue(ready); });
    expectBracket(1320, [&] { Socket::removeIfNotInSet(ready, set); });
}

TEST(TraceSocket, LeavesOutTheExitOfAFailure) {
    Socket socket;
    const Events events = eventsOf([&] { socket.write("a", 0, 1); });
    ASSERT_FALSE(events.empty());
    EXPECT_EQ(events.front(), 1304);
    for (const long event : events) {
        EXPECT_NE(event, -1304);
    }
}

TEST(TraceSocketRecords, BracketsExportAndLookups) {
    Socket::_AddrInfoExternal record;
    expectBracket(1321, [&] { Socket::exportAddrInfo("127.0.0.1", 80, record); });
    EXPECT_EQ(eventsOf([&] { Socket::exportAddrInfo("127.0.0.1 ", 80, record); }),
              (Events{1321, -1321}));
    icu::UnicodeString name;
    char addresses[4];
    expectBracket(1326, [&] { Socket::dnsLookup(name, "127.0.0.1", true); });
    expectBracket(1327, [&] { Socket::getIPv4ByName(addresses, 1, "127.0.0.1"); });
    expectBracket(1327, [&] { Socket::getIPv4ByName(addresses, 0, "127.0.0.1"); });
}

TEST(TraceSocketRecords, RecordsAnExportedEntryInside) {
    Socket::_AddrInfoExternal record;
    const Events events = eventsOf([&] { Socket::exportAddrInfo("127.0.0.1", 80, record); });
    EXPECT_NE(std::find(events.begin(), events.end(), 1322), events.end());
    EXPECT_NE(std::find(events.begin(), events.end(), -1322), events.end());
}

TEST(TraceSocketRecords, BracketsReadingAndReleasing) {
    Socket::_AddrInfoExternal record;
    ASSERT_EQ(0, Socket::exportAddrInfo("127.0.0.1", 80, record));
    addrinfo* list = nullptr;
    EXPECT_EQ(eventsOf([&] { list = Socket::deserializeAddrInfoExternal(record); }),
              (Events{1324, 1323, -1323, -1324}));
    char bytes[64];
    EXPECT_EQ(eventsOf([&] { Socket::serialize(bytes, sizeof bytes, list); }),
              (Events{1322, -1322}));
    addrinfo node = {};
    EXPECT_EQ(eventsOf([&] { Socket::deserialize(&node, bytes, sizeof bytes); }),
              (Events{1323, -1323}));
    std::free(node.ai_addr);
    std::free(list->ai_addr);
    EXPECT_EQ(eventsOf([&] { Socket::freeMyAddrInfo(list); }), (Events{1325, -1325}));
}

TEST(TraceSocketRecords, LeavesOutTheExitOfAMalformedRecord) {
    const Socket::_AddrInfoExternal none{};
    Socket::_AddrInfoExternal cut{};
    cut.usedLength = 44;
    EXPECT_EQ(eventsOf([&] { Socket::deserializeAddrInfoExternal(none); })[0], 1324);
    for (const long event : eventsOf([&] { Socket::deserializeAddrInfoExternal(none); })) {
        EXPECT_NE(event, -1324);
        EXPECT_NE(event, 1323);
    }
    const Events events = eventsOf([&] { Socket::deserializeAddrInfoExternal(cut); });
    EXPECT_EQ((Events(events.begin(), events.begin() + 3)), (Events{1324, 1323, -1323}));
    EXPECT_EQ(std::find(events.begin(), events.end(), -1324), events.end());
}

TEST(TraceSocketRecords, BothWaysToConnectShareATracePoint) {
    SocketServer server;
    server.listen(0, 5, true);
    Socket::_AddrInfoExternal record;
    const auto port = static_cast<unsigned short>(server.getPort());
    ASSERT_EQ(0, Socket::exportAddrInfo("127.0.0.1", port, record));
    for (const bool fromRecord : {false, true}) {
        Socket client;
        const Events events = eventsOf([&] {
            client.connect("127.0.0.1", port, fromRecord ? record : Socket::NullAddrInfoExternal,
                           nullptr);
        });
        EXPECT_EQ(events.front(), 1303);
        EXPECT_EQ(events.back(), -1303);
        EXPECT_EQ(std::count(events.begin(), events.end(), 1303), 1);
        EXPECT_EQ(std::count(events.begin(), events.end(), 1324), fromRecord ? 1 : 0);
    }
    Socket client;
    const Events events = eventsOf([&] { client.connect("127.0.0.1", port, nullptr); });
    EXPECT_EQ(std::count(events.begin(), events.end(), 1303), 1);
}

TEST(TraceSocketServer, BracketsItsOperations) {
    std::optional<SocketServer> server;
    expectExitOnly(1290, [&] { server.emplace(); });
    expectBracket(1292, [&] { server->listen(0, 5, true); });
    Socket client;
    const unsigned long limit = 5000;
    expectBracket(1303, [&] { client.connect("127.0.0.1", server->getPort(), &limit); });
    expectBracket(1310, [&] { client.setTcpNoDelay(true); });
    Socket accepted;
    expectBracket(1293, [&] { server->accept(accepted, &limit); });
    expectBracket(
        1297, [&] { SocketServer::setReuseAddress(server->getDescriptor(), true, nullptr, 0); });
    expectBracket(1298, [&] { SocketServer::getPortStatic(server->getDescriptor(), nullptr, 0); });
    expectBracket(1295, [&] { server->shutdownWrite(); });
    expectBracket(1294, [&] { server->shutdownRead(); });
    expectBracket(1296, [&] { server->shutdownReadWrite(); });
    expectBracket(1302, [&] { accepted.close(); });
    expectBracket(1314, [&] { Socket::closeStatic(-1); });
    // The members go after the body of the destructor, so their exit comes last.
    const Events events = eventsOf([&] { server.reset(); });
    ASSERT_GE(events.size(), 2u);
    EXPECT_EQ(events[events.size() - 2], -1291);
    EXPECT_EQ(events.back(), -1300);
}

}  // namespace
}  // namespace nx::oss

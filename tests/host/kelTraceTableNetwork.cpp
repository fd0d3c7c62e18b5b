#include <infra/oss/kelSocketServer.h>
#include <infra/oss/kelThread.h>

#include <netdb.h>

#include <cstdlib>
#include <list>
#include <optional>

#include "kelTraceTable.h"
#include "support/kelSocketPair.h"
#include "support/kelThreads.h"

namespace nx::test {

using namespace oss;
using icu::UnicodeString;

namespace {

/// Something to connect to.
struct Listening {
    Listening() { server.listen(0, 5, true); }
    SocketServer server;
};

constexpr unsigned long LIMIT = 5000;

/// The record of an address on this machine.
Socket::_AddrInfoExternal localRecord(unsigned long port) {
    Socket::_AddrInfoExternal record;
    EXPECT_EQ(0, Socket::exportAddrInfo("127.0.0.1", static_cast<unsigned short>(port), record));
    return record;
}

/// The list of one address that a record holds.
addrinfo* localList() { return Socket::deserializeAddrInfoExternal(localRecord(80)); }

void release(addrinfo* list) {
    std::free(list->ai_addr);
    Socket::freeMyAddrInfo(list);
}

}  // namespace

std::vector<Row> rowsOfNetworkAndThreads() {
    return {
        {483919114, "SocketServer_constructor", EXIT,
         [](Probe& calls) { construct<SocketServer>(calls); }},
        {483919115, "SocketServer_destructor", EXIT,
         [](Probe& calls) {
             destroy<SocketServer>(calls);
             std::optional<Listening> listening(std::in_place);
             calls([&] { listening.reset(); });
         }},
        {483919116, "SocketServer_listen", BOTH,
         [](Probe& calls) {
             SocketServer server;
             calls([&] { server.listen(0, 5, true); });
         }},
        {483919117, "SocketServer_accept", BOTH,
         [](Probe& calls) {
             Listening at;
             Socket client;
             Socket accepted;
             client.connect("127.0.0.1", at.server.getPort(), &LIMIT);
             calls([&] { at.server.accept(accepted, &LIMIT); });
         }},
        {483919118, "SocketServer_shutdownRead", BOTH,
         [](Probe& calls) {
             Listening at;
             calls([&] { at.server.shutdownRead(); });
         }},
        {483919119, "SocketServer_shutdownWrite", BOTH,
         [](Probe& calls) {
             Listening at;
             calls([&] { at.server.shutdownWrite(); });
         }},
        {483919120, "SocketServer_shutdownReadWrite", BOTH,
         [](Probe& calls) {
             Listening at;
             calls([&] { at.server.shutdownReadWrite(); });
         }},
        {483919121, "SocketServer_setReuseAddress", BOTH,
         [](Probe& calls) {
             const Listening at;
             const long descriptor = at.server.getDescriptor();
             calls([&] { SocketServer::setReuseAddress(descriptor, true, nullptr, 0); });
         }},
        {483919122, "SocketServer_getPortStatic", BOTH,
         [](Probe& calls) {
             const Listening at;
             const long descriptor = at.server.getDescriptor();
             calls([&] { SocketServer::getPortStatic(descriptor, nullptr, 0); });
         }},

        {483919123, "Socket_constructors", EXIT,
         [](Probe& calls) {
             construct<Socket>(calls);
             construct<Socket>(calls, 7L);
             construct<Socket>(calls, Socket(7));
         }},
        {483919124, "Socket_destructor", EXIT,
         [](Probe& calls) {
             destroy<Socket>(calls);
             const Listening at;
             std::optional<Socket> owner(std::in_place);
             owner->connect("127.0.0.1", at.server.getPort(), &LIMIT);
             calls([&] { owner.reset(); });
         }},
        {483919125, "Socket_assignment", EXIT,
         [](Probe& calls) {
             Socket socket;
             const Socket other(7);
             calls([&] { socket = other; });
         }},
        {483919126, "Socket_close", BOTH,
         [](Probe& calls) {
             const Listening at;
             Socket socket;
             calls([&] { socket.close(); });
             socket.connect("127.0.0.1", at.server.getPort(), &LIMIT);
             calls([&] { socket.close(); });
         }},
        {483919127, "Socket_connect", BOTH,
         [](Probe& calls) {
             const Listening at;
             const unsigned long port = at.server.getPort();
             const auto record = localRecord(port);
             Socket first;
             Socket second;
             calls([&] { first.connect("127.0.0.1", port, &LIMIT); });
             calls([&] { second.connect("127.0.0.1", port, record, &LIMIT); });
         }},
        {483919128, "Socket_write", BOTH,
         [](Probe& calls) {
             const SocketPair pair;
             Socket socket(pair.ends[0]);
             calls([&] { socket.write("abc", 0, 3); });
         }},
        {483919129, "Socket_read", BOTH,
         [](Probe& calls) {
             const SocketPair pair;
             Socket(pair.ends[0]).write("abc", 0, 3);
             Socket socket(pair.ends[1]);
             char bytes[3];
             calls([&] { socket.read(bytes, 0, 3); });
         }},
        {483919130, "Socket_readOnce", BOTH,
         [](Probe& calls) {
             const SocketPair pair;
             Socket(pair.ends[0]).write("abc", 0, 3);
             Socket socket(pair.ends[1]);
             char bytes[3];
             calls([&] { socket.readOnce(bytes, 0, 3); });
         }},
        {483919131, "Socket_writeItem", BOTH,
         [](Probe& calls) {
             const SocketPair pair;
             Socket socket(pair.ends[0]);
             calls([&] { socket.writeItem("abc", 0, 3); });
         }},
        {483919132, "Socket_readItem", BOTH,
         [](Probe& calls) {
             const SocketPair pair;
             Socket(pair.ends[0]).writeItem("abc", 0, 3);
             Socket socket(pair.ends[1]);
             char bytes[3];
             unsigned long length = 0;
             calls([&] { socket.readItem(bytes, length, 0, 3, false); });
         }},
        {483919133, "Socket_setNonBlocking", BOTH,
         [](Probe& calls) {
             const SocketPair pair;
             Socket socket(pair.ends[0]);
             calls([&] { socket.setNonBlocking(true); });
         }},
        {483919134, "Socket_setTcpNoDelay", BOTH,
         [](Probe& calls) {
             const Listening at;
             Socket socket(at.server.getDescriptor());
             calls([&] { socket.setTcpNoDelay(true); });
         }},
        {483919135, "Socket_shutdownRead", BOTH,
         [](Probe& calls) {
             const SocketPair pair;
             Socket socket(pair.ends[0]);
             calls([&] { socket.shutdownRead(); });
         }},
        {483919136, "Socket_shutdownWrite", BOTH,
         [](Probe& calls) {
             const SocketPair pair;
             Socket socket(pair.ends[0]);
             calls([&] { socket.shutdownWrite(); });
         }},
        {483919137, "Socket_shutdownReadWrite", BOTH,
         [](Probe& calls) {
             const SocketPair pair;
             Socket socket(pair.ends[0]);
             calls([&] { socket.shutdownReadWrite(); });
         }},
        {483919138, "Socket_closeStatic", BOTH,
         [](Probe& calls) { calls([] { Socket::closeStatic(-1); }); }},
        {483919139, "Socket_setNonBlockingStatic", BOTH,
         [](Probe& calls) {
             const SocketPair pair;
             calls([&] { Socket::setNonBlockingStatic(pair.ends[0], true); });
         }},
        {483919140, "Socket_getSocketErrorStatic", BOTH,
         [](Probe& calls) {
             const SocketPair pair;
             calls([&] { Socket::getSocketErrorStatic(pair.ends[0], nullptr, 0); });
         }},
        {483919141, "Socket_select", BOTH,
         [](Probe& calls) {
             const SocketPair pair;
             std::list<Socket> writable(1, Socket(pair.ends[0]));
             std::list<Socket> none;
             calls([&] { Socket::select(none, writable, none, &LIMIT); });
             calls([&] { Socket::select(none, none, none, &LIMIT); });
         }},
        {483919142, "Socket_fromListToFdSet", BOTH,
         [](Probe& calls) {
             Socket::DescriptorSet set;
             const std::list<Socket> sockets(1, Socket(7));
             calls([&] { Socket::fromListToFdSet(set, sockets); });
         }},
        {483919143, "Socket_highestValue", BOTH,
         [](Probe& calls) {
             const std::list<Socket> sockets(1, Socket(7));
             calls([&] { ignore(Socket::highestValue(sockets)); });
         }},
        {483919144, "Socket_removeIfNotInSet", BOTH,
         [](Probe& calls) {
             const Socket::DescriptorSet set = {};
             std::list<Socket> sockets(1, Socket(7));
             calls([&] { Socket::removeIfNotInSet(sockets, set); });
         }},
        {483919145, "Socket_exportAddrInfo", BOTH,
         [](Probe& calls) {
             Socket::_AddrInfoExternal record;
             calls([&] { Socket::exportAddrInfo("127.0.0.1", 80, record); });
         }},
        {483919146, "Socket_serialize", BOTH,
         [](Probe& calls) {
             addrinfo* const list = localList();
             char bytes[64];
             calls([&] { Socket::serialize(bytes, sizeof bytes, list); });
             release(list);
         }},
        {483919147, "Socket_deserialize", BOTH,
         [](Probe& calls) {
             const auto record = localRecord(80);
             addrinfo node = {};
             calls([&] { Socket::deserialize(&node, record.payload + 12, 42); });
             std::free(node.ai_addr);
         }},
        {483919148, "Socket_deserializeAddrInfoExternal", BOTH,
         [](Probe& calls) {
             const auto record = localRecord(80);
             addrinfo* list = nullptr;
             calls([&] { list = Socket::deserializeAddrInfoExternal(record); });
             release(list);
         }},
        {483919149, "Socket_freeMyAddrInfo", BOTH,
         [](Probe& calls) {
             addrinfo* const list = localList();
             std::free(list->ai_addr);
             calls([&] { Socket::freeMyAddrInfo(list); });
         }},
        {483919150, "Socket_dnsLookup", BOTH,
         [](Probe& calls) {
             UnicodeString name;
             calls([&] { Socket::dnsLookup(name, "127.0.0.1", true); });
         }},
        {483919151, "Socket_getIPv4ByName", BOTH,
         [](Probe& calls) {
             char address[4];
             calls([&] { Socket::getIPv4ByName(address, 1, "127.0.0.1"); });
         }},

        {483919152, "Thread_constructor", EXIT,
         [](Probe& calls) { construct<Thread>(calls, nullptr, false); }},
        {483919153, "Thread_destructor", EXIT,
         [](Probe& calls) { destroy<Thread>(calls, nullptr, false); }},
        {483919154, "Thread_start", BOTH,
         [](Probe& calls) {
             Task task([] {});
             Thread thread(&task, false);
             calls([&] { thread.start(); });
             thread.join();
         }},
        {483919155, "Thread_join", BOTH,
         [](Probe& calls) {
             Task task([] {});
             Thread thread(&task, false);
             thread.start();
             calls([&] { thread.join(); });
             calls([&] { thread.join(); });  // refused
         }},
        {483919156, "Thread_stop", BOTH,
         [](Probe& calls) {
             Task task([] {});
             Thread thread(&task, false);
             calls([&] { thread.stop(); });  // not running
             thread.start();
             calls([&] { thread.stop(); });
             thread.join();
         }},
    };
}

}  // namespace nx::test

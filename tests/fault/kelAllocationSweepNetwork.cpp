// Sockets, servers, address records and threads.
#include <netdb.h>
#include <unistd.h>

#include <atomic>
#include <cstdlib>

#include <infra/oss/kelThread.h>

#include "kelAllocationSweep.h"
#include "support/kelAddressRecords.h"
#include "support/kelLoopback.h"
#include "support/kelThreads.h"

namespace nx::test {

using namespace oss;
using icu::UnicodeString;

namespace {

constexpr unsigned long AT_ONCE = 0;

/// 127.0.0.1, so long that every copy and every conversion of it is on the heap.
const UnicodeString& longHost() {
    static const std::u16string zeros = std::u16string(2'000, u'0') + u"177.0.0.1";
    static const UnicodeString host(true, zeros.data(), static_cast<int32_t>(zeros.size()));
    return host;
}

const Listener& listener() {
    static const Listener only(4'096);
    return only;
}

const FullListener& fullListener() {
    static const FullListener only;
    return only;
}

// --- Sockets ------------------------------------------------------------------------------------

template <class Operation>
Row onConnection(const char* name, const Operation& operation, Promise promise = {}) {
    struct Connected : Connection {
        std::string state() const { return stateOf(socket); }
    };
    return row(
        name, [] { return std::make_unique<Connected>(); },
        [=](std::unique_ptr<Connected>& it) { return operation(*it); }, promise);
}

template <class Operation>
Row onSocket(const char* name, const Operation& operation, Promise promise = {}) {
    return row(
        name, [] { return Socket(); }, operation, promise);
}

/// What fails without a descriptor needs memory for its error only.
template <class Operation>
void addTransfer(Rows& rows, const char* name, const Operation& operation) {
    rows.push_back(onConnection(name, [=](Connection& c) {
        sendAll(c.peer.get(), {"\0\0\0\2hello", 9});
        return operation(c.socket);
    }));
    rows.push_back(onSocket(name, operation));
}

struct Lists {
    Lists() : read{connection.socket, Socket(), connection.socket}, write{connection.socket} {}
    std::string state() const { return stateOf(read) + stateOf(write) + stateOf(none); }

    Connection connection;
    std::list<Socket> read;
    std::list<Socket> write;
    std::list<Socket> none;
};

template <class Operation>
Row onLists(const char* name, const Operation& operation, Promise promise = {}) {
    return row(
        name, [] { return std::make_unique<Lists>(); },
        [=](std::unique_ptr<Lists>& lists) { return operation(*lists); }, promise);
}

const Socket::_AddrInfoExternal& recordOfListener() {
    static const AddressRecord record = loopbackRecord(listener().port());
    return record;
}

char bytes[16];

Rows rowsOfConnecting() {
    const char* const name =
        "Socket::connect(icu::UnicodeString const&, unsigned long, unsigned long const*)";
    const char* const byRecord =
        "Socket::connect(icu::UnicodeString const&, unsigned long, "
        "nx::oss::Socket::_AddrInfoExternal const&, unsigned long const*)";
    static const BoundPort refusing;
    // Host and port are kept however connecting ends, and named in its error.
    constexpr Promise keepsHost{nullptr, nullptr, /*halfDone=*/true};
    return {
        onSocket(
            name, [](Socket& s) { s.connect(longHost(), listener().port(), nullptr); }, keepsHost),
        onSocket(
            name, [](Socket& s) { s.connect(longHost(), refusing.port(), nullptr); }, keepsHost),
        onSocket(
            name, [](Socket& s) { s.connect(longHost(), fullListener().port(), &AT_ONCE); },
            keepsHost),
        onSocket(
            name, [](Socket& s) { s.connect(borrowed(), 9, nullptr); }, keepsHost),
        onSocket(
            byRecord, [](Socket& s) { s.connect(longHost(), 80, recordOfListener(), nullptr); },
            keepsHost),
        onSocket(
            byRecord,
            [](Socket& s) {
                static const AddressRecord malformed = recordOf("no terminator");
                errno = 0;
                s.connect(longHost(), 80, malformed, nullptr);
            },
            keepsHost),
        onConnection(byRecord, [](Connection& c) { c.socket.connect("h", 1, nullptr); }),
    };
}

Rows rowsOfSockets() {
    static const Socket source(5L);
    Rows rows = {
        callOf("Socket::CSocketInitializer::CSocketInitializer()",
               [] { const Socket::CSocketInitializer initializer; }),
        destroys<Socket::CSocketInitializer>("Socket::CSocketInitializer::~CSocketInitializer()",
                                             [](auto& it) { it.emplace(); }),
        builds<Socket>("Socket::Socket()", [](auto& it) { it.emplace(); }),
        builds<Socket>("Socket::Socket(long)", [](auto& it) { it.emplace(5L); }),
        builds<Socket>("Socket::Socket(nx::oss::Socket const&)",
                       [](auto& it) { it.emplace(source); }),
        destroys<Socket>("Socket::~Socket()",
                         [](auto& it) {
                             it.emplace();
                             it->connect("127.0.0.1", listener().port(), nullptr);
                             listener().accept();
                         }),
        onConnection("Socket::close()", [](Connection& c) { c.socket.close(); }),
        callOf("Socket::closeStatic(long)", [] { return Socket::closeStatic(::dup(0)); }),
        onConnection("Socket::getDescriptor() const",
                     [](Connection& c) { return c.socket.getDescriptor() >= 0; }),
        onConnection(
            "Socket::getHostName() const",
            [](Connection & c) -> auto& { return c.socket.getHostName(); }),
        onConnection("Socket::getPort() const",
                     [](Connection& c) { return c.socket.getPort() != 0; }),
        onConnection("Socket::getSocketErrorStatic(long, icu::UnicodeString const*, unsigned long)",
                     [](Connection& c) {
                         return Socket::getSocketErrorStatic(c.socket.getDescriptor(), nullptr, 0);
                     }),
        callOf("Socket::getSocketErrorStatic(long, icu::UnicodeString const*, unsigned long)",
               [] { return Socket::getSocketErrorStatic(-1, &borrowed(), 80); }),
        onConnection("Socket::isOwner() const", [](Connection& c) { return c.socket.isOwner(); }),
        onConnection("Socket::operator=(nx::oss::Socket const&)",
                     [](Connection& c) { c.socket = source; }),
        onConnection("Socket::setNonBlocking(bool)",
                     [](Connection& c) { c.socket.setNonBlocking(true); }),
        onSocket("Socket::setNonBlocking(bool)", [](Socket& s) { s.setNonBlocking(true); }),
        onConnection("Socket::setNonBlockingStatic(long, bool)",
                     [](Connection& c) {
                         return Socket::setNonBlockingStatic(c.socket.getDescriptor(), true);
                     }),
        onConnection("Socket::setSoTimeout(long)", [](Connection& c) { c.socket.setSoTimeout(1); }),
        onConnection("Socket::setTcpNoDelay(bool)",
                     [](Connection& c) { c.socket.setTcpNoDelay(false); }),
        onSocket("Socket::setTcpNoDelay(bool)", [](Socket& s) { s.setTcpNoDelay(true); }),
        row(
            "Socket::shutdownRead()", [] { return Socket(0x7fffffffL); },
            [](Socket& s) { s.shutdownRead(); }),
        onConnection("Socket::shutdownRead()", [](Connection& c) { c.socket.shutdownRead(); }),
        onConnection("Socket::shutdownReadWrite()",
                     [](Connection& c) { c.socket.shutdownReadWrite(); }),
        onConnection("Socket::shutdownWrite()", [](Connection& c) { c.socket.shutdownWrite(); }),
        onConnection("Socket::readItem(char*, unsigned long&, unsigned long, unsigned long, bool)",
                     [](Connection& c) {
                         sendAll(c.peer.get(), {"\0\0\0\2hello", 9});
                         unsigned long length = 0;
                         return c.socket.readItem(bytes, length, 0, 1, true);
                     },
                     // The item is read and dropped before its error lacks memory.
                     {nullptr, nullptr, false, /*onlyOnce=*/true}),
    };
    addTransfer(rows, "Socket::read(char*, unsigned long, unsigned long)",
                [](Socket& s) { return s.read(bytes, 0, 9); });
    addTransfer(rows, "Socket::readOnce(char*, unsigned long, unsigned long)",
                [](Socket& s) { return s.readOnce(bytes, 0, 9); });
    addTransfer(rows, "Socket::readItem(char*, unsigned long&, unsigned long, unsigned long, bool)",
                [](Socket& s) {
                    unsigned long length = 0;
                    return s.readItem(bytes, length, 0, 16, false);
                });
    addTransfer(rows, "Socket::write(char const*, unsigned long, unsigned long)",
                [](Socket& s) { s.write("hello", 0, 5); });
    addTransfer(rows, "Socket::writeItem(char const*, unsigned long, unsigned long)",
                [](Socket& s) { s.writeItem("hello", 0, 5); });
    return rows;
}

Rows rowsOfSelect() {
    static Socket::DescriptorSet set;
    const char* const name =
        "Socket::select(std::__cxx11::list<nx::oss::Socket, std::allocator<nx::oss::Socket> >&, "
        "std::__cxx11::list<nx::oss::Socket, std::allocator<nx::oss::Socket> >&, "
        "std::__cxx11::list<nx::oss::Socket, std::allocator<nx::oss::Socket> >&, unsigned long "
        "const*)";
    return {
        onLists(name, [](Lists& l) { return Socket::select(l.read, l.write, l.none, &AT_ONCE); }),
        row(
            name, [] { return std::list<Socket>{Socket(65'472L)}; },
            [](std::list<Socket>& list) {
                std::list<Socket> none;
                return Socket::select(list, none, none, &AT_ONCE);
            }),
        onLists("Socket::fromListToFdSet(nx::oss::Socket::DescriptorSet&, "
                "std::__cxx11::list<nx::oss::Socket, std::allocator<nx::oss::Socket> > const&)",
                [](Lists& l) { Socket::fromListToFdSet(set, l.read); }),
        onLists("Socket::highestValue(std::__cxx11::list<nx::oss::Socket, "
                "std::allocator<nx::oss::Socket> > const&)",
                [](Lists& l) { return Socket::highestValue(l.read) > 0; }),
        onLists("Socket::removeIfNotInSet(std::__cxx11::list<nx::oss::Socket, "
                "std::allocator<nx::oss::Socket> >&, nx::oss::Socket::DescriptorSet const&)",
                [](Lists& l) {
                    static const Socket::DescriptorSet none{};
                    Socket::removeIfNotInSet(l.read, none);
                }),
    };
}

// --- Records ------------------------------------------------------------------------------------

struct Record {
    Record() { std::memset(&record, 0x5a, sizeof record); }
    std::string state() const { return bytesOf(record); }
    AddressRecord record;
};

/// The addresses of a record, which it releases.
struct Addresses {
    Addresses() = default;
    explicit Addresses(const AddressRecord& record)
        : list(Socket::deserializeAddrInfoExternal(record)) {}
    ~Addresses() { release(); }
    Addresses(const Addresses&) = delete;
    Addresses& operator=(const Addresses&) = delete;

    void release() {
        for (addrinfo* node = list; node != nullptr; node = node->ai_next) {
            std::free(node->ai_addr);
        }
        Socket::freeMyAddrInfo(std::exchange(list, nullptr));
    }
    std::string state() const {
        int count = 0;
        for (addrinfo* node = list; node != nullptr; node = node->ai_next) {
            ++count;
        }
        return std::to_string(count) + " addresses";
    }

    addrinfo* list = nullptr;
};

const AddressRecord& threeAddresses() {
    static const AddressRecord record =
        recordOf(recordHead("host", 80) + EntryText{loopbackAddress(80), "one"}.bytes() +
                 EntryText{loopbackAddress(81), "two"}.bytes() + loopbackEntry(82));
    return record;
}

struct Node {
    ~Node() {
        std::free(node.ai_addr);
        std::free(node.ai_canonname);
    }
    std::string state() const {
        return std::to_string(node.ai_addrlen) + " " + stateOf(node.ai_canonname);
    }
    addrinfo node = {};
};

Rows rowsOfRecords() {
    static const std::string entry = EntryText{loopbackAddress(80), "name"}.bytes();
    return {
        row(
            "Socket::deserialize(addrinfo*, char const*, unsigned long)", [] { return Node(); },
            [](Node& it) { return Socket::deserialize(&it.node, entry.data(), entry.size()); }),
        row(
            "Socket::deserializeAddrInfoExternal(nx::oss::Socket::_AddrInfoExternal const&)",
            [] { return Addresses(); },
            [](Addresses& it) { it.list = Socket::deserializeAddrInfoExternal(threeAddresses()); }),
        callOf("Socket::deserializeAddrInfoExternal(nx::oss::Socket::_AddrInfoExternal const&)",
               [] {
                   static const AddressRecord malformed =
                       recordOf(recordHead("host", 80) + loopbackEntry(80) + "x");
                   errno = 0;
                   return Socket::deserializeAddrInfoExternal(malformed) == nullptr;
               }),
        row(
            "Socket::exportAddrInfo(icu::UnicodeString const&, unsigned short, "
            "nx::oss::Socket::_AddrInfoExternal&)",
            [] { return Record(); },
            [](Record& it) { return Socket::exportAddrInfo(longHost(), 80, it.record); }),
        row(
            "Socket::freeMyAddrInfo(addrinfo*)", [] { return Addresses(threeAddresses()); },
            [](Addresses& it) { it.release(); }),
        row(
            "Socket::dnsLookup(icu::UnicodeString&, icu::UnicodeString const&, bool)",
            [] { return UnicodeString("before"); },
            [](UnicodeString& out) { return Socket::dnsLookup(out, longHost(), true); }),
        callOf("Socket::getIPv4ByName(char*, unsigned long, icu::UnicodeString const&)",
               [] { return Socket::getIPv4ByName(bytes, 1, longHost()); }),
        row(
            "Socket::serialize(char*, unsigned long, addrinfo const*)",
            [] { return Addresses(threeAddresses()); },
            [](Addresses& it) {
                static char room[100];
                return Socket::serialize(room, 100, it.list);
            }),
    };
}

// --- Servers ------------------------------------------------------------------------------------

struct Serving {
    Serving() {
        server.listen(0, 5, true);
        client = connectTo(server.getPort());
        waitUntilReadable(server.getDescriptor());
    }
    std::string state() const { return stateOf(server) + stateOf(target); }

    SocketServer server;
    FileDescriptor client;
    Socket target;
};

template <class Operation>
Row onServer(const char* name, const Operation& operation, Promise promise = {}) {
    return row(
        name, [] { return Serving(); }, operation, promise);
}

template <class Operation>
Row onIdleServer(const char* name, const Operation& operation, Promise promise = {}) {
    return row(
        name, [] { return SocketServer(); }, operation, promise);
}

Rows rowsOfServers() {
    static const Listener holder;
    static const std::unique_ptr<SocketServer> lonely = [] {
        auto server = std::make_unique<SocketServer>();
        server->listen(0, 5, true);
        return server;
    }();
    const char* const accept = "SocketServer::accept(nx::oss::Socket&, unsigned long const*)";
    const char* const listen = "SocketServer::listen(unsigned long, unsigned long, bool)";
    const char* const portOf =
        "SocketServer::getPortStatic(long, icu::UnicodeString const*, unsigned long)";
    const char* const reuse =
        "SocketServer::setReuseAddress(long, bool, icu::UnicodeString const*, unsigned long)";
    return {
        builds<SocketServer>("SocketServer::SocketServer()", [](auto& it) { it.emplace(); }),
        destroys<SocketServer>("SocketServer::~SocketServer()",
                               [](auto& it) {
                                   it.emplace();
                                   it->listen(0, 5, true);
                               }),
        onServer(accept, [](Serving& it) { it.server.accept(it.target, nullptr); }),
        onSocket(accept, [](Socket& target) { lonely->accept(target, &AT_ONCE); }),
        onSocket(accept,
                 [](Socket& target) {
                     static const std::unique_ptr<SocketServer> idle(new SocketServer);
                     idle->accept(target, nullptr);
                 }),
        onServer("SocketServer::getDescriptor() const",
                 [](Serving& it) { return it.server.getDescriptor() >= 0; }),
        onServer(
            "SocketServer::getHostName() const",
            [](Serving & it) -> auto& { return it.server.getHostName(); }),
        onServer("SocketServer::getPort() const",
                 [](Serving& it) { return it.server.getPort() != 0; }),
        onServer(portOf,
                 [](Serving& it) {
                     return SocketServer::getPortStatic(it.server.getDescriptor(), nullptr, 0) != 0;
                 }),
        callOf(portOf, [] { return SocketServer::getPortStatic(-1, &borrowed(), 80); }),
        onServer("SocketServer::isListening() const",
                 [](Serving& it) { return it.server.isListening(); }),
        onIdleServer(listen, [](SocketServer& s) { s.listen(0, 5, true); }),
        onIdleServer(listen, [](SocketServer& s) { s.listen(holder.port(), 5, false); }),
        onServer(reuse,
                 [](Serving& it) {
                     SocketServer::setReuseAddress(it.server.getDescriptor(), true, nullptr, 0);
                 }),
        callOf(reuse, [] { SocketServer::setReuseAddress(-1, true, &borrowed(), 80); }),
        onServer("SocketServer::shutdownRead()", [](Serving& it) { it.server.shutdownRead(); }),
        onIdleServer("SocketServer::shutdownRead()", [](SocketServer& s) { s.shutdownRead(); }),
        onServer("SocketServer::shutdownReadWrite()",
                 [](Serving& it) { it.server.shutdownReadWrite(); }),
        onServer("SocketServer::shutdownWrite()", [](Serving& it) { it.server.shutdownWrite(); }),
    };
}

// --- Threads ------------------------------------------------------------------------------------

/// A thread that works until this goes.
class Work {
  public:
    explicit Work(bool started) {
        if (started) {
            thread_.start();
            while (id_ == 0) {
                ::sched_yield();
            }
        }
    }
    ~Work() {
        over_.open();
        if (thread_.isJoinable() && id_ != 0) {
            thread_.join();
        } else if (thread_.isJoinable()) {
            thread_.join();  // not started, or stopped before it began
        } else if (id_ != 0) {
            awaitDeath(id_);
        }
    }
    Work(const Work&) = delete;
    Work& operator=(const Work&) = delete;

    std::string state() {
        return std::string(thread_.isRunning() ? "running " : "idle ") +
               (thread_.isJoinable() ? "joinable " : "on its own ") + stateOf(thread_.getName()) +
               std::to_string(thread_.getPriority());
    }
    Thread& thread() { return thread_; }
    /// Lets the work end.
    void finish() { over_.open(); }

  private:
    Gate over_;
    std::atomic<pid_t> id_{0};
    Task task_{[this] {
        id_ = ::gettid();
        over_.wait();
    }};
    Thread thread_{&task_, false};
};

struct Working {
    explicit Working(bool started) : work(std::make_unique<Work>(started)) {}
    std::string state() const { return work->state(); }
    std::unique_ptr<Work> work;
};

template <class Operation>
Row onThread(const char* name, bool started, const Operation& operation, Promise promise = {}) {
    return row(
        name, [=] { return Working(started); },
        [=](Working& it) { return operation(it.work->thread()); }, promise);
}

Rows rowsOfThreads() {
    static Task task([] {});
    return {
        callOf("Thread::Thread(nx::oss::Runnable*, bool)",
               [] {
                   const Thread thread(&task, false);
                   return thread.isJoinable();
               }),
        callOf("Thread::~Thread()", [] { Thread(&task, false).setPriority(1); }),
        onThread("Thread::detach()", true, [](Thread& t) { return t.detach(); }),
        onThread("Thread::getName()", false, [](Thread& t) { return t.getName(); }),
        onThread("Thread::getPriority()", false, [](Thread& t) { return t.getPriority(); }),
        onThread("Thread::isJoinable() const", false, [](Thread& t) { return t.isJoinable(); }),
        onThread("Thread::isRunning() const", true, [](Thread& t) { return t.isRunning(); }),
        row(
            "Thread::join()", [] { return Working(true); },
            [](Working& it) {
                it.work->finish();
                return it.work->thread().join();
            }),
        onThread("Thread::setDetachState()", false, [](Thread& t) { return t.setDetachState(); }),
        onThread("Thread::setName(char const*)", false,
                 [](Thread& t) { return t.setName("a new name"); }, {nullptr, "gives 0.000000"}),
        onThread("Thread::setPriority(int)", false, [](Thread& t) { t.setPriority(7); }),
        callOf("Thread::sleep(unsigned long)", [] { Thread::sleep(0); }),
        onThread("Thread::start()", false, [](Thread& t) { return t.start(); },
                 {nullptr, "gives 11.000000"}),
        onThread("Thread::stop()", true, [](Thread& t) { return t.stop(); }),
        callOf("thread_run_stub", [] { return thread_run_stub(&task) == &task; }),
    };
}

}  // namespace

Rows rowsOfNetwork() {
    Rows rows = rowsOfConnecting();
    for (const Rows& more :
         {rowsOfSockets(), rowsOfSelect(), rowsOfRecords(), rowsOfServers(), rowsOfThreads()}) {
        rows.insert(rows.end(), more.begin(), more.end());
    }
    return rows;
}

}  // namespace nx::test

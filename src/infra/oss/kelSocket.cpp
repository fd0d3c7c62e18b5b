#define KELINFRA_BUILDS_INLINES
#include <infra/oss/kelSocket.h>

#include <infra/oss/kelByteBuffer.h>
#include <infra/oss/kelConverter.h>
#include <infra/oss/kelSizeableBuffer.h>
#include <infra/oss/kelSocketException.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdint>
#include <cstring>
#include <iterator>
#include <utility>

#include <netdb.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>

#include "infra/detail/kelAddressList.h"
#include "infra/detail/kelAddressRecord.h"
#include "infra/detail/kelCancellation.h"
#include "infra/detail/kelConnect.h"
#include "infra/detail/kelDescriptor.h"
#include "infra/detail/kelDescriptorSet.h"
#include "infra/detail/kelItemPrefix.h"
#include "infra/detail/kelRaise.h"
#include "infra/detail/kelSocketErrors.h"
#include "infra/detail/kelTraceScope.h"
#include "infra/detail/kelTranscode.h"
#include "infra/detail/kelUnicodeBuffer.h"

namespace nx::oss {

using detail::TraceExit;
using detail::TracePoint;
using detail::TraceScope;

namespace {

constexpr const char* FILE_NAME = "kelSocket.cpp";
constexpr detail::SocketErrors ERRORS{FILE_NAME};

constexpr long NO_DESCRIPTOR = -1;
constexpr unsigned long DISCARD_CHUNK = 1024;

constexpr socklen_t HOST_TEXT_SIZE = 1025;
// Required: every address is looked up as one of this size, so IPv6 addresses have no name.
constexpr socklen_t IPV4_ADDRESS_SIZE = sizeof(sockaddr_in);
static_assert(IPV4_ADDRESS_SIZE == 16);

constexpr unsigned long ALL_WORDS = Socket::DescriptorSet::WORDS;

void requireDescriptor(long descriptor, const icu::UnicodeString& host, unsigned long port,
                       unsigned long line = __builtin_LINE()) {
    if (descriptor == NO_DESCRIPTOR) {
        ERRORS.raise("ERR_SOCKET_NOT_CONNECTED", &host, port, line);
    }
}

// A host name as the resolver takes it.
class HostName {
  public:
    explicit HostName(const icu::UnicodeString& host)
        : bytes_(Converter::convert<1026>(buffer_, nullptr, host)) {}

    const char* bytes() const { return bytes_; }

  private:
    SizeableBuffer<char, 1026> buffer_{0};
    const char* bytes_;
};

detail::AddressList resolveHost(const icu::UnicodeString& host, unsigned long port) {
    detail::Resolution resolution = detail::resolve(HostName(host).bytes(), port, /*flags=*/0);
    if (resolution.code != 0) {
        ERRORS.raiseResolverError(resolution.code, host, port);
    }
    return std::move(resolution.addresses);
}

// The caller records the trace points of Socket::deserializeAddrInfoExternal().
void readRecord(detail::RecordAddresses& addresses, const Socket::_AddrInfoExternal& record,
                unsigned long line = __builtin_LINE()) {
    if (!addresses.read(record.payload, record.usedLength)) {
        // Required: nothing has set errno here; the report shows what the thread left in it.
        ERRORS.raiseSystemError(errno, nullptr, 0, line);
    }
}

// Waits for the end of a connection attempt. True when it ended with an exceptional condition.
bool awaitConnection(long descriptor, const unsigned long* timeoutMs,
                     const icu::UnicodeString& host, unsigned long port) {
    std::list<Socket> readable;
    std::list<Socket> writable;
    std::list<Socket> exceptional;
    writable.emplace_back(descriptor);
    exceptional.emplace_back(descriptor);
    if (Socket::select(readable, writable, exceptional, timeoutMs) == 0) {
        ERRORS.raise("ERR_SOCKET_TIMEOUT", &host, port);
    }
    return !exceptional.empty();
}

// A blocking, connected descriptor, or none when no address could be tried.
detail::Descriptor establish(const addrinfo* addresses, const unsigned long* timeoutMs,
                             const icu::UnicodeString& host, unsigned long port) {
    detail::StartedConnection started = detail::startConnection(addresses);
    if (!started.descriptor) {
        return detail::Descriptor();
    }
    const long descriptor = started.descriptor.get();
    const bool failed = started.inProgress && awaitConnection(descriptor, timeoutMs, host, port);
    if (Socket::setNonBlockingStatic(descriptor, false) != 0) {
        ERRORS.raiseSystemError(errno, &host, port);
    }
    const long pending = Socket::getSocketErrorStatic(descriptor, &host, port);
    if (failed || pending != 0) {
        ERRORS.raiseSystemError(pending, &host, port);
    }
    return std::move(started.descriptor);
}

// The same for the addresses of a record, or of the resolver when there is no record.
detail::Descriptor establish(const Socket::_AddrInfoExternal& record,
                             const unsigned long* timeoutMs, const icu::UnicodeString& host,
                             unsigned long port) {
    if (record.usedLength == 0) {
        // The list is released with this statement.
        return establish(resolveHost(host, port).first(), timeoutMs, host, port);
    }
    // Why: connecting needs no copy of the list, and so no memory.
    detail::RecordAddresses addresses;
    {
        TraceScope trace(TracePoint::SOCKET_DESERIALIZE_ADDR_INFO_EXTERNAL);
        readRecord(addresses, record);
    }
    return establish(addresses.first(), timeoutMs, host, port);
}

void applyTcpNoDelay(long descriptor, bool on, const icu::UnicodeString& host, unsigned long port,
                     unsigned long line = __builtin_LINE()) {
    TraceScope trace(TracePoint::SOCKET_SET_TCP_NO_DELAY);
    requireDescriptor(descriptor, host, port, line);
    if (!detail::setSocketOption(descriptor, IPPROTO_TCP, TCP_NODELAY, on ? 1 : 0)) {
        ERRORS.raiseSystemError(errno, &host, port, line);
    }
}

ssize_t receive(int descriptor, char* buffer, unsigned long length) {
    return detail::cancellable([&] { return ::recv(descriptor, buffer, length, 0); });
}

// The number of bytes that a call moved.
unsigned long movedBytes(ssize_t result, const icu::UnicodeString& host, unsigned long port,
                         unsigned long line = __builtin_LINE()) {
    if (result < 0) {
        ERRORS.raiseSystemError(errno, &host, port, line);
    }
    return static_cast<unsigned long>(result);
}

// Without descriptor there is nothing to shut down, which is no error.
void shutDown(long descriptor, int how, const icu::UnicodeString& host, unsigned long port,
              unsigned long line = __builtin_LINE()) {
    if (descriptor != NO_DESCRIPTOR && ::shutdown(detail::systemDescriptor(descriptor), how) != 0) {
        ERRORS.raiseSystemError(errno, &host, port, line);
    }
}

void collect(detail::DescriptorCollector& collector, const std::list<Socket>& list) {
    TraceScope trace(TracePoint::SOCKET_FROM_LIST_TO_FD_SET);
    for (const Socket& socket : list) {
        collector.add(socket.getDescriptor());
    }
}

// One of the three sets of select().
class WaitSet {
  public:
    // Why: a walk over many sockets costs more than anything else here, so one walk does what
    // highestValue() and fromListToFdSet() do, and records that it did.
    explicit WaitSet(const std::list<Socket>& list) : empty_(list.empty()) {
        TraceScope trace(TracePoint::SOCKET_HIGHEST_VALUE);
        collect(collector_, list);
    }

    long highest() const { return collector_.highest(); }
    // What the system call takes and changes; nothing for an empty list.
    std::uint64_t* words(unsigned long count) {
        if (empty_) {
            return nullptr;
        }
        collector_.clearTo(count);
        return set_.words;
    }
    const Socket::DescriptorSet& set() const { return set_; }

  private:
    Socket::DescriptorSet set_;
    detail::DescriptorCollector collector_{set_.words, ALL_WORDS};
    bool empty_;
};

// The socket that errors of select() name; there is one.
const Socket& firstSocket(const std::list<Socket>& readList, const std::list<Socket>& writeList,
                          const std::list<Socket>& exceptList) {
    if (!readList.empty()) {
        return readList.front();
    }
    return writeList.empty() ? exceptList.front() : writeList.front();
}

// Required: the announced length is read anew for every chunk and a peer that has closed does not
// end the loop. Lowering the length, from another thread as well, does.
void discard(Socket& socket, const volatile unsigned long& announced) {
    char scratch[DISCARD_CHUNK];
    unsigned long total = 0;
    for (;;) {
        const unsigned long end = __atomic_load_n(&announced, __ATOMIC_RELAXED);
        if (total >= end) {
            return;
        }
        total += socket.read(scratch, 0, std::min(end - total, DISCARD_CHUNK));
    }
}

// Writes the entries that fit, up to the first one that does not, and returns their size.
unsigned long serializeAll(char* out, unsigned long size, const addrinfo* list) {
    unsigned long used = 0;
    for (; list != nullptr; list = list->ai_next) {
        const unsigned long written = Socket::serialize(out + used, size - used, list);
        if (written == 0) {
            break;
        }
        used += written;
    }
    return used;
}

}  // namespace

Socket::CSocketInitializer Socket::s_socket_initializer;

constexpr Socket::_AddrInfoExternal Socket::NullAddrInfoExternal{};

Socket::CSocketInitializer::CSocketInitializer() { std::signal(SIGPIPE, SIG_IGN); }

Socket::CSocketInitializer::~CSocketInitializer() = default;

Socket::Socket() { TraceExit trace(TracePoint::SOCKET_CONSTRUCT); }

Socket::Socket(long descriptor) : descriptor_(descriptor) {
    TraceExit trace(TracePoint::SOCKET_CONSTRUCT);
}

Socket::Socket(const Socket& other)
    : descriptor_(other.descriptor_), hostName_(other.hostName_), port_(other.port_) {
    TraceExit trace(TracePoint::SOCKET_CONSTRUCT);
}

// Required: a socket assigned to itself ends up closed. The descriptor to share is read after the
// old connection is gone, so that no stale number remains.
Socket& Socket::operator=(const Socket& other) {
    TraceExit trace(TracePoint::SOCKET_ASSIGN);
    if (owner_) {
        // Required: closing forgets host name and port, being assigned to does not.
        icu::UnicodeString hostName;
        hostName.swap(hostName_);
        const unsigned long port = port_;
        close();
        hostName_.swap(hostName);
        port_ = port;
    }
    descriptor_ = other.descriptor_;
    return *this;
}

Socket::~Socket() {
    TraceExit trace(TracePoint::SOCKET_DESTROY);
    if (owner_) {
        close();
    }
}

void Socket::connect(const icu::UnicodeString& host, unsigned long port,
                     const unsigned long* timeoutMs) {
    connect(host, port, NullAddrInfoExternal, timeoutMs);
}

void Socket::connect(const icu::UnicodeString& host, unsigned long port,
                     const _AddrInfoExternal& record, const unsigned long* timeoutMs) {
    TraceScope trace(TracePoint::SOCKET_CONNECT);
    if (descriptor_ != NO_DESCRIPTOR) {
        ERRORS.raise("ERR_SOCKET_CONNECTED", &host, port);
    }
    hostName_ = detail::copyOf(host);
    port_ = port;
    detail::Descriptor connection = establish(record, timeoutMs, hostName_, port_);
    // Required: when no address could be tried, this is what reports it, as "not connected".
    applyTcpNoDelay(connection.get(), true, hostName_, port_);
    descriptor_ = connection.release();
    owner_ = true;
}

void Socket::close() {
    TraceScope trace(TracePoint::SOCKET_CLOSE);
    if (descriptor_ == NO_DESCRIPTOR || !owner_) {
        return;
    }
    owner_ = false;
    closeStatic(std::exchange(descriptor_, NO_DESCRIPTOR));
    hostName_.remove();
    port_ = 0;
}

void Socket::write(const char* buffer, unsigned long offset, unsigned long length) {
    TraceScope trace(TracePoint::SOCKET_WRITE);
    requireDescriptor(descriptor_, hostName_, port_);
    const int descriptor = detail::systemDescriptor(descriptor_);
    unsigned long sent = 0;
    while (sent < length) {
        const char* const rest = buffer + offset + sent;
        const ssize_t result =
            detail::cancellable([&] { return ::send(descriptor, rest, length - sent, 0); });
        sent += movedBytes(result, hostName_, port_);
    }
}

unsigned long Socket::read(char* buffer, unsigned long offset, unsigned long length) {
    TraceScope trace(TracePoint::SOCKET_READ);
    requireDescriptor(descriptor_, hostName_, port_);
    const int descriptor = detail::systemDescriptor(descriptor_);
    unsigned long got = 0;
    while (got < length) {
        const ssize_t result = receive(descriptor, buffer + offset + got, length - got);
        if (result == 0) {
            break;
        }
        got += movedBytes(result, hostName_, port_);
    }
    return got;
}

long Socket::readOnce(char* buffer, unsigned long offset, unsigned long length) {
    TraceScope trace(TracePoint::SOCKET_READ_ONCE);
    requireDescriptor(descriptor_, hostName_, port_);
    // Required: the call is made for a length of 0 too, and may wait.
    const ssize_t result = receive(detail::systemDescriptor(descriptor_), buffer + offset, length);
    return static_cast<long>(movedBytes(result, hostName_, port_));
}

void Socket::writeItem(const char* buffer, unsigned long offset, unsigned long length) {
    TraceScope trace(TracePoint::SOCKET_WRITE_ITEM);
    requireDescriptor(descriptor_, hostName_, port_);
    // Required: the prefix is cut to 32 bits, the payload is not, and they are two sends.
    const detail::ItemPrefix prefix = detail::encodeItemPrefix(length);
    write(prefix.data(), 0, prefix.size());
    write(buffer, offset, length);
}

unsigned long Socket::readItem(char* buffer, unsigned long& length, unsigned long offset,
                               unsigned long maxLength, bool discardOversized) {
    TraceScope trace(TracePoint::SOCKET_READ_ITEM);
    requireDescriptor(descriptor_, hostName_, port_);
    // Required: a prefix that the peer cuts short is no error; the missing bytes count as zero.
    detail::ItemPrefix prefix = {};
    if (read(prefix.data(), 0, prefix.size()) == 0) {
        ERRORS.raise("ERR_SOCKET_CLOSED", &hostName_, port_);
    }
    const std::uint32_t announced = detail::decodeItemPrefix(prefix);
    // Another thread may watch the length, in order to end the discarding.
    __atomic_store_n(&length, announced, __ATOMIC_RELAXED);
    if (announced <= maxLength) {
        return read(buffer, offset, announced);
    }
    if (discardOversized) {
        discard(*this, length);
    }
    detail::raise<SocketException>({"ERR_DEST_BUFFER_TOO_SMALL", FILE_NAME},
                                   static_cast<std::uint32_t>(maxLength), announced);
}

void Socket::setNonBlocking(bool on) {
    TraceScope trace(TracePoint::SOCKET_SET_NON_BLOCKING);
    requireDescriptor(descriptor_, hostName_, port_);
    if (setNonBlockingStatic(descriptor_, on) != 0) {
        ERRORS.raiseSystemError(errno, &hostName_, port_);
    }
}

void Socket::setTcpNoDelay(bool on) { applyTcpNoDelay(descriptor_, on, hostName_, port_); }

void Socket::setSoTimeout(long) {}

void Socket::shutdownRead() {
    TraceScope trace(TracePoint::SOCKET_SHUTDOWN_READ);
    shutDown(descriptor_, SHUT_RD, hostName_, port_);
}

void Socket::shutdownWrite() {
    TraceScope trace(TracePoint::SOCKET_SHUTDOWN_WRITE);
    shutDown(descriptor_, SHUT_WR, hostName_, port_);
}

void Socket::shutdownReadWrite() {
    TraceScope trace(TracePoint::SOCKET_SHUTDOWN_READ_WRITE);
    shutDown(descriptor_, SHUT_RDWR, hostName_, port_);
}

long Socket::closeStatic(long descriptor) {
    TraceScope trace(TracePoint::SOCKET_CLOSE_STATIC);
    return detail::closeDescriptor(detail::systemDescriptor(descriptor));
}

long Socket::setNonBlockingStatic(long descriptor, bool on) {
    return detail::setNonBlocking(descriptor, on);
}

long Socket::getSocketErrorStatic(long descriptor, const icu::UnicodeString* host,
                                  unsigned long port) {
    TraceScope trace(TracePoint::SOCKET_GET_SOCKET_ERROR_STATIC);
    // The system fills only the first four of the eight bytes offered.
    std::int64_t pending = 0;
    socklen_t size = sizeof pending;
    if (::getsockopt(detail::systemDescriptor(descriptor), SOL_SOCKET, SO_ERROR, &pending, &size) !=
        0) {
        ERRORS.raiseSystemError(errno, host, port);
    }
    return pending;
}

long Socket::select(std::list<Socket>& readList, std::list<Socket>& writeList,
                    std::list<Socket>& exceptList, const unsigned long* timeoutMs) {
    TraceScope trace(TracePoint::SOCKET_SELECT);
    if (readList.empty() && writeList.empty() && exceptList.empty()) {
        return 0;
    }
    const Socket& named = firstSocket(readList, writeList, exceptList);
    WaitSet readable(readList);
    WaitSet writable(writeList);
    WaitSet exceptional(exceptList);
    const long highest = std::max({readable.highest(), writable.highest(), exceptional.highest()});
    if (!detail::fitsDescriptorSet(highest, ALL_WORDS)) {
        ERRORS.raiseSystemError(EINVAL, &named.hostName_, named.port_);
    }
    const unsigned long words = detail::descriptorWords(highest);
    timeval limit = detail::timeLimit(timeoutMs == nullptr ? 0 : *timeoutMs);
    const int ready =
        detail::awaitDescriptors(highest, readable.words(words), writable.words(words),
                                 exceptional.words(words), timeoutMs == nullptr ? nullptr : &limit);
    if (ready < 0) {
        ERRORS.raiseSystemError(errno, &named.hostName_, named.port_);
    }
    removeIfNotInSet(readList, readable.set());
    removeIfNotInSet(writeList, writable.set());
    removeIfNotInSet(exceptList, exceptional.set());
    return ready;
}

void Socket::fromListToFdSet(DescriptorSet& set, const std::list<Socket>& list) {
    detail::DescriptorCollector collector(set.words, ALL_WORDS);
    collect(collector, list);
    collector.clearTo(ALL_WORDS);
}

long Socket::highestValue(const std::list<Socket>& list) {
    TraceScope trace(TracePoint::SOCKET_HIGHEST_VALUE);
    long highest = 0;
    for (const Socket& socket : list) {
        highest = std::max(highest, socket.descriptor_);
    }
    return highest;
}

void Socket::removeIfNotInSet(std::list<Socket>& list, const DescriptorSet& set) {
    TraceScope trace(TracePoint::SOCKET_REMOVE_IF_NOT_IN_SET);
    // Why: list.remove_if() would walk the removed elements a second time to destroy them.
    for (auto socket = list.begin(); socket != list.end();) {
        const bool ready = detail::fitsDescriptorSet(socket->descriptor_, ALL_WORDS) &&
                           detail::holdsDescriptor(set.words, socket->descriptor_);
        socket = ready ? std::next(socket) : list.erase(socket);
    }
}

int Socket::exportAddrInfo(const icu::UnicodeString& host, unsigned short port,
                           _AddrInfoExternal& record) {
    TraceScope trace(TracePoint::SOCKET_EXPORT_ADDR_INFO);
    const detail::Resolution resolution =
        detail::resolve(HostName(host).bytes(), port, /*flags=*/0);
    if (resolution.code != 0) {
        return resolution.code;
    }
    const ByteBuffer name(host, nullptr);
    // The record's name ends at its first NUL.
    const unsigned long nameSize = std::strlen(name.data()) + 1;
    if (nameSize + sizeof port > sizeof record.payload) {
        return EAI_OVERFLOW;
    }
    record = NullAddrInfoExternal;
    std::memcpy(record.payload, name.data(), nameSize);
    std::memcpy(record.payload + nameSize, &port, sizeof port);
    const unsigned long head = nameSize + sizeof port;
    record.usedLength = static_cast<unsigned short>(
        head + serializeAll(record.payload + head, sizeof record.payload - head,
                            resolution.addresses.first()));
    return 0;
}

unsigned long Socket::serialize(char* out, unsigned long outSize, const addrinfo* entry) {
    TraceScope trace(TracePoint::SOCKET_SERIALIZE);
    return detail::writeAddressEntry(out, outSize, *entry);
}

unsigned long Socket::deserialize(addrinfo* node, const char* in, unsigned long inSize) {
    TraceScope trace(TracePoint::SOCKET_DESERIALIZE);
    detail::AddressEntry entry;
    const unsigned long size = detail::readAddressEntry(entry, in, inSize);
    if (size > 0 && !detail::copyAddressEntry(*node, entry)) {
        detail::raiseBadAlloc();
    }
    return size;
}

addrinfo* Socket::deserializeAddrInfoExternal(const _AddrInfoExternal& record) {
    TraceScope trace(TracePoint::SOCKET_DESERIALIZE_ADDR_INFO_EXTERNAL);
    detail::RecordAddresses addresses;
    readRecord(addresses, record);
    addrinfo* const list = detail::copyAddresses(addresses);
    if (list == nullptr) {
        detail::raiseBadAlloc();
    }
    return list;
}

// Required: the addresses of the nodes are left to the caller.
void Socket::freeMyAddrInfo(addrinfo* list) {
    TraceScope trace(TracePoint::SOCKET_FREE_MY_ADDR_INFO);
    detail::freeNodes(list);
}

bool Socket::dnsLookup(icu::UnicodeString& result, const icu::UnicodeString& host, bool numeric) {
    TraceScope trace(TracePoint::SOCKET_DNS_LOOKUP);
    const detail::Resolution resolution =
        detail::resolveWithoutPort(HostName(host).bytes(), AF_UNSPEC);
    const int flags = numeric ? NI_NUMERICHOST : NI_NAMEREQD;
    for (const addrinfo* entry = resolution.addresses.first(); entry != nullptr;
         entry = entry->ai_next) {
        char name[HOST_TEXT_SIZE + 1] = {};
        if (detail::nameOf(entry->ai_addr, IPV4_ADDRESS_SIZE, flags, name, HOST_TEXT_SIZE)) {
            result = detail::decode(name, std::strlen(name), nullptr);
            return true;
        }
    }
    return false;
}

unsigned long Socket::getIPv4ByName(char* addresses, unsigned long maxCount,
                                    const icu::UnicodeString& host) {
    TraceScope trace(TracePoint::SOCKET_GET_IPV4_BY_NAME);
    if (addresses == nullptr || maxCount == 0) {
        return 0;
    }
    const detail::Resolution resolution =
        detail::resolveWithoutPort(HostName(host).bytes(), AF_INET);
    unsigned long count = 0;
    for (const addrinfo* entry = resolution.addresses.first(); entry != nullptr && count < maxCount;
         entry = entry->ai_next) {
        sockaddr_in address;
        std::memcpy(&address, entry->ai_addr, sizeof address);
        std::memcpy(addresses + count * sizeof(in_addr), &address.sin_addr, sizeof(in_addr));
        ++count;
    }
    return count;
}

}  // namespace nx::oss

#pragma once

#include <cstdint>
#include <list>

#include <unicode/unistr.h>

#include <infra/oss/kelExport.h>

/// A node of a list of addresses; <netdb.h> defines it.
struct addrinfo;

namespace nx::oss {

/// A TCP client endpoint over POSIX sockets: connects with a time-out, moves bytes and items, waits
/// on lists of sockets, and keeps what the resolver said about a host in a record for later.
///
/// States: without descriptor (-1), connected and owning after connect() or SocketServer::accept(),
/// without descriptor again after close() or destruction.
///
/// Ownership is asymmetric on purpose. Only the object that connected (or was filled by accept)
/// owns the descriptor and closes it. A copy shares the descriptor's number, never owns it and
/// never closes it, so sockets can travel in std::list<Socket> for select(); it goes stale when the
/// owner closes.
///
/// Errors are thrown as SocketException. Each holds one record with file "kelSocket.cpp". "Mapped
/// error" means the errno table of SocketException; its arguments end with this socket's host name
/// and port. System calls that a signal interrupts are not repeated: they end in the mapped error
/// for EINTR ("NX_ERR_SOCKET_ERROR" with arguments 4, host, port).
///
/// "Needs a descriptor": without one the operation throws "ERR_SOCKET_NOT_CONNECTED" (host, port).
///
/// Loading the library sets SIGPIPE to ignored for the whole process and so for the programs it
/// starts; writing to a closed peer ends in "NX_ERR_SOCKET_BROKEN_PIPE" instead of a signal.
///
/// Thread-safety: a socket is used by one thread at a time. Copies may be used by other threads;
/// the caller serialises the writers, and the readers, of one connection.
class KELINFRA_EXPORT Socket {
  public:
    /// A set of descriptors 0 to 65,471 for the helpers of select(): bit d % 64 of word d / 64
    /// stands for descriptor d. A platform fd_set is smaller; do not cast one to this type.
    struct DescriptorSet {
        /// The number of words.
        static constexpr unsigned long WORDS = 1023;
        /// The bits, 64 in each word.
        std::uint64_t words[WORDS];
    };

    /// An address record: a host name, a port and the addresses that the resolver gave for them, in
    /// one flat block that may be copied as bytes, kept in a file or handed to another process of
    /// the same machine. docs/wire-formats.md describes every byte.
    ///
    /// A record is filled by exportAddrInfo() and used by connect(). Records from elsewhere may
    /// hold anything: whoever reads them checks every size before following it.
    struct _AddrInfoExternal {
        /// Bytes used of `payload`; 0 means that there is no record.
        unsigned short usedLength;
        /// Host name and entries.
        char payload[2998];
    };

    /// The record of all zero bytes: no record.
    static const _AddrInfoExternal NullAddrInfoExternal;

    /// Sets SIGPIPE to ignored when constructed; the library does so at load. Its destructor does
    /// nothing.
    class KELINFRA_EXPORT CSocketInitializer {
      public:
        CSocketInitializer();
        virtual ~CSocketInitializer();
    };

    /// Without descriptor.
    Socket();
    /// Wraps a descriptor without owning it.
    explicit Socket(long descriptor);
    /// Shares the descriptor without owning it; host name and port are copied.
    Socket(const Socket& other);
    /// Closes the connection that this object owns, if any, then shares the descriptor of `other`
    /// without owning it.
    ///
    /// Careful: host name and port of this object stay as they were. Assigning an owning socket to
    /// itself closes it.
    Socket& operator=(const Socket& other);
    /// Closes the connection when this object owns it.
    virtual ~Socket();

    /// Resolves `host` and connects to its first address that answers; then sets TCP_NODELAY.
    ///
    /// `host` is a name or a numeric address, `port` a port number (passed to the resolver as an
    /// unsigned 32-bit number, unchecked). `timeoutMs` bounds the wait for the connection in
    /// milliseconds, name resolution not included; null waits without limit. Host and port are kept
    /// for error messages, also when connecting fails. A failed connect leaves the socket without
    /// descriptor and leaks nothing.
    ///
    /// Careful: the first address whose connection can be started decides. When it is refused
    /// later, the remaining addresses are not tried.
    ///
    /// Throws std::bad_alloc, and
    /// - "ERR_SOCKET_CONNECTED" (`host`, `port`) when there is a descriptor
    ///   already; the connection is left alone;
    /// - "ERR_SOCKET_GETADDRINFO_ERROR" (host, port, resolver code, its text);
    /// - "ERR_SOCKET_TIMEOUT" (host, port);
    /// - "ERR_SOCKET_NOT_CONNECTED" (host, port) when no connection could even be started: the
    ///   errno of the last attempt is not reported;
    /// - the mapped error otherwise, "NX_ERR_SOCKET_CONNECTION_REFUSED" for a port without
    ///   listener. When the wait itself fails, its arguments name an empty host and port 0.
    void connect(const icu::UnicodeString& host, unsigned long port,
                 const unsigned long* timeoutMs);

    /// As connect(host, port, timeoutMs), but takes the addresses from `record` instead of asking
    /// the resolver. A record whose usedLength is 0, such as NullAddrInfoExternal, makes it ask.
    ///
    /// `host` and `port` only name the connection in error messages: the addresses in the record
    /// hold their ports already. Nothing is kept of `record`, and no memory is allocated for it.
    ///
    /// Throws besides, instead of "ERR_SOCKET_GETADDRINFO_ERROR", the mapped error of
    /// deserializeAddrInfoExternal(), without host and port, for a malformed record; host and port
    /// are kept all the same. Its identifier may be that of a refused connection: which one it is
    /// depends on the thread's errno only, as told there.
    ///
    /// Careful: a record says to which address, family and protocol to connect. Take records only
    /// from whom you would take a host name.
    void connect(const icu::UnicodeString& host, unsigned long port,
                 const _AddrInfoExternal& record, const unsigned long* timeoutMs);

    /// Closes the connection when this object owns it, and forgets host name and port. Otherwise
    /// nothing happens: a copy keeps its descriptor number. Errors of the system call are ignored.
    void close();

    /// Sends `length` bytes from `buffer + offset`. Blocks until all are handed to the system;
    /// there is no time-out. Needs a descriptor. Throws the mapped error; part of the bytes may be
    /// sent then.
    void write(const char* buffer, unsigned long offset, unsigned long length);

    /// Receives `length` bytes into `buffer + offset`. Blocks until all have arrived or the peer
    /// has closed, and returns the number received, less than `length` only in the second case.
    /// Needs a descriptor. Throws the mapped error; bytes received before it are lost.
    unsigned long read(char* buffer, unsigned long offset, unsigned long length);

    /// Receives once: returns the number of bytes, at most `length`; 0 when the peer has closed.
    /// Blocks until something arrives, also for a `length` of 0. Needs a descriptor. Throws the
    /// mapped error.
    long readOnce(char* buffer, unsigned long offset, unsigned long length);

    /// Sends one item: the length as 4 bytes, most significant first, then `length` bytes from
    /// `buffer + offset`. Needs a descriptor. Throws the mapped error; the stream is then cut
    /// inside the item.
    ///
    /// Careful: the prefix holds the low 32 bits of `length`, yet all bytes are sent. From 4 GiB on
    /// the peer loses its place in the stream.
    void writeItem(const char* buffer, unsigned long offset, unsigned long length);

    /// Receives one item into `buffer + offset` and returns the number of its bytes. `length`
    /// receives the announced length, also when an exception follows. Needs a descriptor.
    ///
    /// The result is smaller than `length` only when the peer closed inside the item; that is no
    /// error. A peer that closes inside the prefix ends it: the missing bytes count as zero.
    ///
    /// Throws
    /// - "ERR_SOCKET_CLOSED" (host, port) when the peer closed between items; the descriptor
    ///   is kept;
    /// - "ERR_DEST_BUFFER_TOO_SMALL" (`maxLength`, announced length) when the item is longer than
    ///   `maxLength`. With `discardOversized` its bytes have been read and dropped, so the next
    ///   item can be read; without, they are still unread on the stream;
    /// - the mapped error.
    ///
    /// Careful: the discarding loop trusts the announced length. When the peer closes in the middle
    /// of the bytes to discard, it spins until the caller's `length` is lowered, by an atomic store
    /// from another thread.
    unsigned long readItem(char* buffer, unsigned long& length, unsigned long offset,
                           unsigned long maxLength, bool discardOversized);

    /// Switches the descriptor's non-blocking mode. Needs a descriptor. Throws the mapped error.
    void setNonBlocking(bool on);
    /// Sets or clears TCP_NODELAY. Needs a descriptor. Throws the mapped error.
    void setTcpNoDelay(bool on);
    /// Does nothing: only connect() and SocketServer::accept() have time-outs.
    void setSoTimeout(long milliseconds);

    /// Shuts down reading. The descriptor stays; close() is still needed. Without descriptor
    /// nothing happens. Throws the mapped error.
    void shutdownRead();
    /// As shutdownRead(), but writing: the peer reads the end of the stream.
    void shutdownWrite();
    /// As shutdownRead(), but both directions.
    void shutdownReadWrite();

    /// The descriptor, -1 when there is none.
    KELINFRA_ALSO_EXPORTED long getDescriptor() const { return descriptor_; }
    /// The host given to the last connect(), empty after close().
    KELINFRA_ALSO_EXPORTED const icu::UnicodeString& getHostName() const { return hostName_; }
    /// The port given to the last connect(), 0 after close().
    KELINFRA_ALSO_EXPORTED unsigned long getPort() const { return port_; }
    /// Whether this object closes the descriptor.
    KELINFRA_ALSO_EXPORTED bool isOwner() const { return owner_; }

    /// Closes `descriptor`; returns the result of the system call.
    static long closeStatic(long descriptor);
    /// Switches non-blocking mode; returns the result of the system call, 0 on success.
    static long setNonBlockingStatic(long descriptor, bool on);
    /// Takes the pending error (SO_ERROR) off the descriptor and returns it, 0 when there is none.
    /// Throws the mapped error when the system call fails, with host and port when `host` is not
    /// null.
    static long getSocketErrorStatic(long descriptor, const icu::UnicodeString* host,
                                     unsigned long port);

    /// Waits until a socket is ready and removes from each list the sockets that are not.
    ///
    /// `timeoutMs` in milliseconds; null waits without limit, 0 only looks. Returns the number of
    /// ready (descriptor, list) pairs; 0 after a time-out, all lists being empty then, and at once
    /// when all lists are empty. A socket that stands twice in a list counts once and stays twice.
    /// One list may be passed for several arguments.
    ///
    /// Descriptors of 1,024 and above are fine. A negative one is never ready. Owning sockets in a
    /// list are closed when they are removed; put copies in.
    ///
    /// Throws, with host and port of the first socket of the first list that is not empty, the
    /// mapped error: for EINVAL when a descriptor is 65,472 or above, for EBADF when one is not
    /// open. The lists are unchanged then.
    static long select(std::list<Socket>& readList, std::list<Socket>& writeList,
                       std::list<Socket>& exceptList, const unsigned long* timeoutMs);

    /// Clears `set`, then sets the bit of every socket's descriptor; descriptors outside 0 to
    /// 65,471 are left out.
    static void fromListToFdSet(DescriptorSet& set, const std::list<Socket>& list);
    /// The largest descriptor of the list, 0 when it is empty or holds only negative ones.
    static long highestValue(const std::list<Socket>& list);
    /// Removes every socket whose descriptor's bit is not set.
    static void removeIfNotInSet(std::list<Socket>& list, const DescriptorSet& set);

    /// Resolves `host` with `port` and fills `record`. Returns 0, or the resolver's code, which
    /// gai_strerror() explains; the record is unchanged then and nothing is thrown. EAI_OVERFLOW
    /// (-12), for which the system has no text, says that the host name alone does not fit.
    ///
    /// The host name is stored in UTF-8 up to its first U+0000. Addresses stand in the resolver's
    /// order. Throws std::bad_alloc, the record being as it was.
    ///
    /// Careful: addresses that do not fit are left out without a sign, as are all after the first
    /// of them. A host name of more than 1,025 bytes is stored, but readers of the record lose
    /// their way in it.
    static int exportAddrInfo(const icu::UnicodeString& host, unsigned short port,
                              _AddrInfoExternal& record);

    /// Writes one node, without those after it, into the `outSize` bytes at `out` and returns its
    /// size in bytes, or 0 when it does not fit or its canonical name has more than 65,535 bytes.
    /// Nothing is written then. `entry` is not null, and neither is its `ai_addr` unless its
    /// `ai_addrlen` is 0.
    ///
    /// Careful: with a null `out` nothing is written, but the result is the same as with `outSize`
    /// bytes: only a large `outSize` asks for the size.
    static unsigned long serialize(char* out, unsigned long outSize, const addrinfo* entry);

    /// Reads one entry of a record from the `inSize` bytes at `in`, aligned or not, into `node`,
    /// not null, and returns its size. `ai_addr` and `ai_canonname` become blocks from malloc()
    /// that the caller frees (the name null when it is empty), `ai_next` null; what they held is
    /// not looked at.
    ///
    /// Returns 0 and leaves `node` alone when `in` is null, when there are fewer than 42 bytes, and
    /// when address or name would end outside them. Throws std::bad_alloc, `node` being as it was.
    static unsigned long deserialize(addrinfo* node, const char* in, unsigned long inSize);

    /// Rebuilds the list of addresses of a record. Nodes, addresses and names are blocks of their
    /// own from malloc(). To release the list, free each node's `ai_addr`, then call
    /// freeMyAddrInfo().
    ///
    /// Throws the mapped error, without host and port, for a record without addresses or with a
    /// malformed one, NullAddrInfoExternal among them, and for a usedLength above 2,998; nothing is
    /// leaked. Throws std::bad_alloc.
    ///
    /// Careful: no system call has failed then, so the identifier and the number are what the
    /// thread's errno happens to hold. Set it to 0 before, for "NX_ERR_SOCKET_ERROR" (0).
    static addrinfo* deserializeAddrInfoExternal(const _AddrInfoExternal& record);

    /// Frees the nodes and the canonical names of a list from deserializeAddrInfoExternal(), or of
    /// nodes from malloc() that deserialize() filled and the caller linked. Null is an empty list.
    ///
    /// Careful: the addresses of the nodes are not freed.
    static void freeMyAddrInfo(addrinfo* list);

    /// Looks up the name that belongs to the first address of `host` that has one, or with
    /// `numeric` the text of that address, such as "127.0.0.1". Returns false, and leaves `result`
    /// alone, when the host is unknown or none of its addresses has a name.
    ///
    /// Throws std::bad_alloc, `result` being as it was.
    ///
    /// Careful: IPv6 addresses are passed over, also with `numeric`.
    static bool dnsLookup(icu::UnicodeString& result, const icu::UnicodeString& host, bool numeric);

    /// Stores the IPv4 addresses of `host`, 4 bytes each in network order and the resolver's order,
    /// and returns their number, at most `maxCount` and 0 when the host is unknown. `addresses`
    /// must hold 4 * `maxCount` bytes; when it is null nothing is stored and 0 returned. Throws
    /// std::bad_alloc.
    static unsigned long getIPv4ByName(char* addresses, unsigned long maxCount,
                                       const icu::UnicodeString& host);

  private:
    friend class SocketServer;

    static CSocketInitializer s_socket_initializer;

    bool owner_ = false;
    long descriptor_ = -1;
    icu::UnicodeString hostName_;
    unsigned long port_ = 0;
};

}  // namespace nx::oss

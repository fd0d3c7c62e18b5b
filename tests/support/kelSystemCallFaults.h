#pragma once

#include <netdb.h>
#include <sys/select.h>

#include <cstddef>
#include <functional>
#include <string>
#include <vector>

namespace nx::test {

/// The system calls of the socket classes.
enum class Call {
    SOCKET,
    CONNECT,
    BIND,
    LISTEN,
    ACCEPT,
    SEND,
    RECV,
    SHUTDOWN,
    CLOSE,
    SELECT,
    IOCTL,
    SETSOCKOPT,
    GETSOCKOPT,
    GETSOCKNAME,
    GETADDRINFO,
    GETNAMEINFO,
};

/// What an intercepted call does instead of just being made.
struct Fault {
    enum Kind {
        /// Returns -1 with `value` in errno; nothing happens, but a descriptor to close is closed.
        FAIL,
        /// Returns `value`.
        RETURN,
        /// The call is made, a connection even awaited, and reported as failed with `value` in
        /// errno.
        FAIL_AFTERWARDS,
        /// A connection that is set up before connect() returns.
        COMPLETE,
        /// select() finds nothing ready, without waiting.
        TIME_OUT,
        /// select() finds an exceptional condition on everything it was asked for.
        EXCEPTION,
    };

    Call call;
    int position;  // 1 is the first call of its kind
    Kind kind;
    int value;
};

/// One call as it was made.
struct CallRecord {
    Call call;
    // send, recv: bytes asked for; setsockopt, getsockopt: size of the value; getnameinfo: size of
    // the address
    std::size_t length;
    // send, recv, getnameinfo: flags; listen: backlog; shutdown: direction; select: count
    int flags;
    bool waitsForever;  // select
    timeval timeout;    // select
};

/// What getaddrinfo() was asked.
struct Query {
    bool hasHost;
    bool hasService;
    char host[64];  // cut when longer
    char service[64];
    int flags;
    int family;
    int type;
    int protocol;
};

/// While it lives, the socket calls of its thread go through it: it counts them, makes them fail as
/// told, and sees whether address lists are given back. Every call that succeeds leaves rubbish in
/// errno, as the system may.
///
/// For test programs that link kelSystemCallFaults.cpp, which defines the calls themselves and
/// forwards them to the system's. One object at a time in each thread.
class SystemCalls {
  public:
    SystemCalls();
    ~SystemCalls();
    SystemCalls(const SystemCalls&) = delete;
    SystemCalls& operator=(const SystemCalls&) = delete;

    void add(const Fault& fault) { faults_.push_back(fault); }
    /// The call at that position fails.
    void fail(Call call, int position, int error) { add({call, position, Fault::FAIL, error}); }
    /// Each send or recv moves at most `bytes` bytes.
    void shorten(Call call, std::size_t bytes);
    /// getaddrinfo() answers with these numeric addresses, in this order.
    void resolveTo(std::vector<std::string> addresses);
    /// Runs `action` before the call at that position.
    void before(Call call, int position, std::function<void()> action);

    /// Whether every fault has happened.
    bool allHappened() const { return happened_ == faults_.size(); }
    std::size_t count(Call call) const;
    const std::vector<CallRecord>& records() const { return records_; }
    std::vector<Call> calls() const;
    std::vector<std::size_t> lengths(Call call) const;
    /// The first call of a kind; there must be one.
    CallRecord first(Call call) const;
    /// Address lists handed out and not given back.
    int openAddressLists() const { return openAddressLists_; }

    /// The last question to the resolver.
    const Query& query() const { return query_; }

    // For the calls.
    const Fault* next(const CallRecord& record);
    std::size_t limit(Call call, std::size_t length) const;
    const std::vector<std::string>* answer() const { return answers_ ? &addresses_ : nullptr; }
    void asked(const char* host, const char* service, const addrinfo* hints);
    void addressListOpened() { ++openAddressLists_; }
    void addressListClosed() { --openAddressLists_; }

  private:
    std::vector<Fault> faults_;
    std::vector<CallRecord> records_;
    std::vector<std::string> addresses_;
    Query query_{};
    std::function<void()> action_;
    Call actionCall_ = Call::SOCKET;
    int actionPosition_ = 0;
    std::size_t sendLimit_ = static_cast<std::size_t>(-1);
    std::size_t recvLimit_ = static_cast<std::size_t>(-1);
    std::size_t happened_ = 0;
    int openAddressLists_ = 0;
    bool answers_ = false;
};

}  // namespace nx::test

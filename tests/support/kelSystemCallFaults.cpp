// The functions defined here replace the system's; the checked inline versions of the same names
// that this macro brings would stand in the way.
#undef _FORTIFY_SOURCE

#include "support/kelSystemCallFaults.h"

#include <dlfcn.h>
#include <poll.h>
#include <pthread.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdarg>
#include <cstring>

namespace nx::test {

namespace {

constexpr int RUBBISH = EDOM;
/// Enough for every test; the log never grows, so that it does not disturb counted allocations.
constexpr std::size_t LOG_SIZE = 4096;

thread_local SystemCalls* active = nullptr;

/// The definition that this program's own one hides.
template <class Function>
Function hidden(const char* name) {
    return reinterpret_cast<Function>(dlsym(RTLD_NEXT, name));
}

/// Makes the call as the fault at this place says, or plainly.
template <class Real>
auto intercept(const CallRecord& record, const Real& real) -> decltype(real()) {
    if (active == nullptr) {
        return real();
    }
    const Fault* const fault = active->next(record);
    if (fault == nullptr) {
        const auto result = real();
        if (result >= 0) {
            errno = RUBBISH;
        }
        return result;
    }
    if (fault->kind == Fault::FAIL_AFTERWARDS) {
        real();
    }
    errno = fault->value;
    return fault->kind == Fault::RETURN ? fault->value : -1;
}

CallRecord called(Call call, std::size_t length = 0, int flags = 0) {
    return {call, length, flags, false, {}};
}

/// The sets of select() may be larger than the type says; `count` bounds what is looked at.
void clear(fd_set* set, int count) {
    if (set != nullptr) {
        std::memset(set, 0, (static_cast<std::size_t>(count) + 63) / 64 * 8);
    }
}

/// Strings numeric addresses together to one list.
int resolveNumerically(const std::vector<std::string>& addresses, const char* service,
                       const addrinfo* hints, addrinfo** result) {
    static const auto real = hidden<decltype(&::getaddrinfo)>("getaddrinfo");
    *result = nullptr;
    addrinfo** tail = result;
    for (const std::string& address : addresses) {
        if (const int code = real(address.c_str(), service, hints, tail); code != 0) {
            return code;
        }
        while (*tail != nullptr) {
            tail = &(*tail)->ai_next;
        }
    }
    return 0;
}

}  // namespace

SystemCalls::SystemCalls() {
    records_.reserve(LOG_SIZE);
    active = this;
}

SystemCalls::~SystemCalls() { active = nullptr; }

void SystemCalls::shorten(Call call, std::size_t bytes) {
    (call == Call::SEND ? sendLimit_ : recvLimit_) = bytes;
}

void SystemCalls::resolveTo(std::vector<std::string> addresses) {
    addresses_ = std::move(addresses);
    answers_ = true;
}

void SystemCalls::before(Call call, int position, std::function<void()> action) {
    actionCall_ = call;
    actionPosition_ = position;
    action_ = std::move(action);
}

std::size_t SystemCalls::count(Call call) const {
    return static_cast<std::size_t>(
        std::count_if(records_.begin(), records_.end(),
                      [call](const CallRecord& record) { return record.call == call; }));
}

std::vector<std::size_t> SystemCalls::lengths(Call call) const {
    std::vector<std::size_t> result;
    for (const CallRecord& record : records_) {
        if (record.call == call) {
            result.push_back(record.length);
        }
    }
    return result;
}

std::vector<Call> SystemCalls::calls() const {
    std::vector<Call> result;
    for (const CallRecord& record : records_) {
        result.push_back(record.call);
    }
    return result;
}

CallRecord SystemCalls::first(Call call) const {
    return *std::find_if(records_.begin(), records_.end(),
                         [call](const CallRecord& record) { return record.call == call; });
}

const Fault* SystemCalls::next(const CallRecord& record) {
    if (records_.size() < LOG_SIZE) {
        records_.push_back(record);
    }
    const int position = static_cast<int>(count(record.call));
    if (action_ && record.call == actionCall_ && position == actionPosition_) {
        action_();
    }
    for (const Fault& fault : faults_) {
        if (fault.call == record.call && fault.position == position) {
            ++happened_;
            return &fault;
        }
    }
    return nullptr;
}

void SystemCalls::asked(const char* host, const char* service, const addrinfo* hints) {
    query_ = {};
    query_.hasHost = host != nullptr;
    query_.hasService = service != nullptr;
    query_.flags = hints->ai_flags;
    query_.family = hints->ai_family;
    query_.type = hints->ai_socktype;
    query_.protocol = hints->ai_protocol;
    std::strncpy(query_.host, host == nullptr ? "" : host, sizeof query_.host - 1);
    std::strncpy(query_.service, service == nullptr ? "" : service, sizeof query_.service - 1);
}

std::size_t SystemCalls::limit(Call call, std::size_t length) const {
    return std::min(length, call == Call::SEND ? sendLimit_ : recvLimit_);
}

}  // namespace nx::test

using nx::test::active;
using nx::test::Call;
using nx::test::called;
using nx::test::Fault;
using nx::test::hidden;
using nx::test::intercept;

extern "C" {

int socket(int domain, int type, int protocol) noexcept {
    static const auto real = hidden<decltype(&::socket)>("socket");
    return intercept(called(Call::SOCKET), [&] { return real(domain, type, protocol); });
}

int connect(int descriptor, const sockaddr* address, socklen_t length) {
    static const auto real = hidden<decltype(&::connect)>("connect");
    const Fault* const fault = active == nullptr ? nullptr : active->next(called(Call::CONNECT));
    if (fault == nullptr) {
        return real(descriptor, address, length);
    }
    if (fault->kind != Fault::FAIL) {
        real(descriptor, address, length);
        pollfd wait{descriptor, POLLOUT, 0};
        ::poll(&wait, 1, -1);
    }
    if (fault->kind == Fault::COMPLETE) {
        return 0;
    }
    errno = fault->value;
    return -1;
}

int bind(int descriptor, const sockaddr* address, socklen_t length) noexcept {
    static const auto real = hidden<decltype(&::bind)>("bind");
    return intercept(called(Call::BIND), [&] { return real(descriptor, address, length); });
}

int listen(int descriptor, int backlog) noexcept {
    static const auto real = hidden<decltype(&::listen)>("listen");
    return intercept(called(Call::LISTEN, 0, backlog), [&] { return real(descriptor, backlog); });
}

int accept(int descriptor, sockaddr* address, socklen_t* length) {
    static const auto real = hidden<decltype(&::accept)>("accept");
    return intercept(called(Call::ACCEPT), [&] { return real(descriptor, address, length); });
}

ssize_t send(int descriptor, const void* buffer, size_t length, int flags) {
    static const auto real = hidden<decltype(&::send)>("send");
    return intercept(called(Call::SEND, length, flags), [&] {
        const size_t some = active == nullptr ? length : active->limit(Call::SEND, length);
        return real(descriptor, buffer, some, flags);
    });
}

ssize_t recv(int descriptor, void* buffer, size_t length, int flags) {
    static const auto real = hidden<decltype(&::recv)>("recv");
    return intercept(called(Call::RECV, length, flags), [&] {
        const size_t some = active == nullptr ? length : active->limit(Call::RECV, length);
        return real(descriptor, buffer, some, flags);
    });
}

int shutdown(int descriptor, int how) noexcept {
    static const auto real = hidden<decltype(&::shutdown)>("shutdown");
    return intercept(called(Call::SHUTDOWN, 0, how), [&] { return real(descriptor, how); });
}

int close(int descriptor) {
    static const auto real = hidden<decltype(&::close)>("close");
    if (active == nullptr) {
        return real(descriptor);
    }
    const Fault* const fault = active->next(called(Call::CLOSE));
    const int result = real(descriptor);
    errno = fault == nullptr ? nx::test::RUBBISH : fault->value;
    return fault == nullptr ? result : -1;
}

int select(int count, fd_set* reading, fd_set* writing, fd_set* exceptional, timeval* timeout) {
    static const auto real = hidden<decltype(&::select)>("select");
    const timeval limit = timeout == nullptr ? timeval{} : *timeout;
    const Fault* const fault =
        active == nullptr ? nullptr
                          : active->next({Call::SELECT, 0, count, timeout == nullptr, limit});
    if (fault == nullptr) {
        return real(count, reading, writing, exceptional, timeout);
    }
    if (fault->kind == Fault::FAIL) {
        errno = fault->value;
        return -1;
    }
    nx::test::clear(reading, count);
    nx::test::clear(writing, count);
    if (fault->kind == Fault::EXCEPTION) {
        return 1;
    }
    nx::test::clear(exceptional, count);
    return 0;
}

int ioctl(int descriptor, unsigned long request, ...) noexcept {
    static const auto real = hidden<int (*)(int, unsigned long, void*)>("ioctl");
    va_list rest;
    va_start(rest, request);
    void* const argument = va_arg(rest, void*);
    va_end(rest);
    return intercept(called(Call::IOCTL), [&] { return real(descriptor, request, argument); });
}

int setsockopt(int descriptor, int level, int option, const void* value,
               socklen_t length) noexcept {
    static const auto real = hidden<decltype(&::setsockopt)>("setsockopt");
    return intercept(called(Call::SETSOCKOPT, length),
                     [&] { return real(descriptor, level, option, value, length); });
}

int getsockopt(int descriptor, int level, int option, void* value, socklen_t* length) noexcept {
    static const auto real = hidden<decltype(&::getsockopt)>("getsockopt");
    return intercept(called(Call::GETSOCKOPT, *length),
                     [&] { return real(descriptor, level, option, value, length); });
}

int getsockname(int descriptor, sockaddr* address, socklen_t* length) noexcept {
    static const auto real = hidden<decltype(&::getsockname)>("getsockname");
    return intercept(called(Call::GETSOCKNAME), [&] { return real(descriptor, address, length); });
}

int getaddrinfo(const char* host, const char* service, const addrinfo* hints, addrinfo** result) {
    static const auto real = hidden<decltype(&::getaddrinfo)>("getaddrinfo");
    pthread_testcancel();  // POSIX leaves that open
    if (active == nullptr) {
        return real(host, service, hints, result);
    }
    active->asked(host, service, hints);
    if (const Fault* const fault = active->next(called(Call::GETADDRINFO)); fault != nullptr) {
        return fault->value;
    }
    const int code = active->answer() == nullptr
                         ? real(host, service, hints, result)
                         : nx::test::resolveNumerically(*active->answer(), service, hints, result);
    if (code == 0 && *result != nullptr) {
        active->addressListOpened();
    }
    return code;
}

int getnameinfo(const sockaddr* address, socklen_t length, char* host, socklen_t hostSize,
                char* service, socklen_t serviceSize, int flags) {
    static const auto real = hidden<decltype(&::getnameinfo)>("getnameinfo");
    pthread_testcancel();  // POSIX leaves that open
    const Fault* const fault =
        active == nullptr ? nullptr : active->next(called(Call::GETNAMEINFO, length, flags));
    return fault == nullptr ? real(address, length, host, hostSize, service, serviceSize, flags)
                            : fault->value;
}

void freeaddrinfo(addrinfo* list) noexcept {
    static const auto real = hidden<decltype(&::freeaddrinfo)>("freeaddrinfo");
    if (active != nullptr && list != nullptr) {
        active->addressListClosed();
        errno = nx::test::RUBBISH;
    }
    real(list);
    if (active != nullptr) {
        errno = nx::test::RUBBISH;
    }
}

}  // extern "C"

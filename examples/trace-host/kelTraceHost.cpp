// A host of the trace points of libkelinfra that writes them as text, one line for each:
//
//     seconds since the first event, thread, nesting and one of
//         > Class::operation             entered
//         < Class::operation SECONDS     left, after so long
//         = Class::operation             done, of those that record only that they were left
//         ! Class::operation             left by an exception or a cancellation, noticed now
//
// on standard error, or at the end of the file that the environment variable KELINFRA_TRACE_FILE
// names. Link the library or preload it; nothing else is needed:
//
//     g++ -std=c++17 -O2 -fPIC -shared -o libkelinfra-trace-host.so kelTraceHost.cpp
//     LD_PRELOAD=./libkelinfra-trace-host.so program
//
// It calls nothing of libkelinfra, allocates nothing, and has nothing that is made at the start or
// destroyed at the end, so that it serves static constructors, ending threads and exit handlers,
// too.
#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>

namespace {

constexpr unsigned COMPONENT = 155;
constexpr unsigned long ENTRIES_AND_EXITS = 0x3;
constexpr unsigned FIRST_IDENTIFIER = 483919077;

/// In the order of the identifiers.
constexpr const char* NAMES[] = {
    "ByteArrayOutputStream::ByteArrayOutputStream",
    "ByteArrayOutputStream::~ByteArrayOutputStream",
    "ByteBuffer::ByteBuffer",
    "ByteBuffer::~ByteBuffer",
    "ByteBuffer::append",
    "ByteBuffer::set",
    "ByteBuffer::clear",
    "Converter::Converter",
    "Converter::~Converter",
    "Converter::convert",
    "Converter::convert",
    "DataBuffer::DataBuffer",
    "DataBuffer::~DataBuffer",
    "DataBuffer::clear",
    "DataBuffer::saveString",
    "DataBuffer::appendString",
    "DataBuffer::insertString",
    "DataBuffer::appendNumber",
    "DataBuffer::insertNumber",
    "DataBuffer::saveBinary",
    "DataBuffer::getBinary",
    "DataBuffer::indexOf",
    "DataBuffer::occurrences",
    "DataBuffer::replace",
    "DataBuffer::replaceAll",
    "UTF8Iterator::UTF8Iterator",
    "UTF8Iterator::~UTF8Iterator",
    "UTF8Iterator::setString",
    "UTF8Iterator::getFirstChar",
    "UTF8Iterator::getNextChar",
    "StringTokenizer::StringTokenizer",
    "StringTokenizer::~StringTokenizer",
    "StringTokenizer::parseString",
    "StringTokenizer::getFirstToken",
    "StringTokenizer::getNextToken",
    "StringTokenizer::getFirstTokenString",
    "StringTokenizer::getNextTokenString",
    "SocketServer::SocketServer",
    "SocketServer::~SocketServer",
    "SocketServer::listen",
    "SocketServer::accept",
    "SocketServer::shutdownRead",
    "SocketServer::shutdownWrite",
    "SocketServer::shutdownReadWrite",
    "SocketServer::setReuseAddress",
    "SocketServer::getPortStatic",
    "Socket::Socket",
    "Socket::~Socket",
    "Socket::operator=",
    "Socket::close",
    "Socket::connect",
    "Socket::write",
    "Socket::read",
    "Socket::readOnce",
    "Socket::writeItem",
    "Socket::readItem",
    "Socket::setNonBlocking",
    "Socket::setTcpNoDelay",
    "Socket::shutdownRead",
    "Socket::shutdownWrite",
    "Socket::shutdownReadWrite",
    "Socket::closeStatic",
    "Socket::setNonBlockingStatic",
    "Socket::getSocketErrorStatic",
    "Socket::select",
    "Socket::fromListToFdSet",
    "Socket::highestValue",
    "Socket::removeIfNotInSet",
    "Socket::exportAddrInfo",
    "Socket::serialize",
    "Socket::deserialize",
    "Socket::deserializeAddrInfoExternal",
    "Socket::freeMyAddrInfo",
    "Socket::dnsLookup",
    "Socket::getIPv4ByName",
    "Thread::Thread",
    "Thread::~Thread",
    "Thread::start",
    "Thread::join",
    "Thread::stop",
    "MessageList::MessageList",
    "MessageList::~MessageList",
    "MessageList::addMessage",
    "MessageList::insertMessage",
    "MessageList::join",
    "MessageList::getFirstMessage",
    "MessageList::getFirstMsg",
    "MessageList::getNextMsg",
    "MessageList::clear",
    "NLSUtility::NLSUtility",
    "NLSUtility::~NLSUtility",
    "NLSUtility::getInstance",
    "NLSUtility::isSupported",
    "NLSUtility::getStandardLocaleValue",
    "NLSUtility::getLocale",
    "NLSUtility::getEnvironmentLocale",
};
constexpr unsigned NAME_COUNT = sizeof NAMES / sizeof *NAMES;
static_assert(NAME_COUNT == 96, "the identifiers run without a gap");

const char* nameOf(unsigned identifier) {
    const unsigned index = identifier - FIRST_IDENTIFIER;
    return index < NAME_COUNT ? NAMES[index] : "an operation without a name";
}

/// An operation that was entered and, as far as is known, not left.
struct Open {
    unsigned identifier;
    std::uintptr_t frame;
    unsigned long since;
};

/// Those of a thread. What is entered when all places are taken is not remembered.
struct Nesting {
    static constexpr unsigned PLACES = 64;
    unsigned depth;
    Open open[PLACES];
};
thread_local Nesting nesting;

unsigned long nanosecondsNow() {
    timespec now;
    clock_gettime(CLOCK_MONOTONIC, &now);
    return static_cast<unsigned long>(now.tv_sec) * 1000000000 +
           static_cast<unsigned long>(now.tv_nsec);
}

/// Since the first call.
unsigned long nanosecondsSince() {
    static std::atomic<unsigned long> start{0};
    const unsigned long now = nanosecondsNow();
    unsigned long first = 0;
    if (start.compare_exchange_strong(first, now)) {
        return 0;
    }
    // Of two threads, the second may have looked at the clock before the first one.
    return now > first ? now - first : 0;
}

int openFile() {
    const char* name = secure_getenv("KELINFRA_TRACE_FILE");
    if (name == nullptr || *name == '\0') {
        return STDERR_FILENO;
    }
    const int file = open(name, O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0666);
    if (file < 0) {
        dprintf(STDERR_FILENO, "kelinfra-trace-host: %s: %s\n", name, std::strerror(errno));
        return STDERR_FILENO;
    }
    return file;
}

/// Where the text goes.
int output() {
    static std::atomic<int> chosen{-1};
    const int known = chosen.load();
    if (known >= 0) {
        return known;
    }
    const int mine = openFile();
    int first = -1;
    if (!chosen.compare_exchange_strong(first, mine)) {
        if (mine != STDERR_FILENO) {
            close(mine);
        }
        return first;
    }
    return mine;
}

/// A line at once, so that those of several threads do not mix. What cannot be written is lost.
void writeLine(const char* line, std::size_t length) {
    const int file = output();
    while (length > 0) {
        const ssize_t written = write(file, line, length);
        if (written < 0 && errno == EINTR) {
            continue;
        }
        if (written <= 0) {
            return;
        }
        line += written;
        length -= static_cast<std::size_t>(written);
    }
}

constexpr unsigned long NANOSECONDS = 1000000000;
constexpr unsigned DEEPEST_INDENT = 40;

/// `duration` is said unless it is null.
void report(char mark, unsigned identifier, unsigned depth, unsigned long now,
            const unsigned long* duration) {
    char line[256];
    const int indent = static_cast<int>(2 * (depth < DEEPEST_INDENT ? depth : DEEPEST_INDENT));
    int length = std::snprintf(line, sizeof line, "%3lu.%06lu %d %*s%c %s", now / NANOSECONDS,
                               now % NANOSECONDS / 1000, static_cast<int>(gettid()), indent, "",
                               mark, nameOf(identifier));
    if (duration != nullptr) {
        length +=
            std::snprintf(line + length, sizeof line - static_cast<std::size_t>(length),
                          " %lu.%06lu", *duration / NANOSECONDS, *duration % NANOSECONDS / 1000);
    }
    line[length++] = '\n';
    writeLine(line, static_cast<std::size_t>(length));
}

/// The innermost operation is known to be left, which nobody recorded.
void abandonInnermost(unsigned long now) {
    const unsigned depth = --nesting.depth;
    report('!', nesting.open[depth].identifier, depth, now, nullptr);
}

/// Whether the operation is over when another one is entered: one that is still running has its
/// frame further out, or shares it with what was compiled into it.
bool isOver(const Open& open, unsigned identifier, std::uintptr_t frame) {
    return open.frame < frame || (open.frame == frame && open.identifier == identifier);
}

void abandonBeforeEntry(unsigned identifier, std::uintptr_t frame, unsigned long now) {
    while (nesting.depth > 0 && isOver(nesting.open[nesting.depth - 1], identifier, frame)) {
        abandonInnermost(now);
    }
}

/// Before an exit without entry, whose frame differs from that of its caller by less than `MARGIN`.
void abandonBeforeExit(std::uintptr_t frame, unsigned long now) {
    constexpr std::uintptr_t MARGIN = 256;
    while (nesting.depth > 0 && nesting.open[nesting.depth - 1].frame + MARGIN <= frame) {
        abandonInnermost(now);
    }
}

bool isOpen(unsigned identifier) {
    const Open* first = nesting.open;
    return std::any_of(first, first + nesting.depth,
                       [&](const Open& open) { return open.identifier == identifier; });
}

void leave(unsigned identifier, unsigned long now) {
    while (nesting.open[nesting.depth - 1].identifier != identifier) {
        abandonInnermost(now);
    }
    const unsigned depth = --nesting.depth;
    const unsigned long duration = now - nesting.open[depth].since;
    report('<', identifier, depth, now, &duration);
}

/// The library looks at errno after its own calls only.
class ErrnoKept {
  public:
    ErrnoKept() : number_(errno) {}
    ~ErrnoKept() { errno = number_; }
    ErrnoKept(const ErrnoKept&) = delete;
    ErrnoKept& operator=(const ErrnoKept&) = delete;

  private:
    int number_;
};

}  // namespace

extern "C" {

__attribute__((visibility("default"))) unsigned long trcGetCompFlag(unsigned component) {
    return component == COMPONENT ? ENTRIES_AND_EXITS : 0;
}

__attribute__((visibility("default"))) void trcEntry(unsigned identifier) {
    const ErrnoKept kept;
    const unsigned long now = nanosecondsSince();
    const auto frame = reinterpret_cast<std::uintptr_t>(__builtin_frame_address(0));
    abandonBeforeEntry(identifier, frame, now);
    report('>', identifier, nesting.depth, now, nullptr);
    if (nesting.depth < Nesting::PLACES) {
        nesting.open[nesting.depth++] = {identifier, frame, now};
    }
}

__attribute__((visibility("default"))) void trcExit(unsigned identifier, long) {
    const ErrnoKept kept;
    const unsigned long now = nanosecondsSince();
    if (isOpen(identifier)) {
        leave(identifier, now);
        return;
    }
    abandonBeforeExit(reinterpret_cast<std::uintptr_t>(__builtin_frame_address(0)), now);
    report('=', identifier, nesting.depth, now, nullptr);
}

}  // extern "C"

// The guide's page on tracing: a program that is its own trace host.
#include <infra/oss/kelDataBuffer.h>
#include <infra/oss/kelSocket.h>
#include <infra/oss/kelSocketException.h>

#include <atomic>
#include <cstdio>

namespace {

// [state]
constexpr unsigned LIBRARY = 155;
constexpr unsigned long ENTRIES_AND_EXITS = 0x20000;

std::atomic<unsigned long> mask{0};  // asked by every thread, at every point
// [state]

// [names]
const char* nameOf(unsigned identifier) {
    switch (identifier) {
        case 483919088:
            return "DataBuffer::DataBuffer";
        case 483919089:
            return "DataBuffer::~DataBuffer";
        case 483919090:
            return "DataBuffer::clear";
        case 483919091:
            return "DataBuffer::saveString";
        case 483919092:
            return "DataBuffer::appendString";
        case 483919094:
            return "DataBuffer::appendNumber";
        case 483919128:
            return "Socket::write";
        case 483919157:
            return "MessageList::MessageList";
        case 483919159:
            return "MessageList::addMessage";
        default:
            return "?";
    }
}
// [names]

}  // namespace

// [functions]
extern "C" {

unsigned long trcGetCompFlag(unsigned component) {
    return component == LIBRARY ? mask.load(std::memory_order_relaxed) : 0;
}

void trcEntry(unsigned identifier) { std::printf("-> %s\n", nameOf(identifier)); }

void trcExit(unsigned identifier, long /*returnCode*/) {
    std::printf("<- %s\n", nameOf(identifier));
}

}  // extern "C"
// [functions]

// [program]
int main() {
    nx::oss::Socket socket;
    mask = ENTRIES_AND_EXITS;
    {
        nx::oss::DataBuffer line("item ");
        line.appendNumber(7);
    }
    try {
        socket.write("x", 0, 1);  // not connected
    } catch (const nx::oss::SocketException&) {
        mask = 0;
    }
}
// [program]

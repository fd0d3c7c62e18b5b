// The guide's page on tracing: a program that is its own trace host.
#include <infra/oss/kelDataBuffer.h>
#include <infra/oss/kelSocket.h>
#include <infra/oss/kelSocketException.h>

#include <atomic>
#include <cstdio>
#include <utility>

namespace {

// [state]
constexpr unsigned LIBRARY = 155;
constexpr unsigned long ENTRIES_AND_EXITS = 0x20000;

std::atomic<unsigned long> mask{0};  // asked by every thread, at every point
// [state]

// [names]
constexpr std::pair<unsigned, const char*> NAMES[] = {
    {483919088, "DataBuffer::DataBuffer"},
    {483919089, "DataBuffer::~DataBuffer"},
    {483919090, "DataBuffer::clear"},
    {483919091, "DataBuffer::saveString"},
    {483919092, "DataBuffer::appendString"},
    {483919094, "DataBuffer::appendNumber"},
    {483919128, "Socket::write"},
    {483919157, "MessageList::MessageList"},
    {483919159, "MessageList::addMessage"},
};

const char* nameOf(unsigned identifier) {
    for (const auto& [known, name] : NAMES) {
        if (known == identifier) {
            return name;
        }
    }
    return "?";
}
// [names]

}  // namespace

// [functions]
extern "C" {

unsigned long trcGetCompFlag(unsigned component) {
    return component == LIBRARY ? mask.load(std::memory_order_relaxed) : 0;
}

void trcEntry(unsigned identifier) {
    std::printf("-> %s\n", nameOf(identifier));
}

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

#include "endurance/kelSoakClients.h"

#include <sys/socket.h>
#include <sys/time.h>

#include <chrono>
#include <iostream>
#include <list>
#include <string>
#include <string_view>
#include <system_error>
#include <thread>

#include <infra/oss/kelSocket.h>
#include <infra/oss/kelSocketException.h>

#include "support/kelLoopback.h"
#include "support/kelRaises.h"

namespace nx::test {

namespace {

using Random = std::mt19937_64;

constexpr unsigned long CONNECT_TIMEOUT = 60000;
constexpr std::size_t LARGEST_GOOD_ITEM = std::size_t{1} << 20;

unsigned long below(unsigned long bound, Random& random) { return random() % bound; }

void pause(unsigned long milliseconds) {
    std::this_thread::sleep_for(std::chrono::milliseconds(milliseconds));
}

std::string randomBytes(std::size_t count, Random& random) {
    std::string bytes(count, '\0');
    for (char& byte : bytes) {
        byte = static_cast<char>(random());
    }
    return bytes;
}

/// Mostly short ones, some with nothing in them, a few large ones.
std::string goodItem(Random& random) {
    const unsigned long kind = below(64, random);
    const std::size_t bound = kind == 0 ? LARGEST_GOOD_ITEM : kind < 4 ? 65536 : kind < 8 ? 1 : 512;
    return randomBytes(below(bound, random), random);
}

std::string prefixOf(unsigned long length) {
    std::string prefix;
    for (int shift = 24; shift >= 0; shift -= 8) {
        prefix += static_cast<char>(length >> shift);
    }
    return prefix;
}

std::string framed(const std::string& item) { return prefixOf(item.size()) + item; }

void closeSomehow(FileDescriptor& client, Random& random) {
    if (below(2, random) == 0) {
        client.close();
    } else {
        client.closeWithReset();
    }
}

/// Whether the server answers with the bytes that it was sent.
void countAnswer(const FileDescriptor& client, const std::string& sent, SoakCounts& counts) {
    ++(receive(client.get(), sent.size()) == sent ? counts.rightItems : counts.wrongItems);
}

void countFailure(const std::string& text, SoakCounts& counts) {
    std::cout << (text + "\n") << std::flush;
    ++counts.failures;
}

/// One way to misbehave, on a connection of its own.
using Attack = void (*)(FileDescriptor& client, Random& random, SoakCounts& counts);

void cutPrefix(FileDescriptor& client, Random& random, SoakCounts&) {
    sendAll(client.get(), randomBytes(1 + below(3, random), random));
    closeSomehow(client, random);
}

void cutPayload(FileDescriptor& client, Random& random, SoakCounts&) {
    const std::string item = framed(randomBytes(1 + below(4096, random), random));
    sendAll(client.get(), std::string_view(item).substr(0, 4 + below(item.size() - 4, random)));
    closeSomehow(client, random);
}

void hugeLength(FileDescriptor& client, Random& random, SoakCounts&) {
    const unsigned long length = (std::size_t{64} << 20) + 1 + below(0x7f000000, random);
    sendAll(client.get(), prefixOf(length) + randomBytes(below(4096, random), random));
    receiveToEnd(client.get());
}

void negativeLength(FileDescriptor& client, Random& random, SoakCounts&) {
    sendAll(client.get(), prefixOf(0x80000000UL + below(0x80000000UL, random)));
    receiveToEnd(client.get());
}

void garbage(FileDescriptor& client, Random& random, SoakCounts&) {
    // The first byte keeps the length above the server's bound.
    sendAll(client.get(), "\xee" + randomBytes(3 + below(4096, random), random));
    receiveToEnd(client.get());
}

void otherProtocol(FileDescriptor& client, Random&, SoakCounts&) {
    sendAll(client.get(), "GET / HTTP/1.1\r\nHost: localhost\r\n\r\n");
    receiveToEnd(client.get());
}

/// Slow, but right: the answer must be, too.
void slowBytes(FileDescriptor& client, Random& random, SoakCounts& counts) {
    const std::string item = framed(randomBytes(16, random));
    for (const char& byte : item) {
        sendAll(client.get(), {&byte, 1});
        pause(5);
    }
    countAnswer(client, item, counts);
}

void resetAtOnce(FileDescriptor& client, Random&, SoakCounts&) { client.closeWithReset(); }

/// The answer meets a connection that is gone.
void resetBeforeTheAnswer(FileDescriptor& client, Random& random, SoakCounts&) {
    sendAll(client.get(), framed(randomBytes(below(65536, random), random)));
    client.closeWithReset();
}

void leaveHalfOpen(FileDescriptor& client, Random& random, SoakCounts&) {
    sendAll(client.get(), prefixOf(1000) + randomBytes(below(1000, random), random));
    pause(below(1500, random));
}

void staySilent(FileDescriptor&, Random& random, SoakCounts&) { pause(below(1500, random)); }

/// Ends only its own direction, and takes the answer.
void halfClose(FileDescriptor& client, Random& random, SoakCounts& counts) {
    const std::string item = framed(randomBytes(below(512, random), random));
    sendAll(client.get(), item);
    ::shutdown(client.get(), SHUT_WR);
    countAnswer(client, item, counts);
}

void urgentByte(FileDescriptor& client, Random&, SoakCounts&) {
    ::send(client.get(), "\0\0\0\1x!", 6, MSG_OOB | MSG_NOSIGNAL);
    receive(client.get(), 5);
}

/// Sends without taking a single answer until the system takes no more, then resets.
void neverRead(FileDescriptor& client, Random& random, SoakCounts&) {
    const timeval limit{0, 50000};
    ::setsockopt(client.get(), SOL_SOCKET, SO_SNDTIMEO, &limit, sizeof limit);
    const std::string item = framed(randomBytes(262144, random));
    for (int i = 0; i < 64; ++i) {
        if (::send(client.get(), item.data(), item.size(), MSG_NOSIGNAL) !=
            static_cast<ssize_t>(item.size())) {
            break;
        }
    }
    client.closeWithReset();
}

/// More clients than the server serves at once and its queue holds together.
void flood(FileDescriptor& client, Random& random, SoakCounts&) {
    const unsigned long port = peerPort(client.get());
    std::list<FileDescriptor> others;
    for (int i = 0; i < 150; ++i) {
        others.push_back(startConnecting(port));
    }
    pause(20);
    for (FileDescriptor& other : others) {
        closeSomehow(other, random);
    }
}

constexpr Attack ATTACKS[] = {cutPrefix,      cutPayload,  hugeLength,
                              negativeLength, garbage,     otherProtocol,
                              slowBytes,      resetAtOnce, resetBeforeTheAnswer,
                              leaveHalfOpen,  staySilent,  halfClose,
                              urgentByte,     neverRead,   flood};

}  // namespace

void exchangeGoodItems(unsigned long port, Random& random, SoakCounts& counts) {
    try {
        oss::Socket socket;
        socket.connect("127.0.0.1", port, &CONNECT_TIMEOUT);
        std::string answer(LARGEST_GOOD_ITEM, '\0');
        for (unsigned long rest = 1 + below(8, random); rest > 0; --rest) {
            const std::string item = goodItem(random);
            socket.writeItem(item.data(), 0, item.size());
            unsigned long announced = 0;
            const unsigned long length =
                socket.readItem(answer.data(), announced, 0, answer.size(), false);
            ++(std::string_view(answer.data(), length) == item && announced == item.size()
                   ? counts.rightItems
                   : counts.wrongItems);
        }
    } catch (const oss::BaseException& failure) {
        icu::UnicodeString text;
        countFailure(utf8(failure.messages.getFirstMessage().toString(text)), counts);
    }
}

unsigned long waysToAttack() { return std::size(ATTACKS); }

void attack(unsigned long way, unsigned long port, Random& random, SoakCounts& counts) {
    try {
        FileDescriptor client = connectTo(port);
        ATTACKS[way](client, random, counts);
        ++counts.attacks;
    } catch (const std::system_error& failure) {
        countFailure(failure.what(), counts);
    }
}

}  // namespace nx::test

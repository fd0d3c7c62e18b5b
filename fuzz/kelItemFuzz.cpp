// Feeds arbitrary bytes to Socket::readItem and compares every result with a decoder of its own.
//
// Input: flags (1 = discard oversized items), largest accepted item in two bytes, offset into the
// buffer, then the bytes of the stream.

#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>

#include <infra/oss/kelSocket.h>
#include <infra/oss/kelSocketException.h>

namespace {

using nx::oss::Socket;
using nx::oss::SocketException;

constexpr std::size_t HEADER = 4;
constexpr std::size_t PREFIX = 4;
/// Fits into the system's buffer of a socket pair, so that one thread can be both ends.
constexpr std::size_t LONGEST_STREAM = 16384;
constexpr char UNTOUCHED = '\x5a';

/// What one call says: an outcome, the announced length and the payload.
struct Item {
    std::string outcome;
    unsigned long length = 0;
    std::string payload;

    bool operator==(const Item& other) const {
        return outcome == other.outcome && length == other.length && payload == other.payload;
    }
};

std::string shown(unsigned long number) {
    return std::to_string(static_cast<std::int32_t>(static_cast<std::uint32_t>(number)));
}

/// The decoder to compare with: takes one item off `stream`.
Item decode(std::string_view& stream, unsigned long maxLength, bool discard) {
    if (stream.empty()) {
        return {"ERR_SOCKET_CLOSED", 0, ""};
    }
    unsigned long length = 0;
    for (std::size_t i = 0; i < PREFIX; ++i) {
        length = length * 256 + (i < stream.size() ? static_cast<unsigned char>(stream[i]) : 0U);
    }
    stream.remove_prefix(std::min(PREFIX, stream.size()));
    const std::string_view payload = stream.substr(0, length);
    if (length <= maxLength) {
        stream.remove_prefix(payload.size());
        return {"", length, std::string(payload)};
    }
    if (discard) {
        stream.remove_prefix(payload.size());
    }
    return {"ERR_DEST_BUFFER_TOO_SMALL " + shown(maxLength) + " " + shown(length), length, ""};
}

std::string outcomeOf(const SocketException& exception) {
    const nx::oss::Message& message = exception.messages.getFirstMessage();
    std::string text;
    message.getMessageID().toUTF8String(text);
    if (text == "ERR_DEST_BUFFER_TOO_SMALL") {
        for (const icu::UnicodeString& argument : message.getMessageArgs()) {
            argument.toUTF8String(text += ' ');
        }
    }
    return text;
}

/// What the library says about the same stream.
Item receive(Socket& socket, unsigned long maxLength, unsigned long offset, bool discard) {
    static std::string buffer;
    buffer.assign(offset + maxLength + 1, UNTOUCHED);
    Item item;
    unsigned long count = 0;
    try {
        count = socket.readItem(buffer.data(), item.length, offset, maxLength, discard);
    } catch (const SocketException& exception) {
        item.outcome = outcomeOf(exception);
    }
    item.payload = buffer.substr(offset, count);
    buffer.erase(offset, count);
    if (buffer.find_first_not_of(UNTOUCHED) != std::string::npos) {
        item.outcome += " and bytes written outside the payload";
    }
    return item;
}

/// Whether discarding the next item would wait for bytes that never come.
bool wouldSpin(std::string_view stream, unsigned long maxLength) {
    const std::size_t there = stream.size();
    const Item item = decode(stream, maxLength, false);
    return item.length > maxLength && item.length > there - std::min(there, PREFIX);
}

void compareAll(Socket& socket, std::string_view stream, unsigned long maxLength,
                unsigned long offset, bool discard) {
    for (bool closed = false; !closed;) {
        const bool discards = discard && !wouldSpin(stream, maxLength);
        const Item wanted = decode(stream, maxLength, discards);
        const Item got = receive(socket, maxLength, offset, discards);
        if (!(wanted == got)) {
            std::fprintf(stderr, "expected '%s' length %lu payload %zu, got '%s' %lu %zu\n",
                         wanted.outcome.c_str(), wanted.length, wanted.payload.size(),
                         got.outcome.c_str(), got.length, got.payload.size());
            std::abort();
        }
        closed = wanted.outcome == "ERR_SOCKET_CLOSED";
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size < HEADER || size > HEADER + LONGEST_STREAM) {
        return 0;
    }
    const unsigned long maxLength = data[1] * 256UL + data[2];
    const std::string_view stream(reinterpret_cast<const char*>(data) + HEADER, size - HEADER);
    std::array<int, 2> ends{};
    if (::socketpair(AF_UNIX, SOCK_STREAM, 0, ends.data()) != 0 ||
        ::send(ends[1], stream.data(), stream.size(), 0) != static_cast<ssize_t>(stream.size())) {
        std::abort();
    }
    ::close(ends[1]);
    Socket socket(static_cast<long>(ends[0]));
    compareAll(socket, stream, maxLength, data[3], (data[0] & 1) != 0);
    Socket::closeStatic(ends[0]);
    return 0;
}

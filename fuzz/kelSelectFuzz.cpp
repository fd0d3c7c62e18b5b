// Puts sockets in every state, and descriptors that are none, into the three lists of select() and
// compares lists, result and error with what each socket is known to be; then the helpers with any
// numbers.
//
// Input: entries of two bytes, the list and the socket; behind entry 255 numbers of eight bytes.

#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <list>
#include <memory>
#include <set>
#include <vector>

#include <infra/oss/kelSocket.h>
#include <infra/oss/kelSocketException.h>

#include "kelFuzzInput.h"

namespace {

using nx::oss::Socket;
using nx::oss::SocketException;
using Sockets = std::list<Socket>;

constexpr long NOT_OPEN = 60'000;
constexpr long FIRST_TOO_LARGE = 65'472;
constexpr std::size_t LISTS = 3;
constexpr std::size_t MOST_ENTRIES = 200;

struct Known {
    long descriptor;
    /// Ready to read and to write; none of them is in an exceptional state.
    bool ready[LISTS];
};

std::array<int, 2> newPair() {
    std::array<int, 2> ends{};
    require(::socketpair(AF_UNIX, SOCK_STREAM, 0, ends.data()) == 0, "socketpair()");
    return ends;
}

void fill(int descriptor) {
    const std::string block(4096, 'x');
    while (::send(descriptor, block.data(), block.size(), MSG_DONTWAIT) > 0) {
    }
}

/// Sockets that stay as they are as long as the process runs, and numbers that are none.
std::vector<Known> knownSockets() {
    std::vector<Known> all;
    const auto quiet = newPair();
    all.push_back({quiet[0], {false, true, false}});
    const auto closed = newPair();
    ::close(closed[1]);
    all.push_back({closed[0], {true, true, false}});
    const auto full = newPair();
    fill(full[0]);
    all.push_back({full[0], {false, false, false}});
    // The other end of a full one has something to read.
    all.push_back({full[1], {true, true, false}});
    for (const long none :
         {-1L, -65'537L, NOT_OPEN, FIRST_TOO_LARGE - 1, FIRST_TOO_LARGE, 1L << 40}) {
        all.push_back({none, {false, false, false}});
    }
    return all;
}

struct Lists {
    Sockets sockets[LISTS];
    std::vector<const Known*> entries[LISTS];
};

std::vector<long> descriptorsOf(const Sockets& list) {
    std::vector<long> result;
    for (const Socket& each : list) {
        result.push_back(each.getDescriptor());
    }
    return result;
}

std::vector<long> wantedOf(const std::vector<const Known*>& entries, std::size_t list) {
    std::vector<long> result;
    for (const Known* const each : entries) {
        if (each->ready[list]) {
            result.push_back(each->descriptor);
        }
    }
    return result;
}

bool holds(const Lists& lists, bool (*condition)(long)) {
    return std::any_of(std::begin(lists.entries), std::end(lists.entries), [&](const auto& list) {
        return std::any_of(list.begin(), list.end(),
                           [&](const Known* each) { return condition(each->descriptor); });
    });
}

void requireError(const SocketException& error, const Lists& lists) {
    const auto& message = error.messages.getFirstMessage();
    const std::string number = utf8Of(message.getMessageArgs().front());
    const bool tooLarge = holds(lists, [](long each) { return each >= FIRST_TOO_LARGE; });
    const bool notOpen = holds(lists, [](long each) { return each >= NOT_OPEN; });
    require(message.getMessageID() == "NX_ERR_SOCKET_ERROR" && message.getMessageArgsCount() == 3,
            "error");
    require(
        tooLarge ? number == std::to_string(EINVAL) : notOpen && number == std::to_string(EBADF),
        "error number");
}

void compareSelect(Lists& lists) {
    const unsigned long atOnce = 0;
    try {
        const long found =
            Socket::select(lists.sockets[0], lists.sockets[1], lists.sockets[2], &atOnce);
        std::size_t wanted = 0;
        for (std::size_t i = 0; i < LISTS; ++i) {
            const std::vector<long> ready = wantedOf(lists.entries[i], i);
            require(descriptorsOf(lists.sockets[i]) == ready, "list");
            wanted += std::set<long>(ready.begin(), ready.end()).size();
        }
        require(static_cast<std::size_t>(found) == wanted, "number of ready ones");
        require(!holds(lists, [](long each) { return each >= NOT_OPEN; }), "no error");
    } catch (const SocketException& error) {
        requireError(error, lists);
        for (std::size_t i = 0; i < LISTS; ++i) {
            require(lists.sockets[i].size() == lists.entries[i].size(), "list after an error");
        }
    }
}

bool isInSet(const Socket::DescriptorSet& set, long descriptor) {
    return descriptor >= 0 && descriptor < FIRST_TOO_LARGE &&
           (set.words[descriptor / 64] >> (descriptor % 64) & 1) != 0;
}

void compareHelpers(FuzzInput& input) {
    Sockets list;
    std::vector<long> numbers;
    while (!input.isEmpty() && numbers.size() < MOST_ENTRIES) {
        const unsigned shift = input.byte() % 64;
        numbers.push_back(static_cast<long>(input.word()) >> shift);
        list.emplace_back(numbers.back());
    }
    const auto set = std::make_unique<Socket::DescriptorSet>();
    Socket::fromListToFdSet(*set, list);
    long highest = 0;
    for (const long number : numbers) {
        require(isInSet(*set, number) == (number >= 0 && number < FIRST_TOO_LARGE),
                "bit of a descriptor");
        highest = std::max(highest, number);
    }
    require(Socket::highestValue(list) == highest, "highest descriptor");
    for (std::uint64_t& word : set->words) {
        word &= 0x5555555555555555;
    }
    Socket::removeIfNotInSet(list, *set);
    std::vector<long> even;
    std::copy_if(numbers.begin(), numbers.end(), std::back_inserter(even), [](long number) {
        return number >= 0 && number < FIRST_TOO_LARGE && number % 2 == 0;
    });
    require(descriptorsOf(list) == even, "sockets left");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const std::vector<Known> known = knownSockets();
    FuzzInput input(data, size);
    Lists lists;
    for (std::size_t count = 0; !input.isEmpty() && count < MOST_ENTRIES; ++count) {
        const unsigned choice = input.byte();
        if (choice == 255) {
            break;
        }
        const Known& each = known[input.byte() % known.size()];
        lists.sockets[choice % LISTS].emplace_back(each.descriptor);
        lists.entries[choice % LISTS].push_back(&each);
    }
    compareSelect(lists);
    compareHelpers(input);
    return 0;
}

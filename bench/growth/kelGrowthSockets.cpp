#include <infra/oss/kelSocket.h>
#include <sys/eventfd.h>
#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <list>
#include <vector>

#include "kelGrowth.h"

namespace nx::oss::bench {

namespace {

/// Descriptors that are not there for sockets: the standard ones, and some of the environment.
constexpr rlim_t OTHER_DESCRIPTORS = 50;

/// Raises the limit as far as it goes and returns how many sockets fit below it.
std::size_t allowedSockets() {
    rlimit limit{};
    getrlimit(RLIMIT_NOFILE, &limit);
    limit.rlim_cur = limit.rlim_max;
    setrlimit(RLIMIT_NOFILE, &limit);
    getrlimit(RLIMIT_NOFILE, &limit);
    return std::min<std::size_t>(MOST_SOCKETS, limit.rlim_cur - OTHER_DESCRIPTORS);
}

/// Descriptors that can be waited for, the same ones for every size.
const std::vector<int>& idleDescriptors(std::size_t size) {
    static std::vector<int> descriptors;
    while (descriptors.size() < size) {
        descriptors.push_back(eventfd(0, EFD_CLOEXEC));
        require(descriptors.back() >= 0, "eventfd");
    }
    return descriptors;
}

std::list<Socket> idleSockets(std::size_t size) {
    const std::vector<int>& descriptors = idleDescriptors(size);
    std::list<Socket> sockets;
    for (std::size_t i = 0; i < size; ++i) {
        sockets.emplace_back(descriptors[i]);
    }
    return sockets;
}

long selectNow(std::list<Socket>& reading, std::list<Socket>& writing) {
    const unsigned long timeoutMs = 0;
    std::list<Socket> none;
    return Socket::select(reading, writing, none, &timeoutMs);
}

/// All can be written to, so the list stays as it is.
Run selectReady(std::size_t size) {
    auto sockets = std::make_shared<std::list<Socket>>(idleSockets(size));
    return [sockets, size] {
        std::list<Socket> none;
        require(selectNow(none, *sockets) == static_cast<long>(size), "Socket::select");
        return Held();
    };
}

/// Nothing can be read, so the call empties the list, which is a copy.
Run selectIdle(std::size_t size) {
    return [sockets = idleSockets(size)] {
        std::list<Socket> copy = sockets;
        std::list<Socket> none;
        require(selectNow(copy, none) == 0, "Socket::select");
        return Held();
    };
}

}  // namespace

void addSocketGrowth() {
    const std::size_t most = allowedSockets();
    if (most < MOST_SOCKETS) {
        std::fprintf(stderr, "kelGrowth: only %zu of %zu sockets are allowed (ulimit -Hn)\n", most,
                     MOST_SOCKETS);
    }
    addGrowth({"Socket::select, all ready", most, sizeof(int), selectReady});
    addGrowth({"Socket::select, all idle, list copied before", most, sizeof(int), selectIdle});
}

}  // namespace nx::oss::bench

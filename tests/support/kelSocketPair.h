#pragma once

#include <sys/socket.h>
#include <unistd.h>

#include <gtest/gtest.h>

namespace nx::test {

/// Two connected descriptors.
struct SocketPair {
    SocketPair() { EXPECT_EQ(::socketpair(AF_UNIX, SOCK_STREAM, 0, ends), 0); }
    ~SocketPair() {
        ::close(ends[0]);
        ::close(ends[1]);
    }
    SocketPair(const SocketPair&) = delete;
    SocketPair& operator=(const SocketPair&) = delete;

    int ends[2] = {-1, -1};
};

}  // namespace nx::test

#include "kelSelectBench.h"

#include <arpa/inet.h>
#include <infra/oss/kelSocket.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/epoll.h>
#include <sys/resource.h>
#include <sys/select.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <iterator>
#include <list>
#include <utility>

namespace nx::oss::bench {

namespace {

constexpr std::size_t IDLE[] = {10, 500, 5000};
constexpr rlim_t DESCRIPTORS_NEEDED = 10'100;

/// A set of any size for the system call: the kernel looks only at the first bits.
using Bits = Socket::DescriptorSet;

void setBit(Bits& bits, long descriptor) {
    bits.words[descriptor / 64] |= std::uint64_t{1} << (descriptor % 64);
}

bool hasBit(const Bits& bits, long descriptor) {
    return (bits.words[descriptor / 64] >> (descriptor % 64) & 1U) != 0;
}

int selectBits(Bits& bits, long highest) {
    timeval timeout{TIMEOUT_SECONDS, 0};
    return ::select(static_cast<int>(highest) + 1, reinterpret_cast<fd_set*>(bits.words), nullptr,
                    nullptr, &timeout);
}

class OurWait {
  public:
    explicit OurWait(const std::vector<int>& descriptors) {
        for (const int descriptor : descriptors) {
            all_.emplace_back(descriptor);
        }
    }
    void reset() { list_ = all_; }
    void wait() {
        const unsigned long timeoutMs = TIMEOUT_MS;
        Socket::select(list_, none_, none_, &timeoutMs);
    }
    bool found(int descriptor) const {
        return list_.size() == 1 && list_.front().getDescriptor() == descriptor;
    }

  private:
    std::list<Socket> all_;
    std::list<Socket> list_;
    std::list<Socket> none_;
};

/// The same steps by hand on a list of bare numbers.
class SelectOnNumbers {
  public:
    explicit SelectOnNumbers(const std::vector<int>& descriptors)
        : all_(descriptors.begin(), descriptors.end()) {}
    void reset() { list_ = all_; }
    void wait() {
        long highest = 0;
        for (const long descriptor : list_) {
            highest = std::max(highest, descriptor);
        }
        std::fill_n(bits_.words, highest / 64 + 1, 0);
        for (const long descriptor : list_) {
            setBit(bits_, descriptor);
        }
        selectBits(bits_, highest);
        list_.remove_if([this](long descriptor) { return !hasBit(bits_, descriptor); });
    }
    bool found(int descriptor) const { return list_.size() == 1 && list_.front() == descriptor; }

  private:
    std::list<long> all_;
    std::list<long> list_;
    Bits bits_{};
};

/// The bare system call on a set that is ready, and one pass that reads the list of sockets.
class SelectAndOnePass {
  public:
    explicit SelectAndOnePass(const std::vector<int>& descriptors) {
        for (const int descriptor : descriptors) {
            list_.emplace_back(descriptor);
            setBit(prepared_, descriptor);
            highest_ = std::max<long>(highest_, descriptor);
        }
    }
    void reset() { bits_ = prepared_; }
    void wait() {
        selectBits(bits_, highest_);
        for (const Socket& socket : list_) {
            if (hasBit(bits_, socket.getDescriptor())) {
                found_ = socket.getDescriptor();
            }
        }
    }
    bool found(int descriptor) const { return found_ == descriptor; }

  private:
    std::list<Socket> list_;
    Bits prepared_{};
    Bits bits_{};
    long highest_ = 0;
    long found_ = -1;
};

/// select by hand on an array of numbers; what is ready goes into another.
class SelectOnArray {
  public:
    explicit SelectOnArray(std::vector<int> descriptors) : all_(std::move(descriptors)) {}
    void reset() {}
    void wait() {
        const int highest = *std::max_element(all_.begin(), all_.end());
        std::fill_n(bits_.words, highest / 64 + 1, 0);
        for (const int descriptor : all_) {
            setBit(bits_, descriptor);
        }
        selectBits(bits_, highest);
        ready_.clear();
        std::copy_if(all_.begin(), all_.end(), std::back_inserter(ready_),
                     [this](int descriptor) { return hasBit(bits_, descriptor); });
    }
    bool found(int descriptor) const { return ready_ == std::vector<int>{descriptor}; }

  private:
    std::vector<int> all_;
    std::vector<int> ready_;
    Bits bits_{};
};

/// poll by hand, likewise.
class PollOnArray {
  public:
    explicit PollOnArray(std::vector<int> descriptors) : all_(std::move(descriptors)) {}
    void reset() {}
    void wait() {
        fill();
        pollAndRead();
    }
    bool found(int descriptor) const { return ready_ == std::vector<int>{descriptor}; }

  protected:
    void fill() {
        array_.clear();
        for (const int descriptor : all_) {
            array_.push_back({descriptor, POLLIN, 0});
        }
    }
    void pollAndRead() {
        poll(array_.data(), array_.size(), static_cast<int>(TIMEOUT_MS));
        ready_.clear();
        for (const pollfd& entry : array_) {
            if (entry.revents != 0) {
                ready_.push_back(entry.fd);
            }
        }
    }

  private:
    std::vector<int> all_;
    std::vector<int> ready_;
    std::vector<pollfd> array_;
};

/// The array stays as it is between the calls.
class PollKept : public PollOnArray {
  public:
    explicit PollKept(std::vector<int> descriptors) : PollOnArray(std::move(descriptors)) {
        fill();
    }
    void wait() { pollAndRead(); }
};

/// poll on an array made from the list, which then keeps those that are ready.
class PollOnNumbers {
  public:
    explicit PollOnNumbers(const std::vector<int>& descriptors)
        : all_(descriptors.begin(), descriptors.end()) {}
    void reset() { list_ = all_; }
    void wait() {
        array_.clear();
        for (const int descriptor : list_) {
            array_.push_back({descriptor, POLLIN, 0});
        }
        poll(array_.data(), array_.size(), static_cast<int>(TIMEOUT_MS));
        auto next = array_.begin();
        list_.remove_if([&next](int) { return (next++)->revents == 0; });
    }
    bool found(int descriptor) const { return list_.size() == 1 && list_.front() == descriptor; }

  private:
    std::list<int> all_;
    std::list<int> list_;
    std::vector<pollfd> array_;
};

/// A registration that is kept between the calls.
class EpollKept {
  public:
    explicit EpollKept(const std::vector<int>& descriptors) : epoll_(epoll_create1(0)) {
        for (const int descriptor : descriptors) {
            epoll_event event{};
            event.events = EPOLLIN;
            event.data.fd = descriptor;
            require(epoll_ctl(epoll_, EPOLL_CTL_ADD, descriptor, &event) == 0, "epoll_ctl");
        }
    }
    ~EpollKept() { ::close(epoll_); }
    EpollKept(const EpollKept&) = delete;
    EpollKept& operator=(const EpollKept&) = delete;

    void reset() {}
    void wait() { epoll_wait(epoll_, &event_, 1, static_cast<int>(TIMEOUT_MS)); }
    bool found(int descriptor) const { return event_.data.fd == descriptor; }

  private:
    int epoll_;
    epoll_event event_{};
};

void addWaitsOn(const Connections& connections, std::size_t idle) {
    addWait<OurWait>("kelinfra", connections, idle);
    addWait<SelectOnNumbers>("select, list of numbers", connections, idle);
    addWait<PollOnNumbers>("poll, list of numbers", connections, idle);
    addWait<SelectOnArray>("select", connections, idle);
    addWait<PollOnArray>("poll", connections, idle);
    addWait<SelectAndOnePass>("(limit) select + one pass", connections, idle);
    addWait<PollKept>("(partial) poll kept", connections, idle);
    addWait<EpollKept>("(partial) epoll kept", connections, idle);
#ifdef KELINFRA_BENCH_BOOST
    addBoostWaits(connections, idle);
#endif
#ifdef KELINFRA_BENCH_GLIB
    addGlibWaits(connections, idle);
#endif
#ifdef KELINFRA_BENCH_POCO
    addPocoWaits(connections, idle);
#endif
}

bool allowDescriptors() {
    rlimit limit{};
    getrlimit(RLIMIT_NOFILE, &limit);
    limit.rlim_cur = std::min(limit.rlim_max, std::max(limit.rlim_cur, DESCRIPTORS_NEEDED));
    setrlimit(RLIMIT_NOFILE, &limit);
    return limit.rlim_cur >= DESCRIPTORS_NEEDED;
}

void addWaits() {
    const bool all = allowDescriptors();
    if (!all) {
        std::fprintf(stderr, "too few descriptors allowed: waits on 5,000 sockets are left out\n");
    }
    static const Connections connections(all ? IDLE[2] + 1 : IDLE[1] + 1);
    for (const std::size_t idle : IDLE) {
        if (all || idle < IDLE[2]) {
            addWaitsOn(connections, idle);
        }
    }
}

}  // namespace

Connections::Connections(std::size_t count) : listener_(listenOnLoopback(port_)) {
    for (std::size_t n = 0; n < count; ++n) {
        connectOne();
    }
    require(::send(accepted_.front(), "!", 1, MSG_NOSIGNAL) == 1, "send");
    pollfd wait{descriptors_.front(), POLLIN, 0};
    require(poll(&wait, 1, static_cast<int>(TIMEOUT_MS)) == 1, "poll");
}

std::vector<int> Connections::idleAndReady(std::size_t idle) const {
    std::vector<int> list(descriptors_.begin() + 1,
                          descriptors_.begin() + 1 + static_cast<std::ptrdiff_t>(idle));
    list.push_back(ready());
    return list;
}

void Connections::connectOne() {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(port_);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    descriptors_.push_back(::socket(AF_INET, SOCK_STREAM, 0));
    require(
        ::connect(descriptors_.back(), reinterpret_cast<sockaddr*>(&address), sizeof address) == 0,
        "connect");
    accepted_.push_back(accept(listener_, nullptr, nullptr));
    require(accepted_.back() >= 0, "accept");
}

}  // namespace nx::oss::bench

int main(int argc, char** argv) {
    using namespace nx::oss::bench;
    initializeWithPeers(argc, argv);
    addWaits();
    return run();
}

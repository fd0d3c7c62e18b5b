#include <Poco/Net/PollSet.h>
#include <Poco/Net/Socket.h>
#include <Poco/Net/StreamSocket.h>
#include <Poco/Net/StreamSocketImpl.h>

#include "kelSelectBench.h"

namespace nx::oss::bench {

namespace {

using Poco::Net::PollSet;
using PocoSocket = Poco::Net::Socket;

/// A connection that is not its own.
class Borrowed : public Poco::Net::StreamSocketImpl {
  public:
    explicit Borrowed(int descriptor) : StreamSocketImpl(descriptor) {}

  protected:
    ~Borrowed() override { reset(); }
};

struct BorrowedSocket : Poco::Net::StreamSocket {
    explicit BorrowedSocket(int descriptor) : StreamSocket(new Borrowed(descriptor)) {}
};

PocoSocket::SocketList socketsOf(const std::vector<int>& descriptors) {
    PocoSocket::SocketList sockets;
    for (const int descriptor : descriptors) {
        sockets.push_back(BorrowedSocket(descriptor));
    }
    return sockets;
}

class SocketSelect {
  public:
    explicit SocketSelect(const std::vector<int>& descriptors) : all_(socketsOf(descriptors)) {}
    void reset() { list_ = all_; }
    void wait() { PocoSocket::select(list_, none_, none_, Poco::Timespan(TIMEOUT_SECONDS, 0)); }
    bool found(int descriptor) const {
        return list_.size() == 1 && list_.front().impl()->sockfd() == descriptor;
    }

  private:
    PocoSocket::SocketList all_;
    PocoSocket::SocketList list_;
    PocoSocket::SocketList none_;
};

class PollSetKept {
  public:
    explicit PollSetKept(const std::vector<int>& descriptors) {
        for (const PocoSocket& socket : socketsOf(descriptors)) {
            set_.add(socket, PollSet::POLL_READ);
        }
    }
    void reset() {}
    void wait() { ready_ = set_.poll(Poco::Timespan(TIMEOUT_SECONDS, 0)); }
    bool found(int descriptor) const {
        return ready_.size() == 1 && ready_.begin()->first.impl()->sockfd() == descriptor;
    }

  private:
    PollSet set_;
    PollSet::SocketModeMap ready_;
};

}  // namespace

void addPocoWaits(const Connections& connections, std::size_t idle) {
    addWait<SocketSelect>("POCO Socket::select", connections, idle);
    addWait<PollSetKept>("(partial) POCO PollSet kept", connections, idle);
}

}  // namespace nx::oss::bench

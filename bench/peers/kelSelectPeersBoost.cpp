#include <boost/asio.hpp>
#include <list>

#include "kelSelectBench.h"

namespace nx::oss::bench {

namespace {

namespace asio = boost::asio;
using asio::ip::tcp;

/// Waits that stay pending, but for the one that has come to its end.
class AsioKept {
  public:
    explicit AsioKept(const std::vector<int>& descriptors) {
        for (const int descriptor : descriptors) {
            sockets_.emplace_back(context_, tcp::v4(), descriptor);
            await(sockets_.back());
        }
    }
    // The connections are not its own.
    ~AsioKept() {
        for (tcp::socket& socket : sockets_) {
            socket.release();
        }
    }
    AsioKept(const AsioKept&) = delete;
    AsioKept& operator=(const AsioKept&) = delete;

    void reset() {}
    void wait() {
        if (found_ != nullptr) {
            await(*found_);
        }
        context_.run_one();
    }
    bool found(int descriptor) const {
        return found_ != nullptr && found_->native_handle() == descriptor;
    }

  private:
    void await(tcp::socket& socket) {
        socket.async_wait(tcp::socket::wait_read,
                          [this, &socket](const boost::system::error_code& error) {
                              if (!error) {
                                  found_ = &socket;
                              }
                          });
    }

    asio::io_context context_;
    std::list<tcp::socket> sockets_;
    tcp::socket* found_ = nullptr;
};

}  // namespace

void addBoostWaits(const Connections& connections, std::size_t idle) {
    addWait<AsioKept>("(partial) Boost.Asio kept", connections, idle);
}

}  // namespace nx::oss::bench

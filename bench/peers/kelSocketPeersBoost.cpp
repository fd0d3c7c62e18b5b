#include <boost/asio.hpp>

#include "kelSocketBench.h"

namespace nx::oss::bench {

namespace {

namespace asio = boost::asio;
using asio::ip::tcp;

class AsioClient {
  public:
    static constexpr std::size_t PAYLOAD_OFFSET = 0;

    void connect(std::uint16_t port) {
        tcp::resolver resolver(context());
        asio::connect(socket_, resolver.resolve(HOST, std::to_string(port)));
        socket_.set_option(tcp::no_delay(true));
    }
    void close() { socket_.close(); }
    void send(const char* data, std::size_t length) {
        char prefix[PREFIX_SIZE];
        encodePrefix(prefix, length);
        asio::write(socket_, asio::buffer(prefix));
        asio::write(socket_, asio::buffer(data, length));
    }
    std::size_t receive(char* data, std::size_t capacity) {
        char prefix[PREFIX_SIZE];
        asio::read(socket_, asio::buffer(prefix));
        const std::size_t length = std::min(decodePrefix(prefix), capacity);
        return asio::read(socket_, asio::buffer(data, length));
    }

  private:
    static asio::io_context& context() {
        static asio::io_context shared;
        return shared;
    }

    tcp::socket socket_{context()};
};

}  // namespace

void addBoostClients() { addClient<AsioClient>("Boost.Asio"); }

}  // namespace nx::oss::bench

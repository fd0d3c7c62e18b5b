#include <Poco/Net/SocketAddress.h>
#include <Poco/Net/StreamSocket.h>

#include "kelSocketBench.h"

namespace nx::oss::bench {

namespace {

class PocoClient {
  public:
    static constexpr std::size_t PAYLOAD_OFFSET = 0;

    void connect(std::uint16_t port) {
        socket_.connect(Poco::Net::SocketAddress(HOST, port), Poco::Timespan(TIMEOUT_MS / 1000, 0));
        socket_.setNoDelay(true);
    }
    void close() { socket_.close(); }
    void send(const char* data, std::size_t length) {
        sendItem(data, length, [this](const char* part, std::size_t size) { sendAll(part, size); });
    }
    std::size_t receive(char* data, std::size_t capacity) {
        return receiveItem(data, capacity,
                           [this](char* part, std::size_t size) { receiveAll(part, size); });
    }

  private:
    void sendAll(const char* data, std::size_t length) {
        for (std::size_t sent = 0; sent < length;) {
            const int count = socket_.sendBytes(data + sent, static_cast<int>(length - sent));
            require(count > 0, "Poco::Net::StreamSocket::sendBytes");
            sent += static_cast<std::size_t>(count);
        }
    }
    void receiveAll(char* data, std::size_t length) {
        for (std::size_t got = 0; got < length;) {
            const int count = socket_.receiveBytes(data + got, static_cast<int>(length - got));
            require(count > 0, "Poco::Net::StreamSocket::receiveBytes");
            got += static_cast<std::size_t>(count);
        }
    }

    Poco::Net::StreamSocket socket_;
};

}  // namespace

void addPocoClients() { addClient<PocoClient>("POCO"); }

}  // namespace nx::oss::bench

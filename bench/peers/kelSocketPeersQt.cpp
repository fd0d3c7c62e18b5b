#include <QTcpSocket>

#include "kelSocketBench.h"

namespace nx::oss::bench {

namespace {

class QtClient {
  public:
    static constexpr std::size_t PAYLOAD_OFFSET = 0;

    void connect(std::uint16_t port) {
        socket_.connectToHost(QString::fromLatin1(HOST), port);
        require(socket_.waitForConnected(TIMEOUT_MS), "QTcpSocket::connectToHost");
        socket_.setSocketOption(QAbstractSocket::LowDelayOption, 1);
    }
    void close() { socket_.abort(); }
    void send(const char* data, std::size_t length) {
        sendItem(data, length, [this](const char* part, std::size_t size) { sendAll(part, size); });
    }
    std::size_t receive(char* data, std::size_t capacity) {
        return receiveItem(data, capacity,
                           [this](char* part, std::size_t size) { receiveAll(part, size); });
    }

  private:
    void sendAll(const char* data, std::size_t length) {
        socket_.write(data, static_cast<qint64>(length));
        while (socket_.bytesToWrite() > 0) {
            require(socket_.waitForBytesWritten(TIMEOUT_MS), "QTcpSocket::write");
        }
    }
    void receiveAll(char* data, std::size_t length) {
        for (std::size_t got = 0; got < length;) {
            if (socket_.bytesAvailable() == 0) {
                require(socket_.waitForReadyRead(TIMEOUT_MS), "QTcpSocket::waitForReadyRead");
            }
            const qint64 count = socket_.read(data + got, static_cast<qint64>(length - got));
            require(count >= 0, "QTcpSocket::read");
            got += static_cast<std::size_t>(count);
        }
    }

    QTcpSocket socket_;
};

}  // namespace

void addQtClients() { addClient<QtClient>("Qt QTcpSocket"); }

}  // namespace nx::oss::bench

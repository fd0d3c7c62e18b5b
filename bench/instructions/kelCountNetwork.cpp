#include <arpa/inet.h>
#include <infra/oss/kelSocket.h>
#include <netdb.h>
#include <netinet/in.h>
#include <sys/socket.h>

#include <cstdlib>
#include <list>
#include <string>

#include "kelInstructionProbe.h"

namespace nx::oss::bench {

namespace {

/// Two sockets connected with each other. `Socket` closes no descriptor that it was given.
class Pair {
  public:
    Pair() {
        require(socketpair(AF_UNIX, SOCK_STREAM, 0, descriptors_) == 0, "socketpair");
        writer_ = Socket(descriptors_[0]);
        reader_ = Socket(descriptors_[1]);
    }
    ~Pair() {
        Socket::closeStatic(descriptors_[0]);
        Socket::closeStatic(descriptors_[1]);
    }
    Pair(const Pair&) = delete;
    Pair& operator=(const Pair&) = delete;

    Socket& writer() { return writer_; }
    Socket& reader() { return reader_; }

  private:
    int descriptors_[2] = {-1, -1};
    Socket writer_;
    Socket reader_;
};

void countTransfers() {
    Pair pair;
    for (const std::size_t size : {8U, 1000U}) {
        const std::string suffix = ", " + std::to_string(size) + " bytes";
        std::string out(size, 'x');
        std::string in(size, ' ');
        count("Socket::write and read" + suffix, [&] {
            pair.writer().write(out.data(), 0, size);
            keep(pair.reader().read(in.data(), 0, size));
        });
        count("Socket::writeItem and readItem" + suffix, [&] {
            unsigned long length = 0;
            pair.writer().writeItem(out.data(), 0, size);
            keep(pair.reader().readItem(in.data(), length, 0, size, /*discardOversized=*/false));
        });
        require(in == out, "item");
    }
}

void countSelect() {
    Pair pair;
    std::list<Socket> idle;
    for (int i = 0; i < 100; ++i) {
        idle.push_back(pair.reader());
    }
    count("Socket::select, 100 idle sockets, copied before", [&idle] {
        const unsigned long timeoutMs = 0;
        std::list<Socket> reading = idle;
        std::list<Socket> none;
        keep(Socket::select(reading, none, none, &timeoutMs));
    });
}

sockaddr_in sampleAddress() {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(8080);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    return address;
}

/// One address, as it is written, and as part of a record. The look-up is not counted: it asks the
/// system.
void countAddressRecords() {
    sockaddr_in address = sampleAddress();
    addrinfo entry{};
    entry.ai_family = AF_INET;
    entry.ai_socktype = SOCK_STREAM;
    entry.ai_addrlen = sizeof address;
    entry.ai_addr = reinterpret_cast<sockaddr*>(&address);
    char bytes[64];
    count("Socket::serialize", [&] { keep(Socket::serialize(bytes, sizeof bytes, &entry)); });

    Socket::_AddrInfoExternal record{};
    require(Socket::exportAddrInfo("127.0.0.1", 8080, record) == 0, "exportAddrInfo");
    count("Socket::deserializeAddrInfoExternal and freeMyAddrInfo", [&record] {
        addrinfo* const list = Socket::deserializeAddrInfoExternal(record);
        std::free(list->ai_addr);
        Socket::freeMyAddrInfo(list);
    });
}

}  // namespace

void countNetwork() {
    countTransfers();
    countSelect();
    countAddressRecords();
}

}  // namespace nx::oss::bench

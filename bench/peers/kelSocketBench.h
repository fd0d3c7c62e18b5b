#pragma once

#include <algorithm>
#include <cstdint>
#include <string>
#include <thread>
#include <vector>

#include "kelPeers.h"

namespace nx::oss::bench {

constexpr std::size_t PREFIX_SIZE = 4;
constexpr std::size_t SMALL_ITEM = 64;
constexpr std::size_t LARGE_ITEM = 1024 * 1024;
constexpr const char* HOST = "127.0.0.1";
constexpr unsigned TIMEOUT_MS = 5000;

/// What the first byte of a request asks from the server.
enum Request : char { ECHO_BACK = 'e', SWALLOW = 's', SEND_LARGE = 'l' };

/// The other side of every transfer, the same for all contenders, in plain POSIX calls: it answers
/// items, each answer in one send.
class ItemServer {
  public:
    ItemServer();
    ~ItemServer();
    std::uint16_t port() const { return port_; }

  private:
    void acceptAll();

    int listener_;
    std::uint16_t port_;
    std::vector<std::thread> connections_;
    std::thread acceptor_;
};

/// Accepts connections and drops each when the client has closed it, without leaving an address in
/// TIME_WAIT.
class ConnectServer {
  public:
    ConnectServer();
    ~ConnectServer();
    std::uint16_t port() const { return port_; }

  private:
    void acceptAll() const;

    int listener_;
    std::uint16_t port_;
    std::thread acceptor_;
};

/// A listening socket on a free port of the loopback interface.
int listenOnLoopback(std::uint16_t& port);

/// Big-endian length of an item.
void encodePrefix(char* prefix, std::size_t length);
std::size_t decodePrefix(const char* prefix);

/// Sends an item in two parts by `sendAll(data, length)`.
template <class SendAll>
void sendItem(const char* data, std::size_t length, const SendAll& sendAll) {
    char prefix[PREFIX_SIZE];
    encodePrefix(prefix, length);
    sendAll(prefix, PREFIX_SIZE);
    sendAll(data, length);
}

/// Receives an item in two parts by `receiveAll(data, length)`; returns its length.
template <class ReceiveAll>
std::size_t receiveItem(char* data, std::size_t capacity, const ReceiveAll& receiveAll) {
    char prefix[PREFIX_SIZE];
    receiveAll(prefix, PREFIX_SIZE);
    const std::size_t length = std::min(decodePrefix(prefix), capacity);
    receiveAll(data, length);
    return length;
}

/// The servers of this run.
const ItemServer& itemServer();
const ConnectServer& connectServer();

// A client is a class with
// - connect(port): connects to HOST with a time-out where the library has one, sets TCP_NODELAY;
// - close();
// - send(data, length): sends an item;
// - receive(data, capacity): receives an item, returns its length; the payload then lies at
//   data + PAYLOAD_OFFSET.

template <class Client>
void connectAndClose(benchmark::State& state) {
    const std::uint16_t port = connectServer().port();
    for (auto step : state) {
        Client client;
        client.connect(port);
        client.close();
    }
}

template <class Client>
std::size_t exchange(Client& client, const std::vector<char>& request, std::vector<char>& answer) {
    client.send(request.data(), request.size());
    return client.receive(answer.data(), answer.size());
}

template <class Client>
void exchangeItems(benchmark::State& state, std::size_t requestSize, Request kind,
                   std::size_t answerSize) {
    std::vector<char> request(requestSize, kind);
    std::vector<char> answer(LARGE_ITEM + PREFIX_SIZE);
    Client client;
    client.connect(itemServer().port());
    for (auto step : state) {
        if (exchange(client, request, answer) != answerSize) {
            state.SkipWithError("wrong answer");
            break;
        }
    }
    client.close();
}

template <class Client>
void checkEcho(const std::string& name) {
    std::vector<char> request(SMALL_ITEM, ECHO_BACK);
    std::vector<char> answer(LARGE_ITEM + PREFIX_SIZE);
    request.back() = 'z';
    Client client;
    client.connect(itemServer().port());
    const std::size_t length = exchange(client, request, answer);
    require(length == SMALL_ITEM &&
                std::equal(request.begin(), request.end(), answer.data() + Client::PAYLOAD_OFFSET),
            name);
    client.close();
}

template <class Client>
void addClient(const std::string& name) {
    checkEcho<Client>(name);
    addRow("connect + close", name, connectAndClose<Client>)->UseRealTime();
    addRow("round trip 64 B", name, [](benchmark::State& state) {
        exchangeItems<Client>(state, SMALL_ITEM, ECHO_BACK, SMALL_ITEM);
    })->UseRealTime();
    addRow("send 1 MiB item, empty answer", name, [](benchmark::State& state) {
        exchangeItems<Client>(state, LARGE_ITEM, SWALLOW, 0);
    })->UseRealTime();
    addRow("request, receive 1 MiB item", name, [](benchmark::State& state) {
        exchangeItems<Client>(state, 1, SEND_LARGE, LARGE_ITEM);
    })->UseRealTime();
}

/// Each adds the clients of one library.
void addQtClients();
void addPocoClients();
void addBoostClients();
void addGlibClients();

}  // namespace nx::oss::bench

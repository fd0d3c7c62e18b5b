// Feeds a list of operations to a SocketServer, with clients that come and go on the loopback
// interface, and compares each outcome with the states of the manual.
//
// Input: operations, each a letter and a byte that says more.

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <deque>

#include <infra/oss/kelSocketException.h>
#include <infra/oss/kelSocketServer.h>

#include "kelFuzzInput.h"

namespace {

using nx::oss::Socket;
using nx::oss::SocketException;
using nx::oss::SocketServer;

constexpr std::size_t LONGEST_INPUT = 64;
constexpr std::size_t MOST_CLIENTS = 8;
constexpr unsigned long BACKLOG = 16;

struct Model {
    bool hasDescriptor = false;
    bool isListening = false;
    /// Clients that were not accepted yet, in the order in which they came.
    std::deque<int> waiting;
};

/// The identifier and the error number of what the operation throws; "" when it throws nothing.
template <class Operation>
std::string outcomeOf(const SocketServer& server, const Operation& operation) {
    try {
        operation();
        return "";
    } catch (const SocketException& error) {
        const auto& message = error.messages.getFirstMessage();
        require(message.getFileName() == "kelSocketServer.cpp", "file of an error");
        require(utf8Of(message.getMessageArgs().back()) == std::to_string(server.getPort()),
                "port of an error");
        const std::string identifier = utf8Of(message.getMessageID());
        return identifier == "NX_ERR_SOCKET_ERROR" ? utf8Of(message.getMessageArgs().front())
                                                   : identifier;
    }
}

template <class Address>
int connectedTo(int family, const Address& address) {
    const int client = ::socket(family, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (::connect(client, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
        ::close(client);
        return -1;
    }
    // Ends with a reset, so that no port is kept waiting.
    const linger atOnce = {1, 0};
    require(::setsockopt(client, SOL_SOCKET, SO_LINGER, &atOnce, sizeof atOnce) == 0, "linger");
    return client;
}

/// Of either family: the server chooses one.
int connectedTo(unsigned long port) {
    sockaddr_in6 address6 = {};
    address6.sin6_family = AF_INET6;
    address6.sin6_port = htons(static_cast<std::uint16_t>(port));
    address6.sin6_addr = in6addr_loopback;
    sockaddr_in address4 = {};
    address4.sin_family = AF_INET;
    address4.sin_port = address6.sin6_port;
    address4.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    const int client = connectedTo(AF_INET, address4);
    const int either = client == -1 ? connectedTo(AF_INET6, address6) : client;
    require(either != -1, "connect()");
    return either;
}

void listen(SocketServer& server, Model& model, bool reuse) {
    const std::string outcome = outcomeOf(server, [&] { server.listen(0, BACKLOG, reuse); });
    require(outcome == (model.hasDescriptor ? "ERR_SOCKET_LISTENING" : ""), "listen()");
    model.isListening = model.isListening || !model.hasDescriptor;
    model.hasDescriptor = true;
}

/// An item goes through the accepted connection, so that it is the client's.
void exchange(Socket& accepted, int client, char content) {
    const char item[] = {0, 0, 0, 1, content};
    require(::send(client, item, sizeof item, MSG_NOSIGNAL) == sizeof item, "send()");
    char found[4] = {};
    unsigned long length = 0;
    require(accepted.readItem(found, length, 0, sizeof found, false) == 1 && found[0] == content,
            "item of the accepted connection");
}

void accept(SocketServer& server, Model& model, char content) {
    const unsigned long atOnce = 0;
    Socket target;
    const std::string outcome = outcomeOf(server, [&] { server.accept(target, &atOnce); });
    const std::string wanted = !model.hasDescriptor    ? "ERR_SOCKET_NOT_LISTENING"
                               : !model.isListening    ? std::to_string(EINVAL)
                               : model.waiting.empty() ? "ERR_SOCKET_TIMEOUT"
                                                       : "";
    require(outcome == wanted, "accept()");
    require(target.isOwner() == wanted.empty(), "owner of the connection");
    if (wanted.empty()) {
        exchange(target, model.waiting.front(), content);
        ::close(model.waiting.front());
        model.waiting.pop_front();
    }
}

template <class Operation>
void shutDown(const SocketServer& server, Model& model, bool stops, const Operation& operation) {
    const std::string outcome = outcomeOf(server, operation);
    require(outcome == (model.hasDescriptor ? "" : "ERR_SOCKET_NOT_LISTENING"), "shutdown");
    model.isListening = model.isListening && !stops;
}

void step(FuzzInput& input, SocketServer& server, Model& model) {
    const unsigned operation = input.byte();
    const unsigned more = input.byte();
    switch (operation % 8) {
        case 0:
        case 1:
            return listen(server, model, more % 2 != 0);
        case 2:
        case 3:
            if (model.hasDescriptor && model.waiting.size() < MOST_CLIENTS) {
                model.waiting.push_back(connectedTo(server.getPort()));
            }
            return;
        case 4:
        case 5:
            return accept(server, model, static_cast<char>(more));
        case 6:
            return shutDown(server, model, false, [&] { server.shutdownWrite(); });
        default:
            return more % 2 == 0
                       ? shutDown(server, model, true, [&] { server.shutdownRead(); })
                       : shutDown(server, model, true, [&] { server.shutdownReadWrite(); });
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size > LONGEST_INPUT) {
        return 0;
    }
    FuzzInput input(data, size);
    SocketServer server;
    Model model;
    while (!input.isEmpty()) {
        step(input, server, model);
        require(server.isListening() == model.isListening, "state");
        require((server.getDescriptor() == -1) == !model.hasDescriptor, "descriptor");
        require((server.getPort() == 0) == !model.hasDescriptor, "port");
    }
    for (const int client : model.waiting) {
        ::close(client);
    }
    return 0;
}

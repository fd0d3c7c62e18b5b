#include <functional>
#include <ostream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include <infra/oss/kelSocket.h>
#include <infra/oss/kelSocketException.h>
#include <infra/oss/kelSocketServer.h>

#include "support/kelPeerCases.h"

namespace nx::oss {
namespace {

using std::string_literals::operator""s;
using test::FileDescriptor;
using test::Outcome;
using test::PORT;
using test::raises;
using test::returns;

using Clients = std::vector<FileDescriptor>;

constexpr unsigned long BACKLOG = 64;

/// A server, and the socket that it accepts into.
struct Side {
    SocketServer server;
    Socket accepted;
};

using Operation = std::function<std::string(Side&)>;

struct ServerStep {
    Operation operation;
    Outcome expected;
};

struct ServerCase {
    std::string name;
    std::function<void(SocketServer&, Clients&)> before;
    std::vector<ServerStep> steps;
};

std::ostream& operator<<(std::ostream& out, const ServerCase& row) { return out << row.name; }

FileDescriptor& connectTo(const SocketServer& server, Clients& clients) {
    return clients.emplace_back(test::connectTo(server.getPort()));
}

std::string acceptWithin(Side& side, unsigned long milliseconds) {
    side.accepted.close();
    side.server.accept(side.accepted, &milliseconds);
    return "accepted";
}

std::string accept(Side& side) { return acceptWithin(side, 60000); }
std::string acceptAtOnce(Side& side) { return acceptWithin(side, 0); }

std::string readItem(Side& side) {
    char item[64];
    unsigned long announced = 0;
    const unsigned long length = side.accepted.readItem(item, announced, 0, sizeof item, false);
    return std::to_string(length) + " of " + std::to_string(announced) + ": " +
           std::string(item, length);
}

/// Accepts until a client has sent an item; returns how many had not.
std::string acceptTheOneThatSends(Side& side) {
    for (int silent = 0;; ++silent) {
        accept(side);
        char byte = 0;
        try {
            if (side.accepted.readOnce(&byte, 0, 1) == 1) {
                return std::to_string(silent);
            }
        } catch (const SocketException&) {
            // Reset: the next one.
        }
    }
}

std::string shutDown(Side& side) {
    side.server.shutdownReadWrite();
    return "done";
}

std::string listenAgain(Side& side) {
    side.server.listen(0, BACKLOG, true);
    return "listening";
}

Outcome serverError(const std::string& identifier, std::vector<std::string> numbers = {}) {
    numbers.insert(numbers.end(), {"localhost", PORT});
    Outcome outcome = raises(identifier, std::move(numbers));
    outcome.file = "kelSocketServer.cpp";
    return outcome;
}

/// What was accepted knows neither host nor port.
Outcome acceptedError(const std::string& identifier, std::vector<std::string> numbers = {}) {
    numbers.insert(numbers.end(), {"", "0"});
    return raises(identifier, std::move(numbers));
}

const Outcome ACCEPTED = returns("accepted");
const Outcome CLOSED = acceptedError("ERR_SOCKET_CLOSED");
const Outcome RESET = acceptedError("NX_ERR_SOCKET_CONNECTION_RESET");
const Outcome TIMED_OUT = serverError("ERR_SOCKET_TIMEOUT");
const Outcome STOPPED = serverError("NX_ERR_SOCKET_ERROR", {"22"});

void nobody(SocketServer&, Clients&) {}

void closes(SocketServer& server, Clients& clients) { connectTo(server, clients).close(); }

void resets(SocketServer& server, Clients& clients) { connectTo(server, clients).closeWithReset(); }

std::function<void(SocketServer&, Clients&)> sends(const std::string& bytes) {
    return [bytes](SocketServer& server, Clients& clients) {
        test::sendAll(connectTo(server, clients).get(), bytes);
    };
}

std::function<void(SocketServer&, Clients&)> inTurn(
    std::vector<std::function<void(SocketServer&, Clients&)>> acts) {
    return [acts = std::move(acts)](SocketServer& server, Clients& clients) {
        for (const auto& act : acts) {
            act(server, clients);
        }
    };
}

/// As many clients as wait in the queue, all of whom are gone again.
void flood(SocketServer& server, Clients& clients) {
    for (unsigned long i = 0; i < BACKLOG - 1; ++i) {
        FileDescriptor& client = connectTo(server, clients);
        if (i % 2 == 0) {
            client.close();
        } else {
            client.closeWithReset();
        }
    }
}

std::vector<ServerCase> clients() {
    const std::string item = "\0\0\0\5hello"s;
    return {
        {"NeverComes", nobody, {{acceptAtOnce, TIMED_OUT}, {acceptAtOnce, TIMED_OUT}}},
        {"ClosesBeforeItIsAccepted",
         closes,
         {{accept, ACCEPTED}, {readItem, CLOSED}, {acceptAtOnce, TIMED_OUT}}},
        {"ResetsBeforeItIsAccepted",
         resets,
         {{accept, ACCEPTED}, {readItem, RESET}, {acceptAtOnce, TIMED_OUT}}},
        {"SendsBeforeItIsAccepted",
         sends(item),
         {{accept, ACCEPTED}, {readItem, returns("5 of 5: hello")}}},
        {"SendsAndClosesBeforeItIsAccepted",
         [item](SocketServer& server, Clients& clients) {
             sends(item)(server, clients);
             clients.back().close();
         },
         {{accept, ACCEPTED}, {readItem, returns("5 of 5: hello")}, {readItem, CLOSED}}},
        {"SendsAndResetsBeforeItIsAccepted",
         [item](SocketServer& server, Clients& clients) {
             sends(item)(server, clients);
             clients.back().closeWithReset();
         },
         {{accept, ACCEPTED}, {readItem, returns("5 of 5: hello")}, {readItem, RESET}}},
        {"SendsGarbageBeforeItIsAccepted",
         sends("GET / HTTP/1.1\r\n"),
         {{accept, ACCEPTED},
          {readItem, raises("ERR_DEST_BUFFER_TOO_SMALL", {"64", "1195725856"})}}},
        {"ComesBehindOneThatReset",
         inTurn({resets, sends(item)}),
         {{accept, ACCEPTED},
          {readItem, RESET},
          {accept, ACCEPTED},
          {readItem, returns("5 of 5: hello")}}},
        {"ComesBehindAFloodOfOthers",
         inTurn({flood, sends("!")}),
         {{acceptTheOneThatSends, returns("63")}, {acceptAtOnce, TIMED_OUT}}},
        {"ComesWhenTheServerHasStopped",
         inTurn({sends(item), [](SocketServer& server, Clients&) { server.shutdownRead(); }}),
         {{accept, STOPPED},
          {acceptAtOnce, STOPPED},
          {listenAgain, serverError("ERR_SOCKET_LISTENING")}}},
        {"ComesWhenOnlyWritingHasStopped",
         inTurn({sends(item), [](SocketServer& server, Clients&) { server.shutdownWrite(); }}),
         {{accept, ACCEPTED}, {readItem, returns("5 of 5: hello")}}},
        {"NeverComesToAServerThatIsStoppedTwice",
         nobody,
         {{shutDown, returns("done")}, {shutDown, returns("done")}, {acceptAtOnce, STOPPED}}},
    };
}

class ServedPeerThat : public testing::TestWithParam<ServerCase> {};

TEST_P(ServedPeerThat, EndsAServerAsPromised) {
    const test::NoDescriptorLeak check;
    Side side;
    side.server.listen(0, BACKLOG, true);
    Clients clients;
    GetParam().before(side.server, clients);
    for (const ServerStep& step : GetParam().steps) {
        test::expectOutcome([&] { return step.operation(side); }, step.expected,
                            std::to_string(side.server.getPort()));
    }
}

INSTANTIATE_TEST_SUITE_P(Clients, ServedPeerThat, testing::ValuesIn(clients()),
                         [](const auto& row) { return row.param.name; });

}  // namespace
}  // namespace nx::oss

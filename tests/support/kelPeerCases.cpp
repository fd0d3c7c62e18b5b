#include "support/kelPeerCases.h"

#include <sys/socket.h>

#include <algorithm>
#include <optional>
#include <ostream>
#include <utility>

#include <gtest/gtest.h>

#include <infra/oss/kelSocketException.h>

#include "support/kelRaises.h"

namespace nx::test {

const char* const PORT = "(port)";

Outcome returns(std::string result) { return {std::move(result), "", {}}; }

Outcome raises(std::string identifier) {
    return raises(std::move(identifier), {"127.0.0.1", PORT});
}

Outcome raises(std::string identifier, std::vector<std::string> arguments) {
    return {"", std::move(identifier), std::move(arguments)};
}

void expectOutcome(const std::function<std::string()>& operation, const Outcome& expected,
                   const std::string& port) {
    if (expected.identifier.empty()) {
        EXPECT_NO_THROW(EXPECT_EQ(expected.result, operation()));
        return;
    }
    std::vector<std::string> arguments = expected.arguments;
    std::replace(arguments.begin(), arguments.end(), std::string(PORT), port);
    EXPECT_RAISES(oss::SocketException, operation(),
                  Report(expected.identifier).in(expected.file).with(std::move(arguments)));
}

Act sends(std::string bytes) {
    return [bytes = std::move(bytes)](Connection& connection) {
        sendAll(connection.peer.get(), bytes);
    };
}

Act sendsByteByByte(std::string bytes) {
    return [bytes = std::move(bytes)](Connection& connection) {
        test::sendByteByByte(connection.peer.get(), bytes, connection.socket.getDescriptor());
    };
}

Act sendsUrgent(std::string bytes) {
    return [bytes = std::move(bytes)](Connection& connection) {
        EXPECT_EQ(static_cast<ssize_t>(bytes.size()),
                  ::send(connection.peer.get(), bytes.data(), bytes.size(), MSG_OOB));
    };
}

void closes(Connection& connection) { connection.peer.close(); }

void resets(Connection& connection) { connection.peer.closeWithReset(); }

void endsSending(Connection& connection) {
    EXPECT_EQ(0, ::shutdown(connection.peer.get(), SHUT_WR));
}

void stopsReceiving(Connection& connection) {
    EXPECT_EQ(0, ::shutdown(connection.peer.get(), SHUT_RD));
}

void resetsWhenSentTo(Connection& connection) {
    waitUntilReadable(connection.peer.get());
    connection.peer.closeWithReset();
}

void isShutDown(Connection& connection) {
    oss::Socket copy(connection.socket);
    copy.shutdownReadWrite();
}

void isShutDownWhenRead(Connection& connection) {
    while (unreadBytes(connection.socket.getDescriptor()) != 0) {
        std::this_thread::yield();
    }
    isShutDown(connection);
}

void isShutDownWhenSentTo(Connection& connection) {
    waitUntilReadable(connection.peer.get());
    isShutDown(connection);
}

std::ostream& operator<<(std::ostream& out, const PeerCase& row) { return out << row.name; }

void run(const PeerCase& row) {
    const NoDescriptorLeak check;
    Connection connection;
    for (const Act& act : row.before) {
        act(connection);
    }
    std::optional<JoinedThread> beside;
    if (row.meanwhile) {
        beside.emplace([&] { row.meanwhile(connection); });
    }
    for (const Step& step : row.steps) {
        expectOutcome([&] { return step.operation(connection.socket); }, step.expected,
                      connection.portText());
    }
    EXPECT_TRUE(connection.socket.isOwner());
    EXPECT_TRUE(isOpen(connection.socket.getDescriptor()));
}

}  // namespace nx::test

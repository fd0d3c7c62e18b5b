#pragma once

#include <functional>
#include <iosfwd>
#include <string>
#include <vector>

#include <infra/oss/kelSocket.h>

#include "support/kelLoopback.h"

/// Rows of a table of peers that misbehave: what the peer does, and how each operation ends.
namespace nx::test {

/// Stands for the port of the peer in the arguments of an error.
extern const char* const PORT;

/// How an operation ends: with a text that tells its result, or with an error.
struct Outcome {
    std::string result;
    std::string identifier;
    std::vector<std::string> arguments;
    std::string file = "kelSocket.cpp";
};

Outcome returns(std::string result);
/// An error with host and port of the peer.
Outcome raises(std::string identifier);
Outcome raises(std::string identifier, std::vector<std::string> arguments);

/// Expects that the operation, which tells its result as a text, ends as it must.
void expectOutcome(const std::function<std::string()>& operation, const Outcome& expected,
                   const std::string& port);

/// What a peer does.
using Act = std::function<void(Connection&)>;

Act sends(std::string bytes);
/// Each byte after the one before has been taken.
Act sendsByteByByte(std::string bytes);
/// The last byte is marked as urgent.
Act sendsUrgent(std::string bytes);
void closes(Connection& connection);
void resets(Connection& connection);
void endsSending(Connection& connection);
void stopsReceiving(Connection& connection);
/// Reads nothing until the other end has sent something, then resets.
void resetsWhenSentTo(Connection& connection);
/// The program itself ends both directions, from another thread.
void isShutDown(Connection& connection);
/// The same when the program has taken everything that the peer has sent.
void isShutDownWhenRead(Connection& connection);
/// The same when the peer has been sent something.
void isShutDownWhenSentTo(Connection& connection);

/// What the program does with its end.
using Operation = std::function<std::string(oss::Socket&)>;

struct Step {
    Operation operation;
    Outcome expected;
};

struct PeerCase {
    std::string name;
    std::vector<Act> before;  ///< the operations
    std::vector<Step> steps;
    Act meanwhile = nullptr;  ///< in another thread, beside the operations
};

std::ostream& operator<<(std::ostream& out, const PeerCase& row);

/// Runs a row: every step ends as it must, the socket still owns its connection, and no descriptor
/// is left.
void run(const PeerCase& row);

}  // namespace nx::test

// A server that answers every item with the same bytes, each client in a thread of its own.

#include <atomic>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <exception>
#include <iostream>
#include <list>
#include <memory>
#include <string>
#include <thread>

#include <infra/oss/kelSocket.h>
#include <infra/oss/kelSocketException.h>
#include <infra/oss/kelSocketServer.h>

#include "kelExampleTools.h"

namespace {

using nx::oss::BaseException;
using nx::oss::Socket;
using nx::oss::SocketException;
using nx::oss::SocketServer;

/// How soon the server notices that it is to stop, or that a client has gone.
constexpr unsigned long TIME_SLICE_MS = 100;
constexpr unsigned long BACKLOG = 64;
constexpr std::size_t MOST_CLIENTS = 64;

constexpr char USAGE[] =
    "Usage: kelItemServer [OPTION]...\n"
    "Answers every item that a client sends with the same bytes. The first line of\n"
    "output is the port. SIGTERM or SIGINT stops the server.\n"
    "\n"
    "  --port N         listen on port N of all local addresses; 0, the default,\n"
    "                   lets the system choose\n"
    "  --max-item N     end the connection of a client that announces an item of\n"
    "                   more than N bytes (default 67108864)\n"
    "  --connections N  stop after N connections (default 0: no limit)\n"
    "  --help           show this text\n"
    "\n"
    "Failures of single connections are reported on standard error and end that\n"
    "connection only. Exit status: 0 when stopped as asked, 1 when the server\n"
    "failed, 2 for wrong usage.\n";

struct Options {
    unsigned long port = 0;
    unsigned long maxItem = 64UL << 20;
    unsigned long connections = 0;
};

std::atomic<bool> stopRequested{false};
static_assert(std::atomic<bool>::is_always_lock_free, "a signal handler sets it");

extern "C" void requestStop(int) { stopRequested = true; }

/// What all connections have exchanged so far.
struct Totals {
    std::atomic<unsigned long> items{0};
    std::atomic<unsigned long> bytes{0};
};

/// Answers items until the client closes between two of them, which ends in "ERR_SOCKET_CLOSED".
void answerItems(Socket& socket, unsigned long maxItem, Totals& totals) {
    // Uninitialised memory: the system provides only the pages that items reach.
    const std::unique_ptr<char[]> item(new char[maxItem]);
    for (;;) {
        unsigned long announced = 0;
        const unsigned long length =
            socket.readItem(item.get(), announced, 0, maxItem, /*discardOversized=*/false);
        if (length < announced) {
            example::complain("a client closed after " + std::to_string(length) + " of " +
                              std::to_string(announced) + " bytes of an item");
            return;
        }
        socket.writeItem(item.get(), 0, length);
        totals.items += 1;
        totals.bytes += length;
    }
}

/// One client: the socket that owns its connection, and the thread that serves it.
class Connection {
  public:
    Connection() = default;
    Connection(const Connection&) = delete;
    Connection& operator=(const Connection&) = delete;
    /// Ends the exchange and waits for the thread; then the socket closes.
    ~Connection() {
        if (thread_.joinable()) {
            interrupt();
            thread_.join();
        }
    }

    Socket& socket() { return socket_; }

    void start(unsigned long maxItem, Totals& totals) {
        // An item is sent in two pieces, the second of which would wait for the client otherwise.
        socket_.setTcpNoDelay(true);
        shared_ = socket_;
        thread_ = std::thread([this, maxItem, &totals] { serve(maxItem, totals); });
    }

    bool hasEnded() const { return ended_; }

  private:
    /// Makes the reads and writes of the thread return at once.
    void interrupt() {
        try {
            shared_.shutdownReadWrite();
        } catch (const SocketException&) {
            // The client has ended the connection already.
        }
    }

    void serve(unsigned long maxItem, Totals& totals) {
        try {
            answerItems(socket_, maxItem, totals);
        } catch (const BaseException& failure) {
            if (!stopRequested && !example::isFailure(failure, "ERR_SOCKET_CLOSED")) {
                example::complain(example::describe(failure));
            }
        } catch (const std::exception& failure) {
            example::complain(failure.what());
        }
        ended_ = true;
    }

    Socket socket_;
    /// A copy for the accepting thread: it does not own the connection, and one socket object must
    /// not be used by two threads.
    Socket shared_;
    std::thread thread_;
    std::atomic<bool> ended_{false};
};

void removeEnded(std::list<Connection>& clients) {
    clients.remove_if([](const Connection& client) { return client.hasEnded(); });
}

void waitForTimeSlice() { std::this_thread::sleep_for(std::chrono::milliseconds(TIME_SLICE_MS)); }

/// Accepts and serves one client; returns whether one came within the time slice.
bool acceptClient(SocketServer& server, std::list<Connection>& clients, const Options& options,
                  Totals& totals) {
    Connection& client = clients.emplace_back();
    try {
        server.accept(client.socket(), &TIME_SLICE_MS);
        client.start(options.maxItem, totals);
        return true;
    } catch (const BaseException& failure) {
        clients.pop_back();
        if (!stopRequested && !example::isFailure(failure, "ERR_SOCKET_TIMEOUT")) {
            example::complain(example::describe(failure));
            waitForTimeSlice();
        }
        return false;
    }
}

/// Serves clients until it is asked to stop or has accepted as many as wanted.
void serveClients(SocketServer& server, const Options& options, Totals& totals) {
    std::list<Connection> clients;
    unsigned long accepted = 0;
    while (!stopRequested && (options.connections == 0 || accepted < options.connections)) {
        removeEnded(clients);
        if (clients.size() == MOST_CLIENTS) {
            waitForTimeSlice();
        } else if (acceptClient(server, clients, options, totals)) {
            ++accepted;
        }
    }
    for (; !stopRequested && !clients.empty(); removeEnded(clients)) {
        waitForTimeSlice();
    }
    clients.clear();
    std::cout << accepted << " connections, " << totals.items << " items, " << totals.bytes
              << " bytes answered\n";
}

void listenOn(SocketServer& server, unsigned long port) {
    try {
        server.listen(port, BACKLOG, /*reuseAddress=*/true);
    } catch (const BaseException&) {
        // The report holds the port in use before, which is none.
        example::complain("cannot listen on port " + std::to_string(port));
        throw;
    }
}

void stopOnSignals() {
    struct sigaction action {};
    action.sa_handler = requestStop;
    // Calls of the serving threads go on; the accepting thread looks at stopRequested.
    action.sa_flags = SA_RESTART;
    sigaction(SIGTERM, &action, nullptr);
    sigaction(SIGINT, &action, nullptr);
}

Options parseOptions(int argc, char** argv) {
    static const option OPTIONS[] = {{"port", required_argument, nullptr, 'p'},
                                     {"max-item", required_argument, nullptr, 'm'},
                                     {"connections", required_argument, nullptr, 'c'},
                                     {"help", no_argument, nullptr, 'h'},
                                     {nullptr, 0, nullptr, 0}};
    Options options;
    for (int found = 0; (found = getopt_long(argc, argv, "", OPTIONS, nullptr)) != -1;) {
        switch (found) {
            case 'p':
                options.port = example::requireNumber("--port", optarg, 65535);
                break;
            case 'm':
                options.maxItem =
                    example::requireNumber("--max-item", optarg, example::LARGEST_ITEM);
                break;
            case 'c':
                options.connections = example::requireNumber("--connections", optarg, ~0UL);
                break;
            case 'h':
                std::cout << USAGE;
                std::exit(EXIT_SUCCESS);
            default:
                std::cerr << "Try 'kelItemServer --help'.\n";
                std::exit(example::EXIT_WRONG_USAGE);
        }
    }
    if (optind < argc) {
        example::refuseUsage(std::string("unexpected argument '") + argv[optind] + "'");
    }
    return options;
}

}  // namespace

int main(int argc, char** argv) {
    const Options options = parseOptions(argc, argv);
    return example::runProgram([&options] {
        stopOnSignals();
        SocketServer server;
        listenOn(server, options.port);
        std::cout << server.getPort() << std::endl;
        Totals totals;
        serveClients(server, options, totals);
    });
}

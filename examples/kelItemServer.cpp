// A server that answers every item with the same bytes, each client in a thread of its own.

#include <atomic>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <exception>
#include <iostream>
#include <list>
#include <memory>
#include <optional>
#include <string>
#include <thread>

#include <infra/oss/kelSocket.h>
#include <infra/oss/kelSocketException.h>
#include <infra/oss/kelSocketServer.h>

#include "kelExampleTools.h"
#include "kelExchangeSettings.h"

namespace {

using nx::oss::BaseException;
using nx::oss::Socket;
using nx::oss::SocketException;
using nx::oss::SocketServer;

constexpr unsigned long BACKLOG = 64;
constexpr std::size_t MOST_CLIENTS = 64;

constexpr char USAGE[] =
    "Usage: kelItemServer [OPTION]...\n"
    "Answers every item that a client sends with the same bytes. The first line of\n"
    "output is the port. SIGTERM or SIGINT stops the server.\n"
    "\n"
    "  --settings FILE  read the settings from a properties file\n"
    "  --port N         listen on port N of all local addresses; 0, the default,\n"
    "                   lets the system choose\n"
    "  --max-item N     end the connection of a client that announces an item of\n"
    "                   more than N bytes (default 67108864)\n"
    "  --connections N  stop after N connections (default 0: no limit)\n"
    "  --check          only read and check the settings\n"
    "  --help           show this text\n"
    "\n"
    "Other options come before the settings in the file. Failures of single\n"
    "connections are reported on standard error and end that connection only. Exit\n"
    "status: 0 when stopped as asked, 1 when the server failed, 2 for wrong usage or\n"
    "wrong settings.\n";

struct Options {
    std::optional<std::string> settingsFile;
    std::optional<unsigned long> port;
    std::optional<unsigned long> maxItem;
    unsigned long connections = 0;
    bool checkOnly = false;
};

using example::ExchangeSettings;

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

    void start(const ExchangeSettings& settings, Totals& totals) {
        // An item is sent in two pieces, the second of which would wait for the client otherwise.
        socket_.setTcpNoDelay(settings.noDelay);
        shared_ = socket_;
        const auto maxItem = static_cast<unsigned long>(settings.largestItem);
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

/// How long the server sleeps where it cannot wait for an event.
void sleepForMoment() { std::this_thread::sleep_for(std::chrono::milliseconds(100)); }

/// Accepts and serves one client; returns whether one came within the time-out.
bool acceptClient(SocketServer& server, std::list<Connection>& clients,
                  const ExchangeSettings& settings, Totals& totals) {
    Connection& client = clients.emplace_back();
    try {
        server.accept(client.socket(), &settings.acceptTimeout);
        client.start(settings, totals);
        return true;
    } catch (const BaseException& failure) {
        clients.pop_back();
        if (!stopRequested && !example::isFailure(failure, "ERR_SOCKET_TIMEOUT")) {
            example::complain(example::describe(failure));
            sleepForMoment();
        }
        return false;
    }
}

/// Serves clients until it is asked to stop or has accepted as many as wanted.
void serveClients(SocketServer& server, const ExchangeSettings& settings, unsigned long connections,
                  Totals& totals) {
    std::list<Connection> clients;
    unsigned long accepted = 0;
    while (!stopRequested && (connections == 0 || accepted < connections)) {
        removeEnded(clients);
        if (clients.size() == MOST_CLIENTS) {
            sleepForMoment();
        } else if (acceptClient(server, clients, settings, totals)) {
            ++accepted;
        }
    }
    for (; !stopRequested && !clients.empty(); removeEnded(clients)) {
        sleepForMoment();
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
    static const option OPTIONS[] = {{"settings", required_argument, nullptr, 's'},
                                     {"port", required_argument, nullptr, 'p'},
                                     {"max-item", required_argument, nullptr, 'm'},
                                     {"connections", required_argument, nullptr, 'c'},
                                     {"check", no_argument, nullptr, 'k'},
                                     {"help", no_argument, nullptr, 'h'},
                                     {nullptr, 0, nullptr, 0}};
    Options options;
    for (int found = 0; (found = getopt_long(argc, argv, "", OPTIONS, nullptr)) != -1;) {
        switch (found) {
            case 's':
                options.settingsFile = optarg;
                break;
            case 'k':
                options.checkOnly = true;
                break;
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

/// What the file says, if there is one, overruled by the options.
ExchangeSettings chooseSettings(const Options& options) {
    ExchangeSettings settings =
        options.settingsFile ? example::loadSettings(*options.settingsFile) : ExchangeSettings();
    settings.port = static_cast<unsigned int>(options.port.value_or(settings.port));
    settings.largestItem =
        options.maxItem ? static_cast<long>(*options.maxItem) : settings.largestItem;
    return settings;
}

void serve(const ExchangeSettings& settings, unsigned long connections) {
    stopOnSignals();
    SocketServer server;
    listenOn(server, settings.port);
    std::cout << server.getPort() << std::endl;
    Totals totals;
    serveClients(server, settings, connections, totals);
}

}  // namespace

int main(int argc, char** argv) {
    const Options options = parseOptions(argc, argv);
    ExchangeSettings settings;
    const int status =
        example::runProgram([&] { settings = chooseSettings(options); }, example::EXIT_WRONG_USAGE);
    if (status != EXIT_SUCCESS || options.checkOnly) {
        return status;
    }
    return example::runProgram([&] { serve(settings, options.connections); });
}

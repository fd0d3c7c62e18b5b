// A server that answers every item with the same bytes, each client in a thread of its own.

#include <pthread.h>
#include <signal.h>

#include <atomic>
#include <cstdlib>
#include <exception>
#include <iostream>
#include <list>
#include <memory>
#include <optional>
#include <string>
#include <system_error>

#include <infra/oss/kelSocket.h>
#include <infra/oss/kelSocketException.h>
#include <infra/oss/kelSocketServer.h>
#include <infra/oss/kelThread.h>

#include "kelExampleTools.h"
#include "kelExchangeSettings.h"

namespace {

using nx::oss::BaseException;
using nx::oss::Runnable;
using nx::oss::Socket;
using nx::oss::SocketException;
using nx::oss::SocketServer;
using nx::oss::Thread;

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
    "  --version        show the version of the library that is used\n"
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

/// Throws an error that names the operation and the system's reason, for a result other than 0.
void requireSuccess(int result, const char* operation) {
    if (result != 0) {
        throw std::system_error(result, std::generic_category(), operation);
    }
}

/// What all connections have exchanged so far.
struct Totals {
    std::atomic<unsigned long> items{0};
    std::atomic<unsigned long> bytes{0};
};

/// One client: the socket that owns its connection, and the thread that serves it.
class Connection : public Runnable {
  public:
    Connection(const ExchangeSettings& settings, Totals& totals)
        : settings_(settings), totals_(totals) {}
    Connection(const Connection&) = delete;
    Connection& operator=(const Connection&) = delete;
    /// Ends the exchange and waits for the thread; then the socket closes.
    ~Connection() override {
        if (thread_.isRunning()) {
            interrupt();
            thread_.join();
        }
    }

    Socket& socket() { return socket_; }

    void start() {
        // An item is sent in two pieces, the second of which would wait for the client otherwise.
        socket_.setTcpNoDelay(settings_.noDelay);
        shared_ = socket_;
        requireSuccess(thread_.start(), "cannot start a thread");
    }

    bool hasEnded() const { return ended_; }

    /// The thread.
    void run() override {
        try {
            answerItems();
        } catch (const BaseException& failure) {
            if (!example::isFailure(failure, "ERR_SOCKET_CLOSED")) {
                report(example::describe(failure));
            }
        } catch (const std::exception& failure) {
            example::complain(failure.what());
        }
        ended_ = true;
    }

  private:
    /// Makes the reads and writes of the thread return at once.
    void interrupt() {
        interrupted_ = true;
        try {
            shared_.shutdownReadWrite();
        } catch (const SocketException&) {
            // The client has ended the connection already.
        }
    }

    /// Answers items until the client closes between two, which ends in "ERR_SOCKET_CLOSED".
    void answerItems() {
        const auto maxItem = static_cast<unsigned long>(settings_.largestItem);
        // Uninitialised memory: the system provides only the pages that items reach.
        const std::unique_ptr<char[]> item(new char[maxItem]);
        for (;;) {
            unsigned long announced = 0;
            const unsigned long length =
                socket_.readItem(item.get(), announced, 0, maxItem, /*discardOversized=*/false);
            if (length < announced) {
                report("a client closed after " + std::to_string(length) + " of " +
                       std::to_string(announced) + " bytes of an item");
                return;
            }
            socket_.writeItem(item.get(), 0, length);
            totals_.items += 1;
            totals_.bytes += length;
        }
    }

    /// What fails because the server ends it is no failure of the client.
    void report(const std::string& failure) const {
        if (!interrupted_) {
            example::complain(failure);
        }
    }

    const ExchangeSettings& settings_;
    Totals& totals_;
    Socket socket_;
    /// A copy for the accepting thread: it does not own the connection, and one socket object must
    /// not be used by two threads.
    Socket shared_;
    std::atomic<bool> interrupted_{false};
    std::atomic<bool> ended_{false};
    Thread thread_{this, /*deleteRunnable=*/false};
};

/// The signals that stop the server. They are blocked in every thread, and taken by one that waits
/// for them: unlike a signal handler, it may do anything.
class StopSignals : public Runnable {
  public:
    /// Before any other thread starts, which inherits what is blocked.
    StopSignals() {
        sigemptyset(&signals_);
        sigaddset(&signals_, SIGTERM);
        sigaddset(&signals_, SIGINT);
        requireSuccess(pthread_sigmask(SIG_BLOCK, &signals_, nullptr), "cannot block signals");
    }
    StopSignals(const StopSignals&) = delete;
    StopSignals& operator=(const StopSignals&) = delete;
    /// A signal may never have come: the thread is cancelled while it waits.
    ~StopSignals() override {
        thread_.stop();
        thread_.join();
    }

    /// From now on a signal stops `server`, which must outlive this object.
    void stop(SocketServer& server) {
        server_ = &server;
        requireSuccess(thread_.start(), "cannot start a thread");
    }

    /// The thread.
    void run() override {
        int signal = 0;
        sigwait(&signals_, &signal);
        try {
            server_->shutdownRead();
        } catch (const SocketException& failure) {
            example::complain(example::describe(failure));
        }
    }

  private:
    sigset_t signals_{};
    SocketServer* server_ = nullptr;
    Thread thread_{this, /*deleteRunnable=*/false};
};

void removeEnded(std::list<Connection>& clients) {
    clients.remove_if([](const Connection& client) { return client.hasEnded(); });
}

/// Waits where there is no event to wait for.
void sleepForMoment() { Thread::sleep(100); }

/// Accepts and serves one client; returns whether one came within the time-out.
bool acceptClient(SocketServer& server, std::list<Connection>& clients,
                  const ExchangeSettings& settings, Totals& totals) {
    Connection& client = clients.emplace_back(settings, totals);
    try {
        server.accept(client.socket(), &settings.acceptTimeout);
        client.start();
        return true;
    } catch (const BaseException& failure) {
        // A server that has been stopped fails to accept, which is no failure.
        if (server.isListening() && !example::isFailure(failure, "ERR_SOCKET_TIMEOUT")) {
            example::complain(example::describe(failure));
            sleepForMoment();
        }
    } catch (const std::system_error& failure) {
        example::complain(failure.what());
        sleepForMoment();
    }
    clients.pop_back();
    return false;
}

/// Serves clients until it is asked to stop or has accepted as many as wanted.
void serveClients(SocketServer& server, const ExchangeSettings& settings, unsigned long connections,
                  Totals& totals) {
    std::list<Connection> clients;
    unsigned long accepted = 0;
    while (server.isListening() && (connections == 0 || accepted < connections)) {
        removeEnded(clients);
        if (clients.size() == MOST_CLIENTS) {
            sleepForMoment();
        } else if (acceptClient(server, clients, settings, totals)) {
            ++accepted;
        }
    }
    for (; server.isListening() && !clients.empty(); removeEnded(clients)) {
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

Options parseOptions(int argc, char** argv) {
    static const option OPTIONS[] = {{"settings", required_argument, nullptr, 's'},
                                     {"port", required_argument, nullptr, 'p'},
                                     {"max-item", required_argument, nullptr, 'm'},
                                     {"connections", required_argument, nullptr, 'c'},
                                     {"check", no_argument, nullptr, 'k'},
                                     {"version", no_argument, nullptr, 'v'},
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
            case 'v':
                example::printVersion();
                std::exit(EXIT_SUCCESS);
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
    SocketServer server;
    StopSignals signals;
    listenOn(server, settings.port);
    signals.stop(server);
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

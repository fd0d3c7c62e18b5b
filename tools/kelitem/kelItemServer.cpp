#include "kelitem/kelItemServer.h"

#include <infra/oss/kelSocketException.h>
#include <infra/oss/kelSocketServer.h>
#include <infra/oss/kelThread.h>

#include <fcntl.h>
#include <signal.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstring>
#include <list>
#include <memory>
#include <mutex>

#include "common/kelFiles.h"
#include "kelitem/kelItemChannel.h"
#include "kelitem/kelItemLength.h"

namespace tools {

namespace {

using nx::oss::Socket;
using nx::oss::SocketServer;

constexpr unsigned long BACKLOG = 64;
constexpr std::size_t MOST_CLIENTS = 64;
/// How often signals are looked for while no client comes.
constexpr unsigned long SLICE_MS = 100;

/// The items of all connections, as they went over them, in one file.
class Capture {
  public:
    explicit Capture(const std::string& path) {
        if (path.empty()) {
            return;
        }
        descriptor_ = open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666);
        if (descriptor_ < 0) {
            failWithErrno("write '" + printable(path) + "'");
        }
        output_ = std::make_unique<Output>("'" + printable(path) + "'", descriptor_);
    }
    Capture(const Capture&) = delete;
    Capture& operator=(const Capture&) = delete;
    ~Capture() {
        if (descriptor_ >= 0) {
            close(descriptor_);
        }
    }

    /// False when the item is not there. Nothing comes behind one that could not be written whole.
    bool add(std::string_view item) {
        if (!output_) {
            return true;
        }
        const std::lock_guard<std::mutex> lock(mutex_);
        if (hasFailed_) {
            return false;
        }
        try {
            const LengthPrefix prefix = prefixOf(item.size());
            output_->write({prefix.data(), prefix.size()});
            output_->write(item);
            output_->flush();
        } catch (const Failure& failure) {
            hasFailed_ = true;
            complain(failure.what());
        }
        return !hasFailed_;
    }

    bool hasFailed() const { return hasFailed_; }

  private:
    std::mutex mutex_;
    std::atomic<bool> hasFailed_{false};
    int descriptor_ = -1;
    std::unique_ptr<Output> output_;
};

/// What all connections share.
struct Service {
    explicit Service(const ServeOptions& wanted) : options(wanted), capture(wanted.saveFile) {}

    const ServeOptions& options;
    Capture capture;
    std::atomic<unsigned long> items{0};
    std::atomic<unsigned long> bytes{0};
};

void shutdownBoth(Socket& socket) {
    try {
        socket.shutdownReadWrite();
    } catch (const nx::oss::SocketException&) {
        // The other side has ended the connection already.
    }
}

/// One client: the socket that owns the connection, and the thread that serves it.
class Client : public nx::oss::Runnable {
  public:
    Client(Service& service, unsigned long number) : service_(service), number_(number) {}
    Client(const Client&) = delete;
    Client& operator=(const Client&) = delete;
    ~Client() override {
        if (thread_.isRunning()) {
            endConnection();
            thread_.join();
        }
    }

    Socket& socket() { return socket_; }
    bool hasEnded() const { return ended_; }

    void start() {
        fromOutside_ = socket_;
        const int result = thread_.start();
        if (result != 0) {
            throw Failure(std::string("cannot start a thread: ") + std::strerror(result));
        }
    }

    void run() override {
        try {
            serve();
        } catch (const nx::oss::BaseException& failure) {
            report(failure);
        } catch (const std::exception& failure) {
            report(failure.what());
        }
        // Not closed yet: while this object is there, nobody else gets the descriptor.
        shutdownBoth(socket_);
        ended_ = true;
    }

  private:
    void serve() {
        ItemChannel channel(socket_, service_.options.timeoutMs, service_.options.maxLength);
        for (;;) {
            const std::string_view item = channel.receive();
            if (!service_.capture.add(item)) {
                return;
            }
            ++service_.items;
            service_.bytes += item.size();
            if (service_.options.answers) {
                channel.send(item);
            }
        }
    }

    void report(const nx::oss::BaseException& failure) const {
        if (!isFailure(failure, "ERR_SOCKET_CLOSED")) {
            const std::string advice = adviceFor(failure);
            report(describe(failure) + (advice.empty() ? "" : ": " + advice));
        }
    }

    /// What fails because the server ends is no failure of the client.
    void report(const std::string& failure) const {
        if (!interrupted_) {
            complain("client " + std::to_string(number_) + ": " + failure);
        }
    }

    /// Makes what the thread waits for end at once.
    void endConnection() {
        interrupted_ = true;
        shutdownBoth(fromOutside_);
    }

    Service& service_;
    unsigned long number_;
    Socket socket_;
    // One socket object must not be used by two threads; a copy does not own the connection.
    Socket fromOutside_;
    std::atomic<bool> interrupted_{false};
    std::atomic<bool> ended_{false};
    nx::oss::Thread thread_{this, /*deleteRunnable=*/false};
};

/// SIGINT and SIGTERM, which this thread and those that it starts no longer obey, but look for.
class StopSignals {
  public:
    StopSignals() {
        sigemptyset(&signals_);
        sigaddset(&signals_, SIGINT);
        sigaddset(&signals_, SIGTERM);
        pthread_sigmask(SIG_BLOCK, &signals_, nullptr);
    }

    bool hasCome() {
        const timespec atOnce{};
        came_ = came_ || sigtimedwait(&signals_, nullptr, &atOnce) > 0;
        return came_;
    }

  private:
    sigset_t signals_{};
    bool came_ = false;
};

/// Whether a client came within the slice.
bool acceptClient(SocketServer& server, std::list<Client>& clients, Service& service,
                  unsigned long number) {
    Client& client = clients.emplace_back(service, number);
    try {
        server.accept(client.socket(), &SLICE_MS);
        client.start();
        return true;
    } catch (const nx::oss::BaseException& failure) {
        if (!isFailure(failure, "ERR_SOCKET_TIMEOUT")) {
            complain(failure);
            nx::oss::Thread::sleep(SLICE_MS);
        }
    } catch (const Failure& failure) {
        complain(failure.what());
    }
    clients.pop_back();
    return false;
}

unsigned long serveClients(SocketServer& server, Service& service, StopSignals& signals) {
    const unsigned long limit = service.options.connections;
    std::list<Client> clients;
    unsigned long accepted = 0;
    while (!signals.hasCome() && !service.capture.hasFailed() &&
           (limit == 0 || accepted < limit || !clients.empty())) {
        clients.remove_if([](const Client& client) { return client.hasEnded(); });
        const bool takesMore = clients.size() < MOST_CLIENTS && (limit == 0 || accepted < limit);
        if (!takesMore) {
            nx::oss::Thread::sleep(SLICE_MS);
        } else if (acceptClient(server, clients, service, accepted + 1)) {
            ++accepted;
        }
    }
    return accepted;
}

}  // namespace

ExitStatus serveItems(const ServeOptions& options) {
    StopSignals signals;
    SocketServer server;
    try {
        server.listen(options.port, BACKLOG, /*reuseAddress=*/true);
    } catch (const nx::oss::BaseException&) {
        // The library's record holds the port in use before, which is none.
        complain("cannot listen on port " + std::to_string(options.port));
        throw;
    }
    // Only a server that listens may empty what another one saved.
    Service service(options);
    print("listening on port " + std::to_string(server.getPort()));
    standardOutput().flush();
    const unsigned long accepted = serveClients(server, service, signals);
    print(counted(accepted, "connection") + ", " + counted(service.items, "item") + ", " +
          counted(service.bytes, "byte"));
    return service.capture.hasFailed() ? FAILED : ALL_WELL;
}

}  // namespace tools

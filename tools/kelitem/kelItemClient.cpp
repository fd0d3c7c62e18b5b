#include "kelitem/kelItemClient.h"

#include <infra/oss/kelSocket.h>
#include <infra/oss/kelThread.h>

#include <signal.h>
#include <sys/socket.h>

#include <algorithm>
#include <chrono>
#include <numeric>

#include "common/kelFiles.h"
#include "kelitem/kelItemChannel.h"
#include "kelitem/kelStatistics.h"

namespace tools {

namespace {

using nx::oss::Socket;
using Clock = std::chrono::steady_clock;

double secondsSince(Clock::time_point start) {
    return std::chrono::duration<double>(Clock::now() - start).count();
}

void connectTo(Socket& socket, const Server& server) {
    socket.connect(server.host, server.port, server.timeoutMs == 0 ? nullptr : &server.timeoutMs);
}

/// Sends items and deals with their answers.
class Sender {
  public:
    Sender(const Server& server, const SendOptions& options) : server_(server), options_(options) {
        connectTo(socket_, server);
    }

    ExitStatus run() {
        ItemChannel channel(socket_, server_.timeoutMs, server_.maxLength);
        for (const std::string& text : options_.texts) {
            exchange(channel, text);
        }
        for (const std::string& path : options_.files) {
            const std::string content = readWhole(path, LARGEST_ITEM);
            if (options_.byLines) {
                exchangeLines(channel, content);
            } else {
                exchange(channel, content);
            }
        }
        if (options_.answers == Answers::NONE) {
            awaitEnd();
        }
        conclude();
        return differences_ == 0 ? ALL_WELL : PROBLEM_FOUND;
    }

  private:
    void exchangeLines(ItemChannel& channel, std::string_view content) {
        while (!content.empty()) {
            const std::size_t end = std::min(content.find('\n'), content.size());
            exchange(channel, content.substr(0, end));
            content.remove_prefix(std::min(end + 1, content.size()));
        }
    }

    void exchange(ItemChannel& channel, std::string_view item) {
        channel.send(item);
        ++items_;
        bytes_ += item.size();
        if (options_.answers == Answers::NONE) {
            return;
        }
        const std::string_view answer = channel.receive();
        if (options_.answers == Answers::PRINT) {
            standardOutput().write(answer);
            standardOutput().write("\n");
        } else if (options_.answers == Answers::CHECK && answer != item) {
            ++differences_;
            complain("the answer to item " + std::to_string(items_) +
                     " differs from the item: " + std::to_string(answer.size()) +
                     " bytes instead of " + std::to_string(item.size()) + ", or others");
        }
    }

    /// All has arrived when the other side closes, too. Answers that come all the same are dropped.
    void awaitEnd() {
        socket_.shutdownWrite();
        char bytes[4096];
        while (socket_.readOnce(bytes, 0, sizeof bytes) > 0) {
        }
    }

    void conclude() const {
        if (options_.quiet || options_.answers == Answers::PRINT) {
            return;
        }
        const double seconds = secondsSince(start_);
        print(counted(items_, "item") + ", " + counted(bytes_, "byte") +
              (options_.answers == Answers::NONE ? " sent, " : " sent and answered, ") +
              durationText(seconds) + ", " +
              sizeText(static_cast<double>(bytes_) / std::max(seconds, 1e-9)) + "/s");
    }

    const Server& server_;
    const SendOptions& options_;
    Socket socket_;
    Clock::time_point start_ = Clock::now();
    unsigned long items_ = 0;
    unsigned long bytes_ = 0;
    unsigned long differences_ = 0;
};

volatile sig_atomic_t interrupted = 0;
volatile sig_atomic_t watchedDescriptor = -1;

// Ends what the connection waits for, or is about to wait for.
extern "C" void noteInterrupt(int) {
    interrupted = 1;
    shutdown(watchedDescriptor, SHUT_RDWR);
}

/// A first SIGINT ends the connection; a second one the tool.
void watchForInterrupt(const Socket& socket) {
    watchedDescriptor = static_cast<sig_atomic_t>(socket.getDescriptor());
    struct sigaction action {};
    action.sa_handler = noteInterrupt;
    action.sa_flags = static_cast<int>(SA_RESETHAND);
    sigaction(SIGINT, &action, nullptr);
}

/// Measures round trips.
class Pinger {
  public:
    Pinger(const Server& server, const PingOptions& options) : server_(server), options_(options) {
        connectTo(socket_, server);
    }

    ExitStatus run() {
        watchForInterrupt(socket_);
        try {
            measure();
        } catch (const nx::oss::BaseException& failure) {
            if (interrupted == 0) {
                conclude();
                throw;
            }
        }
        conclude();
        return differences_ == 0 ? ALL_WELL : PROBLEM_FOUND;
    }

  private:
    void measure() {
        ItemChannel channel(socket_, server_.timeoutMs, std::max(server_.maxLength, options_.size));
        std::string item(options_.size, '\0');
        std::iota(item.begin(), item.end(), ' ');
        while (interrupted == 0 && times_.size() < options_.count) {
            if (!times_.empty() && options_.intervalMs != 0) {
                nx::oss::Thread::sleep(options_.intervalMs);
            }
            if (interrupted != 0) {
                break;
            }
            const Clock::time_point start = Clock::now();
            channel.send(item);
            const bool isRight = channel.receive() == item;
            times_.push_back(secondsSince(start));
            differences_ += isRight ? 0 : 1;
        }
    }

    void conclude() {
        const std::string name = printable(server_.host) + ", port " + std::to_string(server_.port);
        print(name + ": " + counted(times_.size(), "answer") + " to items of " +
              counted(options_.size, "byte") +
              (differences_ == 0
                   ? ""
                   : paint(Colour::RED, ", " + std::to_string(differences_) + " of them wrong")));
        if (times_.empty()) {
            return;
        }
        std::sort(times_.begin(), times_.end());
        const double sum = std::accumulate(times_.begin(), times_.end(), 0.0);
        print("min " + durationText(times_.front()) + ", 50 % " +
              durationText(percentile(times_, 50)) + ", 90 % " +
              durationText(percentile(times_, 90)) + ", 99 % " +
              durationText(percentile(times_, 99)) + ", max " + durationText(times_.back()) +
              ", mean " + durationText(sum / static_cast<double>(times_.size())));
        if (!options_.quiet) {
            const std::vector<std::string> lines = histogram(times_);
            std::for_each(lines.begin(), lines.end(), print);
        }
    }

    const Server& server_;
    const PingOptions& options_;
    Socket socket_;
    std::vector<double> times_;
    unsigned long differences_ = 0;
};

}  // namespace

ExitStatus sendItems(const Server& server, const SendOptions& options) {
    return Sender(server, options).run();
}

ExitStatus pingItems(const Server& server, const PingOptions& options) {
    return Pinger(server, options).run();
}

}  // namespace tools

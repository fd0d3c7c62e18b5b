// The samples of docs/threads.md, each between two lines of dashes, with what they come to.
#include <infra/oss/kelSocket.h>
#include <infra/oss/kelSocketException.h>
#include <infra/oss/kelSocketServer.h>
#include <infra/oss/kelThread.h>

#include <atomic>
#include <string>

#include <gtest/gtest.h>

namespace nx::oss {
namespace {

TEST(ThreadDocument, StartsAndJoins) {
    // ----
    class Sum : public nx::oss::Runnable {
      public:
        void run() override {
            for (int i = 1; i <= 100; ++i) {
                total += i;
            }
        }
        int total = 0;
    };

    Sum sum;
    nx::oss::Thread thread(&sum, /*deleteRunnable=*/false);
    if (thread.start() != 0 || thread.join() != 0) {
        return;  // the result is the error number of the system
    }
    // sum.total is 5050
    // ----
    EXPECT_EQ(5050, sum.total);
}

TEST(ThreadDocument, StopsAWaitAndUnwindsIt) {
    SocketServer server;
    server.listen(0, 1, true);
    std::atomic<bool> left{false};
    // ----
    class Waiter : public nx::oss::Runnable {
      public:
        Waiter(nx::oss::SocketServer& server, std::atomic<bool>& left)
            : server_(server), left_(left) {}
        void run() override {
            struct AtEnd {
                ~AtEnd() { left = true; }  // runs when the thread is stopped, too
                std::atomic<bool>& left;
            } atEnd{left_};
            nx::oss::Socket client;  // closes what it has accepted
            try {
                server_.accept(client, nullptr);
            } catch (const nx::oss::BaseException&) {
                // Failures only. `catch (...)` would have to rethrow: being stopped comes by there.
            }
        }

      private:
        nx::oss::SocketServer& server_;
        std::atomic<bool>& left_;
    };

    Waiter waiter(server, left);
    nx::oss::Thread thread(&waiter, /*deleteRunnable=*/false);
    thread.start();
    thread.stop();  // only asks
    thread.join();  // `waiter` is in use until here
    // ----
    EXPECT_TRUE(left);
    EXPECT_FALSE(thread.isRunning());
}

TEST(ThreadDocument, EndsAReadWithoutStoppingTheThread) {
    SocketServer server;
    server.listen(0, 1, true);
    Socket client;
    client.connect("127.0.0.1", server.getPort(), nullptr);
    Socket connection;
    server.accept(connection, nullptr);
    // ----
    class Reader : public nx::oss::Runnable {
      public:
        explicit Reader(nx::oss::Socket& socket) : socket_(socket) {}
        void run() override { received = socket_.read(bytes, 0, sizeof bytes); }
        char bytes[16];
        unsigned long received = 99;

      private:
        nx::oss::Socket& socket_;
    };

    Reader reader(connection);
    nx::oss::Socket shared = connection;  // for this thread: a copy, which does not own
    nx::oss::Thread thread(&reader, /*deleteRunnable=*/false);
    thread.start();
    shared.shutdownReadWrite();  // the read returns
    thread.join();
    connection.close();  // by now nobody reads from it
    // ----
    EXPECT_EQ(0U, reader.received);
}

}  // namespace
}  // namespace nx::oss

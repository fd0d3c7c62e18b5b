// The guide's page on sockets: a server that answers items, a client,
// time-outs.
#include <infra/oss/kelRunnable.h>
#include <infra/oss/kelSocketException.h>
#include <infra/oss/kelSocketServer.h>
#include <infra/oss/kelThread.h>
#include <infra/oss/kelUTF8String.h>

#include <iostream>
#include <list>
#include <string>
#include <vector>

namespace {

// [is]
bool isFailure(const nx::oss::SocketException& failure,
               const char* identifier) {
    return failure.messages.getFirstMessage().getMessageID() == identifier;
}
// [is]

// [report]
void report(const nx::oss::SocketException& failure) {
    icu::UnicodeString text;
    failure.messages.getFirstMessage().toString(text);
    std::cerr << nx::oss::UTF8String(text).getString() + std::string("\n");
}
// [report]

// [answer]
constexpr unsigned long LARGEST_ITEM = 64 * 1024;

// Sends every item back, until the client closes.
void answer(nx::oss::Socket& client) {
    std::vector<char> item(LARGEST_ITEM);
    unsigned long announced = 0;
    for (;;) {
        const unsigned long received =
            client.readItem(item.data(), announced, 0, LARGEST_ITEM,
                            /*discardOversized=*/false);
        if (received < announced) {
            return;  // the client has gone in the middle of the item
        }
        client.writeItem(item.data(), 0, received);
    }
}
// [answer]

// [server]
class Server : public nx::oss::Runnable {
  public:
    // The system chooses the port.
    unsigned long listen() {
        server_.listen(/*port=*/0, /*backlog=*/16, /*reuseAddress=*/false);
        return server_.getPort();
    }
    void stop() { server_.shutdownRead(); }

    void run() override {
        const unsigned long timeoutMs = 100;  // how soon a stop is noticed
        while (server_.isListening()) {
            nx::oss::Socket
                client;  // closes the connection at the end of each round
            try {
                server_.accept(client, &timeoutMs);
                client.setTcpNoDelay(true);
                answer(client);
            } catch (const nx::oss::SocketException& failure) {
                if (server_.isListening() &&
                    !isFailure(failure, "ERR_SOCKET_TIMEOUT") &&
                    !isFailure(failure, "ERR_SOCKET_CLOSED")) {
                    report(failure);
                    nx::oss::Thread::sleep(
                        timeoutMs);  // no descriptor left, say: do not spin
                }
            }
        }
    }

  private:
    nx::oss::SocketServer server_;
};
// [server]

// [receive]
// The next item; shorter than announced if the peer goes in the middle of it.
std::string receive(nx::oss::Socket& server) {
    std::string item(LARGEST_ITEM, '\0');
    unsigned long announced = 0;
    item.resize(server.readItem(item.data(), announced, 0, item.size(),
                                /*discardOversized=*/false));
    return item;
}
// [receive]

// [ready]
// Whether something to read comes, or the peer closes, before the time is over.
bool isReadable(const nx::oss::Socket& socket, unsigned long timeoutMs) {
    std::list<nx::oss::Socket> readers{
        socket};  // a copy, which does not own the connection
    std::list<nx::oss::Socket> none;
    return nx::oss::Socket::select(readers, none, none, &timeoutMs) > 0;
}
// [ready]

// [talk]
void talk(unsigned long port) {
    const unsigned long timeoutMs = 5000;
    nx::oss::Socket client;
    client.connect("127.0.0.1", port, &timeoutMs);
    std::cout << (isReadable(client, 0) ? "early\n" : "nothing yet\n");
    client.writeItem("hello", 0, 5);
    std::cout << (isReadable(client, timeoutMs) ? receive(client) : "too late")
              << "\n";
}
// [talk]

}  // namespace

// [main]
int main() {
    Server server;
    const unsigned long port = server.listen();
    nx::oss::Thread thread(&server, /*deleteRunnable=*/false);
    if (thread.start() != 0) {
        return 1;
    }
    bool talked = false;
    try {
        talk(port);
        talked = true;
    } catch (const nx::oss::SocketException& failure) {
        report(failure);
    }
    server.stop();
    thread.join();  // `server` is in use until here
    return talked ? 0 : 1;
}
// [main]

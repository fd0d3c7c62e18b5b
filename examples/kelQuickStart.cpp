#include <infra/oss/kelSocketException.h>
#include <infra/oss/kelSocketServer.h>

#include <iostream>

using nx::oss::Socket;

int main() {
    const unsigned long timeoutMs = 1000;
    nx::oss::SocketServer server;
    Socket client, peer;
    try {
        server.listen(/*port=*/0, /*backlog=*/1, /*reuseAddress=*/false);
        client.connect("127.0.0.1", server.getPort(), &timeoutMs);
        server.accept(peer, &timeoutMs);

        client.writeItem("hello", 0, 5);
        char item[64];
        unsigned long announced = 0;
        const unsigned long received = peer.readItem(item, announced, 0, sizeof item, false);
        std::cout.write(item, static_cast<std::streamsize>(received)) << "\n";

        client.connect("127.0.0.1", server.getPort(), &timeoutMs);  // is connected already
    } catch (const nx::oss::SocketException& failure) {
        icu::UnicodeString text;
        failure.messages.getFirstMessage().toString(text);
        std::string utf8;
        std::cout << text.toUTF8String(utf8) << "\n";
    }
}

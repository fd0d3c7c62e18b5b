#include <infra/oss/kelSocketException.h>
#include <infra/oss/kelSocketServer.h>
#include <infra/oss/kelUTF8String.h>
#include <infra/util/kelExtendedProperties.h>

#include <iostream>

#include "kelExampleTools.h"

int main(int argc, char** argv) {
    example::answerVersionOption(argc, argv);
    const char text[] = "host = 127.0.0.1\ntimeout = 1000\ngreeting = hello, %host%\n";
    try {
        nx::util::ExtendedProperties settings;
        settings.loadFromString(text, sizeof text - 1);
        const unsigned long timeoutMs = settings.getPropertyAsUInt64("timeout", 5000ul);

        nx::oss::SocketServer server;
        nx::oss::Socket client, peer;
        server.listen(/*port=*/0, /*backlog=*/1, /*reuseAddress=*/false);
        client.connect(settings.requireProperty("host"), server.getPort(), &timeoutMs);
        server.accept(peer, &timeoutMs);

        const nx::oss::UTF8String greeting(settings.requireProperty("greeting"));
        client.writeItem(greeting.getString(), 0, static_cast<unsigned long>(greeting.length()));
        char item[64];
        unsigned long announced = 0;
        const unsigned long received = peer.readItem(item, announced, 0, sizeof item, false);
        std::cout.write(item, static_cast<std::streamsize>(received)) << "\n";

        settings.requirePropertyAsInt32("greeting");  // is no number
    } catch (const nx::oss::BaseException& failure) {
        icu::UnicodeString report;
        failure.messages.getFirstMessage().toString(report);
        std::cout << nx::oss::UTF8String(report).getString() << "\n";
    }
}

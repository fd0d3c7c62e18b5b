// The guide's page on testing: failures as values, and a peer in the same
// thread.
#include <infra/oss/kelSocketException.h>
#include <infra/oss/kelSocketServer.h>
#include <infra/oss/kelUTF8String.h>
#include <infra/util/kelExtendedProperties.h>

#include <cstring>
#include <functional>
#include <iostream>
#include <string>

namespace {

// [failure]
// Class and record of what a call throws; "no failure" if it throws nothing.
std::string failureOf(const std::function<void()>& call) {
    try {
        call();
        return "no failure";
    } catch (const nx::oss::BaseException& failure) {
        icu::UnicodeString text;
        failure.messages.getFirstMessage().toString(text);
        return failure.name() + std::string(" ") +
               nx::oss::UTF8String(text).getString();
    }
}
// [failure]

// [expect]
int failed = 0;

// What a test framework does: EXPECT_EQ, REQUIRE, BOOST_TEST.
void expect(const std::string& actual, const std::string& expected) {
    if (actual != expected) {
        ++failed;
        std::cerr << "expected: " << expected << "\nbut it is: " << actual
                  << "\n";
    }
}
// [expect]

// [code]
// The code under test.
unsigned int workersOf(const char* settingsText) {
    nx::util::ExtendedProperties settings;
    settings.loadFromString(settingsText, std::strlen(settingsText));
    return settings.requirePropertyAsUInt32("workers");
}

std::string nextRequest(nx::oss::Socket& client) {
    std::string request(16, '\0');
    unsigned long announced = 0;
    request.resize(
        client.readItem(request.data(), announced, 0, request.size(), false));
    return request;
}
// [code]

// [settings]
void testSettings() {
    expect(std::to_string(workersOf("workers = 4\n")), "4");
    expect(failureOf([] { workersOf("workers = many\n"); }),
           "PropertiesException ERR_PROPERTY_WRONG_TYPE: [] - [workers] [many] "
           "[integer]");
    expect(failureOf([] { workersOf(""); }),
           "PropertiesException ERR_PROPERTY_MISSING: [] - [workers]");
}
// [settings]

// [peer]
// Both ends of a connection over loopback, on a port that the system chooses.
struct Connection {
    Connection() {
        const unsigned long timeoutMs = 5000;
        nx::oss::SocketServer server;
        server.listen(/*port=*/0, /*backlog=*/1, /*reuseAddress=*/false);
        client.connect("127.0.0.1", server.getPort(),
                       &timeoutMs);  // needs no accept() yet
        server.accept(peer, &timeoutMs);
    }

    nx::oss::Socket client;
    nx::oss::Socket peer;
};

void testRequests() {
    Connection connection;
    connection.client.writeItem("status", 0, 6);
    expect(nextRequest(connection.peer), "status");

    connection.client.write("\0\0\0\x09half", 0,
                            8);  // announces 9 bytes, sends 4, goes
    connection.client.close();
    expect(nextRequest(connection.peer), "half");
    expect(failureOf([&] { nextRequest(connection.peer); }),
           "oss::SocketException ERR_SOCKET_CLOSED: [] - [] [0]");
}
// [peer]

}  // namespace

int main() {
    testSettings();
    testRequests();
    std::cout << failed << " failed\n";
    return failed == 0 ? 0 : 1;
}

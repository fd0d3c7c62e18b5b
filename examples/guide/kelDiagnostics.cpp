// The guide's page on diagnostics: catching, reading, adding, and showing
// failures.
#include <infra/oss/kelSocket.h>
#include <infra/oss/kelSocketException.h>
#include <infra/oss/kelSocketServer.h>
#include <infra/oss/kelUTF8String.h>
#include <infra/util/kelExtendedProperties.h>
#include <infra/util/kelPropertiesException.h>

#include <unicode/msgfmt.h>

#include <cstring>
#include <iostream>
#include <string>
#include <vector>

namespace {

// [text]
std::string textOf(const nx::oss::Message& record) {
    icu::UnicodeString text;
    return nx::oss::UTF8String(record.toString(text)).getString();
}
// [text]

// [decide]
bool isServed(const icu::UnicodeString& host, unsigned long port) {
    const unsigned long timeoutMs = 1000;
    nx::oss::Socket socket;
    try {
        socket.connect(host, port, &timeoutMs);
        return true;
    } catch (const nx::oss::SocketException& failure) {
        const nx::oss::Message& error = failure.messages.getFirstMessage();
        if (error.getMessageID() == "NX_ERR_SOCKET_CONNECTION_REFUSED") {
            return false;
        }
        throw;
    }
}
// [decide]

// [all]
void showAll(const nx::oss::BaseException& failure) {
    std::cout << failure.what() << "\n";
    const nx::oss::Message* record = failure.messages.getHead();
    for (; record != nullptr; record = record->getNext()) {
        std::cout << "  " << textOf(*record) << "\n";
    }
}
// [all]

// [context]
void load(nx::util::ExtendedProperties& settings, const char* file,
          const char* text) {
    try {
        settings.loadFromString(text, std::strlen(text));
    } catch (nx::oss::BaseException& failure) {
        // Not const: it is given one more record.
        nx::oss::Message context("SETTINGS_REFUSED", nx::oss::Message::DEFAULT,
                                 __FILE__, __LINE__);
        context.addArgument(file);
        failure.messages.insertMessage(context);
        throw;
    }
}
// [context]

// [own]
class OrderException : public nx::oss::BaseException {
  public:
    explicit OrderException(const icu::UnicodeString& number) {
        nx::oss::Message error("ORDER_UNKNOWN", nx::oss::Message::DEFAULT,
                               __FILE__, __LINE__);
        error.addArgument(number);
        messages.addMessage(error);
    }
    const char* name() const override { return "OrderException"; }
    const char* what() const noexcept override { return "OrderException"; }
};
// [own]

// [catalogue]
class Catalogue {
  public:
    explicit Catalogue(const char* text) {
        texts_.load(text, std::strlen(text));
    }

    // The sentence for a record, or its text form if the catalogue has none.
    icu::UnicodeString sentenceFor(const nx::oss::Message& record) const {
        icu::UnicodeString sentence;
        const icu::UnicodeString* const pattern = texts_.getProperty(
            record.getMessageID(), nullptr, /*required=*/false);
        if (pattern == nullptr) {
            return record.toString(sentence);
        }
        const std::vector<icu::Formattable> arguments(
            record.getMessageArgs().begin(), record.getMessageArgs().end());
        UErrorCode code = U_ZERO_ERROR;
        icu::MessageFormat::format(*pattern, arguments.data(),
                                   static_cast<int>(arguments.size()), sentence,
                                   code);
        return U_SUCCESS(code) ? sentence : record.toString(sentence);
    }

  private:
    nx::util::ExtendedProperties texts_;
};
// [catalogue]

void showSentences() {
    const Catalogue german(
        "ERR_PROPERTY_MISSING = Die Einstellung {0} fehlt.\n"
        "ERR_PROPERTY_WRONG_TYPE = {0} ist {1}; erwartet wird: {2}.\n");
    nx::oss::Message record("ERR_PROPERTY_WRONG_TYPE",
                            nx::oss::Message::DEFAULT, "", 0);
    record.addArgument("port");
    record.addArgument("http");
    record.addArgument("integer");
    std::cout << nx::oss::UTF8String(german.sentenceFor(record)).getString()
              << "\n";
    record.setMessageID("ERR_UNLISTED");
    std::cout << nx::oss::UTF8String(german.sentenceFor(record)).getString()
              << "\n";
}

unsigned long unusedPort() {
    nx::oss::SocketServer server;
    server.listen(0, 1, true);
    return server.getPort();
}

}  // namespace

int main() {
    std::cout << (isServed("127.0.0.1", unusedPort()) ? "served\n"
                                                      : "nobody listens\n");
    try {
        nx::util::ExtendedProperties settings;
        load(settings, "exchange.properties", "greeting = hello, %name%\n");
    } catch (const nx::oss::BaseException& failure) {
        showAll(failure);
    }
    try {
        throw OrderException("4711");
    } catch (const nx::oss::BaseException& failure) {
        showAll(failure);
    }
    showSentences();
}

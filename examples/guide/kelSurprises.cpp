// The guide's page on what surprises at first: every surprise, seen.
#include <infra/oss/kelConverter.h>
#include <infra/oss/kelDataBuffer.h>
#include <infra/oss/kelFormatter.h>
#include <infra/oss/kelMessage.h>
#include <infra/oss/kelNLSException.h>
#include <infra/oss/kelNLSUtility.h>
#include <infra/oss/kelRunnable.h>
#include <infra/oss/kelSocket.h>
#include <infra/oss/kelSocketServer.h>
#include <infra/oss/kelStringTokenizer.h>
#include <infra/oss/kelThread.h>
#include <infra/oss/kelUTF8String.h>
#include <infra/util/kelExtendedProperties.h>

#include <cstring>
#include <iostream>

namespace {

using nx::oss::BaseException;
using nx::oss::Converter;
using nx::oss::Formatter;
using nx::oss::Message;
using nx::oss::NLSException;
using nx::oss::NLSUtility;
using nx::oss::Runnable;
using nx::oss::Socket;
using nx::oss::SocketServer;
using nx::oss::StringTokenizer;
using nx::oss::Thread;
using nx::oss::UTF8String;
using nx::util::ExtendedProperties;

void show(const icu::UnicodeString& text) {
    std::cout << UTF8String(text).getString() << "\n";
}

// [numbers]
void numbersInRecords() {
    Message record;
    record.setMessageID("SIZE");
    record.addArgument(4000000000u);
    record.addArgument(1.5);
    record.addArgument("4000000000");
    icu::UnicodeString text;
    show(record.toString(text));  // SIZE: [] - [-294967296] [0] [4000000000]
}
// [numbers]

// [terminator]
void roomForTheTerminator() {
    char four[4];
    std::cout << Converter::convertToBytes(four, 4, "UTF-8", u"four")
              << "\n";  // 4
    try {
        Converter::convert(four, 4, "UTF-8", u"four");
    } catch (const NLSException& failure) {
        icu::UnicodeString text;
        failure.messages.getFirstMessage().toString(text);
        show(text);  // one byte is missing
    }
}
// [terminator]

// [copies]
void copiesOfSockets() {
    SocketServer server;
    Socket client;
    server.listen(0, 1, false);
    const unsigned long timeoutMs = 5000;
    client.connect("127.0.0.1", server.getPort(), &timeoutMs);
    Socket copy = client;
    copy.close();  // does nothing: only `client` owns the connection
    std::cout << copy.isOwner()
              << (copy.getDescriptor() == client.getDescriptor())
              << "\n";  // 01
}
// [copies]

// [digits]
void digitsAreCounted() {
    std::cout << Formatter::stringToInt32("4294967376") << "\n";  // 80
}
// [digits]

// [references]
void percentSigns() {
    ExtendedProperties settings;
    const char text[] =
        "discount = 20%\nnotice = %discount% off, 5% more for members\n";
    settings.load(text, std::strlen(text));
    try {
        settings.resolveProperties();
    } catch (const BaseException& failure) {
        icu::UnicodeString report;
        failure.messages.getFirstMessage().toString(report);
        show(report);  // the name is " off, 5"
    }
}
// [references]

// [comment]
void lastComment() {
    ExtendedProperties settings;
    const char text[] = "# no line end";
    settings.loadFromString(text, std::strlen(text));
    std::cout << settings.hasProperty("") << "\n";  // 1
}
// [comment]

// [tokens]
void delimitersAtTheStart() {
    std::cout << StringTokenizer(u"a,b,", ",").countTokens()           // 2
              << StringTokenizer(u",a,b", ",").countTokens() << "\n";  // 3
}
// [tokens]

// [locale]
void unknownLocales() {
    std::cout << NLSUtility::getInstance().getStandardLocaleValue("klingon")
              << "\n";  // enUS
}
// [locale]

// [running]
class Nothing : public Runnable {
  public:
    void run() override {}
};

void endedThreads() {
    Nothing nothing;
    Thread thread(&nothing, /*deleteRunnable=*/false);
    thread.start();
    Thread::sleep(1);
    std::cout << thread.isRunning();  // 1, though it may have ended
    thread.join();
    std::cout << thread.isRunning() << "\n";  // 0
}
// [running]

// [compare]
void comparingTexts() {
    std::cout << UTF8String("b").compare("a")
              << "\n";  // -1: is "a" less than "b"?
}
// [compare]

}  // namespace

int main() {
    numbersInRecords();
    roomForTheTerminator();
    copiesOfSockets();
    digitsAreCounted();
    percentSigns();
    lastComment();
    delimitersAtTheStart();
    unknownLocales();
    endedThreads();
    comparingTexts();
}

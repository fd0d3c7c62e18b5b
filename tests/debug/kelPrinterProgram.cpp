// What debugPrintersTest.sh shows in gdb: an object of every kind, whole, empty and broken.
#include <infra/oss/kelBaseException.h>
#include <infra/oss/kelByteBuffer.h>
#include <infra/oss/kelDataBuffer.h>
#include <infra/oss/kelIOException.h>
#include <infra/oss/kelMessageList.h>
#include <infra/oss/kelNLSException.h>
#include <infra/oss/kelRunnable.h>
#include <infra/oss/kelSocket.h>
#include <infra/oss/kelSocketException.h>
#include <infra/oss/kelSocketServer.h>
#include <infra/oss/kelThread.h>
#include <infra/oss/kelUTF8String.h>
#include <infra/util/kelBase64Exception.h>
#include <infra/util/kelExtendedProperties.h>
#include <infra/util/kelPropertiesException.h>
#include <unistd.h>

#include <cstring>
#include <new>
#include <string>

using icu::UnicodeString;
using namespace nx::oss;
using namespace nx::util;

extern "C" __attribute__((noinline)) void stopHere() { asm volatile("" ::: "memory"); }

namespace {

/// Waits until the program lets it go.
class Waiter : public Runnable {
  public:
    Waiter() {
        if (pipe(gate_) != 0) {
            _exit(1);
        }
    }
    void run() override {
        char byte;
        (void)!read(gate_[0], &byte, 1);
    }
    void release() { (void)!write(gate_[1], "", 1); }

  private:
    int gate_[2];
};

/// Memory of an object that was never constructed, every byte of it the same.
template <class T>
union Raw {
    explicit Raw(int byte) { std::memset(static_cast<void*>(this), byte, sizeof(T)); }
    ~Raw() {}
    T object;
};

Message sampleMessage() {
    Message message("ERR_SOCKET_TIMEOUT", Message::DEFAULT, "kelSocket.cpp", 212);
    message.addArgument(UnicodeString("server1"));
    message.addArgument(8080);
    return message;
}

template <class Exception>
Exception sampleException() {
    Exception exception;
    exception.messages.addMessage(sampleMessage());
    return exception;
}

void showTexts() {
    UnicodeString emptyText, inlineText(u"gr\u00fc\u00dfe \U0001F600"), heapText("a long text, ");
    for (int i = 0; i < 3; ++i) {
        heapText += "again, ";
    }
    const UnicodeString aliasText(true, u"an alias of a literal in the program", -1);
    UnicodeString hugeText(40000, u'x', 40000), bogusText, lone(static_cast<char16_t>(0xD800));
    hugeText.setCharAt(39999, u'y');
    bogusText.setToBogus();
    Raw<UnicodeString> zero(0), filled(0xCD), ones(0xFF);
    const UTF8String utf8(
        "gr\xc3\xbc\xc3\x9f"
        "e"),
        emptyUtf8;
    UTF8String longUtf8;
    for (int i = 0; i < 1000; ++i) {
        longUtf8.appendString("0123456789");
    }
    Raw<UTF8String> rawUtf8(0xCD);
    stopHere();
}

void showMessages() {
    const Message message = sampleMessage();
    const Message severe("ERR_X", "what it says", Message::SEVERE);
    const Message cleared;
    Message odd(UnicodeString("A\x1b[31m\n"), Message::LEVEL_8, nullptr, 0);
    MessageList emptyList, list(message);
    list.addMessage(severe);
    Message manyArguments("ERR_MANY", Message::DEFAULT, "many.cpp", 1);
    for (int i = 0; i < 1000; ++i) {
        manyArguments.addArgument(i);
    }
    MessageList manyMessages;
    for (int i = 0; i < 1000; ++i) {
        manyMessages.addMessage(severe);
    }
    Raw<Message> zeroMessage(0), rawMessage(0xCD);
    Raw<MessageList> zeroList(0), rawList(0xCD);
    stopHere();
}

void showExceptions() {
    const auto base = sampleException<BaseException>();
    const auto io = sampleException<IOException>();
    const auto nls = sampleException<NLSException>();
    const auto socketError = sampleException<SocketException>();
    const auto base64 = sampleException<Base64Exception>();
    const auto properties = sampleException<PropertiesException>();
    const BaseException empty;
    const BaseException& caught = socketError;
    Raw<SocketException> zero(0), filled(0xCD);
    stopHere();
    (void)caught;
}

void showBuffers() {
    DataBuffer data("text\twith tab"), emptyData, heapData;
    heapData.appendString(std::string(5000, 'z').c_str());
    ByteBuffer bytes("\x01\x02", 2), emptyBytes(16);
    bytes.append("hello", 5);
    Raw<DataBuffer> zeroData(0), rawData(0xCD);
    Raw<ByteBuffer> zeroBytes(0), rawBytes(0xCD);
    stopHere();
}

void showProperties() {
    ExtendedProperties settings, noSettings, many;
    settings.loadFromString("host = server1\nport = 8080\nempty =\n", 35);
    settings.addInclude("more.properties");
    for (int i = 1000; i < 2000; ++i) {
        const std::string key = "key" + std::to_string(i);
        many.putPropertyAsInt32(UnicodeString(key.c_str()), i);
    }
    Raw<ExtendedProperties> zero(0), filled(0xCD);
    stopHere();
}

void showNetwork() {
    SocketServer idle, server;
    server.listen(/*port=*/0, /*backlog=*/1, /*reuseAddress=*/false);
    Socket closed, client, peer;
    client.connect("127.0.0.1", server.getPort(), nullptr);
    server.accept(peer, nullptr);
    const Socket copy(client);
    SocketServer stopped;
    stopped.listen(/*port=*/0, /*backlog=*/1, /*reuseAddress=*/false);
    stopped.shutdownRead();
    Raw<Socket> zeroSocket(0), rawSocket(0xCD);
    Raw<SocketServer> zeroServer(0), rawServer(0xCD);
    stopHere();
}

Waiter& waiting() {
    static Waiter waiter;
    return waiter;
}

Waiter& released() {
    static Waiter waiter;
    return waiter;
}

void showThreads() {
    Thread notStarted(nullptr, false), running(&waiting(), false), ended(&released(), false);
    running.setName("worker");
    running.start();
    released().release();
    ended.start();
    ended.join();
    Raw<Thread> zero(0), filled(0xCD);
    stopHere();
    waiting().release();
    running.join();
}

/// Stores `value` over the words of the object from the one at `index`.
template <class T>
void overwrite(T& object, std::size_t index, unsigned long value) {
    std::memcpy(reinterpret_cast<char*>(&object) + 8 * index, &value, sizeof value);
}

/// Lists, trees and lengths that were overwritten. None of them is destroyed.
void showBroken() {
    const unsigned long many = 1UL << 60;
    Raw<MessageList> longerList(0), cyclicList(0);
    new (&longerList.object) MessageList(sampleMessage());
    overwrite(longerList.object, 3, many);
    new (&cyclicList.object) MessageList(sampleMessage());
    overwrite(cyclicList.object, 3, many);
    Message& record = cyclicList.object.getFirstMessage();
    overwrite(record, sizeof(Message) / 8 - 1, reinterpret_cast<unsigned long>(&record));
    Raw<ExtendedProperties> longerTree(0);
    new (&longerTree.object) ExtendedProperties;
    longerTree.object.putPropertyAsInt32("a", 1);
    longerTree.object.putPropertyAsInt32("b", 2);
    overwrite(longerTree.object, 6, many);
    Raw<DataBuffer> longerData(0);
    new (&longerData.object) DataBuffer("text");
    overwrite(longerData.object, sizeof(DataBuffer) / 8 - 1, many - 1);
    Raw<UnicodeString> lostText(0);
    new (&lostText.object) UnicodeString(40000, u'x', 40000);
    overwrite(lostText.object, 3, 16);
    stopHere();
    (void)record;
}

}  // namespace

int main() {
    showTexts();
    showMessages();
    showExceptions();
    showBuffers();
    showProperties();
    showNetwork();
    showThreads();
    showBroken();
}

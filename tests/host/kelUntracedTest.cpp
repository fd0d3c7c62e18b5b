// Everything that has no trace point: it records nothing, or what the traced operations record that
// it goes through.
#include <infra/oss/kelBuildVersion.h>
#include <infra/oss/kelByteArrayOutputStream.h>
#include <infra/oss/kelByteBuffer.h>
#include <infra/oss/kelConverter.h>
#include <infra/oss/kelFormatter.h>
#include <infra/oss/kelIOException.h>
#include <infra/oss/kelInputStream.h>
#include <infra/oss/kelNLSException.h>
#include <infra/oss/kelNLSUtility.h>
#include <infra/oss/kelPrintStream.h>
#include <infra/oss/kelSocketException.h>
#include <infra/oss/kelSocketServer.h>
#include <infra/oss/kelStringTokenizer.h>
#include <infra/oss/kelThread.h>
#include <infra/oss/kelUTF8Iterator.h>
#include <infra/oss/kelUTF8String.h>
#include <infra/util/kelBase64.h>
#include <infra/util/kelBase64Exception.h>
#include <infra/util/kelExtendedProperties.h>
#include <infra/util/kelPropertiesException.h>

#include <cstdlib>
#include <functional>
#include <initializer_list>
#include <list>
#include <memory>
#include <optional>
#include <sstream>
#include <utility>

#include <gtest/gtest.h>

#include "kelRecordingHost.h"
#include "support/kelThreads.h"

namespace nx::oss {
namespace {

using icu::UnicodeString;
using test::Events;
using test::eventsOf;
using test::expectNothing;
using test::ignore;

/// The serial numbers of a class, from the first to the last.
struct Block {
    long first;
    long last;
    bool holds(long event) const { return std::abs(event) >= first && std::abs(event) <= last; }
};

constexpr Block CONVERTER = {1260, 1263};
constexpr Block DATA_BUFFER = {1264, 1277};
constexpr Block ITERATOR = {1278, 1282};
constexpr Block TOKENIZER = {1283, 1289};
constexpr Block LIST = {1333, 1341};
constexpr Block LOCALES = {1342, 1348};

/// Something is recorded, and all of it belongs to these classes.
void expectOnly(std::initializer_list<Block> blocks, const std::function<void()>& operation) {
    const Events events = eventsOf(operation);
    EXPECT_FALSE(events.empty());
    for (const long event : events) {
        bool known = false;
        for (const Block& block : blocks) {
            known = known || block.holds(event);
        }
        EXPECT_TRUE(known) << event;
    }
}

// --- Diagnostics --------------------------------------------------------------------------------

TEST(Untraced, IsAMessage) {
    std::optional<Message> message;
    UnicodeString text;
    expectNothing([&] {
        message.emplace();
        message.emplace("ID", Message::DEFAULT, "f.cpp", 1);
        message.emplace("ID", "text", Message::DEFAULT);
        message.emplace(Message());
        message->setMessage("ID", Message::DEFAULT, "f.cpp", 1);
        message->setMessage("ID", "text", Message::DEFAULT);
        message->setMessage(Message());
        message->setMessageID("ID");
        message->setMessageCode("ID");
        message->setMessageText("text");
        message->setFormattedMessage("text");
        message->setMessageLevel(Message::SEVERE);
        message->setFileName("f.cpp");
        message->setLineNumber(1);
        message->addArgument("a", nullptr);
        message->addArgument("a", 1, nullptr);
        message->addArgument(text);
        message->addArgument(1);
        message->addArgument(1.5);
        message->addArgumentAsHex(255, true);
        message->addMessageArg(icu::Formattable(1.5));
        ignore(message->toString(text));
        *message = Message();
        message->clear();
        message.reset();
    });
}

TEST(Untraced, AreTheGettersOfAMessage) {
    const Message message("ID", Message::DEFAULT, "f.cpp", 1);
    expectNothing([&] {
        ignore(message.getMessageID());
        ignore(message.getMessageCode());
        ignore(message.getMessageText());
        ignore(message.getFormattedMessage());
        ignore(message.getMessageLevel());
        ignore(message.getFileName());
        ignore(message.getLineNumber());
        ignore(message.getMessageArgs().size());
        ignore(message.getMessageArgsCount());
        ignore(message.isSevere());
        ignore(message.getNext());
        ignore(Message::uintToMessageLevel(1));
    });
}

TEST(Untraced, AreTheCountersOfAList) {
    MessageList list;
    const MessageList other((Message()));
    expectNothing([&] {
        ignore(list.count());
        ignore(list.isEmpty());
        ignore(list.getHead());
        ignore(list.hasMoreMsgs());
        list = other;
    });
}

template <class Exception>
void expectOnlyItsList() {
    std::optional<Exception> exception;
    const Exception other;
    expectOnly({LIST}, [&] { exception.emplace(); });
    expectOnly({LIST}, [&] { exception.emplace(other); });
    expectNothing([&] {
        ignore(exception->what());
        ignore(exception->name());
        *exception = other;
    });
    expectOnly({LIST}, [&] { exception.reset(); });
}

TEST(Untraced, AreExceptions) {
    expectOnlyItsList<BaseException>();
    expectOnlyItsList<IOException>();
    expectOnlyItsList<NLSException>();
    expectOnlyItsList<SocketException>();
    expectOnlyItsList<util::Base64Exception>();
    expectOnlyItsList<util::PropertiesException>();
    const UnicodeString host("h");
    expectOnly({LIST}, [&] { ignore(SocketException("ID", "f.cpp", 1, &host, 80)); });
    expectOnly({LIST}, [&] { ignore(SocketException("f.cpp", 1, &host, 80, 22L)); });
}

TEST(Untraced, IsTheBuildVersion) {
    std::unique_ptr<BuildVersion> version;
    expectOnly({TOKENIZER, DATA_BUFFER}, [&] { version = std::make_unique<BuildVersion>(); });
    expectOnly({TOKENIZER, DATA_BUFFER},
               [&] { version = std::make_unique<BuildVersion>("1-2-3"); });
    expectOnly({TOKENIZER, DATA_BUFFER}, [&] { version->tokenizeBuildVersionString(); });
    expectNothing([&] {
        BuildVersion copy(*version);
        copy = *version;
        ignore(version->getBuildVersion());
        ignore(version->getProductVersion());
        ignore(version->getProtocolVersion());
        ignore(version->getBuildNumberString());
        version.reset();
    });
}

// --- Texts --------------------------------------------------------------------------------------

TEST(Untraced, AreTheSwitchAndTheBufferFormOfTheConverter) {
    SizeableBuffer<char, 512> buffer(0);
    const UnicodeString text("abc");
    expectNothing([&] {
        Converter::setDebugging(false);
        Converter::convert(buffer, "UTF-8", text);
    });
}

TEST(Untraced, AreTheCountersOfAnIterator) {
    const UTF8Iterator iterator("abc");
    expectNothing([&] {
        ignore(iterator.hasMoreChars());
        ignore(iterator.isEmpty());
        ignore(iterator.length());
        ignore(iterator.numChars());
        ignore(iterator.getString());
    });
}

TEST(Untraced, IsAUtf8StringBesideItsBuffer) {
    std::optional<UTF8String> text;
    const UnicodeString unicode("abc");
    expectOnly({DATA_BUFFER}, [&] {
        text.emplace();
        text.emplace(unicode);
        text.emplace(5000);
        text.emplace("abc");
        text.emplace(UTF8String("abc"));
        *text = unicode;
        text->appendString(unicode);
        text->appendString(UTF8String("abc"));
        text->insertString(0, unicode);
        text->insertString(0, UTF8String("abc"));
    });
    UTF8Iterator iterator;
    expectOnly({ITERATOR}, [&] { text->getUTF8Iterator(iterator); });
    char room[64];
    expectOnly({CONVERTER}, [&] { ignore(text->getString(room, sizeof room, "utf-8")); });
    UnicodeString out;
    expectNothing([&] {
        ignore(text->getString());
        text->getString(out);
        ignore(text->numChars());
        ignore(text->compare("abc"));
        ignore(text->compare(*text));
        cLCHAR(room, 3);
        cUTF8(room);
    });
    expectOnly({DATA_BUFFER}, [&] { text.reset(); });
}

TEST(Untraced, AreTheStaticsOfTheFormatter) {
    UnicodeString text;
    char room[32];
    expectNothing([&] {
        ignore(hasValidDigits("1", true));
        ignore(Formatter::stringToInt32("1"));
        ignore(Formatter::stringToUint32("1"));
        ignore(Formatter::stringToInt64("1"));
        ignore(Formatter::stringToUint64("1"));
        ignore(Formatter::stringToDouble(UnicodeString("1")));
        ignore(Formatter::stringToDouble("1"));
        Formatter::int32ToString(text, 1);
        Formatter::uint32ToString(text, 1);
        Formatter::int64ToString(text, 1);
        Formatter::uint64ToString(text, 1);
        Formatter::doubleToString(text, 1);
        Formatter::doubleToString(room, 31, 1);
        Formatter::formatHex(text, 1, true);
    });
}

TEST(Untraced, IsAFormatterBesideTheLocaleThatItLooksUp) {
    std::optional<Formatter> formatter;
    expectOnly({LOCALES}, [&] { formatter.emplace(Formatter::SHORT, Formatter::LONG, "deDE"); });
    expectOnly({LOCALES},
               [&] { formatter->setSettings(Formatter::FULL, Formatter::LONG, "frFR"); });
    Formatter::getDefaultInstance();
    UnicodeString text;
    int number = 0;
    expectNothing([&] {
        Formatter::getDefaultInstance();
        ignore(formatter->getLocale());
        ignore(formatter->getDateStyle());
        ignore(formatter->getTimeStyle());
        ignore(formatter->getICUStyle(Formatter::LONG));
        formatter->formatNumber(text, 1);
        formatter->formatNumber(text, 1UL);
        formatter->formatNumber(text, 1.5);
        formatter->parseAs(number, "1");
        formatter.reset();
    });
}

TEST(Untraced, AreTheDefaultsAndListsOfLocales) {
    const NLSUtility& utility = NLSUtility::getInstance();
    NLSConfigEntry entry = {"A", "B"};
    expectNothing([&] {
        ignore(utility.getDefaultLocale());
        ignore(NLSUtility::getDefaultCodePage());
        ignore(NLSUtility::getCommandWindowCodePage());
        ignore(utility.getPrimaryLocales());
        ignore(utility.getNumPrimaryLocales());
        ignore(compare(&entry, &entry));
    });
}

TEST(Untraced, AreTheCountersOfATokenizer) {
    const StringTokenizer tokenizer("a b");
    expectNothing([&] {
        ignore(tokenizer.hasMoreTokens());
        ignore(tokenizer.countTokens());
    });
}

// --- Buffers and streams ------------------------------------------------------------------------

TEST(Untraced, AreInlineBuffers) {
    char storage[8];
    expectNothing([&] {
        DefaultAlternateBuffer<char> buffer(storage, sizeof storage, 0);
        buffer.resize(100);
        ignore(buffer.data());
        ignore(buffer.size());
        ignore(buffer.capacity());
        ignore(buffer.maximumSize());
        ignore(buffer.defaultSize());
        SizeableBuffer<char, 512> scratch(0);
        scratch.resize(1000);
        ignore(scratch.data());
        ignore(scratch.capacity());
        ignore(scratch.inlineCapacity());
        ignore(scratch.maximumSize());
    });
}

TEST(Untraced, IsReadingAndCopyingByteBuffers) {
    ByteBuffer buffer("abc", 3);
    const ByteBuffer other("def", 3);
    DefaultAlternateBuffer<char> target;
    expectNothing([&] {
        ignore(buffer.data());
        ignore(buffer.size());
        ignore(buffer.capacity());
        ignore(buffer.compare("abc", 3));
        ByteBuffer::copy(target, "abc", 3);
        buffer = other;
    });
}

TEST(Untraced, AreTheCountersAndAssignmentsOfADataBuffer) {
    DataBuffer buffer("abc");
    expectNothing([&] {
        ignore(buffer.length());
        ignore(buffer.capacity());
        ignore(buffer.getString());
    });
    const UnicodeString text("abc");
    const DataBuffer other("def");
    expectOnly({DATA_BUFFER}, [&] { buffer = text; });
    expectOnly({DATA_BUFFER}, [&] { buffer = other; });
    Message message;
    expectOnly({DATA_BUFFER}, [&] { message.addBinary("abc", 3); });
}

struct OneCharacter : InputStream {
    using InputStream::read;
    unsigned long read(char* c) override {
        *c = 'a';
        return 1;
    }
};

TEST(Untraced, AreStreams) {
    char array[64];
    ByteArrayOutputStream out(array, sizeof array);
    testing::internal::CaptureStderr();
    expectNothing([&] {
        OneCharacter in;
        ignore(in.read(array, 0, 2));
        in.close();
        out.write('a');
        out.write("abc");
        out.write("abc", 0, 3);
        ignore(out.getCount());
        out.flush();
        out.close();
        *PrintStream::getPrintStream() << UnicodeString("a") << "b" << 'c' << 1.5 << 2;
    });
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "abc1.52");
}

// --- Network and threads ------------------------------------------------------------------------

TEST(Untraced, AreTheFieldsOfSocketsAndServers) {
    Socket socket;
    const SocketServer server;
    expectNothing([&] {
        socket.setSoTimeout(1);
        ignore(socket.getDescriptor());
        ignore(socket.getHostName());
        ignore(socket.getPort());
        ignore(socket.isOwner());
        ignore(Socket::CSocketInitializer());
        ignore(server.getPort());
        ignore(server.isListening());
        ignore(server.getHostName());
        ignore(server.getDescriptor());
    });
}

TEST(Untraced, AreTheOtherOperationsOfAThread) {
    test::Task task([] {});
    Thread thread(&task, false);
    expectNothing([&] {
        ignore(thread.detach());
        ignore(thread.setDetachState());
        thread.setName("name");
        ignore(thread.getName());
        thread.setPriority(thread.getPriority());
        ignore(thread.isRunning());
        ignore(thread.isJoinable());
        Thread::sleep(0);
        ignore(thread_run_stub(static_cast<Runnable*>(&task)));
    });
}

// --- Utilities ----------------------------------------------------------------------------------

TEST(Untraced, IsBase64) {
    using util::Base64;
    unsigned short units[4];
    char bytes[3];
    std::size_t position = 0;
    expectNothing([&] {
        ignore(Base64::encode(units, Base64::encodeSize(3), "abc", 3, true));
        ignore(Base64::encode(units, 4, "abc", 3));
        ignore(Base64::encodeSafe(units, 4, "abc", 3));
        ignore(Base64::decode(bytes, Base64::decodeSize(4), units, 4, true));
        ignore(Base64::decode(bytes, 3, units, 4));
        ignore(Base64::decodeSafe(bytes, 3, units, 4));
        ignore(Base64::encode('\0', false));
        ignore(Base64::decode(u'B', true));
        Base64::setDestValue(bytes, position, 3, 'a');
    });
}

TEST(Untraced, IsTheStorageOfSettings) {
    util::ExtendedProperties properties;
    util::ExtendedProperties other;
    expectNothing([&] {
        properties.putProperty("a", "1");
        properties.putPropertyAsInt32("b", 1);
        properties.putPropertyAsUint32("c", 1);
        properties.putPropertyAsInt64("d", 1);
        properties.putPropertyAsUint64("e", 1);
        ignore(properties.hasProperty("a"));
        properties.removeProperty("e");
        ignore(properties.get(properties.begin()));
        ignore(properties.end());
        properties.addInclude("name");
        ignore(properties.getIncludes().size());
        other.copy(properties);
    });
}

TEST(Untraced, AreLookupsOfSettings) {
    util::ExtendedProperties properties;
    std::list<UnicodeString> inProgress;
    UnicodeString value("%a%");
    expectNothing([&] {
        properties.loadFromString("a=1\n", 4);
        ignore(properties.getProperty("a", nullptr, true));
        ignore(properties.getProperty("b", "c"));
        ignore(properties.requireProperty("a"));
        ignore(properties.requirePropertyAsBoolean("a"));
        ignore(properties.requirePropertyAsInt32("a"));
        ignore(properties.requirePropertyAsUInt32("a"));
        ignore(properties.requirePropertyAsInt64("a"));
        ignore(properties.requirePropertyAsUInt64("a"));
        ignore(properties.requirePropertyAsDouble("a"));
        properties.resolveProperties();
        properties.resolveProperty(inProgress, "b", value);
    });
}

TEST(Untraced, IsTheTextFormOfSettings) {
    using util::ExtendedProperties;
    ExtendedProperties properties;
    const char* const text = "a=1\n";
    UnicodeString unicode("a=1\n");
    char array[256];
    ByteArrayOutputStream out(array, sizeof array);
    std::ostringstream listing;
    std::size_t position = 0;
    expectNothing([&] {
        properties.load(text, 4);
        properties.loadFromString(text, 4, false, true);
        ignore(properties.loadLine(position, text, 4));
        ExtendedProperties::skipAssignOp(position, text, 4);
        ExtendedProperties::skipWhiteSpace(position, text, 4);
        ExtendedProperties::skipNewLine(position, text, 4);
        ExtendedProperties::skipLine(position, text, 4);
        ExtendedProperties::readEscaped(unicode, position, text, 4);
        properties.store(out);
        ExtendedProperties::writeString(out, unicode, true, true);
        properties.list(listing);
    });
    expectOnly({CONVERTER}, [&] { properties.loadFromString(unicode); });
}

}  // namespace
}  // namespace nx::oss

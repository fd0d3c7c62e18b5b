#include <infra/oss/kelByteArrayOutputStream.h>
#include <infra/oss/kelByteBuffer.h>
#include <infra/oss/kelDataBuffer.h>
#include <infra/oss/kelFormatter.h>
#include <infra/oss/kelIOException.h>
#include <infra/oss/kelMessage.h>
#include <infra/oss/kelMessageList.h>
#include <infra/oss/kelNLSUtility.h>
#include <infra/oss/kelSizeableBuffer.h>
#include <unicode/locid.h>
#include <unicode/unistr.h>

#include <string>

#include "kelInstructionProbe.h"

namespace nx::oss::bench {

namespace {

constexpr int LONG_TEXT = 4096;

int lengthOf(const std::string& text) { return static_cast<int>(text.size()); }

// --- DataBuffer ---------------------------------------------------------------------------------

/// Every fourth character is the one that searches look for.
std::string searchedText() {
    std::string text(LONG_TEXT, 'a');
    for (std::size_t i = 3; i < text.size(); i += 4) {
        text[i] = 'b';
    }
    return text;
}

void countAppending() {
    count("DataBuffer constructed and destroyed", [] { keep(DataBuffer()); });
    for (const std::size_t size : {8U, 100U, 5000U}) {
        count("DataBuffer::appendString, " + std::to_string(size) + " bytes",
              [text = std::string(size, 'x')] {
                  DataBuffer buffer;
                  buffer.appendString(text.data(), lengthOf(text));
                  keep(buffer);
              });
    }
    count("DataBuffer::appendString, 1000 times one character", [] {
        DataBuffer buffer;
        for (int i = 0; i < 1000; ++i) {
            buffer.appendString("x", 1);
        }
        keep(buffer);
    });
    count("DataBuffer::appendString, UTF-16 of 32 characters",
          [text = icu::UnicodeString(32, u'\u00E9', 32)] {
              DataBuffer buffer;
              buffer.appendString(text, "UTF-8");
              keep(buffer);
          });
    count("DataBuffer::insertString, 8 bytes into 100", [text = std::string(100, 'x')] {
        DataBuffer buffer(text.c_str());
        buffer.insertString(50, "12345678", 8);
        keep(buffer);
    });
    count("DataBuffer copied, 4096 bytes",
          [buffer = DataBuffer(searchedText().c_str())] { keep(DataBuffer(buffer)); });
}

void countSearching() {
    const DataBuffer buffer(searchedText().c_str());
    count("DataBuffer::indexOf, in vain, 4096 bytes",
          [&buffer] { keep(buffer.indexOf(0, "babab")); });
    count("DataBuffer::occurrences, 1024 in 4096 bytes",
          [&buffer] { keep(buffer.occurrences("b")); });
    count("DataBuffer::replaceAll, 1024 in 4096 bytes, growing", [&buffer] {
        DataBuffer copy(buffer);
        keep(copy.replaceAll("b", "cde"));
    });
    count("DataBuffer::replaceAll, 1024 in 4096 bytes, shrinking", [&buffer] {
        DataBuffer copy(buffer);
        keep(copy.replaceAll("ab", "c"));
    });
}

void countHexadecimal() {
    for (const std::size_t size : {16U, 2048U}) {
        const std::string bytes(size, '\x5A');
        const std::string suffix = ", " + std::to_string(size) + " bytes";
        count("DataBuffer::appendBinary" + suffix, [bytes] {
            DataBuffer buffer;
            buffer.appendBinary(bytes.data(), lengthOf(bytes), /*upperCase=*/true);
            keep(buffer);
        });
        DataBuffer buffer;
        buffer.appendBinary(bytes.data(), lengthOf(bytes), /*upperCase=*/true);
        count("DataBuffer::getBinary" + suffix, [&buffer, out = bytes]() mutable {
            keep(buffer.getBinary(out.data(), lengthOf(out)));
        });
    }
}

// --- Buffers of bytes ---------------------------------------------------------------------------

void countByteBuffers() {
    count("ByteBuffer of 100 bytes, 100 appended", [bytes = std::string(100, 'x')] {
        ByteBuffer buffer(bytes.data(), bytes.size());
        buffer.append(bytes.data(), bytes.size());
        keep(buffer);
    });
    count("ByteBuffer::set, UTF-16 of 32 characters",
          [text = icu::UnicodeString(32, u'\u00E9', 32)] {
              ByteBuffer buffer(128);
              buffer.set(text, "UTF-8");
              keep(buffer);
          });
    count("SizeableBuffer::resize to 2000", [] {
        SizeableBuffer<char, 512> buffer(0);
        keep(buffer.resize(2000));
    });
    count("ByteArrayOutputStream written, 100 bytes", [] {
        char bytes[100];
        ByteArrayOutputStream stream(bytes, sizeof bytes);
        for (std::size_t i = 0; i < sizeof bytes; ++i) {
            stream.write('x');
        }
        keep(stream.getCount());
    });
}

// --- Numbers ------------------------------------------------------------------------------------

void countFormatting() {
    const auto inText = [](const char* name, auto write) {
        count(name, [write] {
            icu::UnicodeString out;
            write(out);
            keep(out);
        });
    };
    inText("Formatter::int32ToString",
           [](icu::UnicodeString& out) { Formatter::int32ToString(out, -1234567); });
    inText("Formatter::int64ToString",
           [](icu::UnicodeString& out) { Formatter::int64ToString(out, -1234567890123456789); });
    inText("Formatter::uint64ToString",
           [](icu::UnicodeString& out) { Formatter::uint64ToString(out, 12345678901234567890U); });
    inText("Formatter::doubleToString",
           [](icu::UnicodeString& out) { Formatter::doubleToString(out, 12345.678901234567); });
    inText("Formatter::formatHex", [](icu::UnicodeString& out) {
        Formatter::formatHex(out, 0xFEEDFACE, /*upperCase=*/true);
    });
    count("DataBuffer::appendNumber, long", [] {
        DataBuffer buffer;
        buffer.appendNumber(-1234567890L);
        keep(buffer);
    });
    count("DataBuffer::appendNumber, double", [] {
        DataBuffer buffer;
        buffer.appendNumber(12345.678901234567);
        keep(buffer);
    });
}

void countParsing() {
    count("Formatter::stringToInt32",
          [text = icu::UnicodeString("-1234567")] { keep(Formatter::stringToInt32(text)); });
    count("Formatter::stringToInt32, 8 digits",
          [text = icu::UnicodeString("12345678")] { keep(Formatter::stringToInt32(text)); });
    count("Formatter::stringToInt64", [text = icu::UnicodeString("-1234567890123456789")] {
        keep(Formatter::stringToInt64(text));
    });
    count("Formatter::stringToUint64", [text = icu::UnicodeString("12345678901234567890")] {
        keep(Formatter::stringToUint64(text));
    });
    count("Formatter::stringToDouble, UTF-16", [text = icu::UnicodeString("12345.678901234567")] {
        keep(Formatter::stringToDouble(text));
    });
    count("Formatter::stringToDouble, bytes",
          [] { keep(Formatter::stringToDouble("12345.678901234567")); });
    count("hasValidDigits", [] { keep(hasValidDigits("-1234567890", /*allowSign=*/true)); });
}

void countLocales() {
    const Formatter formatter(Formatter::SHORT, Formatter::SHORT, "en_US");
    count("Formatter::formatNumber, long", [&formatter] {
        icu::UnicodeString out;
        keep(formatter.formatNumber(out, 1234567L));
    });
    count("Formatter::parseAs, long", [&formatter, text = icu::UnicodeString("1,234,567")] {
        long value = 0;
        keep(formatter.parseAs(value, text));
    });
    const NLSUtility& utility = NLSUtility::getInstance();
    count("NLSUtility::getStandardLocaleValue",
          [&utility] { keep(utility.getStandardLocaleValue("de-DE")); });
    count("NLSUtility::isSupported", [&utility] { keep(utility.isSupported("en_US")); });
    count("NLSUtility::getLocale", [&utility] {
        icu::Locale locale;
        utility.getLocale(locale, "de_DE");
        keep(locale);
    });
}

// --- Messages and errors ------------------------------------------------------------------------

Message sampleMessage() {
    Message message("ERR_SOCKET_NOT_CONNECTED", Message::SEVERE, "kelSocket.cpp", 262);
    message.addArgument("search1.example.org", "UTF-8");
    message.addArgument(8080UL);
    return message;
}

/// `report(caught)` gets the exception.
template <class Report>
void writeTooMuch(Report report) {
    char byte = 0;
    ByteArrayOutputStream stream(&byte, 1);
    stream.write('x');
    try {
        stream.write('y');
    } catch (const IOException& caught) {
        report(caught);
    }
}

}  // namespace

void countBuffers() {
    countAppending();
    countSearching();
    countHexadecimal();
    countByteBuffers();
}

void countNumbers() {
    countFormatting();
    countParsing();
    countLocales();
}

void countMessages() {
    count("Message filled", [] { keep(sampleMessage()); });
    const Message message = sampleMessage();
    count("Message::toString", [&message] {
        icu::UnicodeString text;
        keep(message.toString(text));
    });
    count("Message copied", [&message] { keep(Message(message)); });
    count("MessageList, 10 records added", [&message] {
        MessageList list;
        for (int i = 0; i < 10; ++i) {
            list.addMessage(message);
        }
        keep(list);
    });
    count("exception thrown and caught",
          [] { writeTooMuch([](const IOException& caught) { keep(caught); }); });
    count("exception thrown, caught and reported", [] {
        writeTooMuch([](const IOException& caught) {
            icu::UnicodeString text;
            keep(caught.messages.getFirstMessage().toString(text));
        });
    });
}

}  // namespace nx::oss::bench

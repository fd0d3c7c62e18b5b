#include "kelSharedUses.h"

#include <sys/socket.h>
#include <unistd.h>

#include <sstream>

#include <infra/oss/kelBuildVersion.h>
#include <infra/oss/kelConverter.h>
#include <infra/oss/kelFormatter.h>
#include <infra/oss/kelNLSException.h>
#include <infra/oss/kelNLSUtility.h>
#include <infra/oss/kelOutputStream.h>
#include <infra/oss/kelPrintStream.h>
#include <infra/oss/kelSocket.h>
#include <infra/oss/kelSocketException.h>
#include <infra/oss/kelThread.h>
#include <infra/oss/kelUTF8String.h>
#include <infra/util/kelBase64.h>
#include <infra/util/kelExtendedProperties.h>

namespace nx::test {
namespace {

using icu::UnicodeString;
using oss::Converter;
using oss::Formatter;
using oss::NLSUtility;

std::string utf8(const UnicodeString& text) {
    std::string bytes;
    return text.toUTF8String(bytes);
}

std::string addressText(const void* address) {
    std::ostringstream text;
    text << address;
    return text.str();
}

std::string idOf(const oss::BaseException& e) {
    return utf8(e.messages.getFirstMessage().getMessageID());
}

std::string converted(const char* codePage) {
    char bytes[16] = "";
    Converter::convert(bytes, sizeof bytes, codePage, u"\u3042");
    return bytes;
}

std::string japanese() { return converted("Shift_JIS"); }
std::string utf8Bytes() { return converted("UTF-8"); }

/// Enough text for the code page to be given tables: the number of right characters.
std::string manyCharacters() {
    constexpr int COUNT = 20'000;
    // Never destroyed: threads may use it to the end of the process. Not a UnicodeString, which
    // keeps no pointer to the beginning of its memory: valgrind would miss it.
    static const std::u16string& units = *new std::u16string(COUNT, u'\u010D');
    const UnicodeString text(true, units.c_str(), COUNT);
    std::string bytes(COUNT, '\0');
    Converter::convertToBytes(bytes.data(), COUNT, "ISO-8859-2", text);
    std::size_t right = 0;
    for (const char byte : bytes) {
        right += byte == '\xE8' ? 1 : 0;
    }
    return std::to_string(right);
}

std::string localeTable() { return addressText(&NLSUtility::getInstance()); }
std::string standardLocale() {
    return NLSUtility::getInstance().getStandardLocaleValue("de-DE.UTF-8");
}
std::string defaultLocale() { return NLSUtility::getInstance().getStandardLocaleValue("nowhere"); }
std::string environmentLocale() { return NLSUtility::getInstance().getEnvironmentLocale(); }
std::string icuLocale() {
    icu::Locale locale;
    NLSUtility::getInstance().getLocale(locale, "pt_BR");
    return locale.getName();
}
std::string defaultCodePage() { return NLSUtility::getDefaultCodePage(); }
std::string windowCodePage() { return NLSUtility::getCommandWindowCodePage(); }

std::string defaultFormatter() { return addressText(&Formatter::getDefaultInstance()); }
std::string formattedNumber() {
    UnicodeString text;
    return utf8(Formatter::getDefaultInstance().formatNumber(text, 1234.5));
}
std::string parsedNumber() {
    long value = 0;
    return Formatter::getDefaultInstance().parseAs(value, u"12,345") ? std::to_string(value)
                                                                     : "no number";
}
std::string formatterOfItsOwn() {
    const Formatter formatter(Formatter::LONG, Formatter::LONG, "de_DE");
    UnicodeString text;
    return utf8(formatter.formatNumber(text, -1234.5));
}
std::string strictNumber() {
    UnicodeString text;
    Formatter::doubleToString(text, Formatter::stringToDouble(u" 0x1.8p1 "));
    return utf8(text);
}

std::string base64() {
    constexpr std::size_t SIZE = 48;
    unsigned short units[SIZE / 3 * 4];
    const std::string bytes = "ManManManManManManManManManManManManManManManMan";
    const std::size_t count = util::Base64::encode(units, std::size(units), bytes.data(), SIZE);
    return std::string(units, units + count);
}

std::string brokenPipe() {
    int ends[2];
    if (::socketpair(AF_UNIX, SOCK_STREAM, 0, ends) != 0) {
        return "no sockets";
    }
    ::close(ends[1]);
    std::string id = "no error";
    try {
        oss::Socket socket(ends[0]);
        socket.write("x", 0, 1);
    } catch (const oss::SocketException& e) {
        id = idOf(e);
    }
    ::close(ends[0]);
    return id;
}

class Kept : public oss::OutputStream {
  public:
    using OutputStream::write;
    void write(char character) override { text += character; }
    std::string text;
};

// Required of the stream: its first block in the process decides what all of them write.
std::string firstBlock() {
    static const char BLOCK[] = "block";
    Kept stream;
    stream.write(BLOCK, 0, 5);
    return stream.text;
}

std::string printStream() {
    *oss::ossOut << "";
    return oss::PrintStream::getPrintStream() == oss::ossOut ? "one" : "two";
}

std::string error() {
    try {
        oss::MessageList().getFirstMessage();
        return "no error";
    } catch (const oss::NLSException& e) {
        return idOf(e);
    }
}

std::string settings() {
    util::ExtendedProperties properties;
    properties.loadFromString(u"a=%b%1\nb=2.5\n");
    return std::to_string(properties.getPropertyAsDouble("a", 0.0));
}

std::string buildVersion() { return utf8(oss::BuildVersion().getBuildNumberString()); }

std::string characters() {
    return std::to_string(oss::UTF8String(UnicodeString(u"\u0131\U0001F600")).numChars());
}

std::string resolvedAddress() {
    unsigned char address[4] = {};
    const unsigned long count =
        oss::Socket::getIPv4ByName(reinterpret_cast<char*>(address), 1, "127.0.0.1");
    return std::to_string(count) + ':' + std::to_string(address[0]) + '.' +
           std::to_string(address[3]);
}

class Noted : public oss::Runnable {
  public:
    void run() override { ran = true; }
    bool ran = false;
};

std::string startedThread() {
    Noted noted;
    oss::Thread thread(&noted, false);
    return thread.start() == 0 && thread.join() == 0 && noted.ran ? "ran" : "did not run";
}

}  // namespace

const SharedUse SHARED_USES[] = {
    {"kept converter", japanese, "\x82\xA0", false},
    {"kernels of UTF-8", utf8Bytes, "\xE3\x81\x82", true},
    {"tables of a code page", manyCharacters, "20000", false},
    {"locale table", localeTable, nullptr, true},
    {"standard locale", standardLocale, "deDE", true},
    {"default locale", defaultLocale, "enUS", true},
    {"locale of the environment", environmentLocale, "enUS", false},
    {"locale of ICU", icuLocale, "pt_BR", true},
    {"default code page", defaultCodePage, "UTF-8", true},
    {"code page of terminals", windowCodePage, "UTF-8", true},
    {"default formatter", defaultFormatter, nullptr, true},
    {"number of the default formatter", formattedNumber, "1,234.5", true},
    {"number for the default formatter", parsedNumber, "12345", true},
    {"formatter of its own", formatterOfItsOwn, "-1.234,5", false},
    {"strict number", strictNumber, "3.000000", true},
    {"kernels of Base64", base64,
     "TWFuTWFuTWFuTWFuTWFuTWFuTWFuTWFuTWFuTWFuTWFuTWFuTWFuTWFuTWFuTWFu", true},
    {"ignored SIGPIPE", brokenPipe, "NX_ERR_SOCKET_BROKEN_PIPE", true},
    {"first block of a stream", firstBlock, "block", true},
    {"print stream", printStream, "one", true},
    {"error", error, "ERR_MSGLIST_EMPTY", true},
    {"settings", settings, "2.510000", true},
    {"build version", buildVersion, "579", true},
    {"characters", characters, "2", true},
    {"resolver", resolvedAddress, "1:127.1", false},
    {"thread", startedThread, "ran", true},
};
const std::size_t SHARED_USE_COUNT = std::size(SHARED_USES);

std::string problemOf(const SharedUse& use, const std::string& result) {
    const bool isRight = use.expected == nullptr ? !result.empty() : result == use.expected;
    return isRight ? std::string() : std::string(use.name) + " gave \"" + result + "\"\n";
}

}  // namespace nx::test

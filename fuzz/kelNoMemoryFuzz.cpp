// Runs each parser with one of its allocations failing. The outcome has to be the one that it has
// with enough memory, std::bad_alloc or the error of exhausted memory; nothing may leak, and the
// parser has to work as before afterwards.
//
// Input: the parser, the number of the allocation that fails, a byte of choices, then the text.

#include <netdb.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <iterator>
#include <new>
#include <vector>

#include <infra/oss/kelByteArrayOutputStream.h>
#include <infra/oss/kelConverter.h>
#include <infra/oss/kelDataBuffer.h>
#include <infra/oss/kelFormatter.h>
#include <infra/oss/kelSocket.h>
#include <infra/oss/kelSocketException.h>
#include <infra/oss/kelStringTokenizer.h>
#include <infra/oss/kelUTF8Iterator.h>
#include <infra/util/kelBase64.h>
#include <infra/util/kelExtendedProperties.h>

#include "kelFuzzFaults.h"
#include "kelFuzzInput.h"
#include "support/kelCodePages.h"
#include "support/kelHeapFaults.h"

namespace {

using icu::UnicodeString;
using nx::oss::BaseException;
using nx::oss::Socket;

constexpr std::size_t LONGEST_INPUT = 8192;
constexpr const char* NO_MEMORY = "no memory";

const char* codePage(unsigned choice) {
    return nx::test::CODE_PAGES[choice % std::size(nx::test::CODE_PAGES)];
}

int sizeOf(const std::string& text) { return static_cast<int>(text.size()); }

/// ICU says by a null text that there was no memory.
UnicodeString unicodeOf(const std::string& text) {
    UnicodeString result = UnicodeString::fromUTF8(text);
    if (result.isBogus()) {
        throw std::bad_alloc();
    }
    return result;
}

std::string convert(unsigned choice, const std::string& text) {
    const char* const to = codePage(choice % 16);
    const char* const from = codePage(choice / 16);
    const int size = nx::oss::Converter::convert(nullptr, 0, to, text.data(), sizeOf(text), from);
    std::string result(static_cast<std::size_t>(size), '\0');
    nx::oss::Converter::convert(&result[0], size, to, text.data(), sizeOf(text), from);
    return result;
}

std::string split(unsigned choice, const std::string& text) {
    nx::oss::StringTokenizer tokenizer(text.c_str(), choice % 2 == 0 ? nullptr : ",;",
                                       codePage(choice / 2));
    std::string result;
    while (tokenizer.hasMoreTokens()) {
        result += utf8Of(tokenizer.getNextTokenString()) + "|";
    }
    for (const char* token = tokenizer.getFirstToken(); tokenizer.hasMoreTokens();
         token = tokenizer.getNextToken()) {
        result += std::string(token) + "|";
    }
    return result;
}

std::string readProperties(unsigned choice, const std::string& text) {
    nx::util::ExtendedProperties properties;
    if (choice % 2 == 0) {
        properties.loadFromString(text.data(), text.size());
    } else {
        properties.loadFromString(unicodeOf(text));
    }
    std::string stored(16 * text.size() + 256, '\0');
    nx::oss::ByteArrayOutputStream out(&stored[0], stored.size());
    properties.store(out);
    stored.resize(out.getCount());
    return stored;
}

std::string readBase64(unsigned choice, const std::string& text) {
    std::vector<unsigned short> units;
    for (const char c : text) {
        units.push_back(static_cast<unsigned char>(c));
    }
    std::string bytes(text.size(), '\0');
    units.push_back(0);
    bytes.resize(nx::util::Base64::decode(&bytes[0], choice, units.data(), text.size(), false));
    return bytes;
}

std::string readNumber(unsigned choice, const std::string& text) {
    using nx::oss::Formatter;
    const UnicodeString number = unicodeOf(text);
    switch (choice % 6) {
        case 0:
            return std::to_string(Formatter::stringToInt32(number));
        case 1:
            return std::to_string(Formatter::stringToUint32(number));
        case 2:
            return std::to_string(Formatter::stringToInt64(number));
        case 3:
            return std::to_string(Formatter::stringToUint64(number));
        case 4:
            return std::to_string(Formatter::stringToDouble(number));
        default:
            return std::to_string(Formatter::stringToDouble(text.c_str()));
    }
}

std::string walk(unsigned choice, const std::string& text) {
    UnicodeString unicode = unicodeOf(text);
    nx::oss::UTF8Iterator it;
    // Long, so that it does not fit into the object.
    const std::string repeated = std::string(choice * 32, 'x') + text;
    if (!it.setString(repeated.c_str())) {
        return NO_MEMORY;
    }
    nx::oss::UTF8Iterator ofUnicode(unicode);
    return ofUnicode.isEmpty()
               ? NO_MEMORY
               : std::to_string(it.numChars()) + " " + std::to_string(ofUnicode.numChars());
}

std::string readRecord(unsigned /*choice*/, const std::string& text) {
    Socket::_AddrInfoExternal record = {};
    std::memcpy(&record, text.data(), std::min(text.size(), sizeof record));
    errno = 0;
    addrinfo* const list = Socket::deserializeAddrInfoExternal(record);
    int count = 0;
    for (const addrinfo* each = list; each != nullptr; each = each->ai_next, ++count) {
        // The nodes alone are released with the list.
        std::free(each->ai_addr);
        std::free(each->ai_canonname);
    }
    Socket::freeMyAddrInfo(list);
    return std::to_string(count);
}

std::string fillBuffer(unsigned choice, const std::string& text) {
    nx::oss::DataBuffer buffer(unicodeOf(text), codePage(choice));
    buffer.insertString(1, unicodeOf(text), "UTF-8");
    buffer.appendBinary(text.data(), sizeOf(text), true);
    buffer.replaceAll("a", "replaced");
    const nx::oss::DataBuffer copy(buffer);
    return {copy.getString(), static_cast<std::size_t>(copy.length())};
}

/// Closes both ends on the way out.
struct Pair {
    Pair() { require(::socketpair(AF_UNIX, SOCK_STREAM, 0, ends.data()) == 0, "socketpair()"); }
    ~Pair() {
        ::close(ends[0]);
        ::close(ends[1]);
    }
    Pair(const Pair&) = delete;
    Pair& operator=(const Pair&) = delete;

    std::array<int, 2> ends{};
};

std::string readItem(unsigned choice, const std::string& text) {
    const Pair pair;
    require(::send(pair.ends[1], text.data(), text.size(), 0) == static_cast<ssize_t>(text.size()),
            "send()");
    ::shutdown(pair.ends[1], SHUT_WR);
    Socket socket(pair.ends[0]);
    std::string item(choice, '\0');
    unsigned long length = 0;
    item.resize(socket.readItem(&item[0], length, 0, choice, false));
    return item;
}

using Parser = std::string (*)(unsigned, const std::string&);
constexpr Parser PARSERS[] = {convert,    split, readProperties, readBase64, readNumber,
                              readRecord, walk,  fillBuffer,     readItem};

/// What the parser returns, or its error in words.
std::string outcomeOf(Parser parser, unsigned choice, const std::string& text) {
    try {
        return parser(choice, text);
    } catch (const BaseException& error) {
        UnicodeString form;
        return "! " + utf8Of(error.messages.getFirstMessage().toString(form));
    }
}

bool isNoMemory(const std::string& outcome) {
    return outcome == NO_MEMORY || outcome.rfind("! NX_ERR_OUT_OF_MEMORY", 0) == 0 ||
           outcome.rfind("! ERR_OUT_OF_MEMORY", 0) == 0;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size > LONGEST_INPUT) {
        return 0;
    }
    FuzzInput input(data, size);
    const Parser parser = PARSERS[input.byte() % std::size(PARSERS)];
    const std::size_t failing = 1 + input.byte();
    const unsigned choice = input.byte();
    const std::string text = input.rest();
    // ICU and the converters fill their caches.
    outcomeOf(parser, choice, text);
    const std::string wanted = outcomeOf(parser, choice, text);
    const long before = nx::test::liveHeapBlocks();
    {
        std::string found;
        const bool done = carriedOut(failing, [&] { found = outcomeOf(parser, choice, text); });
        require(!done || found == wanted || (nx::test::allocationFailed() && isNoMemory(found)),
                "outcome without memory");
        require(outcomeOf(parser, choice, text) == wanted, "outcome afterwards");
    }
    require(nx::test::liveHeapBlocks() <= before, "leak");
    return 0;
}

#include "common/kelReport.h"

#include <infra/oss/kelUTF8String.h>

#include <unicode/uchar.h>
#include <unicode/utf16.h>

#include <cerrno>
#include <charconv>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <system_error>

#include <unistd.h>

namespace tools {

namespace {

struct Advice {
    const char* identifier;
    const char* text;
};

constexpr Advice ADVICES[] = {
    {"NX_ERR_SOCKET_CONNECTION_REFUSED",
     "nothing listens there; start the server, or check host and port"},
    {"ERR_SOCKET_GETADDRINFO_ERROR", "the host name is not known; check its spelling"},
    {"ERR_SOCKET_TIMEOUT", "no answer in time; check host and port, or allow more with --timeout"},
    {"ERR_SOCKET_CLOSED", "the other side closed the connection"},
    {"NX_ERR_SOCKET_CONNECTION_RESET", "the other side ended the connection"},
    {"NX_ERR_SOCKET_BROKEN_PIPE", "the other side ended the connection"},
    {"NX_ERR_SOCKET_ADDRESS_IN_USE",
     "another program listens on that port; choose another one with --port"},
    {"ERR_DEST_BUFFER_TOO_SMALL",
     "an item was announced that is longer than --max-length allows, or the other side does not "
     "speak in items (numbers from 2^31 on show as negative ones)"},
    {"ERR_PROPERTY_MISSING", "there is no such key; 'kelprops list FILE' shows those that are"},
    {"ERR_PROPERTIES_BAD_REFERENCE",
     "a value refers to a key that is not there; 'kelprops check FILE' tells the line"},
    {"ERR_PROPERTIES_CYCLIC_REFERENCE",
     "a value refers to itself; 'kelprops check FILE' tells the line and the way round"},
};

/// An errno that the table of the library's identifiers does not name, as it reports it.
std::string systemReason(const nx::oss::Message& message) {
    if (message.getMessageID() != "NX_ERR_SOCKET_ERROR" || message.getMessageArgs().empty()) {
        return "";
    }
    const std::string digits = printable(message.getMessageArgs().front());
    const int number = std::atoi(digits.c_str());
    return number == EAGAIN ? "nothing moved in time; allow more with --timeout"
                            : std::strerror(number);
}

bool isHarmful(UChar32 character) {
    return u_iscntrl(character) || U_IS_SURROGATE(character) || character == 0x2028 ||
           character == 0x2029;
}

void appendEscaped(icu::UnicodeString& out, UChar32 character) {
    switch (character) {
        case u'\n':
            out.append(u"\\n", 2);
            break;
        case u'\r':
            out.append(u"\\r", 2);
            break;
        case u'\t':
            out.append(u"\\t", 2);
            break;
        default: {
            char digits[8];
            std::snprintf(digits, sizeof digits, "\\u%04X", static_cast<unsigned>(character));
            out.append(icu::UnicodeString(digits, -1, US_INV));
        }
    }
}

const char* codeOf(Colour colour) {
    switch (colour) {
        case Colour::RED:
            return "31";
        case Colour::GREEN:
            return "32";
        case Colour::YELLOW:
            return "33";
        case Colour::BOLD:
            return "1";
        default:
            return "2";
    }
}

}  // namespace

void failWithErrno(const std::string& what) {
    const char* const reason = std::strerror(errno);
    throw Failure("cannot " + what + ": " + reason);
}

std::string printable(const icu::UnicodeString& text) {
    icu::UnicodeString shown;
    for (int i = 0; i < text.length(); i = text.moveIndex32(i, 1)) {
        const UChar32 character = text.char32At(i);
        if (isHarmful(character)) {
            appendEscaped(shown, character);
        } else {
            shown.append(character);
        }
    }
    return nx::oss::UTF8String(shown).getString();
}

std::string printable(std::string_view bytes) {
    return printable(icu::UnicodeString::fromUTF8(
        icu::StringPiece(bytes.data(), static_cast<int32_t>(bytes.size()))));
}

icu::UnicodeString textOfArgument(const std::string& argument) {
    icu::UnicodeString text = icu::UnicodeString::fromUTF8(argument);
    std::string back;
    if (text.toUTF8String(back) != argument) {
        throw UsageError("'" + printable(argument) +
                         "' is not UTF-8, in which arguments have to be");
    }
    return text;
}

std::string describe(const nx::oss::Message& message) {
    icu::UnicodeString text;
    return printable(message.toString(text));
}

std::string describe(const nx::oss::BaseException& failure) {
    return failure.messages.isEmpty() ? failure.what()
                                      : describe(failure.messages.getFirstMessage());
}

bool isFailure(const nx::oss::BaseException& failure, const char* identifier) {
    return !failure.messages.isEmpty() &&
           failure.messages.getFirstMessage().getMessageID() == identifier;
}

std::string adviceFor(const nx::oss::BaseException& failure) {
    for (const Advice& advice : ADVICES) {
        if (isFailure(failure, advice.identifier)) {
            return advice.text;
        }
    }
    return failure.messages.isEmpty() ? "" : systemReason(failure.messages.getFirstMessage());
}

void complain(const std::string& text) {
    const std::string line = std::string(program_invocation_short_name) + ": " + text + "\n";
    std::fwrite(line.data(), 1, line.size(), stderr);
}

void complain(const nx::oss::BaseException& failure) {
    complain(describe(failure));
    const std::string advice = adviceFor(failure);
    if (!advice.empty()) {
        complain(advice);
    }
}

bool isColourful(int descriptor) {
    const char* const terminal = std::getenv("TERM");
    const char* const refused = std::getenv("NO_COLOR");
    return isatty(descriptor) != 0 && terminal != nullptr && std::strcmp(terminal, "dumb") != 0 &&
           (refused == nullptr || *refused == '\0');
}

std::string paint(Colour colour, const std::string& text) {
    static const bool colourful = isColourful(STDOUT_FILENO);
    return colourful ? std::string("\x1b[") + codeOf(colour) + "m" + text + "\x1b[0m" : text;
}

std::string counted(unsigned long count, const std::string& one) {
    return std::to_string(count) + " " + one + (count == 1 ? "" : "s");
}

unsigned long parseNumber(const std::string& what, const std::string& text, unsigned long smallest,
                          unsigned long largest) {
    unsigned long value = 0;
    const char* const end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, value);
    if (error != std::errc() || stop != end || value < smallest || value > largest) {
        throw UsageError(what + " must be a number from " + std::to_string(smallest) + " to " +
                         std::to_string(largest) + ", not '" + printable(text) + "'");
    }
    return value;
}

}  // namespace tools

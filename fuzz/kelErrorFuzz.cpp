// Raises errors with arbitrary arguments, now and then with a failing allocation, and compares what
// the catcher reads with the arguments; what cannot be made for lack of memory is std::bad_alloc.
//
// Input: a letter, the number of the allocation that fails, an error number or a line, a host and
// two texts.

#include <iterator>

#include <infra/oss/kelIOException.h>
#include <infra/oss/kelNLSException.h>
#include <infra/oss/kelSocketException.h>

#include "infra/detail/kelRaise.h"
#include "kelFuzzFaults.h"
#include "kelFuzzInput.h"

namespace {

using nx::oss::BaseException;
using nx::oss::IOException;
using nx::oss::Message;
using nx::oss::SocketException;

struct Report {
    std::string name;
    std::u16string form;
    std::u16string file;
    unsigned long line;

    bool operator==(const Report& other) const {
        return name == other.name && form == other.form && file == other.file && line == other.line;
    }
};

std::u16string ascii(const std::string& text) {
    return unitsOf(icu::UnicodeString::fromUTF8(text));
}

std::u16string number(std::uint64_t value) {
    return ascii(std::to_string(static_cast<std::int32_t>(value)));
}

/// What the catcher of `raise` reads.
template <class Raise>
void compare(std::size_t failing, const Report& wanted, const Raise& raise) {
    try {
        require(!carriedOut(failing, raise), "nothing was raised");
    } catch (const BaseException& error) {
        const nx::test::AllocationFaults none(0);
        nx::test::AllocationFaults(0).disarm();
        const BaseException copy(error);
        require(copy.messages.count() == 1, "number of records");
        const Message& message = copy.messages.getFirstMessage();
        require(message.getMessageLevel() == Message::DEFAULT, "level");
        icu::UnicodeString form;
        const Report found{error.what(), unitsOf(message.toString(form)),
                           unitsOf(message.getFileName()), message.getLineNumber()};
        require(found == wanted, "report");
    }
}

struct Mapping {
    unsigned number;
    const char* identifier;
};

/// The numbers of Linux.
constexpr Mapping MAPPINGS[] = {
    {32, "NX_ERR_SOCKET_BROKEN_PIPE"},        {98, "NX_ERR_SOCKET_ADDRESS_IN_USE"},
    {104, "NX_ERR_SOCKET_CONNECTION_RESET"},  {107, "NX_ERR_SOCKET_NOT_CONNECTED"},
    {108, "NX_ERR_SOCKET_SHUTDOWN"},          {110, "NX_ERR_SOCKET_TIMEOUT"},
    {111, "NX_ERR_SOCKET_CONNECTION_REFUSED"}};

std::u16string mapped(std::uint64_t errorNumber) {
    for (const Mapping& each : MAPPINGS) {
        if (each.number == errorNumber) {
            return ascii(each.identifier) + u": [] -";
        }
    }
    return u"NX_ERR_SOCKET_ERROR: [] - [" + number(errorNumber) + u"]";
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    FuzzInput input(data, size);
    const unsigned operation = input.byte();
    const std::size_t failing = input.byte() % 32;
    const std::uint64_t word = input.word();
    const std::uint64_t small = word % 128;
    const std::u16string host = input.units();
    const icu::UnicodeString hostText = icuOf(host);
    const std::string bytes = input.shortText();
    const std::u16string endpoint = u" [" + host + u"] [" + number(word) + u"]";
    switch (operation % 3) {
        case 0:
            compare(failing,
                    {"IOException",
                     u"ERR_ANY: [] - [" + ascii(bytes) + u"] [" + number(word) + u"] [" + host +
                         u"] [" + ascii(bytes.c_str()) + u"]",
                     u"source.cpp", word},
                    [&] {
                        nx::oss::detail::raise<IOException>({"ERR_ANY", "source.cpp", word},
                                                            std::string_view(bytes), word, hostText,
                                                            bytes.c_str());
                    });
            break;
        case 1:
            compare(failing,
                    {"oss::SocketException", u"ERR_ANY: [] -" + endpoint, u"source.cpp", word},
                    [&] { throw SocketException("ERR_ANY", "source.cpp", word, &hostText, word); });
            break;
        default:
            compare(failing,
                    {"oss::SocketException", mapped(small) + endpoint, u"source.cpp", word}, [&] {
                        throw SocketException("source.cpp", word, &hostText, word,
                                              static_cast<long>(small));
                    });
    }
    return 0;
}

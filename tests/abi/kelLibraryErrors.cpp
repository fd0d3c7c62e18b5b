#include "kelLibraryErrors.h"

#include <exception>
#include <iterator>
#include <string>
#include <typeinfo>

#include <infra/oss/kelByteArrayOutputStream.h>
#include <infra/oss/kelIOException.h>
#include <infra/oss/kelMessageList.h>
#include <infra/oss/kelNLSException.h>
#include <infra/oss/kelSocket.h>
#include <infra/oss/kelSocketException.h>
#include <infra/util/kelBase64.h>
#include <infra/util/kelBase64Exception.h>
#include <infra/util/kelExtendedProperties.h>
#include <infra/util/kelPropertiesException.h>

namespace nx::test {
namespace {

void writeIntoAFullArray() {
    char byte = 0;
    oss::ByteArrayOutputStream stream(&byte, 1);
    stream.write("ab");
}

void takeTheFirstOfNone() { oss::MessageList().getFirstMessage(); }

void readWithoutConnection() {
    char byte = 0;
    oss::Socket().read(&byte, 0, 1);
}

void decodeForeignCharacters() {
    const unsigned short units[] = {'?', '?', '?', '?'};
    char bytes[3];
    util::Base64::decode(bytes, sizeof bytes, units, std::size(units));
}

void requireAnAbsentProperty() { util::ExtendedProperties().requireProperty("absent"); }

std::string described(const std::exception& exception) {
    const auto* const error = dynamic_cast<const oss::BaseException*>(&exception);
    if (error == nullptr) {
        return exception.what();
    }
    std::string text = std::string(exception.what()) + ' ';
    return error->messages.getFirstMessage().getMessageID().toUTF8String(text);
}

using Raise = void (*)();

template <class Handled>
std::string seenBy(Raise raise) {
    try {
        raise();
    } catch (const Handled& e) {
        return described(e);
    } catch (...) {
        return "not caught by this handler";
    }
    return "nothing was thrown";
}

template <class Own>
std::string seenAfterRethrow(Raise raise) {
    try {
        try {
            raise();
        } catch (const std::exception&) {
            throw;
        }
    } catch (const Own& e) {
        return typeid(e) == typeid(Own) ? described(e) : "another class";
    }
    return "nothing was thrown";
}

template <class Own>
std::string seenThroughAPointer(Raise raise) {
    std::exception_ptr kept;
    try {
        raise();
    } catch (...) {
        kept = std::current_exception();
    }
    try {
        std::rethrow_exception(kept);
    } catch (const Own& e) {
        return described(e);
    }
}

using See = std::string (*)(Raise);

struct LibraryError {
    Raise raise;
    See handlers[HANDLERS];
};

template <class Own>
constexpr LibraryError errorOf(Raise raise) {
    return {raise,
            {seenBy<Own>, seenBy<oss::BaseException>, seenBy<std::exception>, seenAfterRethrow<Own>,
             seenThroughAPointer<Own>}};
}

const LibraryError ERRORS[] = {
    errorOf<oss::IOException>(writeIntoAFullArray),
    errorOf<oss::NLSException>(takeTheFirstOfNone),
    errorOf<oss::SocketException>(readWithoutConnection),
    errorOf<util::Base64Exception>(decodeForeignCharacters),
    errorOf<util::PropertiesException>(requireAnAbsentProperty),
};

}  // namespace

std::size_t countLibraryErrors() { return std::size(ERRORS); }

void raiseLibraryError(std::size_t error) { ERRORS[error].raise(); }

const char* seenByHandler(std::size_t error, int handler) {
    static std::string seen;
    seen = ERRORS[error].handlers[handler](ERRORS[error].raise);
    return seen.c_str();
}

}  // namespace nx::test

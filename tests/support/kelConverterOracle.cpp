#include "support/kelConverterOracle.h"

#include <cstring>
#include <stdexcept>

#include <unicode/localpointer.h>
#include <unicode/ucnv.h>

#include <infra/oss/kelConverter.h>
#include <infra/oss/kelNLSException.h>

#include "support/kelGuardedBuffer.h"

namespace nx::test {

using oss::Converter;

namespace {

// More than any converter makes of one code unit: a signature, two shifts and a long sequence.
constexpr int MOST_BYTES_PER_UNIT = 16;

const char* icuName(const char* codePage) {
    return codePage == nullptr || *codePage == '\0' ? nullptr : codePage;
}

const char* shownName(const char* codePage) {
    return icuName(codePage) == nullptr ? "UTF-8" : codePage;
}

bool sameName(const char* a, const char* b) {
    return icuName(a) == nullptr || icuName(b) == nullptr ? icuName(a) == icuName(b)
                                                          : std::strcmp(a, b) == 0;
}

std::string encode(const icu::UnicodeString& text, const char* codePage) {
    const int capacity = text.length() * MOST_BYTES_PER_UNIT + MOST_BYTES_PER_UNIT;
    std::string bytes(static_cast<std::size_t>(capacity), '\0');
    const int size = text.extract(0, text.length(), bytes.data(), static_cast<uint32_t>(capacity),
                                  icuName(codePage));
    if (size > capacity) {
        throw std::length_error("the reference conversion needs more room");
    }
    bytes.resize(static_cast<std::size_t>(std::max(size, 0)));
    return bytes;
}

icu::UnicodeString decodeAtOnce(const std::string& bytes, const char* codePage) {
    // Each byte is a pair of surrogates at most.
    const auto capacity = static_cast<int32_t>(2 * bytes.size() + 2);
    icu::UnicodeString text;
    UErrorCode status = U_ZERO_ERROR;
    const icu::LocalUConverterPointer converter(ucnv_open(codePage, &status));
    const int32_t length = ucnv_toUChars(converter.getAlias(), text.getBuffer(capacity), capacity,
                                         bytes.data(), static_cast<int32_t>(bytes.size()), &status);
    text.releaseBuffer(U_SUCCESS(status) ? length : 0);
    return text;
}

// ICU's constructor never returns where the last byte of a source makes a pair of surrogates whose
// second half no longer fits the array of its first guess. Only these make pairs of single bytes.
bool constructorMayHang(const char* codePage) {
    return std::strcmp(codePage, "SCSU") == 0 || std::strcmp(codePage, "BOCU-1") == 0;
}

icu::UnicodeString decode(const std::string& bytes, const char* codePage) {
    const char* const name = icuName(codePage);
    if (name != nullptr && constructorMayHang(name)) {
        return decodeAtOnce(bytes, name);
    }
    return {bytes.data(), static_cast<int32_t>(bytes.size()), name};
}

std::string errorText(const oss::BaseException& exception) {
    if (exception.messages.count() != 1) {
        return std::to_string(exception.messages.count()) + " records";
    }
    const oss::Message& message = exception.messages.getFirstMessage();
    icu::UnicodeString text = message.getMessageID();
    text.append(u' ').append(message.getFileName());
    for (const auto& argument : message.getMessageArgs()) {
        text.append(u' ').append(argument);
    }
    std::string result;
    return text.toUTF8String(result);
}

std::string hex(const std::string& bytes) {
    constexpr std::size_t SHOWN = 48;
    constexpr char DIGITS[] = "0123456789abcdef";
    std::string result;
    for (const char byte : bytes.substr(0, SHOWN)) {
        const auto value = static_cast<unsigned char>(byte);
        result += {DIGITS[value >> 4], DIGITS[value & 15], ' '};
    }
    return result + (bytes.size() > SHOWN ? "..." : "");
}

}  // namespace

struct ConverterOracle::Outcome {
    int size = 0;
    std::string error;
    std::string written;

    bool operator==(const Outcome& other) const {
        return size == other.size && error == other.error && written == other.written;
    }
    std::string describe() const {
        return "size " + std::to_string(size) + ", error [" + error + "], bytes " + hex(written);
    }
};

ConverterOracle::ConverterOracle(icu::UnicodeString text, const char* toCodePage)
    : fromBytes_(false),
      text_(std::move(text)),
      fromCodePage_("UTF-16"),
      toCodePage_(toCodePage),
      converted_(encode(text_, toCodePage)) {}

ConverterOracle::ConverterOracle(std::string bytes, const char* fromCodePage,
                                 const char* toCodePage)
    : fromBytes_(true),
      bytes_(std::move(bytes)),
      fromCodePage_(fromCodePage),
      toCodePage_(toCodePage),
      converted_(sameName(fromCodePage, toCodePage)
                     ? bytes_
                     : encode(decode(bytes_, fromCodePage), toCodePage)) {}

bool ConverterOracle::sourceIsEmpty() const {
    return fromBytes_ ? bytes_.empty() : text_.isEmpty();
}

ConverterOracle::Outcome ConverterOracle::expected(bool nullTerminate) const {
    if (converted_.empty() && !sourceIsEmpty()) {
        return {0,
                std::string("ERR_CONV_CONVERSION_ERROR kelConverter.cpp ") +
                    shownName(fromCodePage_) + ' ' + shownName(toCodePage_),
                ""};
    }
    return {size() + (nullTerminate ? 1 : 0), "", ""};
}

ConverterOracle::Outcome ConverterOracle::expected(bool nullTerminate, int capacity) const {
    Outcome outcome = expected(nullTerminate);
    if (!outcome.error.empty()) {
        return outcome;
    }
    if (sourceIsEmpty()) {
        outcome.written.assign(nullTerminate && capacity > 0 ? 1 : 0, '\0');
    } else if (outcome.size > capacity) {
        return {0, "ERR_BUFFER_SIZE_TOO_SMALL kelConverter.cpp " + std::to_string(capacity), ""};
    } else {
        outcome.written = converted_ + std::string(nullTerminate ? 1 : 0, '\0');
    }
    return outcome;
}

int ConverterOracle::convert(bool nullTerminate, char* dest, int capacity) const {
    if (!fromBytes_) {
        return Converter::convert(dest, capacity, toCodePage_, nullTerminate, text_);
    }
    return Converter::convert(dest, capacity, toCodePage_, nullTerminate, bytes_.data(),
                              static_cast<int>(bytes_.size()), fromCodePage_, false);
}

ConverterOracle::Outcome ConverterOracle::run(bool nullTerminate, char* dest, int capacity) const {
    try {
        return {convert(nullTerminate, dest, capacity), "", ""};
    } catch (const oss::NLSException& exception) {
        return {0, errorText(exception), ""};
    }
}

std::string ConverterOracle::describe(bool nullTerminate, int capacity) const {
    std::string units;
    for (int i = 0; !fromBytes_ && i < text_.length(); ++i) {
        units += {static_cast<char>(text_[i] >> 8), static_cast<char>(text_[i] & 255)};
    }
    return "from " + std::string(shownName(fromCodePage_)) + " to " + shownName(toCodePage_) +
           (nullTerminate ? ", terminated" : "") + ", capacity " + std::to_string(capacity) +
           ", source " + hex(fromBytes_ ? bytes_ : units);
}

std::string ConverterOracle::checkSizeQuery(bool nullTerminate) const {
    const Outcome wanted = expected(nullTerminate);
    const Outcome actual = run(nullTerminate, nullptr, 0);
    if (actual == wanted) {
        return "";
    }
    return describe(nullTerminate, 0) + "\n  query: " + actual.describe() +
           "\n  wanted: " + wanted.describe();
}

std::string ConverterOracle::checkConversion(bool nullTerminate, int capacity) const {
    const Outcome wanted = expected(nullTerminate, capacity);
    GuardedBuffer dest(capacity);
    Outcome actual = run(nullTerminate, dest.data(), capacity);
    if (actual.error.empty()) {
        actual.written = dest.first(wanted.written.size());
    }
    // A refused conversion may have written a part of the result, within the capacity.
    const bool kept =
        wanted.error.empty() ? dest.untouchedAfter(wanted.written.size()) : dest.guardsIntact();
    if (actual == wanted && kept) {
        return "";
    }
    return describe(nullTerminate, capacity) + "\n  result: " + actual.describe() +
           (kept ? "" : ", written too far") + "\n  wanted: " + wanted.describe();
}

std::string ConverterOracle::checkAll() const {
    for (const bool nullTerminate : {false, true}) {
        std::string difference = checkSizeQuery(nullTerminate);
        for (const int capacity : {size() - 1, size(), size() + 1, size() + 37}) {
            difference += difference.empty() ? checkConversion(nullTerminate, capacity) : "";
        }
        if (!difference.empty()) {
            return difference;
        }
    }
    return "";
}

}  // namespace nx::test

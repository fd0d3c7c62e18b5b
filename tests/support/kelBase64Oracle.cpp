#include "support/kelBase64Oracle.h"

#include <infra/util/kelBase64.h>
#include <infra/util/kelBase64Exception.h>

#include <algorithm>
#include <vector>

#include "infra/detail/kelKernels.h"
#include "reference/kelBase64Reference.h"

namespace nx::test {

namespace {

using oss::detail::Kernels;
using reference::Base64Reading;
using util::Base64;
using util::Base64Exception;

constexpr std::size_t GUARD = 64;
constexpr char BYTE_PATTERN = '\x5A';
constexpr unsigned short UNIT_PATTERN = 0x5A5A;

/// Runs a comparison with each table of kernels in use.
template <class Compare>
std::optional<std::string> withEveryTable(const Compare& compare) {
    const Kernels& usual = oss::detail::kernels();
    for (const Kernels* table : {&usual, &oss::detail::scalarKernels()}) {
        oss::detail::chosenKernels.store(table);
        const auto difference = compare();
        oss::detail::chosenKernels.store(&usual);
        if (difference) {
            return *difference + (table == &usual ? "" : " with the plain kernels");
        }
    }
    return std::nullopt;
}

const unsigned short* unitsOf(const std::u16string& text) {
    return reinterpret_cast<const unsigned short*>(text.c_str());
}

/// The record of an error as the reference tells it; empty if it is not as errors have to be.
Base64Reading shown(const Base64Exception& failure) {
    const oss::Message& record = failure.messages.getFirstMessage();
    Base64Reading reading;
    if (failure.messages.count() != 1 || record.getMessageArgs().size() != 1 ||
        record.getMessageLevel() != oss::Message::DEFAULT ||
        record.getFileName() != "src/infra/util/kelBase64") {
        return reading;
    }
    record.getMessageID().toUTF8String(reading.identifier);
    reading.line = record.getLineNumber();
    const icu::UnicodeString& argument = record.getMessageArgs().front();
    reading.argument.assign(argument.getBuffer(), static_cast<std::size_t>(argument.length()));
    return reading;
}

std::optional<std::string> compareDecoding(const std::u16string& text, std::size_t length,
                                           std::size_t capacity, bool safe) {
    const Base64Reading wanted =
        reference::readBase64(std::u16string_view(text).substr(0, length), text, capacity, safe);
    const std::size_t room = std::min(capacity, 3 * length + 3);
    std::string memory(GUARD + room + GUARD, BYTE_PATTERN);
    Base64Reading got;
    std::size_t count = wanted.bytes.size();
    try {
        count = Base64::decode(&memory[GUARD], capacity, unitsOf(text), length, safe);
    } catch (const Base64Exception& failure) {
        got = shown(failure);
        if (got.identifier.empty()) {
            return "an error without its usual record";
        }
    }
    got.bytes = memory.substr(GUARD, wanted.bytes.size());
    if (!(got == wanted) || count != wanted.bytes.size()) {
        return "decoded: line " + std::to_string(got.line) + " instead of " +
               std::to_string(wanted.line) + ", " + std::to_string(count) + " bytes instead of " +
               std::to_string(wanted.bytes.size()) + ", or other bytes or arguments";
    }
    std::fill_n(memory.begin() + GUARD, wanted.bytes.size(), BYTE_PATTERN);
    if (memory.find_first_not_of(BYTE_PATTERN) != std::string::npos) {
        return "decoded: bytes outside the result were touched";
    }
    return std::nullopt;
}

std::optional<std::string> compareEncoding(std::string_view bytes, std::size_t capacity,
                                           bool safe) {
    const std::u16string wanted = reference::base64Of(bytes, safe);
    std::vector<unsigned short> memory(GUARD + std::max(capacity, wanted.size()) + GUARD,
                                       UNIT_PATTERN);
    std::vector<unsigned short> expected = memory;
    try {
        const std::size_t count =
            Base64::encode(&memory[GUARD], capacity, bytes.data(), bytes.size(), safe);
        if (count != wanted.size() || count > capacity) {
            return "encoded: " + std::to_string(count) + " units";
        }
        std::copy(wanted.begin(), wanted.end(), expected.begin() + GUARD);
    } catch (const Base64Exception& failure) {
        const Base64Reading got = shown(failure);
        if (wanted.size() <= capacity || got.identifier != "ERR_BUFFER_SIZE_TOO_SMALL" ||
            got.line != 153) {
            return "encoded: line " + std::to_string(got.line);
        }
    }
    return memory == expected ? std::nullopt
                              : std::optional<std::string>("encoded: the units differ");
}

}  // namespace

std::optional<std::string> differenceInDecoding(const std::u16string& text, std::size_t length,
                                                std::size_t capacity, bool safe) {
    return withEveryTable([&] { return compareDecoding(text, length, capacity, safe); });
}

std::optional<std::string> differenceInEncoding(std::string_view bytes, std::size_t capacity,
                                                bool safe) {
    const auto difference = withEveryTable([&] { return compareEncoding(bytes, capacity, safe); });
    const std::u16string text = reference::base64Of(bytes, safe);
    if (difference || text.size() > capacity) {
        return difference;
    }
    return differenceInDecoding(text, text.size(), bytes.size(), safe);
}

}  // namespace nx::test

#include "support/kelNumberOracle.h"

#include <infra/oss/kelFormatter.h>
#include <infra/oss/kelNLSException.h>

#include <cstring>

#include "reference/kelNumberReference.h"

namespace nx::oss::test {

namespace {

using icu::UnicodeString;

/// Equal as bits, except that one NaN is as good as another of its sign.
template <class Value>
bool same(Value a, Value b) {
    return a != a ? b != b : std::memcmp(&a, &b, sizeof a) == 0;
}

bool isError(const NLSException& error, const char* type, const UnicodeString& text) {
    const Message& message = error.messages.getFirstMessage();
    const auto& arguments = message.getMessageArgs();
    return error.messages.count() == 1 &&
           message.getMessageID() == UnicodeString(u"ERR_STR_TO_NUM_CONV_ERR") &&
           arguments.size() == 2 && arguments.front() == UnicodeString::fromUTF8(type) &&
           arguments.back() == text;
}

/// Nothing when parsing gives what is expected, or the expected error.
template <class Value, class Parse>
bool agrees(const std::optional<Value>& expected, const char* type, const UnicodeString& trimmed,
            Parse parse) {
    try {
        const Value value = parse();
        return expected && same(value, *expected);
    } catch (const NLSException& error) {
        return !expected && isError(error, type, trimmed);
    }
}

}  // namespace

std::optional<std::string> differenceInParsing(const UnicodeString& text) {
    const UnicodeString trimmed = reference::trimmed(text);
    const char* type = nullptr;
    const auto check = [&](const char* name, const auto& expected, auto parse) {
        if (type == nullptr && !agrees(expected, name, trimmed, parse)) {
            type = name;
        }
    };
    check("int32_t", reference::int32Of(text), [&] { return Formatter::stringToInt32(text); });
    check("uint32_t", reference::uint32Of(text), [&] { return Formatter::stringToUint32(text); });
    check("int64_t", reference::int64Of(text), [&] { return Formatter::stringToInt64(text); });
    check("uint64_t", reference::uint64Of(text), [&] { return Formatter::stringToUint64(text); });
    check("double", reference::doubleOf(text), [&] { return Formatter::stringToDouble(text); });
    std::string bytes;
    text.toUTF8String(bytes);
    const UnicodeString decoded = UnicodeString::fromUTF8(bytes.c_str());
    if (type == nullptr &&
        !agrees(reference::doubleOf(decoded), "double", reference::trimmed(decoded),
                [&] { return Formatter::stringToDouble(bytes.c_str()); })) {
        type = "double from bytes";
    }
    return type == nullptr ? std::nullopt : std::make_optional(type + (": " + bytes));
}

}  // namespace nx::oss::test

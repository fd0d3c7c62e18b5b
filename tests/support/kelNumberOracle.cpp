#include "support/kelNumberOracle.h"

#include <infra/oss/kelFormatter.h>
#include <infra/oss/kelNLSException.h>

#include <cstring>

#include <unicode/fmtable.h>

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

/// Whether the text is a number of that type as it should be: then with the value, otherwise with
/// nothing stored.
template <class Value>
bool parsesAs(const Formatter& formatter, const UnicodeString& text,
              const std::optional<Value>& wanted) {
    constexpr Value UNTOUCHED = -77;
    Value value = UNTOUCHED;
    return formatter.parseAs(value, text) == wanted.has_value() &&
           same(value, wanted.value_or(UNTOUCHED));
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

std::optional<std::string> differenceInParsing(const Formatter& formatter,
                                               const icu::NumberFormat& wanted,
                                               const UnicodeString& text) {
    using icu::Formattable;
    Formattable parsed;
    UErrorCode status = U_ZERO_ERROR;
    wanted.parse(text, parsed, status);
    const bool isNumber = U_SUCCESS(status) != 0;
    const auto type = parsed.getType();
    std::optional<int> asInt;
    std::optional<long> asLong;
    std::optional<double> asDouble;
    if (isNumber && type == Formattable::kLong) {
        asInt = parsed.getLong();
        asLong = parsed.getLong();
    } else if (isNumber && type == Formattable::kInt64) {
        asLong = parsed.getInt64();
    } else if (isNumber && type == Formattable::kDouble) {
        asDouble = parsed.getDouble();
    }
    return !parsesAs(formatter, text, asInt)      ? std::make_optional<std::string>("int")
           : !parsesAs(formatter, text, asLong)   ? std::make_optional<std::string>("long")
           : !parsesAs(formatter, text, asDouble) ? std::make_optional<std::string>("double")
                                                  : std::nullopt;
}

}  // namespace nx::oss::test

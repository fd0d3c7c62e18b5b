#include "kelconv/kelCodePage.h"

#include <infra/oss/kelConverter.h>
#include <infra/oss/kelNLSException.h>

#include <unicode/ucnv.h>

#include <algorithm>
#include <climits>
#include <cstring>
#include <iterator>
#include <memory>
#include <utility>

#include "common/kelReport.h"

namespace tools {

namespace {

using nx::oss::Converter;

// Two spellings of one code page: equal names would copy bytes instead of converting them.
constexpr char UNITS[] = "UTF-16PlatformEndian";
constexpr char UNITS_SPELLED_OTHERWISE[] = "utf-16platformendian";

/// The kinds of code pages in which bytes mean the same wherever they stand.
constexpr UConverterType WITHOUT_STATE[] = {UCNV_SBCS,
                                            UCNV_DBCS,
                                            UCNV_MBCS,
                                            UCNV_LATIN_1,
                                            UCNV_US_ASCII,
                                            UCNV_UTF8,
                                            UCNV_UTF16_BigEndian,
                                            UCNV_UTF16_LittleEndian,
                                            UCNV_UTF32_BigEndian,
                                            UCNV_UTF16,
                                            UCNV_UTF32_LittleEndian,
                                            UCNV_UTF32,
                                            UCNV_CESU8};

bool isKnown(const std::string& name) {
    try {
        Converter::convertToBytes(nullptr, 0, name.c_str(), icu::UnicodeString(u'A'));
        return true;
    } catch (const nx::oss::BaseException& failure) {
        if (!isFailure(failure, "ERR_CONV_CONVERSION_ERROR")) {
            throw;
        }
        return false;
    }
}

int lengthOf(std::string_view bytes) {
    if (bytes.size() > INT_MAX / 8) {
        throw Failure("a text of " + std::to_string(bytes.size()) +
                      " bytes cannot be converted in one piece, and this code page has no place "
                      "where it may be cut");
    }
    return static_cast<int>(bytes.size());
}

/// Runs a conversion that says how many bytes it takes. A source that converts to nothing, a lone
/// byte order mark say, is an error for the converter; names are known to be right here.
template <class Convert>
std::string convert(std::size_t guess, Convert run) {
    std::string bytes(guess, '\0');
    try {
        bytes.resize(static_cast<std::size_t>(run(bytes.data(), static_cast<int>(bytes.size()))));
    } catch (const nx::oss::NLSException& failure) {
        if (isFailure(failure, "ERR_CONV_CONVERSION_ERROR")) {
            return "";
        }
        if (!isFailure(failure, "ERR_BUFFER_SIZE_TOO_SMALL")) {
            throw;
        }
        bytes.resize(static_cast<std::size_t>(run(nullptr, 0)));
        run(bytes.data(), static_cast<int>(bytes.size()));
    }
    return bytes;
}

/// The name by which the code page is registered, if it is, and all others.
CodePageNames namesOf(const std::string& own) {
    UErrorCode error = U_ZERO_ERROR;
    const char* const registered = ucnv_getStandardName(own.c_str(), "IANA", &error);
    CodePageNames page{registered != nullptr && isKnown(registered) ? registered : own, {}};
    error = U_ZERO_ERROR;
    const uint16_t count = ucnv_countAliases(own.c_str(), &error);
    for (uint16_t i = 0; i < count; ++i) {
        const std::string other = ucnv_getAlias(own.c_str(), i, &error);
        if (other != page.name && isKnown(other)) {
            page.others.push_back(other);
        }
    }
    return page;
}

}  // namespace

CodePage::CodePage(std::string name) : name_(std::move(name)) {
    if (name_.empty() || !isKnown(name_)) {
        throw UsageError("there is no code page '" + printable(name_) +
                         "'; 'kelconv --list' shows those that there are");
    }
}

icu::UnicodeString CodePage::decode(std::string_view bytes) const {
    if (bytes.empty()) {
        return icu::UnicodeString();
    }
    const int length = lengthOf(bytes);
    const char* const units = name_ == UNITS ? UNITS_SPELLED_OTHERWISE : UNITS;
    const std::string text = convert(bytes.size() * 2 + 16, [&](char* destination, int capacity) {
        return Converter::convertToBytes(destination, capacity, units, bytes.data(), length,
                                         name_.c_str());
    });
    std::u16string aligned(text.size() / sizeof(char16_t), u'\0');
    std::memcpy(aligned.data(), text.data(), aligned.size() * sizeof(char16_t));
    return icu::UnicodeString(aligned.data(), static_cast<int>(aligned.size()));
}

bool CodePage::hasState() const {
    UErrorCode error = U_ZERO_ERROR;
    const std::unique_ptr<UConverter, decltype(&ucnv_close)> converter(
        ucnv_open(name_.c_str(), &error), &ucnv_close);
    if (U_FAILURE(error)) {
        return true;
    }
    const UConverterType type = ucnv_getType(converter.get());
    return std::find(std::begin(WITHOUT_STATE), std::end(WITHOUT_STATE), type) ==
           std::end(WITHOUT_STATE);
}

std::string CodePage::encode(const icu::UnicodeString& text) const {
    return convert(static_cast<std::size_t>(text.length()) * 3 + 16,
                   [&](char* destination, int capacity) {
                       return Converter::convertToBytes(destination, capacity, name_.c_str(), text);
                   });
}

std::vector<CodePageNames> listCodePages() {
    std::vector<CodePageNames> pages;
    for (int32_t i = 0; i < ucnv_countAvailable(); ++i) {
        const std::string own = ucnv_getAvailableName(i);
        if (isKnown(own)) {
            pages.push_back(namesOf(own));
        }
    }
    std::sort(pages.begin(), pages.end(),
              [](const CodePageNames& a, const CodePageNames& b) { return a.name < b.name; });
    return pages;
}

}  // namespace tools

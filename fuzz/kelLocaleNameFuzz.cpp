// Looks arbitrary names up and compares with a walk over a table of its own.

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>

#include <infra/oss/kelNLSUtility.h>

#include "support/kelLocaleSpellings.h"

namespace {

using nx::oss::NLSUtility;

constexpr std::size_t LONGEST_NAME = 63;

/// ASCII letters and digits in upper case.
std::string reduced(const std::string& name) {
    std::string key;
    for (const char c : name) {
        if (c >= 'a' && c <= 'z') {
            key.push_back(static_cast<char>(c - 'a' + 'A'));
        } else if ((c >= '0' && c <= '9') || (c >= 'A' && c <= 'Z')) {
            key.push_back(c);
        }
    }
    return key;
}

/// Empty when there is no such key.
std::string valueOf(const std::string& key) {
    for (const char* const value : nx::test::STANDARD_LOCALES) {
        if (key == reduced(value)) {
            return value;
        }
    }
    for (const auto& alias : nx::test::LOCALE_ALIASES) {
        if (key == alias.key) {
            return alias.value;
        }
    }
    return "";
}

std::string expectedValue(const std::string& name) {
    const std::string cut = name.substr(0, LONGEST_NAME);
    const std::string value = valueOf(reduced(cut));
    return value.empty() ? valueOf(reduced(cut.substr(0, cut.find('.')))) : value;
}

void require(bool holds, const std::string& name) {
    if (!holds) {
        std::fprintf(stderr, "wrong answer for \"%s\"\n", name.c_str());
        std::abort();
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    // The C library's view of the name ends at a zero.
    const std::string all(reinterpret_cast<const char*>(data), size);
    const std::string name = all.substr(0, all.find('\0'));
    const std::string expected = expectedValue(name);
    const NLSUtility& locales = NLSUtility::getInstance();
    require(locales.isSupported(name.c_str()) == !expected.empty(), name);
    require(locales.getStandardLocaleValue(name.c_str()) == (expected.empty() ? "enUS" : expected),
            name);
    icu::Locale locale;
    locales.getLocale(locale, name.c_str());
    const std::string value = expected.empty() ? "enUS" : expected;
    require(name.empty() || locale.getName() == value.substr(0, 2) + "_" + value.substr(2), name);
    return 0;
}

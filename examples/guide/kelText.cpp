// The guide's page on text: bytes in and out, checks, numbers, tokens, locales.
#include <infra/oss/kelConverter.h>
#include <infra/oss/kelFormatter.h>
#include <infra/oss/kelNLSException.h>
#include <infra/oss/kelNLSUtility.h>
#include <infra/oss/kelStringTokenizer.h>
#include <infra/oss/kelUTF8Iterator.h>
#include <infra/oss/kelUTF8String.h>

#include <unicode/ustream.h>

#include <iomanip>
#include <iostream>
#include <string>

namespace {

// [bytes]
// The text in a code page, substitution characters where the code page lacks
// one.
std::string inCodePage(const icu::UnicodeString& text, const char* codePage) {
    const int size =
        nx::oss::Converter::convertToBytes(nullptr, 0, codePage, text);
    std::string bytes(static_cast<std::size_t>(size), '\0');
    nx::oss::Converter::convertToBytes(bytes.data(), size, codePage, text);
    return bytes;
}
// [bytes]

// [between]
// Bytes of one code page as bytes of another one.
std::string recoded(const std::string& bytes, const char* from,
                    const char* to) {
    const int length = static_cast<int>(bytes.size());
    const int size = nx::oss::Converter::convertToBytes(
        nullptr, 0, to, bytes.data(), length, from);
    std::string result(static_cast<std::size_t>(size), '\0');
    nx::oss::Converter::convertToBytes(result.data(), size, to, bytes.data(),
                                       length, from);
    return result;
}
// [between]

// [known]
bool isKnownCodePage(const char* name) {
    try {
        nx::oss::Converter::convertToBytes(nullptr, 0, name, u"a");
        return true;
    } catch (const nx::oss::NLSException&) {
        return false;
    }
}
// [known]

// [check]
bool isWellFormed(const char* bytes) {
    try {
        nx::oss::UTF8Iterator characters;
        return characters.setString(bytes);
    } catch (const nx::oss::NLSException&) {
        return false;
    }
}
// [check]

// [line]
// The sum of the numbers in a line such as "12, 30, 8".
long sumOf(const icu::UnicodeString& line) {
    long sum = 0;
    nx::oss::StringTokenizer numbers(line, ", ");
    while (numbers.hasMoreTokens()) {
        sum += nx::oss::Formatter::stringToInt64(numbers.getNextTokenString());
    }
    return sum;
}
// [line]

// [people]
// A number as the people of a locale write it.
icu::UnicodeString shownIn(const char* localeName, double number) {
    const nx::oss::Formatter formatter(nx::oss::Formatter::SHORT,
                                       nx::oss::Formatter::SHORT, localeName);
    icu::UnicodeString text;
    return formatter.formatNumber(text, number);
}
// [people]

// [locale]
// The spelling that all others of a locale come down to; null for a name that
// means nothing.
const char* standardLocale(const char* name) {
    const nx::oss::NLSUtility& locales = nx::oss::NLSUtility::getInstance();
    return locales.isSupported(name) ? locales.getStandardLocaleValue(name)
                                     : nullptr;
}
// [locale]

void showBytes(const std::string& bytes) {
    for (const char byte : bytes) {
        std::cout << std::hex << std::setw(2) << std::setfill('0')
                  << static_cast<int>(static_cast<unsigned char>(byte)) << ' ';
    }
    std::cout << std::dec << "\n";
}

}  // namespace

int main() {
    showBytes(inCodePage(u"10 \u20AC", "ISO-8859-15"));
    showBytes(inCodePage(u"10 \u20AC", "UTF-8"));
    showBytes(recoded("10 \xA4", "ISO-8859-15", "UTF-16LE"));
    std::cout << std::boolalpha << isKnownCodePage("Shift_JIS")
              << isKnownCodePage("Shift_JISS") << "\n";
    std::cout << isWellFormed("caf\xC3\xA9") << isWellFormed("caf\xC3") << "\n";
    std::cout << sumOf("12, 30, 8") << "\n";
    std::cout << shownIn("en_US", 1234.5) << " " << shownIn("de-DE", 1234.5)
              << "\n";
    std::cout << standardLocale("de_CH.UTF-8") << " "
              << (standardLocale("klingon") == nullptr) << "\n";
}

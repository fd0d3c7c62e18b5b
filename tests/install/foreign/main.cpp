// Uses classes of each folder, text of ICU, and exceptions that cross the library's border.
#include <infra/oss/kelByteArrayOutputStream.h>
#include <infra/oss/kelFormatter.h>
#include <infra/oss/kelNLSUtility.h>
#include <infra/oss/kelPrintStream.h>
#include <infra/oss/kelSocket.h>
#include <infra/oss/kelSocketException.h>
#include <infra/oss/kelUTF8Iterator.h>
#include <infra/oss/kelUTF8String.h>
#include <infra/util/kelBase64Exception.h>
#include <infra/util/kelExtendedProperties.h>
#include <infra/util/kelPropertiesException.h>

#include <unicode/ustream.h>

#include <iostream>
#include <string>

namespace {

void showReport(const nx::oss::BaseException& failure) {
    icu::UnicodeString text;
    std::cout << failure.name() << " " << failure.messages.getFirstMessage().toString(text) << "\n";
}

void showSettings() {
    nx::util::ExtendedProperties settings;
    const char text[] = "greeting=%word%!\nword=caf\\u00E9\nport=x\n";
    settings.loadFromString(text, sizeof text - 1);
    const nx::oss::UTF8String greeting(settings.requireProperty("greeting"));
    nx::oss::UTF8Iterator characters;
    greeting.getUTF8Iterator(characters);
    std::cout << greeting.getString() << " " << characters.numChars() << "\n";
    settings.list(std::cout);
    char stored[128];
    nx::oss::ByteArrayOutputStream out(stored, sizeof stored);
    settings.store(out);
    std::cout << out.getCount() << "\n";
    settings.getPropertyAsUInt32("port", 80u);
}

void showNumbers() {
    nx::oss::DataBuffer text("X'01ff' ");
    text.appendNumber(nx::oss::Formatter::stringToDouble("1.5"));
    icu::UnicodeString number;
    nx::oss::Formatter(nx::oss::Formatter::SHORT, nx::oss::Formatter::SHORT, "de-CH")
        .formatNumber(number, 1234567);
    std::cout << text.getString() << " " << number << " "
              << nx::oss::NLSUtility::getInstance().getStandardLocaleValue("fr_BE") << "\n";
    *nx::oss::ossOut << number << '\n';
}

}  // namespace

int main() {
    const nx::util::Base64Exception other;
    std::cout << other.what() << "\n";
    showNumbers();
    unsigned caught = 0;
    try {
        showSettings();
    } catch (const nx::util::PropertiesException& failure) {
        showReport(failure);
        ++caught;
    }
    try {
        nx::oss::Socket().write("x", 0, 1);
    } catch (const nx::oss::BaseException& failure) {
        icu::UnicodeString text;
        std::cout << failure.messages.getFirstMessage().toString(text) << "\n";
        ++caught;
    }
    return caught == 2 ? 0 : 1;
}

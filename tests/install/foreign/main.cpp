// Uses a class of each folder, text, and an exception that crosses the library's border.
#include <infra/oss/kelSocket.h>
#include <infra/oss/kelSocketException.h>
#include <infra/util/kelBase64Exception.h>

#include <iostream>
#include <string>

int main() {
    const nx::util::Base64Exception other;
    std::cout << other.what() << "\n";
    try {
        nx::oss::Socket().write("x", 0, 1);
    } catch (const nx::oss::BaseException& failure) {
        icu::UnicodeString text;
        std::string utf8;
        std::cout << failure.messages.getFirstMessage().toString(text).toUTF8String(utf8) << "\n";
        return 0;
    }
    return 1;
}

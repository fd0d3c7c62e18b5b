// [program]
#include <infra/oss/kelBaseException.h>
#include <infra/oss/kelUTF8String.h>
#include <infra/util/kelExtendedProperties.h>

#include <iostream>

int main() {
    const char text[] = "name = world\ngreeting = hello, %name%\ntimes = 2\n";
    try {
        nx::util::ExtendedProperties settings;
        settings.loadFromString(text, sizeof text - 1);
        const nx::oss::UTF8String greeting(
            settings.requireProperty("greeting"));
        for (int times = settings.getPropertyAsInt32("times", 1); times > 0;
             --times) {
            std::cout << greeting.getString() << "\n";
        }
        settings.requireProperty("farewell");  // there is none
    } catch (const nx::oss::BaseException& failure) {
        icu::UnicodeString report;
        failure.messages.getFirstMessage().toString(report);
        std::cout << nx::oss::UTF8String(report).getString() << "\n";
    }
}
// [program]

#pragma once

#include <cerrno>
#include <cstring>
#include <fstream>
#include <string>
#include <vector>

#include <infra/oss/kelIOException.h>
#include <infra/oss/kelMessage.h>
#include <infra/oss/kelUTF8String.h>
#include <infra/util/kelExtendedProperties.h>
#include <infra/util/kelPropertiesException.h>

/// What a properties file can tell the example programs. exchange.properties is a sample of one.
namespace example {

using nx::util::ExtendedProperties;

/// The members hold what an absent key means; `host` and `port` must be there.
struct ExchangeSettings {
    icu::UnicodeString host = "127.0.0.1";
    unsigned int port = 0;                ///< 0: the system chooses one for the server
    unsigned long connectTimeout = 5000;  ///< milliseconds
    unsigned long acceptTimeout = 100;    ///< milliseconds
    long largestItem = 64L << 20;         ///< bytes
    bool noDelay = true;
    int rounds = 1;
    double share = 1;             ///< of the lines of a text
    icu::UnicodeString greeting;  ///< "": none
    std::vector<std::string> texts;
};

/// The largest settings file, in bytes.
constexpr std::size_t LARGEST_SETTINGS = 4UL << 20;

/// The folder of a file, "." for the current one.
inline std::string folderOf(const std::string& path) {
    const std::size_t slash = path.rfind('/');
    return slash == std::string::npos ? "." : path.substr(0, slash == 0 ? 1 : slash);
}

/// Throws an error of this program in the form of the library's own ones.
template <class Exception>
[[noreturn]] void raise(const char* identifier, const std::vector<icu::UnicodeString>& arguments) {
    nx::oss::Message message(identifier, nx::oss::Message::DEFAULT, "kelExchangeSettings.h", 0);
    for (const icu::UnicodeString& argument : arguments) {
        message.addArgument(argument);
    }
    Exception failure;
    failure.messages.addMessage(message);
    throw failure;
}

/// The bytes of a settings file. Throws IOException "SETTINGS_UNREADABLE" (path, reason).
inline std::string readSettingsFile(const std::string& path) {
    errno = 0;
    std::ifstream file(path, std::ios::binary);
    std::string content(LARGEST_SETTINGS + 1, '\0');
    file.read(content.data(), static_cast<std::streamsize>(content.size()));
    const bool tooLarge = file.good();
    if (tooLarge || !file.eof()) {
        raise<nx::oss::IOException>(
            "SETTINGS_UNREADABLE",
            {icu::UnicodeString::fromUTF8(path), std::strerror(tooLarge ? EFBIG : errno)});
    }
    content.resize(static_cast<std::size_t>(file.gcount()));
    return content;
}

/// Throws "SETTING_REFUSED" (key, value, `reason`) for a value of the right type that makes no
/// sense.
[[noreturn]] inline void refuseSetting(const ExtendedProperties& properties,
                                       const icu::UnicodeString& key, const char* reason) {
    icu::UnicodeString value(properties.requireProperty(key));
    raise<nx::util::PropertiesException>("SETTING_REFUSED", {key, value.trim(), reason});
}

/// The value of a name or a message: a NUL would end it early wherever a C string is wanted.
inline const icu::UnicodeString& requireText(const ExtendedProperties& properties,
                                             const icu::UnicodeString& key) {
    const icu::UnicodeString& text = properties.requireProperty(key);
    if (text.indexOf(u'\0') >= 0) {
        refuseSetting(properties, key, "text without NUL");
    }
    return text;
}

inline icu::UnicodeString readHost(const ExtendedProperties& properties) {
    icu::UnicodeString host = requireText(properties, "host");
    // Only the typed getters ignore blanks, and those at the end of a line are part of a value.
    if (host.trim().isEmpty()) {
        refuseSetting(properties, "host", "a name or an address");
    }
    return host;
}

inline unsigned int readPort(const ExtendedProperties& properties) {
    const unsigned int port = properties.requirePropertyAsUInt32("port");
    // Ten digits can exceed 32 bits, and what exceeds them is cut off: the wider type tells.
    if (properties.requirePropertyAsUInt64("port") > 65535) {
        refuseSetting(properties, "port", "0 to 65535");
    }
    return port;
}

inline int readRounds(const ExtendedProperties& properties, int def) {
    const int rounds = properties.getPropertyAsInt32("rounds", def);
    const long exact = properties.getPropertyAsInt64("rounds", def);
    if (exact < 1 || exact > 1000000) {
        refuseSetting(properties, "rounds", "1 to 1000000");
    }
    return rounds;
}

inline unsigned long readTimeout(const ExtendedProperties& properties,
                                 const icu::UnicodeString& key, unsigned long def) {
    const unsigned long timeout = properties.getPropertyAsUInt64(key, def);
    if (timeout < 1 || timeout > 3600000) {
        refuseSetting(properties, key, "1 to 3600000");
    }
    return timeout;
}

inline long readLargestItem(const ExtendedProperties& properties, long def) {
    const long bytes = properties.getPropertyAsInt64("item.largest", def);
    if (bytes < 0 || bytes > 0xFFFFFFFF) {
        refuseSetting(properties, "item.largest", "0 to 4294967295");
    }
    return bytes;
}

inline double readShare(const ExtendedProperties& properties, double def) {
    const double share = properties.getPropertyAsDouble("lines.share", def);
    if (!(share > 0 && share <= 1)) {  // a number that is none is refused, too
        refuseSetting(properties, "lines.share", "above 0, up to 1");
    }
    return share;
}

/// The values of all keys that begin with "text.", in the order of the keys.
inline std::vector<std::string> readTexts(const ExtendedProperties& properties) {
    std::vector<std::string> texts;
    for (const auto& pair : properties) {
        const icu::UnicodeString& key = pair.first;
        if (key.startsWith("text.")) {
            texts.emplace_back(nx::oss::UTF8String(requireText(properties, key)).getString());
        }
    }
    return texts;
}

/// Every setting is read, and so checked, before any is used.
inline ExchangeSettings readSettings(const ExtendedProperties& properties) {
    ExchangeSettings settings;
    settings.host = readHost(properties);
    settings.port = readPort(properties);
    settings.connectTimeout = readTimeout(properties, "connect.timeout", settings.connectTimeout);
    settings.acceptTimeout = readTimeout(properties, "accept.timeout", settings.acceptTimeout);
    settings.largestItem = readLargestItem(properties, settings.largestItem);
    settings.noDelay = properties.getPropertyAsBoolean("tcp.nodelay", settings.noDelay);
    settings.rounds = readRounds(properties, settings.rounds);
    settings.share = readShare(properties, settings.share);
    if (properties.hasProperty("greeting")) {
        settings.greeting = requireText(properties, "greeting");
    }
    settings.texts = readTexts(properties);
    return settings;
}

/// The settings in the file, whose values can refer to its folder as %settings.folder%.
inline ExchangeSettings loadSettings(const std::string& path) {
    const std::string content = readSettingsFile(path);
    ExtendedProperties properties;
    properties.putProperty("settings.folder", icu::UnicodeString::fromUTF8(folderOf(path)));
    properties.loadFromString(content.data(), content.size());
    return readSettings(properties);
}

}  // namespace example

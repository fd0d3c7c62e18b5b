#include "kelprops/kelPropsInput.h"

#include <sys/stat.h>

#include <cerrno>

#include "common/kelFiles.h"

namespace tools {

using nx::util::ExtendedProperties;

namespace {

bool isRegularFile(const std::string& path) {
    struct stat status {};
    return stat(path.c_str(), &status) == 0 && S_ISREG(status.st_mode);
}

}  // namespace

Definitions definitionsOf(const CommandLine& line) {
    Definitions definitions;
    for (const std::string& pair : line.all("define")) {
        const std::size_t equals = pair.find('=');
        if (equals == std::string::npos) {
            throw UsageError("--define needs KEY=VALUE, not '" + printable(pair) + "'");
        }
        definitions.emplace_back(textOfArgument(pair.substr(0, equals)),
                                 textOfArgument(pair.substr(equals + 1)));
    }
    return definitions;
}

void load(ExtendedProperties& properties, const std::string& path, const CommandLine& line) {
    const std::string text = readProperties(path);
    properties.load(text.data(), text.size());
    if (line.has("raw")) {
        return;
    }
    ExtendedProperties written;
    written.copy(properties);
    const Definitions definitions = definitionsOf(line);
    define(properties, definitions);
    properties.resolveProperties();
    for (const auto& [key, value] : definitions) {
        if (!written.hasProperty(key)) {
            properties.removeProperty(key);
        }
    }
}

bool exists(const std::string& path) {
    struct stat status {};
    return stat(path.c_str(), &status) == 0 || errno != ENOENT;
}

void requireFileFirst(const CommandLine& line) {
    const std::vector<std::string>& words = line.arguments();
    if (words.front() != STANDARD_INPUT && !exists(words.front()) && isRegularFile(words.back())) {
        throw UsageError("there is no file '" + printable(words.front()) +
                         "'; the file comes first: kelprops " + line.command().name + " " +
                         line.command().arguments);
    }
}

std::string shown(const icu::UnicodeString& key, const icu::UnicodeString& value) {
    return printable(key) + "=" + printable(value);
}

}  // namespace tools

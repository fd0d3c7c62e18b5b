#include "kelprops/kelPropsCommands.h"

#include <charconv>

#include "common/kelFiles.h"
#include "kelprops/kelPropsInput.h"

namespace tools {

namespace {

using nx::util::ExtendedProperties;

std::string textOf(double number) {
    char text[64];
    return {text, std::to_chars(text, text + sizeof text, number).ptr};
}

/// The value as the library's getter for the type reads it.
std::string typedValue(const ExtendedProperties& properties, const icu::UnicodeString& key,
                       const std::string& type) {
    if (type == "boolean") {
        return properties.requirePropertyAsBoolean(key) ? "true" : "false";
    }
    if (type == "int32") {
        return std::to_string(properties.requirePropertyAsInt32(key));
    }
    if (type == "uint32") {
        return std::to_string(properties.requirePropertyAsUInt32(key));
    }
    if (type == "int64") {
        return std::to_string(properties.requirePropertyAsInt64(key));
    }
    if (type == "uint64") {
        return std::to_string(properties.requirePropertyAsUInt64(key));
    }
    return textOf(properties.requirePropertyAsDouble(key));
}

}  // namespace

ExitStatus getCommand(const CommandLine& line) {
    requireFileFirst(line);
    const icu::UnicodeString key = textOfArgument(line.arguments()[1]);
    ExtendedProperties properties;
    load(properties, line.arguments()[0], line);
    if (line.has("default") && !properties.hasProperty(key)) {
        print(line.value("default", ""));
        return ALL_WELL;
    }
    const icu::UnicodeString& value = properties.requireProperty(key);
    std::string text;
    value.toUTF8String(text);
    print(line.has("type") ? typedValue(properties, key, line.value("type", "")) : text);
    return ALL_WELL;
}

}  // namespace tools

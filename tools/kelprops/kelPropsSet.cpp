#include "kelprops/kelPropsCommands.h"

#include <infra/util/kelPropertiesException.h>

#include <optional>

#include <sys/stat.h>

#include "common/kelFiles.h"
#include "kelprops/kelPropertyEdit.h"
#include "kelprops/kelPropsInput.h"

namespace tools {

namespace {

using nx::util::ExtendedProperties;

/// The failure of the text's references, null when they can be expanded.
std::optional<nx::util::PropertiesException> failureOf(const std::string& text) {
    try {
        ExtendedProperties properties;
        properties.loadFromString(text.data(), text.size());
        return std::nullopt;
    } catch (const nx::util::PropertiesException& failure) {
        return failure;
    }
}

/// The old content goes beside the file first, then the new one takes its place. Nobody may read
/// the backup copy who may not read the file.
void replace(const std::string& path, const std::string& before, const std::string& after,
             bool isNew) {
    if (!isNew) {
        ReplacedFile backup(path + ExtendedProperties::backupFileSuffix, path);
        backup.write(before);
        backup.commit();
    }
    ReplacedFile file(path);
    file.write(after);
    file.commit();
}

/// Whether the pair can be kept in a file; says why not.
bool isAcceptable(const CommandLine& line, const icu::UnicodeString& key,
                  const icu::UnicodeString& value, const std::string& before,
                  const std::string& after) {
    if (!survivesWriting(key, value)) {
        complain("'" + shown(key, value) +
                 "' cannot be kept in a properties file: characters above U+FFFF and "
                 "noncharacters are lost there");
        return false;
    }
    const auto failure = failureOf(after);
    if (failure && !failureOf(before) && !line.has("force")) {
        complain(*failure);
        complain(
            "with this value the file could not be loaded; it is as it was. --force "
            "sets the value all the same");
        return false;
    }
    return true;
}

/// A device or a pipe has no content to change, and a backup copy beside it would be litter.
void requireRegularFile(const std::string& path) {
    struct stat status {};
    if (stat(path.c_str(), &status) == 0 && !S_ISREG(status.st_mode)) {
        throw Failure("cannot change '" + printable(path) + "': it is no regular file");
    }
}

}  // namespace

ExitStatus setCommand(const CommandLine& line) {
    const std::string& path = line.arguments()[0];
    const icu::UnicodeString key = textOfArgument(line.arguments()[1]);
    const icu::UnicodeString value = textOfArgument(line.arguments()[2]);
    if (path == STANDARD_INPUT) {
        throw UsageError("standard input cannot be changed; name a file");
    }
    const ChangeLock lock(path);
    const bool isNew = line.has("create") && !exists(path);
    if (!isNew) {
        requireFileFirst(line);
        requireRegularFile(path);
    }
    const std::string before = isNew ? "" : readProperties(path);
    const std::string after =
        survivesWriting(key, value) ? withProperty(before, key, value) : before;
    if (!isAcceptable(line, key, value, before, after)) {
        return PROBLEM_FOUND;
    }
    if (after != before) {
        replace(path, before, after, isNew);
    }
    return ALL_WELL;
}

}  // namespace tools

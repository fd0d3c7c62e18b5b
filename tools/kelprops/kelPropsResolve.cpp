#include "kelprops/kelPropsCommands.h"

#include "common/kelFiles.h"
#include "kelprops/kelPropsInput.h"

namespace tools {

ExitStatus resolveCommand(const CommandLine& line) {
    nx::util::ExtendedProperties properties;
    load(properties, line.arguments()[0], line);
    ExitStatus status = ALL_WELL;
    for (const auto& [key, value] : properties) {
        if (!survivesStore(key, value)) {
            complain("'" + printable(key) + "' loses the blanks at the start of its value");
            status = PROBLEM_FOUND;
        }
    }
    const std::string text = storedText(properties);
    if (line.has("output")) {
        ReplacedFile file(line.value("output", ""));
        file.write(text);
        file.commit();
    } else {
        standardOutput().write(text);
    }
    return status;
}

}  // namespace tools

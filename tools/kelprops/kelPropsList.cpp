#include "kelprops/kelPropsCommands.h"

#include "common/kelFiles.h"
#include "kelprops/kelPropsInput.h"

namespace tools {

ExitStatus listCommand(const CommandLine& line) {
    nx::util::ExtendedProperties properties;
    load(properties, line.arguments()[0], line);
    for (const auto& [key, value] : properties) {
        print(paint(Colour::BOLD, printable(key)) + "=" + printable(value));
    }
    return ALL_WELL;
}

}  // namespace tools

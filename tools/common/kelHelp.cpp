#include "common/kelHelp.h"

#include <infra/oss/kelBuildVersion.h>

#include <algorithm>

namespace tools {

namespace {

/// Columns of "  -o, --output FILE  effect".
constexpr std::size_t WIDEST_TERM = 24;

std::string termOf(const Option& option) {
    std::string term = option.letter == 0 ? "    " : std::string("-") + option.letter + ", ";
    term += std::string("--") + option.name;
    return option.value == nullptr ? term : term + " " + option.value;
}

/// One entry of a list: the term, and its text in a column, on the next line behind a long term.
std::string entry(const std::string& term, const std::string& text, std::size_t width) {
    const std::string margin(width + 4, ' ');
    std::string lines = "  " + term;
    lines += term.size() > width ? "\n" + margin : std::string(width - term.size() + 2, ' ');
    for (const char c : text) {
        lines += c;
        if (c == '\n') {
            lines += margin;
        }
    }
    return lines + "\n";
}

std::string listOf(const std::vector<Option>& options) {
    std::size_t width = 0;
    for (const Option& option : options) {
        width = std::max(width, std::min(WIDEST_TERM, termOf(option).size()));
    }
    std::string list;
    for (const Option& option : options) {
        list += entry(termOf(option), option.effect, width);
    }
    return list;
}

const Option HELP{'h', "help", nullptr, "show this text"};
const Option VERSION{0, "version", nullptr, "show the version"};
const Option COMPLETION{0, "completion", "bash|zsh|fish",
                        "write what makes that shell complete the command line"};

std::string exitStatusOf(const Tool& tool) {
    return "\nExit status:\n" + entry("0", "all is well", 1) + entry("1", tool.problems, 1) +
           entry("2", "the command line makes no sense", 1) +
           entry("3", "the work could not be done; standard error tells why", 1);
}

}  // namespace

std::string synopsisOf(const Tool& tool, const Command& command) {
    std::string line = tool.name;
    if (*command.name != '\0') {
        line += std::string(" ") + command.name;
    }
    return line + (command.options.empty() ? " " : " [OPTION]... ") + command.arguments;
}

std::string helpOf(const Tool& tool) {
    std::string text = std::string("Usage: ") + tool.name + " COMMAND [OPTION]... ARGUMENT...\n" +
                       tool.summary + "\n\nCommands:\n";
    std::size_t width = 0;
    for (const Command& command : tool.commands) {
        width = std::max(width, std::string(command.name).size());
    }
    for (const Command& command : tool.commands) {
        text += entry(command.name, command.summary, width);
    }
    return text + "\nOptions:\n" + listOf({HELP, VERSION, COMPLETION}) + "\n'" + tool.name +
           " COMMAND --help' tells more about a command, 'man " + tool.name + "' all.\n" +
           exitStatusOf(tool);
}

std::string helpOf(const Tool& tool, const Command& command) {
    std::vector<Option> options = command.options;
    options.push_back(HELP);
    if (*command.name == '\0') {
        options.push_back(VERSION);
        options.push_back(COMPLETION);
    }
    return "Usage: " + synopsisOf(tool, command) + "\n" + command.summary + "\n" +
           (*command.details == '\0' ? "" : "\n") + command.details + "\nOptions:\n" +
           listOf(options) + exitStatusOf(tool);
}

std::string versionOf(const Tool& tool) {
    return std::string(tool.name) + " " + KELINFRA_VERSION + "\nlibkelinfra " +
           printable(nx::oss::BuildVersion().getBuildVersion()) + "\n";
}

}  // namespace tools

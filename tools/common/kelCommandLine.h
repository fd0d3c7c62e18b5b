#pragma once

#include <functional>
#include <map>
#include <string>
#include <vector>

#include "common/kelReport.h"

namespace tools {

/// An option of a command, as --help, the command line and the completion of a shell know it.
struct Option {
    char letter;         ///< the short form, 0 for none
    const char* name;    ///< the long form without dashes
    const char* value;   ///< what its argument is, "text|dot" for a choice; null for none
    const char* effect;  ///< for --help; lines end with \n
};

/// One thing that a tool does.
struct Command {
    const char* name;       ///< empty for a tool that does one thing
    const char* arguments;  ///< what stands behind the options, such as "FILE KEY VALUE"
    const char* summary;    ///< one line
    const char* details;    ///< for --help; lines end with \n
    std::vector<Option> options;
    unsigned fewest;  ///< arguments
    unsigned most;
};

/// A tool.
struct Tool {
    const char* name;
    const char* summary;
    std::vector<Command> commands;
    const char* problems;  ///< what exit status 1 means
};

constexpr unsigned ANY_NUMBER = ~0U;

/// The name of option arguments that are completed as files.
constexpr const char* FILE_VALUE = "FILE";
/// The name of option arguments that are completed from `kelconv --list`.
constexpr const char* CODE_PAGE_VALUE = "CODEPAGE";

/// What stood on the command line, behind the name of the command.
class CommandLine {
  public:
    explicit CommandLine(const Command& command) : command_(&command) {}

    const Command& command() const { return *command_; }
    bool has(const std::string& option) const { return values_.count(option) != 0; }
    /// The argument of the option; the last one if it was given more than once.
    std::string value(const std::string& option, const std::string& otherwise) const;
    /// The arguments of an option that may be given more than once, in order.
    std::vector<std::string> all(const std::string& option) const;
    unsigned long number(const std::string& option, unsigned long otherwise, unsigned long smallest,
                         unsigned long largest) const;
    const std::vector<std::string>& arguments() const { return arguments_; }

  private:
    friend class CommandLineParser;

    const Command* command_;
    std::map<std::string, std::vector<std::string>> values_;
    std::vector<std::string> arguments_;
};

/// Takes the words behind the name of the command apart. Throws UsageError.
CommandLine parseCommandLine(const Tool& tool, const Command& command,
                             const std::vector<std::string>& words);

/// Runs a tool: takes the command line apart, answers --help, --version and --completion, and turns
/// failures into words and an exit status.
int runTool(const Tool& tool, int argc, char** argv,
            const std::function<ExitStatus(const CommandLine&)>& run);

}  // namespace tools

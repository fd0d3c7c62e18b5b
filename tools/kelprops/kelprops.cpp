// Checks, reads, compares and changes properties files.

#include <infra/util/kelPropertiesException.h>

#include <map>

#include "common/kelCommandLine.h"
#include "kelprops/kelPropsCommands.h"

namespace {

using tools::CommandLine;
using tools::ExitStatus;

const tools::Option RAW{'r', "raw", nullptr, "leave %name% references as they are written"};
const tools::Option DEFINE{'D', "define", "KEY=VALUE",
                           "a key that the program sets before it reads the file;\nmay be given "
                           "more than once"};
const tools::Option OUTPUT{'o', "output", tools::FILE_VALUE,
                           "write to FILE, which is replaced only when all went well"};

const tools::Tool TOOL{
    "kelprops",
    "Checks, reads, compares and changes properties files.",
    {
        {"check",
         "FILE...",
         "Reports every problem with file, line and key.",
         "Problems are references to nothing or to themselves, keys that stand there\n"
         "twice, malformed escapes, text that does not survive a store, a last comment\n"
         "without line end, and text in another encoding than ISO-8859-1. FILE - is\n"
         "standard input.\n",
         {DEFINE, {'q', "quiet", nullptr, "print nothing; only the exit status tells"}},
         1,
         tools::ANY_NUMBER},
        {"get",
         "FILE KEY",
         "Prints the value of a key.",
         "The value is printed as it is, in UTF-8, with a line end.\n",
         {RAW,
          DEFINE,
          {'d', "default", "TEXT", "print TEXT when the key is not there"},
          {'t', "type", "boolean|int32|uint32|int64|uint64|double",
           "require a value of that type and print it as the library reads it"}},
         2,
         2},
        {"list",
         "FILE",
         "Prints all keys and values, in key order.",
         "Line ends, tabs and other control characters are shown as escapes.\n",
         {RAW, DEFINE},
         1,
         1},
        {"resolve",
         "FILE",
         "Writes the file with all references expanded.",
         "The result is a properties file as the library stores it, without comments.\n",
         {DEFINE, OUTPUT},
         1,
         1},
        {"diff",
         "A B",
         "Compares what two files say, whatever their order and layout.",
         "Lines that begin with - are in A only, those with + in B only.\n",
         {RAW, DEFINE, {'q', "quiet", nullptr, "print nothing; only the exit status tells"}},
         2,
         2},
        {"set",
         "FILE KEY VALUE",
         "Gives a key a value.",
         "Comments, order and all other lines stay as they are. The file before is kept as\n"
         "FILE.kvbk. The new one takes its place at once, or not at all. A value that the\n"
         "program could not read back, or whose references lead nowhere, is refused.\n",
         {{'c', "create", nullptr, "make the file if there is none"},
          {'f', "force", nullptr, "take a value whose references lead nowhere"}},
         3,
         3},
        {"graph",
         "FILE",
         "Shows which value refers to which key.",
         "References to nothing and those that go round are marked.\n",
         {DEFINE,
          {'f', "format", "text|dot", "lines \"from -> to\" (default), or input for Graphviz"}},
         1,
         1},
    },
    "a problem or a difference was found, or the key is not there"};

ExitStatus run(const CommandLine& line) {
    static const std::map<std::string, ExitStatus (*)(const CommandLine&)> COMMANDS{
        {"check", tools::checkCommand}, {"get", tools::getCommand},
        {"list", tools::listCommand},   {"resolve", tools::resolveCommand},
        {"diff", tools::diffCommand},   {"set", tools::setCommand},
        {"graph", tools::graphCommand},
    };
    try {
        return COMMANDS.at(line.command().name)(line);
    } catch (const nx::util::PropertiesException& failure) {
        tools::complain(failure);
        return tools::PROBLEM_FOUND;
    }
}

}  // namespace

int main(int argc, char** argv) { return tools::runTool(TOOL, argc, argv, run); }

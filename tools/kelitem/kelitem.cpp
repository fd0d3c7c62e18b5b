// Serves, sends, measures and decodes length-prefixed items.

#include <map>

#include "common/kelCommandLine.h"
#include "common/kelFiles.h"
#include "kelitem/kelItemChannel.h"
#include "kelitem/kelItemClient.h"
#include "kelitem/kelItemDump.h"
#include "kelitem/kelItemServer.h"

namespace {

using tools::CommandLine;
using tools::ExitStatus;

constexpr unsigned long LARGEST_PORT = 65535;
constexpr unsigned long LONGEST_TIMEOUT = 86400000;
constexpr unsigned long USUAL_TIMEOUT = 10000;
constexpr unsigned long USUAL_IDLE_TIMEOUT = 60000;

const tools::Option MAX_LENGTH{'m', "max-length", "N",
                               "take no item of more than N bytes (default 67108864)"};
const tools::Option TIMEOUT{'t', "timeout", "MS",
                            "wait MS milliseconds for the connection and for each\nread and write "
                            "(default 10000; 0: without limit)"};
const tools::Option QUIET{'q', "quiet", nullptr, "print no summary"};

const tools::Tool TOOL{
    "kelitem",
    "Serves, sends, measures and decodes length-prefixed items.",
    {
        {"serve",
         "",
         "Listens, and answers every item with the same bytes.",
         "The first line of output names the port. SIGINT or SIGTERM ends the server.\n"
         "Failures of single connections are reported on standard error and end that\n"
         "connection only.\n",
         {{'p', "port", "N", "listen on port N (default 0: the system chooses)"},
          {'n', "no-answer", nullptr, "take items without answering them"},
          {'s', "save", tools::FILE_VALUE,
           "write all items to FILE as they come, lengths too;\n'kelitem dump' reads it"},
          {'c', "connections", "N", "stop after N connections (default 0: no limit)"},
          MAX_LENGTH,
          {'t', "timeout", "MS",
           "end a connection on which nothing moves for MS\nmilliseconds (default 60000; 0: "
           "never)"}},
         0,
         0},
        {"send",
         "HOST PORT [FILE]...",
         "Sends files as items, and awaits an answer to each.",
         "Each FILE is one item. Without FILE, or with FILE -, that is standard input.\n",
         {{'x', "text", "TEXT", "send TEXT, in UTF-8, instead of files"},
          {'l', "lines", nullptr, "send each line as an item, without its line end"},
          {'a', "answers", "none|count|print|check",
           "none: do not wait for answers; count: wait for one to\neach item (default); print: "
           "print each with a line end;\ncheck: each must equal its item"},
          MAX_LENGTH,
          TIMEOUT,
          QUIET},
         2,
         tools::ANY_NUMBER},
        {"ping",
         "HOST PORT",
         "Measures the time from an item to its answer.",
         "Prints percentiles and a histogram. The server has to answer every item.\n"
         "SIGINT ends it early, with what was measured so far.\n",
         {{'c', "count", "N", "send N items (default 100)"},
          {'i', "interval", "MS", "wait MS milliseconds between items (default 10)"},
          {'s', "size", "N", "send items of N bytes (default 64)"},
          MAX_LENGTH,
          TIMEOUT,
          {'q', "quiet", nullptr, "print no histogram"}},
         2,
         2},
        {"dump",
         "[FILE]",
         "Decodes a captured stream of items.",
         "Without FILE, or with FILE -, standard input is read. The stream has the bytes\n"
         "of one direction of a connection, or what 'kelitem serve --save' wrote.\n",
         {{'b', "bytes", "N", "show up to N bytes of each item (default 64)"},
          {'x', "text", nullptr, "show them as UTF-8 text instead of in hexadecimal"},
          MAX_LENGTH},
         0,
         1},
    },
    "an answer is wrong, or a stream is broken"};

unsigned long maxLengthOf(const CommandLine& line) {
    return line.number("max-length", tools::USUAL_LARGEST_ITEM, 0, tools::LARGEST_ITEM);
}

unsigned long timeoutOf(const CommandLine& line, unsigned long usual) {
    return line.number("timeout", usual, 0, LONGEST_TIMEOUT);
}

tools::Server serverOf(const CommandLine& line) {
    const std::string& host = line.arguments()[0];
    if (host.empty()) {
        throw tools::UsageError("HOST must be a name or an address, not an empty word");
    }
    return {tools::textOfArgument(host),
            tools::parseNumber("PORT", line.arguments()[1], 1, LARGEST_PORT),
            timeoutOf(line, USUAL_TIMEOUT), maxLengthOf(line)};
}

ExitStatus serve(const CommandLine& line) {
    return tools::serveItems({line.number("port", 0, 0, LARGEST_PORT), maxLengthOf(line),
                              timeoutOf(line, USUAL_IDLE_TIMEOUT),
                              line.number("connections", 0, 0, ~0UL), !line.has("no-answer"),
                              line.value("save", "")});
}

tools::Answers answersOf(const CommandLine& line) {
    static const std::map<std::string, tools::Answers> ANSWERS{{"none", tools::Answers::NONE},
                                                               {"count", tools::Answers::COUNT},
                                                               {"print", tools::Answers::PRINT},
                                                               {"check", tools::Answers::CHECK}};
    return ANSWERS.at(line.value("answers", "count"));
}

ExitStatus send(const CommandLine& line) {
    tools::SendOptions options{{line.arguments().begin() + 2, line.arguments().end()},
                               {},
                               line.has("lines"),
                               answersOf(line),
                               line.has("quiet")};
    if (line.has("text")) {
        if (!options.files.empty()) {
            throw tools::UsageError("either --text or files are sent, not both");
        }
        options.texts.push_back(line.value("text", ""));
    } else if (options.files.empty()) {
        options.files.emplace_back(tools::STANDARD_INPUT);
    }
    return tools::sendItems(serverOf(line), options);
}

ExitStatus ping(const CommandLine& line) {
    return tools::pingItems(
        serverOf(line),
        {line.number("count", 100, 1, 100000000), line.number("interval", 10, 0, LONGEST_TIMEOUT),
         line.number("size", 64, 0, tools::LARGEST_ITEM), line.has("quiet")});
}

ExitStatus dump(const CommandLine& line) {
    tools::InputFile input(line.arguments().empty() ? tools::STANDARD_INPUT : line.arguments()[0]);
    return tools::dumpItems(
        input,
        {maxLengthOf(line), line.number("bytes", 64, 0, tools::LARGEST_ITEM), line.has("text")});
}

ExitStatus run(const CommandLine& line) {
    static const std::map<std::string, ExitStatus (*)(const CommandLine&)> COMMANDS{
        {"serve", serve}, {"send", send}, {"ping", ping}, {"dump", dump}};
    return COMMANDS.at(line.command().name)(line);
}

}  // namespace

int main(int argc, char** argv) { return tools::runTool(TOOL, argc, argv, run); }

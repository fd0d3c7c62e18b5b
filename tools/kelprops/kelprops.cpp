// Checks, reads, compares and changes properties files.

#include <infra/util/kelPropertiesException.h>

#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <map>
#include <optional>

#include "common/kelCommandLine.h"
#include "common/kelFiles.h"
#include "kelprops/kelPropertyCheck.h"
#include "kelprops/kelPropertyEdit.h"
#include "kelprops/kelPropertyFile.h"
#include "kelprops/kelPropertyScan.h"
#include "kelprops/kelReferences.h"

namespace {

using nx::util::ExtendedProperties;
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

tools::Definitions definitionsOf(const CommandLine& line) {
    tools::Definitions definitions;
    for (const std::string& pair : line.all("define")) {
        const std::size_t equals = pair.find('=');
        if (equals == std::string::npos) {
            throw tools::UsageError("--define needs KEY=VALUE, not '" + tools::printable(pair) +
                                    "'");
        }
        definitions.emplace_back(tools::textOfArgument(pair.substr(0, equals)),
                                 tools::textOfArgument(pair.substr(equals + 1)));
    }
    return definitions;
}

/// The set of a file, its references expanded unless they are wanted as written. What was defined
/// serves to expand them, and does not stay.
void load(ExtendedProperties& properties, const std::string& path, const CommandLine& line) {
    const std::string text = tools::readProperties(path);
    properties.load(text.data(), text.size());
    if (line.has("raw")) {
        return;
    }
    ExtendedProperties written;
    written.copy(properties);
    const tools::Definitions definitions = definitionsOf(line);
    tools::define(properties, definitions);
    properties.resolveProperties();
    for (const auto& [key, value] : definitions) {
        if (!written.hasProperty(key)) {
            properties.removeProperty(key);
        }
    }
}

std::string nameOf(const std::string& path) {
    return path == tools::STANDARD_INPUT ? "standard input" : tools::printable(path);
}

ExitStatus checkFile(const std::string& path, const CommandLine& line) {
    const std::string text = tools::readProperties(path);
    const tools::PropertyReport report = tools::checkProperties(text, definitionsOf(line));
    if (!line.has("quiet")) {
        for (const tools::PropertyProblem& problem : report.problems) {
            const std::string place = nameOf(path) + ":" + std::to_string(problem.line) + ":";
            tools::print(
                tools::paint(tools::Colour::BOLD, place) + " " +
                tools::paint(tools::Colour::YELLOW, "'" + tools::printable(problem.key) + "'") +
                ": " + problem.text);
        }
        const bool isGood = report.problems.empty();
        tools::print(nameOf(path) + ": " + tools::counted(report.properties, "key") + ", " +
                     tools::paint(isGood ? tools::Colour::GREEN : tools::Colour::RED,
                                  isGood ? "no problem"
                                         : tools::counted(report.problems.size(), "problem")));
    }
    return report.problems.empty() ? tools::ALL_WELL : tools::PROBLEM_FOUND;
}

/// Goes on after a file that cannot be read.
ExitStatus check(const CommandLine& line) {
    ExitStatus worst = tools::ALL_WELL;
    for (const std::string& path : line.arguments()) {
        try {
            worst = std::max(worst, checkFile(path, line));
        } catch (const tools::Failure& failure) {
            tools::complain(failure.what());
            worst = tools::FAILED;
        }
    }
    return worst;
}

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

bool exists(const std::string& path) {
    struct stat status {};
    return stat(path.c_str(), &status) == 0 || errno != ENOENT;
}

bool isFile(const std::string& path) {
    struct stat status {};
    return stat(path.c_str(), &status) == 0 && S_ISREG(status.st_mode);
}

/// Helps who names the file last.
void requireFileFirst(const CommandLine& line) {
    const std::vector<std::string>& words = line.arguments();
    if (words.front() != tools::STANDARD_INPUT && !exists(words.front()) && isFile(words.back())) {
        throw tools::UsageError("there is no file '" + tools::printable(words.front()) +
                                "'; the file comes first: kelprops " + line.command().name + " " +
                                line.command().arguments);
    }
}

ExitStatus get(const CommandLine& line) {
    requireFileFirst(line);
    const icu::UnicodeString key = tools::textOfArgument(line.arguments()[1]);
    ExtendedProperties properties;
    load(properties, line.arguments()[0], line);
    if (line.has("default") && !properties.hasProperty(key)) {
        tools::print(line.value("default", ""));
        return tools::ALL_WELL;
    }
    const icu::UnicodeString& value = properties.requireProperty(key);
    std::string text;
    value.toUTF8String(text);
    tools::print(line.has("type") ? typedValue(properties, key, line.value("type", "")) : text);
    return tools::ALL_WELL;
}

std::string shown(const icu::UnicodeString& key, const icu::UnicodeString& value) {
    return tools::printable(key) + "=" + tools::printable(value);
}

ExitStatus list(const CommandLine& line) {
    ExtendedProperties properties;
    load(properties, line.arguments()[0], line);
    for (const auto& [key, value] : properties) {
        tools::print(tools::paint(tools::Colour::BOLD, tools::printable(key)) + "=" +
                     tools::printable(value));
    }
    return tools::ALL_WELL;
}

ExitStatus resolve(const CommandLine& line) {
    ExtendedProperties properties;
    load(properties, line.arguments()[0], line);
    ExitStatus status = tools::ALL_WELL;
    for (const auto& [key, value] : properties) {
        if (!tools::survivesStore(key, value)) {
            tools::complain("'" + tools::printable(key) +
                            "' loses the blanks at the start of its value");
            status = tools::PROBLEM_FOUND;
        }
    }
    const std::string text = tools::storedText(properties);
    if (line.has("output")) {
        tools::ReplacedFile file(line.value("output", ""));
        file.write(text);
        file.commit();
    } else {
        tools::standardOutput().write(text);
    }
    return status;
}

/// Differences in key order, a line for each side.
std::vector<std::string> compare(const ExtendedProperties& a, const ExtendedProperties& b) {
    std::vector<std::string> lines;
    const auto only = [&](char side, const auto& pair) {
        lines.push_back(tools::paint(side == '-' ? tools::Colour::RED : tools::Colour::GREEN,
                                     side + shown(pair.first, pair.second)));
    };
    auto inA = a.begin();
    auto inB = b.begin();
    while (inA != a.end() || inB != b.end()) {
        const bool takeA = inB == b.end() || (inA != a.end() && inA->first <= inB->first);
        const bool takeB = inA == a.end() || (inB != b.end() && inB->first <= inA->first);
        if (!(takeA && takeB && inA->second == inB->second)) {
            if (takeA) {
                only('-', *inA);
            }
            if (takeB) {
                only('+', *inB);
            }
        }
        inA = takeA ? std::next(inA) : inA;
        inB = takeB ? std::next(inB) : inB;
    }
    return lines;
}

ExitStatus diff(const CommandLine& line) {
    ExtendedProperties sides[2];
    for (std::size_t i = 0; i < 2; ++i) {
        try {
            load(sides[i], line.arguments()[i], line);
        } catch (const nx::util::PropertiesException& failure) {
            // No difference: what cannot be expanded cannot be compared.
            tools::complain(failure);
            throw tools::Failure("the references of '" + tools::printable(line.arguments()[i]) +
                                 "' cannot be expanded; compare with --raw");
        }
    }
    const std::vector<std::string> lines = compare(sides[0], sides[1]);
    if (!line.has("quiet")) {
        std::for_each(lines.begin(), lines.end(), tools::print);
    }
    return lines.empty() ? tools::ALL_WELL : tools::PROBLEM_FOUND;
}

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

/// The old content goes beside the file first, then the new one takes its place.
void replace(const std::string& path, const std::string& before, const std::string& after,
             bool isNew) {
    if (!isNew) {
        tools::ReplacedFile backup(path + ExtendedProperties::backupFileSuffix);
        backup.write(before);
        backup.commit();
    }
    tools::ReplacedFile file(path);
    file.write(after);
    file.commit();
}

/// Whether the pair can be kept in a file; says why not.
bool isAcceptable(const CommandLine& line, const icu::UnicodeString& key,
                  const icu::UnicodeString& value, const std::string& before,
                  const std::string& after) {
    if (!tools::survivesWriting(key, value)) {
        tools::complain("'" + shown(key, value) +
                        "' cannot be kept in a properties file: characters above U+FFFF and "
                        "noncharacters are lost there");
        return false;
    }
    const auto failure = failureOf(after);
    if (failure && !failureOf(before) && !line.has("force")) {
        tools::complain(*failure);
        tools::complain(
            "with this value the file could not be loaded; it is as it was. --force "
            "sets the value all the same");
        return false;
    }
    return true;
}

ExitStatus set(const CommandLine& line) {
    const std::string& path = line.arguments()[0];
    const icu::UnicodeString key = tools::textOfArgument(line.arguments()[1]);
    const icu::UnicodeString value = tools::textOfArgument(line.arguments()[2]);
    if (path == tools::STANDARD_INPUT) {
        throw tools::UsageError("standard input cannot be changed; name a file");
    }
    const bool isNew = line.has("create") && !exists(path);
    if (!isNew) {
        requireFileFirst(line);
    }
    const std::string before = isNew ? "" : tools::readProperties(path);
    const std::string after =
        tools::survivesWriting(key, value) ? tools::withProperty(before, key, value) : before;
    if (!isAcceptable(line, key, value, before, after)) {
        return tools::PROBLEM_FOUND;
    }
    if (after != before) {
        replace(path, before, after, isNew);
    }
    return tools::ALL_WELL;
}

/// A name as Graphviz takes it.
std::string quoted(const icu::UnicodeString& name) {
    std::string text = "\"";
    for (const char c : tools::printable(name)) {
        text += c == '"' || c == '\\' ? std::string("\\") + c : std::string(1, c);
    }
    return text + "\"";
}

using Marks = std::map<std::pair<icu::UnicodeString, icu::UnicodeString>, std::string>;

void printDot(const std::vector<tools::Reference>& references, const Marks& marks) {
    tools::print("digraph properties {\n    rankdir=LR;\n    node [shape=box];");
    for (const tools::Reference& reference : references) {
        const auto mark = marks.find({reference.from, reference.to});
        tools::print("    " + quoted(reference.from) + " -> " + quoted(reference.to) +
                     (mark == marks.end() ? "" : " [color=red, label=\"" + mark->second + "\"]") +
                     ";");
    }
    tools::print("}");
}

void printText(const std::vector<tools::Reference>& references, const Marks& marks) {
    for (const tools::Reference& reference : references) {
        const auto mark = marks.find({reference.from, reference.to});
        tools::print(tools::printable(reference.from) + " -> " + tools::printable(reference.to) +
                     (mark == marks.end()
                          ? ""
                          : tools::paint(tools::Colour::RED, " (" + mark->second + ")")));
    }
}

ExitStatus graph(const CommandLine& line) {
    ExtendedProperties properties;
    const std::string text = tools::readProperties(line.arguments()[0]);
    properties.load(text.data(), text.size());
    std::vector<tools::Reference> references = tools::referencesIn(properties);
    tools::define(properties, definitionsOf(line));
    Marks marks;
    for (const tools::BadReference& bad : tools::resolveAll(properties)) {
        marks[{bad.key, bad.name}] = bad.way.empty() ? "missing" : "cycle";
        const bool isWritten = std::any_of(
            references.begin(), references.end(),
            [&](const auto& each) { return each.from == bad.key && each.to == bad.name; });
        // A % that another value brought along made a reference that nobody wrote.
        if (!isWritten) {
            references.push_back({bad.key, bad.name});
        }
    }
    (line.value("format", "text") == "dot" ? printDot : printText)(references, marks);
    return marks.empty() ? tools::ALL_WELL : tools::PROBLEM_FOUND;
}

ExitStatus run(const CommandLine& line) {
    static const std::map<std::string, ExitStatus (*)(const CommandLine&)> COMMANDS{
        {"check", check}, {"get", get}, {"list", list},   {"resolve", resolve},
        {"diff", diff},   {"set", set}, {"graph", graph},
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

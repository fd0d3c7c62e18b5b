#include "kelprops/kelPropsCommands.h"

#include <algorithm>
#include <map>
#include <utility>

#include "common/kelFiles.h"
#include "kelprops/kelPropsInput.h"
#include "kelprops/kelReferences.h"

namespace tools {

namespace {

/// A name as Graphviz takes it.
std::string quoted(const icu::UnicodeString& name) {
    std::string text = "\"";
    for (const char c : printable(name)) {
        text += c == '"' || c == '\\' ? std::string("\\") + c : std::string(1, c);
    }
    return text + "\"";
}

using Marks = std::map<std::pair<icu::UnicodeString, icu::UnicodeString>, std::string>;

void printDot(const std::vector<Reference>& references, const Marks& marks) {
    print("digraph properties {\n    rankdir=LR;\n    node [shape=box];");
    for (const Reference& reference : references) {
        const auto mark = marks.find({reference.from, reference.to});
        print("    " + quoted(reference.from) + " -> " + quoted(reference.to) +
              (mark == marks.end() ? "" : " [color=red, label=\"" + mark->second + "\"]") + ";");
    }
    print("}");
}

void printText(const std::vector<Reference>& references, const Marks& marks) {
    for (const Reference& reference : references) {
        const auto mark = marks.find({reference.from, reference.to});
        print(printable(reference.from) + " -> " + printable(reference.to) +
              (mark == marks.end() ? "" : paint(Colour::RED, " (" + mark->second + ")")));
    }
}

}  // namespace

ExitStatus graphCommand(const CommandLine& line) {
    nx::util::ExtendedProperties properties;
    const std::string text = readProperties(line.arguments()[0]);
    properties.load(text.data(), text.size());
    std::vector<Reference> references = referencesIn(properties);
    define(properties, definitionsOf(line));
    Marks marks;
    for (const BadReference& bad : resolveAll(properties)) {
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
    return marks.empty() ? ALL_WELL : PROBLEM_FOUND;
}

}  // namespace tools

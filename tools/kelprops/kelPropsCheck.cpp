#include "kelprops/kelPropsCommands.h"

#include "common/kelFiles.h"
#include "kelprops/kelPropertyCheck.h"
#include "kelprops/kelPropsInput.h"

namespace tools {

namespace {

ExitStatus checkFile(const std::string& path, const CommandLine& line) {
    const std::string text = readProperties(path);
    const PropertyReport report = checkProperties(text, definitionsOf(line));
    if (!line.has("quiet")) {
        for (const PropertyProblem& problem : report.problems) {
            const std::string place = nameOf(path) + ":" + std::to_string(problem.line) + ":";
            print(paint(Colour::BOLD, place) + " " +
                  paint(Colour::YELLOW, "'" + printable(problem.key) + "'") + ": " + problem.text);
        }
        const bool isGood = report.problems.empty();
        print(nameOf(path) + ": " + counted(report.properties, "key") + ", " +
              paint(isGood ? Colour::GREEN : Colour::RED,
                    isGood ? "no problem" : counted(report.problems.size(), "problem")));
    }
    return report.problems.empty() ? ALL_WELL : PROBLEM_FOUND;
}

}  // namespace

ExitStatus checkCommand(const CommandLine& line) {
    return forEachFile(line.arguments(),
                       [&](const std::string& path) { return checkFile(path, line); });
}

}  // namespace tools

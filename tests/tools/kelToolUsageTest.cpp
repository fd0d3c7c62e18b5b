// What all tools have in common: help, version, wrong usage, completion, manual pages, colours.

#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <iterator>
#include <map>
#include <regex>
#include <set>

#include "tools/kelToolProcess.h"

namespace {

using tests::runProgram;
using tests::runTool;
using tests::runToolInShell;
using tests::runToolOnTerminal;
using tests::TestFolder;
using tests::ToolResult;
using tests::Words;

const std::map<std::string, Words> COMMANDS{
    {"kelconv", {}},
    {"kelitem", {"serve", "send", "ping", "dump"}},
    {"kelprops", {"check", "get", "list", "resolve", "diff", "set", "graph"}}};

/// All texts of --help of a tool, by command; "" for the tool itself.
const std::map<std::string, std::string>& helpTexts(const std::string& tool) {
    static std::map<std::string, std::map<std::string, std::string>> asked;
    std::map<std::string, std::string>& texts = asked[tool];
    if (!texts.empty()) {
        return texts;
    }
    texts[""] = runTool(tool, {"--help"}).out;
    for (const std::string& command : COMMANDS.at(tool)) {
        texts[command] = runTool(tool, {command, "--help"}).out;
    }
    return texts;
}

/// The long options in the list of a text of --help.
std::set<std::string> optionsIn(const std::string& help) {
    static const std::regex OPTION("\n  (?:-[a-zA-Z], |    )--([a-z-]+)");
    std::set<std::string> options;
    for (std::sregex_iterator match(help.begin(), help.end(), OPTION), end; match != end; ++match) {
        options.insert((*match)[1]);
    }
    return options;
}

std::set<std::string> allOptionsOf(const std::string& tool) {
    std::set<std::string> options;
    for (const auto& [command, help] : helpTexts(tool)) {
        options.merge(optionsIn(help));
    }
    return options;
}

std::string manualOf(const std::string& tool) {
    std::ifstream page(std::string(KELINFRA_MANUAL_FOLDER) + "/" + tool + ".1");
    return {std::istreambuf_iterator<char>(page), std::istreambuf_iterator<char>()};
}

class EachTool : public testing::TestWithParam<std::string> {};

TEST_P(EachTool, ShowsHelpWithAllCommandsAndExitStatus) {
    for (const auto& [command, help] : helpTexts(GetParam())) {
        EXPECT_EQ(help.rfind("Usage: " + GetParam(), 0), 0U) << help;
        EXPECT_NE(help.find("\nExit status:\n  0  all is well\n  1  "), std::string::npos) << help;
        EXPECT_NE(help.find("\n  2  the command line makes no sense\n  3  the work could not"),
                  std::string::npos);
        for (std::size_t begin = 0; begin < help.size();) {
            const std::size_t end = help.find('\n', begin);
            EXPECT_LE(end - begin, 100U) << help.substr(begin, end - begin);
            begin = end + 1;
        }
    }
    const std::string help = runTool(GetParam(), {"--help"}).out;
    for (const std::string& command : COMMANDS.at(GetParam())) {
        EXPECT_NE(help.find("\n  " + command + " "), std::string::npos) << command;
    }
}

TEST_P(EachTool, ShowsItsVersionAndThatOfTheLibrary) {
    const ToolResult result = runTool(GetParam(), {"--version"});
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.out, GetParam() + " " + KELINFRA_VERSION + "\nlibkelinfra 1.0.0.0-1.1-579\n");
    EXPECT_EQ(result.err, "");
}

TEST_P(EachTool, EndsWithStatus2ForAnUnknownOption) {
    const Words& commands = COMMANDS.at(GetParam());
    const Words words = commands.empty() ? Words{"--nothing"} : Words{commands[0], "--nothing"};
    const ToolResult result = runTool(GetParam(), words);
    EXPECT_EQ(result.status, 2);
    EXPECT_EQ(result.out, "");
    EXPECT_EQ(result.err.rfind(GetParam() + ": there is no option '--nothing'", 0), 0U);
    EXPECT_NE(result.err.find("try '" + GetParam() + " --help'"), std::string::npos);
}

TEST_P(EachTool, EndsWithStatus2WithoutArguments) {
    const ToolResult result = runTool(GetParam(), {});
    EXPECT_EQ(result.status, 2);
    EXPECT_EQ(result.out, "");
    EXPECT_NE(result.err, "");
}

TEST_P(EachTool, EndsWithStatus3WhenStandardOutputCannotBeWritten) {
    const ToolResult result = runToolInShell(R"(exec "$0" --help >/dev/full)", GetParam());
    EXPECT_EQ(result.status, 3);
    EXPECT_EQ(result.err, GetParam() + ": cannot write standard output: No space left on device\n");
}

TEST_P(EachTool, SaysNothingWhenNobodyReadsItsOutput) {
    const ToolResult result =
        runToolInShell(R"({ sleep 0.1; "$0" --help; echo $? >&2; } | true)", GetParam());
    EXPECT_EQ(result.err, "3\n");
}

TEST_P(EachTool, HasAManualPageWithEveryCommandAndOption) {
    const std::string page = manualOf(GetParam());
    const std::set<std::string> options = allOptionsOf(GetParam());
    ASSERT_GE(options.size(), 5U);
    for (const std::string& option : options) {
        EXPECT_NE(page.find("Fl -" + option), std::string::npos) << option;
    }
    for (const std::string& command : COMMANDS.at(GetParam())) {
        EXPECT_NE(page.find("\n.Ss " + command), std::string::npos) << command;
    }
    const std::regex documented("Fl -([a-z][a-z-]*)");
    for (std::sregex_iterator match(page.begin(), page.end(), documented), end; match != end;
         ++match) {
        EXPECT_EQ(options.count((*match)[1]), 1U) << (*match)[1];
    }
}

TEST_P(EachTool, HasAManualPageThatFormatsWithoutWarning) {
    const std::string page = std::string(KELINFRA_MANUAL_FOLDER) + "/" + GetParam() + ".1";
    ToolResult lint = runProgram({"mandoc", "-Tlint", "-W", "warning", page});
    if (lint.status == 127) {
        lint = runProgram({"man", "--warnings", "-E", "UTF-8", "-l", "-Tutf8", "-Z", page});
        lint.out.clear();
    }
    if (lint.status == 127) {
        GTEST_SKIP() << "neither mandoc nor man is there";
    }
    EXPECT_EQ(lint.out + lint.err, "");
}

TEST_P(EachTool, CompletesEveryCommandAndOptionInBash) {
    const std::string script = runTool(GetParam(), {"--completion", "bash"}).out;
    for (const auto& [command, help] : helpTexts(GetParam())) {
        const std::string words = GetParam() + (command.empty() ? "" : " " + command);
        const ToolResult result =
            runProgram({"bash", "-c",
                        "source /dev/stdin; COMP_WORDS=(" + words +
                            " --) COMP_CWORD=$((${#COMP_WORDS[@]} - 1)); _" + GetParam() +
                            "; printf '%s\\n' \"${COMPREPLY[@]}\""},
                       script);
        EXPECT_EQ(result.err, "");
        for (const std::string& option : optionsIn(help)) {
            EXPECT_NE(("\n" + result.out).find("\n--" + option + "\n"), std::string::npos)
                << words << " --" << option;
        }
    }
    for (const std::string& command : COMMANDS.at(GetParam())) {
        EXPECT_NE(script.find(command), std::string::npos);
    }
}

TEST_P(EachTool, WritesCompletionsThatZshAndFishAccept) {
    const TestFolder folder;
    for (const char* const shell : {"zsh", "fish", "bash"}) {
        const ToolResult script = runTool(GetParam(), {"--completion", shell});
        ASSERT_EQ(script.status, 0);
        for (const std::string& option : allOptionsOf(GetParam())) {
            EXPECT_NE(script.out.find(option), std::string::npos) << shell << " " << option;
        }
        const ToolResult check = runProgram({shell, "-n", folder.file("script", script.out)});
        EXPECT_TRUE(check.status == 0 || check.status == 127) << shell;
        EXPECT_EQ(check.err, "");
    }
    EXPECT_EQ(runTool(GetParam(), {"--completion", "csh"}).status, 2);
}

INSTANTIATE_TEST_SUITE_P(Tools, EachTool, testing::Values("kelconv", "kelitem", "kelprops"),
                         [](const auto& test) { return test.param; });

TEST(ToolCompletion, OffersTheValuesOfAnOptionInBash) {
    const std::vector<std::pair<Words, std::string>> ROWS{
        {{"kelprops", "'kelprops' 'graph' '--format' ''"}, "text\ndot\n"},
        {{"kelprops", "'kelprops' 'graph' '-f' 'd'"}, "dot\n"},
        {{"kelprops", "'kelprops' 'graph' '--format' '='"}, "text\ndot\n"},
        {{"kelprops", "'kelprops' 'graph' '--format' '=' 't'"}, "text\n"},
        {{"kelprops", "'kelprops' 'li'"}, "list\n"},
        {{"kelprops", "'kelprops' '--completion' 'z'"}, "zsh\n"},
        {{"kelitem", "'kelitem' 'send' '--answers' 'c'"}, "count\ncheck\n"},
        {{"kelconv", "'kelconv' '--to' 'ISO-2022-K'"}, "ISO-2022-KR\n"},
        {{"kelconv", "'kelconv' '/proc/versio'"}, "/proc/version\n"},
    };
    for (const auto& [row, expected] : ROWS) {
        const std::string& tool = row[0];
        const std::string script = runTool(tool, {"--completion", "bash"}).out;
        const ToolResult result =
            runProgram({"bash", "-c",
                        "PATH=" + std::string(KELINFRA_TOOLS_FOLDER) +
                            ":$PATH; source /dev/stdin; COMP_WORDS=(" + row[1] +
                            ") COMP_CWORD=$((${#COMP_WORDS[@]} - 1)); _" + tool +
                            "; printf '%s\\n' \"${COMPREPLY[@]}\""},
                       script);
        EXPECT_EQ(result.out, expected) << row[1];
        EXPECT_EQ(result.err, "");
    }
}

TEST(ToolUsage, TellsWhatWasMeant) {
    EXPECT_NE(runTool("kelprops", {"chek", "file"}).err.find("did you mean 'check'?"),
              std::string::npos);
    EXPECT_NE(runTool("kelprops", {"check", "--quite", "file"}).err.find("did you mean '--quiet'?"),
              std::string::npos);
    EXPECT_NE(runTool("kelprops", {}).err.find("a command is needed, one of: check, get, list"),
              std::string::npos);
}

TEST(ToolUsage, WrongWordsEndWithStatus2AndSayWhatIsWrong) {
    const std::vector<std::pair<Words, std::string>> ROWS{
        {{"kelprops", "get", "file"},
         "arguments are missing; it is: kelprops get [OPTION]... FILE KEY"},
        {{"kelprops", "list", "a", "b"}, "'b' is one argument too many"},
        {{"kelprops", "-q", "check"}, "a command comes first"},
        {{"kelprops", "check", "-z", "a"}, "there is no option '-z' of 'kelprops check'"},
        {{"kelprops", "check", "--quiet=1", "a"}, "the option '--quiet' takes no value"},
        {{"kelprops", "get", "a", "b", "--default"}, "the option '--default' needs a value, TEXT"},
        {{"kelprops", "get", "--type=long", "a", "b"}, "--type must be one of boolean|int32"},
        {{"kelprops", "get", "a.key", "/proc/version"},
         "there is no file 'a.key'; the file comes first: kelprops get FILE KEY"},
        {{"kelprops", "set", "a.key", "value", "/proc/version"},
         "the file comes first: kelprops set FILE KEY VALUE"},
        {{"kelprops", "set", "-", "a", "b"}, "standard input cannot be changed"},
        {{"kelprops", "get", "a", "\xFF"}, "is not UTF-8"},
        {{"kelitem", "serve", "--port", "65536"},
         "--port must be a number from 0 to 65535, not '65536'"},
        {{"kelitem", "serve", "--port", "x"}, "not 'x'"},
        {{"kelitem", "serve", "extra"}, "'extra' is one argument too many"},
        {{"kelitem", "send", "host"}, "arguments are missing"},
        {{"kelitem", "send", "host", "0"}, "PORT must be a number from 1 to 65535"},
        {{"kelitem", "send", "", "1"}, "HOST must be a name or an address"},
        {{"kelitem", "send", "-x", "a", "host", "1", "file"}, "either --text or files"},
        {{"kelitem", "ping", "host", "1", "--count", "0"}, "--count must be a number from 1"},
        {{"kelitem", "dump", "--max-length", "4294967296"},
         "--max-length must be a number from 0 to 4294967295"},
        {{"kelconv", "file"}, "say which code page"},
        {{"kelconv", "--from", "nowhere", "file"}, "there is no code page 'nowhere'"},
        {{"kelconv", "--from", "", "file"}, "there is no code page ''"},
        {{"kelconv", "--list", "file"}, "--list takes no file"},
        {{"kelconv", "-t", "UTF-16", "a", "b"}, "only one file is converted at a time"},
        {{"kelconv", "-t", "UTF-16", "-c", "-o", "a", "b"}, "takes no --output"},
        {{"kelconv", "-t", "UTF-16", "-c", "-r", "a"}, "give one"},
    };
    for (const auto& [words, reason] : ROWS) {
        const ToolResult result = runTool(words[0], Words(words.begin() + 1, words.end()));
        EXPECT_EQ(result.status, 2) << reason;
        EXPECT_EQ(result.out, "") << reason;
        EXPECT_NE(result.err.find(reason), std::string::npos) << result.err;
        EXPECT_NE(result.err.find("--help'"), std::string::npos) << reason;
    }
}

TEST(ToolUsage, AFileThatCannotBeReadIsAFailure) {
    const std::vector<Words> ROWS{
        {"kelprops", "check", "/nowhere"},
        {"kelprops", "get", "/nowhere", "k"},
        {"kelprops", "list", "/"},
        {"kelprops", "resolve", "/nowhere"},
        {"kelprops", "diff", "/nowhere", "/"},
        {"kelprops", "set", "/nowhere", "k", "v"},
        {"kelprops", "graph", "/nowhere"},
        {"kelitem", "dump", "/nowhere"},
        {"kelconv", "-t", "UTF-16", "/nowhere"},
        {"kelconv", "-c", "-t", "UTF-16", "/"},
    };
    for (const Words& words : ROWS) {
        const ToolResult result = runTool(words[0], Words(words.begin() + 1, words.end()));
        EXPECT_EQ(result.status, 3) << words[1];
        EXPECT_EQ(result.out, "") << words[1];
        EXPECT_EQ(result.err.rfind(words[0] + ": cannot read '/", 0), 0U) << result.err;
    }
}

TEST(ToolColours, AreForTerminalsOnly) {
    const TestFolder folder;
    const std::string file = folder.file("a", "k=1\nk=2\n");
    const std::string plain = runTool("kelprops", {"check", file}).out;
    EXPECT_EQ(plain.find('\x1b'), std::string::npos);
    const ToolResult coloured = runToolOnTerminal("kelprops", {"check", file});
    EXPECT_EQ(coloured.status, 1);
    EXPECT_NE(coloured.out.find("\x1b[1m" + file + ":2:\x1b[0m"), std::string::npos)
        << coloured.out;
    const std::string uncoloured =
        std::regex_replace(coloured.out, std::regex("\x1b\\[[0-9]*m|\r"), "");
    EXPECT_EQ(uncoloured, plain);
}

}  // namespace

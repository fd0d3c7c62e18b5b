#include "common/kelCommandLine.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <new>
#include <numeric>

#include "common/kelCompletion.h"
#include "common/kelFiles.h"
#include "common/kelHelp.h"

namespace tools {

namespace {

/// How many letters have to be changed, added or dropped to get from one word to the other.
std::size_t distanceOf(const std::string& from, const std::string& to) {
    std::vector<std::size_t> row(to.size() + 1);
    std::iota(row.begin(), row.end(), 0U);
    for (std::size_t i = 1; i <= from.size(); ++i) {
        std::size_t diagonal = row[0];
        row[0] = i;
        for (std::size_t j = 1; j <= to.size(); ++j) {
            const std::size_t changed = diagonal + (from[i - 1] == to[j - 1] ? 0 : 1);
            diagonal = row[j];
            row[j] = std::min({changed, row[j] + 1, row[j - 1] + 1});
        }
    }
    return row.back();
}

std::string question(const std::string& name) { return "; did you mean '" + name + "'?"; }

/// "; did you mean 'NAME'?" for the known name that is like the word.
std::string suggest(const std::string& word, const std::vector<std::string>& known,
                    const std::string& dashes) {
    constexpr std::size_t FARTHEST = 2;
    for (const std::string& name : known) {
        const bool isBeginning = word.size() > 1 && name.compare(0, word.size(), word) == 0;
        if (isBeginning || distanceOf(word, name) <= std::min(FARTHEST, word.size() / 2)) {
            return question(dashes + name);
        }
    }
    return "";
}

const Option* findOption(const Command& command, const std::string& name) {
    for (const Option& option : command.options) {
        if (name == option.name) {
            return &option;
        }
    }
    return nullptr;
}

const Option* findOption(const Command& command, char letter) {
    for (const Option& option : command.options) {
        if (option.letter != 0 && letter == option.letter) {
            return &option;
        }
    }
    return nullptr;
}

bool isWish(const std::string& word, const char* name) { return word == name; }

bool wishesHelp(const std::string& word) { return isWish(word, "--help") || isWish(word, "-h"); }

/// The words in front of "--".
std::vector<std::string> wordsThatMayBeOptions(const std::vector<std::string>& words) {
    return {words.begin(), std::find(words.begin(), words.end(), "--")};
}

/// A lone "-" is standard input, and "-5" a number.
bool looksLikeOption(const std::string& word) {
    return word.size() > 1 && word[0] == '-' && (word[1] < '0' || word[1] > '9');
}

void requireChoice(const Option& option, const std::string& value) {
    const std::string choices = option.value;
    if (choices.find('|') == std::string::npos ||
        ("|" + choices + "|").find("|" + value + "|") != std::string::npos) {
        return;
    }
    throw UsageError(std::string("--") + option.name + " must be one of " + choices + ", not '" +
                     printable(value) + "'");
}

}  // namespace

std::string CommandLine::value(const std::string& option, const std::string& otherwise) const {
    const auto found = values_.find(option);
    return found == values_.end() ? otherwise : found->second.back();
}

std::vector<std::string> CommandLine::all(const std::string& option) const {
    const auto found = values_.find(option);
    return found == values_.end() ? std::vector<std::string>() : found->second;
}

unsigned long CommandLine::number(const std::string& option, unsigned long otherwise,
                                  unsigned long smallest, unsigned long largest) const {
    const auto found = values_.find(option);
    return found == values_.end()
               ? otherwise
               : parseNumber("--" + option, found->second.back(), smallest, largest);
}

/// Goes through the words once.
class CommandLineParser {
  public:
    CommandLineParser(const Tool& tool, const Command& command,
                      const std::vector<std::string>& words)
        : tool_(tool), command_(command), words_(words), line_(command) {}

    CommandLine parse() {
        for (; next_ < words_.size(); ++next_) {
            const std::string& word = words_[next_];
            if (onlyArguments_ || !looksLikeOption(word)) {
                line_.arguments_.push_back(word);
            } else if (word == "--") {
                onlyArguments_ = true;
            } else if (word[1] == '-') {
                takeLong(word.substr(2));
            } else {
                takeShort(word);
            }
        }
        requireArguments();
        return std::move(line_);
    }

  private:
    void takeLong(const std::string& word) {
        const std::size_t equals = word.find('=');
        const std::string name = word.substr(0, equals);
        const Option* const option = findOption(command_, name);
        if (option == nullptr) {
            throw UsageError("there is no option '--" + printable(name) + "'" + context() +
                             suggest(name, optionNames(), "--"));
        }
        if (option->value == nullptr && equals != std::string::npos) {
            throw UsageError("the option '--" + name + "' takes no value");
        }
        const bool inWord = equals != std::string::npos;
        store(*option, inWord ? word.substr(equals + 1) : nextWordFor(*option));
    }

    /// One option, or several without value and perhaps one with, as in -qf dot and -qfdot.
    void takeShort(const std::string& word) {
        for (std::size_t i = 1; i < word.size(); ++i) {
            const Option* const option = findOption(command_, word[i]);
            if (option == nullptr) {
                throw UsageError("there is no option '-" + printable(word.substr(i, 1)) + "'" +
                                 context());
            }
            if (option->value != nullptr && i + 1 < word.size()) {
                store(*option, word.substr(i + 1));
                return;
            }
            store(*option, nextWordFor(*option));
        }
    }

    std::string nextWordFor(const Option& option) {
        if (option.value == nullptr) {
            return "";
        }
        if (next_ + 1 >= words_.size()) {
            throw UsageError(std::string("the option '--") + option.name + "' needs a value, " +
                             option.value);
        }
        return words_[++next_];
    }

    void store(const Option& option, const std::string& value) {
        if (option.value != nullptr) {
            requireChoice(option, value);
        }
        line_.values_[option.name].push_back(value);
    }

    void requireArguments() const {
        const std::size_t count = line_.arguments_.size();
        if (count < command_.fewest) {
            throw UsageError("arguments are missing; it is: " + synopsisOf(tool_, command_));
        }
        if (count > command_.most) {
            throw UsageError("'" + printable(line_.arguments_[command_.most]) +
                             "' is one argument too many; it is: " + synopsisOf(tool_, command_));
        }
    }

    std::string context() const {
        return *command_.name == '\0'
                   ? ""
                   : std::string(" of '") + tool_.name + " " + command_.name + "'";
    }

    std::vector<std::string> optionNames() const {
        std::vector<std::string> names{"help", "version"};
        for (const Option& option : command_.options) {
            names.emplace_back(option.name);
        }
        return names;
    }

    const Tool& tool_;
    const Command& command_;
    const std::vector<std::string>& words_;
    CommandLine line_;
    std::size_t next_ = 0;
    bool onlyArguments_ = false;
};

CommandLine parseCommandLine(const Tool& tool, const Command& command,
                             const std::vector<std::string>& words) {
    return CommandLineParser(tool, command, words).parse();
}

namespace {

bool hasCommands(const Tool& tool) { return *tool.commands.front().name != '\0'; }

/// The command that the first word names. Throws UsageError.
const Command& chooseCommand(const Tool& tool, const std::vector<std::string>& words) {
    std::vector<std::string> names;
    for (const Command& command : tool.commands) {
        names.emplace_back(command.name);
        if (!words.empty() && words[0] == command.name) {
            return command;
        }
    }
    const std::string list = std::accumulate(
        names.begin() + 1, names.end(), names[0],
        [](const std::string& all, const std::string& name) { return all + ", " + name; });
    if (words.empty()) {
        throw UsageError("a command is needed, one of: " + list);
    }
    const bool isOption = words[0].size() > 1 && words[0][0] == '-';
    throw UsageError(std::string(isOption ? "there is no option '" : "there is no command '") +
                     printable(words[0]) + "'" + suggest(words[0], names, "") +
                     (isOption ? "; a command comes first, one of: " : "; there are: ") + list);
}

/// Answers a question about the tool itself; false when there is none.
bool answerQuestion(const Tool& tool, const Command* command,
                    const std::vector<std::string>& words) {
    for (const std::string& word : wordsThatMayBeOptions(words)) {
        if (wishesHelp(word)) {
            standardOutput().write(command == nullptr ? helpOf(tool) : helpOf(tool, *command));
            return true;
        }
        if (isWish(word, "--version")) {
            standardOutput().write(versionOf(tool));
            return true;
        }
    }
    if (!words.empty() && isWish(words[0], "--completion")) {
        standardOutput().write(completionOf(tool, words.size() == 2 ? words[1] : ""));
        return true;
    }
    return false;
}

ExitStatus runCommand(const Tool& tool, const std::vector<std::string>& words,
                      const std::function<ExitStatus(const CommandLine&)>& run) {
    if (!hasCommands(tool)) {
        const Command& only = tool.commands.front();
        return answerQuestion(tool, &only, words) ? ALL_WELL
                                                  : run(parseCommandLine(tool, only, words));
    }
    const bool isAboutTool = words.empty() || words[0].compare(0, 1, "-") == 0;
    if (isAboutTool && answerQuestion(tool, nullptr, words)) {
        return ALL_WELL;
    }
    const Command& command = chooseCommand(tool, words);
    const std::vector<std::string> rest(words.begin() + 1, words.end());
    return answerQuestion(tool, &command, rest) ? ALL_WELL
                                                : run(parseCommandLine(tool, command, rest));
}

/// Whether what ends the work is that nobody reads the output any more, which needs no words.
bool isUnreadOutput(const Failure& failure) {
    return failure.what() == std::string("cannot write standard output: ") + std::strerror(EPIPE);
}

int guarded(const Tool& tool, const std::function<ExitStatus()>& work) {
    try {
        return work();
    } catch (const UsageError& error) {
        complain(error.what());
        complain(std::string("try '") + tool.name + " --help'");
        return WRONG_USAGE;
    } catch (const nx::oss::BaseException& failure) {
        complain(failure);
    } catch (const Failure& failure) {
        if (!isUnreadOutput(failure)) {
            complain(failure.what());
        }
    } catch (const std::bad_alloc&) {
        complain("there is not enough memory");
    } catch (const std::exception& failure) {
        complain(failure.what());
    }
    return FAILED;
}

}  // namespace

int runTool(const Tool& tool, int argc, char** argv,
            const std::function<ExitStatus(const CommandLine&)>& run) {
    const std::vector<std::string> words(argv + std::min(argc, 1), argv + argc);
    const int status = guarded(tool, [&] {
        occupyStandardDescriptors();
        return runCommand(tool, words, run);
    });
    // What was found before a failure is shown, too.
    const int flushed = guarded(tool, [] {
        standardOutput().flush();
        return ALL_WELL;
    });
    return flushed == ALL_WELL ? status : flushed;
}

}  // namespace tools

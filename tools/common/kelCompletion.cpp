#include "common/kelCompletion.h"

#include <algorithm>

namespace tools {

namespace {

constexpr char LIST_CODE_PAGES[] = "$(kelconv --list 2>/dev/null | cut -d' ' -f1)";
constexpr char SHELLS[] = "bash|zsh|fish";

bool isChoice(const Option& option) {
    return option.value != nullptr && std::string(option.value).find('|') != std::string::npos;
}

std::string wordsOf(const Option& option) {
    std::string words = option.value;
    std::replace(words.begin(), words.end(), '|', ' ');
    return words;
}

bool isCodePage(const Option& option) {
    return option.value != nullptr && option.value == std::string(CODE_PAGE_VALUE);
}

bool hasCommands(const Tool& tool) { return *tool.commands.front().name != '\0'; }

/// A word that a shell does not look into: single quotes, those inside left out.
std::string quoted(std::string text) {
    text.erase(std::remove_if(text.begin(), text.end(),
                              [](char c) { return c == '\'' || c == '[' || c == ']' || c == ':'; }),
               text.end());
    std::replace(text.begin(), text.end(), '\n', ' ');
    return "'" + text + "'";
}

/// Those of the command, and those that every command has.
std::vector<Option> allOptionsOf(const Tool& tool, const Command& command) {
    std::vector<Option> options = command.options;
    options.push_back({'h', "help", nullptr, "show help"});
    if (!hasCommands(tool)) {
        options.push_back({0, "version", nullptr, "show the version"});
        options.push_back({0, "completion", SHELLS, "write a completion script"});
    }
    return options;
}

// bash

/// "NAME:--option|NAME:-o)" and what completes its value.
std::string bashValueCase(const Command& command, const Option& option) {
    const std::string name = std::string(command.name) + ":";
    std::string pattern = name + "--" + option.name;
    if (option.letter != 0) {
        pattern += "|" + name + "-" + option.letter;
    }
    const std::string words = isChoice(option)     ? wordsOf(option)
                              : isCodePage(option) ? LIST_CODE_PAGES
                                                   : "";
    const std::string action = !words.empty() ? "mapfile -t COMPREPLY < <(compgen -W \"" + words +
                                                    "\" -- \"$word\"); return"
                               : option.value == std::string(FILE_VALUE)
                                   ? "mapfile -t COMPREPLY < <(compgen -f -- \"$word\"); return"
                                   : "return";
    return "        " + pattern + ") " + action + " ;;\n";
}

std::string bashWordsCase(const Tool& tool, const Command& command) {
    std::string words;
    for (const Option& option : allOptionsOf(tool, command)) {
        words += (words.empty() ? "--" : " --") + std::string(option.name);
    }
    return "        '" + std::string(command.name) + "') words='" + words + "' ;;\n";
}

std::string bashCompletion(const Tool& tool) {
    std::string values;
    std::string options;
    std::string commands;
    for (const Command& command : tool.commands) {
        for (const Option& option : allOptionsOf(tool, command)) {
            values += option.value == nullptr ? "" : bashValueCase(command, option);
        }
        options += bashWordsCase(tool, command);
        commands += std::string(command.name) + " ";
    }
    const std::string name = tool.name;
    const std::string choose =
        hasCommands(tool) ? "    for word in \"${COMP_WORDS[@]:1:COMP_CWORD-1}\"; do\n"
                            "        case $word in -*) ;; *) command=$word; break ;; esac\n"
                            "    done\n"
                          : "";
    const std::string first =
        hasCommands(tool)
            ? "    if [ -z \"$command\" ]; then\n"
              "        words='" +
                  commands +
                  "--help --version --completion'\n"
                  "        [ \"$previous\" != --completion ] || words='bash zsh fish'\n"
                  "        mapfile -t COMPREPLY < <(compgen -W \"$words\" -- "
                  "\"${COMP_WORDS[COMP_CWORD]}\")\n"
                  "        return\n"
                  "    fi\n"
            : "";
    return "# bash completion for " + name + "; '" + name + " --completion bash' wrote it.\n_" +
           name + "() {\n" +
           "    local word previous=${COMP_WORDS[COMP_CWORD-1]} command='' words=''\n"
           "    COMPREPLY=()\n" +
           choose + first +
           // Behind --option= the = is a word by itself.
           "    word=${COMP_WORDS[COMP_CWORD]#=}\n"
           "    [ \"$previous\" != = ] || previous=${COMP_WORDS[COMP_CWORD-2]}\n" +
           "    case $command:$previous in\n" + values + "    esac\n    case $command in\n" +
           options + "    esac\n" +
           "    case $word in\n"
           "        -*) mapfile -t COMPREPLY < <(compgen -W \"$words\" -- \"$word\") ;;\n"
           "        *) mapfile -t COMPREPLY < <(compgen -f -- \"$word\") ;;\n"
           "    esac\n}\ncomplete -o filenames -F _" +
           name + " " + name + "\n";
}

// zsh

std::string zshValue(const Option& option) {
    if (option.value == nullptr) {
        return "";
    }
    const std::string action =
        isChoice(option)     ? "(" + wordsOf(option) + ")"
        : isCodePage(option) ? std::string("($(kelconv --list 2>/dev/null | cut -d\" \" -f1))")
        : option.value == std::string(FILE_VALUE) ? "_files"
                                                  : "";
    return ":value:" + action;
}

/// One argument of _arguments: `'OPTION[EFFECT]:VALUE'`.
std::string zshArgument(const std::string& margin, const std::string& name, const Option& option) {
    const std::string effect = quoted(option.effect);
    return " \\\n" + margin + "    '" + name + "[" + effect.substr(1, effect.size() - 2) + "]" +
           zshValue(option) + "'";
}

std::string zshArguments(const Tool& tool, const Command& command, const std::string& margin) {
    std::string text = margin + "_arguments -S";
    for (const Option& option : allOptionsOf(tool, command)) {
        text += zshArgument(margin, std::string("--") + option.name, option);
        if (option.letter != 0) {
            text += zshArgument(margin, std::string("-") + option.letter, option);
        }
    }
    return text + " \\\n" + margin + "    '*:file:_files'";
}

std::string zshCompletion(const Tool& tool) {
    const std::string head = std::string("#compdef ") + tool.name + "\n# '" + tool.name +
                             " --completion zsh' wrote it.\n";
    if (!hasCommands(tool)) {
        return head + zshArguments(tool, tool.commands.front(), "") + "\n";
    }
    std::string names;
    std::string cases;
    for (const Command& command : tool.commands) {
        const std::string summary = quoted(command.summary);
        names += std::string("        '") + command.name + ":" +
                 summary.substr(1, summary.size() - 2) + "'\n";
        cases += std::string("    ") + command.name + ")\n" +
                 zshArguments(tool, command, "        ") + " ;;\n";
    }
    return head +
           "if (( CURRENT == 2 )); then\n"
           "    local -a commands=(\n" +
           names +
           "    )\n"
           "    _describe command commands\n"
           "    _arguments '--help[show help]' '--version[show the version]' \\\n"
           "        '--completion[write a completion script]:shell:(bash zsh fish)'\n"
           "    return\n"
           "fi\n"
           "local command=$words[2]\n"
           "shift words\n"
           "(( CURRENT-- ))\n"
           "case $command in\n" +
           cases + "esac\n";
}

// fish

std::string fishValue(const Option& option) {
    if (option.value == nullptr) {
        return "";
    }
    return isChoice(option) ? " -x -a " + quoted(wordsOf(option))
           : isCodePage(option)
               ? std::string(" -x -a '(kelconv --list 2>/dev/null | string split -f1 \" \")'")
           : option.value == std::string(FILE_VALUE) ? " -r"
                                                     : " -x";
}

std::string fishCompletion(const Tool& tool) {
    const std::string complete = std::string("complete -c ") + tool.name;
    std::string text = std::string("# '") + tool.name + " --completion fish' wrote it.\n";
    if (hasCommands(tool)) {
        const std::string first = complete + " -n __fish_use_subcommand";
        for (const Command& command : tool.commands) {
            text += first + " -f -a " + command.name + " -d " + quoted(command.summary) + "\n";
        }
        text += first + " -l help -d 'show help'\n" + first +
                " -l version -d 'show the version'\n" + first +
                " -l completion -x -a 'bash zsh fish' -d 'write a completion script'\n";
    }
    for (const Command& command : tool.commands) {
        const std::string where =
            hasCommands(tool) ? complete + " -n '__fish_seen_subcommand_from " + command.name + "'"
                              : complete;
        for (const Option& option : allOptionsOf(tool, command)) {
            text += where + " -l " + option.name +
                    (option.letter == 0 ? "" : std::string(" -s ") + option.letter) +
                    fishValue(option) + " -d " + quoted(option.effect) + "\n";
        }
    }
    return text;
}

}  // namespace

std::string completionOf(const Tool& tool, const std::string& shell) {
    if (shell == "bash") {
        return bashCompletion(tool);
    }
    if (shell == "zsh") {
        return zshCompletion(tool);
    }
    if (shell == "fish") {
        return fishCompletion(tool);
    }
    throw UsageError(std::string("--completion needs a shell, one of bash, zsh, fish") +
                     (shell.empty() ? "" : ", not '" + printable(shell) + "'"));
}

}  // namespace tools

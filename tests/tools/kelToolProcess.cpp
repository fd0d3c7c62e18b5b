#include "tools/kelToolProcess.h"

#include <dirent.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <pty.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <fstream>
#include <iterator>

namespace tests {

namespace {

std::string pathOf(const std::string& tool) {
    return std::string(KELINFRA_TOOLS_FOLDER) + "/" + tool;
}

[[noreturn]] void becomeProgram(const Words& command) {
    std::vector<char*> words;
    std::transform(command.begin(), command.end(), std::back_inserter(words),
                   [](const std::string& word) { return const_cast<char*>(word.c_str()); });
    words.push_back(nullptr);
    execvp(words[0], words.data());
    _exit(127);
}

int waitFor(pid_t process) {
    int status = 0;
    while (waitpid(process, &status, 0) < 0 && errno == EINTR) {
    }
    return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

void redirect(const std::string& path, int flags, int descriptor) {
    const int file = open(path.c_str(), flags, 0600);
    if (file < 0 || dup2(file, descriptor) < 0) {
        _exit(126);
    }
}

std::string readAll(int descriptor) {
    std::string text;
    char block[4096];
    // A terminal ends with an error when nobody is left on its other side.
    for (ssize_t count = 0; (count = read(descriptor, block, sizeof block)) > 0;) {
        text.append(block, static_cast<std::size_t>(count));
    }
    return text;
}

Words withTool(const std::string& tool, const Words& arguments) {
    Words command{pathOf(tool)};
    command.insert(command.end(), arguments.begin(), arguments.end());
    return command;
}

}  // namespace

ToolResult runProgram(const Words& command, const std::string& input) {
    const TestFolder folder;
    const std::string in = folder.file("in", input);
    const pid_t process = fork();
    if (process == 0) {
        redirect(in, O_RDONLY, STDIN_FILENO);
        redirect(folder.path("out"), O_WRONLY | O_CREAT, STDOUT_FILENO);
        redirect(folder.path("err"), O_WRONLY | O_CREAT, STDERR_FILENO);
        becomeProgram(command);
    }
    const int status = waitFor(process);
    return {status, folder.content("out"), folder.content("err")};
}

ToolResult runTool(const std::string& tool, const Words& arguments, const std::string& input) {
    return runProgram(withTool(tool, arguments), input);
}

ToolResult runToolInShell(const std::string& line, const std::string& tool,
                          const Words& arguments) {
    Words command = withTool(tool, arguments);
    command.insert(command.begin(), {"sh", "-c", line});
    return runProgram(command);
}

ToolResult runToolOnTerminal(const std::string& tool, const Words& arguments) {
    int terminal = -1;
    const pid_t process = forkpty(&terminal, nullptr, nullptr, nullptr);
    if (process == 0) {
        setenv("TERM", "xterm", 1);
        unsetenv("NO_COLOR");
        becomeProgram(withTool(tool, arguments));
    }
    std::string text = readAll(terminal);
    close(terminal);
    const int status = waitFor(process);
    return {status, text, ""};
}

TestFolder::TestFolder() {
    std::string pattern = testing::TempDir() + "/kelinfra-tools.XXXXXX";
    const char* const made = mkdtemp(pattern.data());
    if (made == nullptr) {
        ADD_FAILURE() << "no folder " << pattern;
        std::abort();
    }
    folder_ = made;
}

TestFolder::~TestFolder() {
    for (const std::string& name : names()) {
        unlink(path(name).c_str());
    }
    rmdir(folder_.c_str());
}

std::string TestFolder::file(const std::string& name, const std::string& content) const {
    std::ofstream(path(name), std::ios::binary) << content;
    return path(name);
}

std::string TestFolder::content(const std::string& name) const {
    std::ifstream stream(path(name), std::ios::binary);
    EXPECT_TRUE(stream.is_open()) << name;
    return {std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
}

std::vector<std::string> TestFolder::names() const {
    std::vector<std::string> names;
    DIR* const folder = opendir(folder_.c_str());
    while (const dirent* const entry = readdir(folder)) {
        if (entry->d_name[0] != '.') {
            names.emplace_back(entry->d_name);
        }
    }
    closedir(folder);
    std::sort(names.begin(), names.end());
    return names;
}

RunningTool::RunningTool(const TestFolder& folder, const std::string& tool, const Words& arguments)
    : folder_(folder) {
    int ends[2];
    EXPECT_EQ(pipe2(ends, O_CLOEXEC), 0);
    process_ = fork();
    if (process_ == 0) {
        dup2(ends[1], STDOUT_FILENO);
        redirect(folder_.path("running.err"), O_WRONLY | O_CREAT | O_TRUNC, STDERR_FILENO);
        becomeProgram(withTool(tool, arguments));
    }
    close(ends[1]);
    output_ = ends[0];
}

RunningTool::~RunningTool() {
    if (process_ > 0) {
        kill(process_, SIGKILL);
        waitFor(process_);
    }
    close(output_);
}

std::string RunningTool::firstLine() {
    std::string line;
    for (char c = 0; read(output_, &c, 1) == 1 && c != '\n';) {
        line += c;
    }
    return line;
}

void RunningTool::signal(int number) const { kill(process_, number); }

ToolResult RunningTool::end() {
    std::string out = readAll(output_);
    const int status = waitFor(process_);
    process_ = -1;
    return {status, std::move(out), folder_.content("running.err")};
}

}  // namespace tests

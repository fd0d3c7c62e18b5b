#include "support/kelProcessRuns.h"

#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>

extern char** environ;

namespace nx::test {
namespace {

// In slices, since a machine or a process that was halted meanwhile has lost one of them only.
constexpr int SLICE_MS = 1'000;
constexpr int SLICES = 120;

std::vector<char*> pointersTo(std::vector<std::string>& texts) {
    std::vector<char*> pointers;
    for (std::string& text : texts) {
        pointers.push_back(text.data());
    }
    pointers.push_back(nullptr);
    return pointers;
}

/// That of this process, in the locale "C".
std::vector<std::string> environmentOfRuns() {
    std::vector<std::string> variables{"LC_ALL=C"};
    for (char** variable = environ; *variable != nullptr; ++variable) {
        if (std::strncmp(*variable, "LC_ALL=", 7) != 0) {
            variables.emplace_back(*variable);
        }
    }
    return variables;
}

/// -1 when the program cannot be started.
pid_t start(std::vector<std::string> arguments, int outputEnd) {
    std::vector<std::string> variables = environmentOfRuns();
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, outputEnd, STDOUT_FILENO);
    posix_spawn_file_actions_adddup2(&actions, outputEnd, STDERR_FILENO);
    pid_t process = -1;
    const int result = posix_spawn(&process, arguments[0].c_str(), &actions, nullptr,
                                   pointersTo(arguments).data(), pointersTo(variables).data());
    posix_spawn_file_actions_destroy(&actions);
    return result == 0 ? process : -1;
}

/// Reads until all writers are gone; false when time runs out before.
bool readToEnd(int inputEnd, std::string& output) {
    for (int slice = 0; slice < SLICES;) {
        pollfd waiting{inputEnd, POLLIN, 0};
        if (::poll(&waiting, 1, SLICE_MS) <= 0) {
            ++slice;
            continue;
        }
        char bytes[4096];
        const ssize_t count = ::read(inputEnd, bytes, sizeof bytes);
        if (count <= 0) {
            return count == 0;
        }
        output.append(bytes, static_cast<std::size_t>(count));
    }
    return false;
}

/// Closes `inputEnd`.
ProcessEnd awaitEnd(pid_t process, int inputEnd) {
    ProcessEnd end;
    end.hung = !readToEnd(inputEnd, end.output);
    ::close(inputEnd);
    if (end.hung) {
        ::kill(process, SIGKILL);
    }
    ::waitpid(process, &end.status, 0);
    return end;
}

/// In the child: leaves nothing of the parent to be cleaned up.
[[noreturn]] void runAndLeave(const std::function<std::string()>& body, int outputEnd) {
    ::dup2(outputEnd, STDOUT_FILENO);
    ::dup2(outputEnd, STDERR_FILENO);
    const std::string problem = body();
    const bool written = ::write(outputEnd, problem.data(), problem.size()) >= 0;
    ::_exit(written && problem.empty() ? EXIT_SUCCESS : EXIT_FAILURE);
}

/// The program did not come to run.
ProcessEnd notRun(const std::string& reason) { return {-1, false, reason}; }

}  // namespace

bool ProcessEnd::isFine() const { return !hung && status == 0 && output.empty(); }

std::string ProcessEnd::text() const {
    const std::string end = hung                  ? "hung"
                            : WIFSIGNALED(status) ? "signal " + std::to_string(WTERMSIG(status))
                                                  : "code " + std::to_string(WEXITSTATUS(status));
    return end + '\n' + output;
}

ProcessEnd runProgram(const std::vector<std::string>& arguments) {
    int ends[2];
    if (::pipe2(ends, O_CLOEXEC) != 0) {
        return notRun("no pipe");
    }
    const pid_t process = start(arguments, ends[1]);
    ::close(ends[1]);
    if (process == -1) {
        ::close(ends[0]);
        return notRun("cannot start " + arguments[0]);
    }
    return awaitEnd(process, ends[0]);
}

ProcessEnd runForked(const std::function<std::string()>& body) {
    int ends[2];
    if (::pipe2(ends, O_CLOEXEC) != 0) {
        return notRun("no pipe");
    }
    const pid_t process = ::fork();
    if (process == 0) {
        runAndLeave(body, ends[1]);
    }
    ::close(ends[1]);
    if (process == -1) {
        ::close(ends[0]);
        return notRun("cannot fork");
    }
    return awaitEnd(process, ends[0]);
}

long wantedRuns(long usual) {
    const char* const wanted = std::getenv("KELINFRA_CASES");
    return wanted == nullptr ? usual : std::strtol(wanted, nullptr, 10);
}

}  // namespace nx::test

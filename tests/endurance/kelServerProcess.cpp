#include "endurance/kelServerProcess.h"

#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <system_error>

namespace nx::test {

namespace {

/// Both ends of a pipe; the other process gets the second one.
struct Pipe {
    Pipe() {
        int ends[2];
        if (::pipe(ends) != 0) {
            throw std::system_error(errno, std::generic_category(), "pipe");
        }
        from = FileDescriptor(ends[0]);
        into = FileDescriptor(ends[1]);
    }

    FileDescriptor from;
    FileDescriptor into;
};

std::string readToEnd(int descriptor) {
    std::string text;
    char part[4096];
    for (ssize_t got = 0; (got = ::read(descriptor, part, sizeof part)) > 0;) {
        text.append(part, static_cast<std::size_t>(got));
    }
    return text;
}

/// Byte by byte, so that nothing behind the line is taken.
std::string readLine(int descriptor) {
    std::string line;
    for (char byte = 0; ::read(descriptor, &byte, 1) == 1 && byte != '\n';) {
        line += byte;
    }
    return line;
}

}  // namespace

ServerProcess::ServerProcess(const std::string& program) {
    Pipe output;
    Pipe errors;
    start(program, output.into.get(), errors.into.get());
    output_ = std::move(output.from);
    errors_ = std::move(errors.from);
    output.into.close();
    errors.into.close();
    port_ = std::stoul(readLine(output_.get()));
    reader_ = std::thread([this] { countComplaints(); });
}

ServerProcess::~ServerProcess() {
    if (process_ >= 0) {
        stop();
    }
}

void ServerProcess::start(const std::string& program, int output, int errors) {
    posix_spawn_file_actions_t actions;
    ::posix_spawn_file_actions_init(&actions);
    ::posix_spawn_file_actions_adddup2(&actions, output, STDOUT_FILENO);
    ::posix_spawn_file_actions_adddup2(&actions, errors, STDERR_FILENO);
    // The server is not to hold what this process has open.
    ::posix_spawn_file_actions_addclosefrom_np(&actions, STDERR_FILENO + 1);
    std::string name = program;
    char* const arguments[] = {name.data(), nullptr};
    const int result =
        ::posix_spawn(&process_, program.c_str(), &actions, nullptr, arguments, environ);
    ::posix_spawn_file_actions_destroy(&actions);
    if (result != 0) {
        throw std::system_error(result, std::generic_category(), program);
    }
}

void ServerProcess::countComplaints() {
    char part[4096];
    for (ssize_t got = 0; (got = ::read(errors_.get(), part, sizeof part)) > 0;) {
        complaints_ += static_cast<unsigned long>(std::count(part, part + got, '\n'));
    }
}

std::pair<int, std::string> ServerProcess::stop() {
    ::kill(process_, SIGTERM);
    const std::string output = readToEnd(output_.get());
    int status = 0;
    while (::waitpid(process_, &status, 0) < 0 && errno == EINTR) {
    }
    process_ = -1;
    reader_.join();
    return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, output};
}

}  // namespace nx::test

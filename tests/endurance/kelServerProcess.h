#pragma once

#include <sys/types.h>

#include <atomic>
#include <string>
#include <thread>

#include "support/kelLoopback.h"
#include "support/kelProcessFigures.h"

namespace nx::test {

/// A server in a process of its own, which prints its port first and ends at SIGTERM.
class ServerProcess {
  public:
    explicit ServerProcess(const std::string& program);
    /// Ends a server that has not been stopped.
    ~ServerProcess();
    ServerProcess(const ServerProcess&) = delete;
    ServerProcess& operator=(const ServerProcess&) = delete;

    unsigned long port() const { return port_; }
    ProcessFigures figures() const { return figuresOf(std::to_string(process_)); }
    /// The lines that the server has written to standard error.
    unsigned long complaints() const { return complaints_; }

    /// Asks the server to stop; returns its exit status, and all but the port of what it printed.
    std::pair<int, std::string> stop();

  private:
    void start(const std::string& program, int output, int errors);
    void countComplaints();

    pid_t process_ = -1;
    unsigned long port_ = 0;
    FileDescriptor output_;
    FileDescriptor errors_;
    std::atomic<unsigned long> complaints_{0};
    std::thread reader_;
};

}  // namespace nx::test

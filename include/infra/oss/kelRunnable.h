#pragma once

#include <infra/oss/kelExport.h>

namespace nx::oss {

/// The work of a Thread. The user derives from it.
class KELINFRA_EXPORT Runnable {
  public:
    virtual ~Runnable() = default;

    /// Runs in the new thread; the thread ends when it returns.
    ///
    /// An exception that leaves it ends the process (std::terminate). A thread that is cancelled
    /// unwinds run(): destructors run, and `catch (...)` must rethrow.
    virtual void run() = 0;
};

}  // namespace nx::oss

#pragma once

#include <infra/oss/kelExport.h>

namespace nx::oss {

/// Reserved for a buffer of debug output. No operation of the library uses it; a host product that
/// brings such a buffer registers it here.
class KELINFRA_EXPORT DebugBuffer {
  public:
    /// Size of the buffer in bytes.
    static constexpr unsigned long bufsz_ = 4096;

    /// The process-wide buffer, null until the host sets one. Neither owned nor synchronised by the
    /// library.
    static DebugBuffer* instance_;
};

}  // namespace nx::oss

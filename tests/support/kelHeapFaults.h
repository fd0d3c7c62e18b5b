#pragma once

namespace nx::test {

// Programs that link this make malloc(), calloc() and realloc() of the library's objects fail like
// operator new.

/// Blocks that are alive, those of operator new included.
long liveHeapBlocks();

}  // namespace nx::test

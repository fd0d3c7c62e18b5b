#pragma once

#include "kelBench.h"

namespace nx::oss::bench {

/// As initialize(), and names the other libraries and their versions in the result file.
void initializeWithPeers(int argc, char** argv);

}  // namespace nx::oss::bench

#include "infra/detail/kelDescriptor.h"

#include <unistd.h>

#include "infra/detail/kelCancellation.h"

namespace nx::oss::detail {

int closeDescriptor(int descriptor) {
    const CancellationPause pause;
    return ::close(descriptor);
}

}  // namespace nx::oss::detail

#include "infra/detail/kelDescriptor.h"

#include <pthread.h>
#include <unistd.h>

namespace nx::oss::detail {

int closeDescriptor(int descriptor) {
    int state = PTHREAD_CANCEL_ENABLE;
    pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &state);
    const int result = ::close(descriptor);
    pthread_setcancelstate(state, nullptr);
    return result;
}

}  // namespace nx::oss::detail

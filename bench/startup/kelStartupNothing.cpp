#include "kelStartup.h"

namespace nx::oss::bench {

int convertFirstText() { return FIRST_TEXT_LENGTH; }

}  // namespace nx::oss::bench

#include <unicode/unistr.h>

#include "kelStartup.h"

namespace nx::oss::bench {

int convertFirstText() {
    char bytes[16];
    return icu::UnicodeString(FIRST_TEXT)
        .extract(0, FIRST_TEXT_LENGTH, bytes, sizeof bytes, FIRST_CODE_PAGE);
}

}  // namespace nx::oss::bench

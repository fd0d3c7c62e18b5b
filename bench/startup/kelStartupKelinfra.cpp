#include <infra/oss/kelConverter.h>
#include <unicode/unistr.h>

#include "kelStartup.h"

namespace nx::oss::bench {

int convertFirstText() {
    char bytes[16];
    return Converter::convertToBytes(bytes, sizeof bytes, FIRST_CODE_PAGE,
                                     icu::UnicodeString(FIRST_TEXT));
}

}  // namespace nx::oss::bench

// The plug-in of kelUnlinkedBorderTest: it brings the library with it.
#include <infra/oss/kelConverter.h>
#include <unicode/unistr.h>

#include "kelLibraryErrors.h"

extern "C" {

#define PLUGIN_EXPORT __attribute__((visibility("default")))

PLUGIN_EXPORT std::size_t pluginCountErrors() { return nx::test::countLibraryErrors(); }
PLUGIN_EXPORT void pluginRaiseError(std::size_t error) { nx::test::raiseLibraryError(error); }
PLUGIN_EXPORT const char* pluginSeenByHandler(std::size_t error, int handler) {
    return nx::test::seenByHandler(error, handler);
}
// Leaves an open converter to the thread.
PLUGIN_EXPORT bool pluginConverts() {
    char bytes[8] = "";
    nx::oss::Converter::convert(bytes, sizeof bytes, "Shift_JIS", u"\u3042");
    return bytes[0] == '\x82' && bytes[1] == '\xA0' && bytes[2] == '\0';
}
}
